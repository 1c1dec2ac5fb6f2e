// Bilinear sampling over lanes: the four neighbours of a block of pixels are fetched one by one,
// and positions and sums computed for many pixels at once.

#include <vorlane/operators/sampling_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

constexpr size_t block = 256; // pixels; a multiple of every number of lanes
static_assert(block % most_double_lanes == 0);

// The neighbours of a block's positions: at, right of, below, and diagonally below each.
struct Corners {
    float at[block], right[block], below[block], diagonal[block];
};

inline F64 blend(const Corners& corners, size_t j, F64 fy, F64 fx) {
    const F64 one = all_lanes(1.0);
    const F64 gy = one - fy;
    const F64 gx = one - fx;
    return gy * gx * load_floats(corners.at + j) + gy * fx * load_floats(corners.right + j) +
           gx * fy * load_floats(corners.below + j) + fx * fy * load_floats(corners.diagonal + j);
}

// Stores a channel of `count` pixels.
inline void put(const float* block_samples, float* to, size_t channels, size_t count) {
    for (size_t j = 0; j < count; ++j)
        to[channels * j] = block_samples[j];
}

template<size_t channels>
void turn_pixels(const float* const* rows, const Turn& turn, double dr, double first_dc, float* to,
                 size_t n) {
    double lane_index[F64::count];
    for (size_t k = 0; k < F64::count; ++k)
        lane_index[k] = static_cast<double>(k);
    const F64 row_part = all_lanes(dr * turn.cos);
    const F64 col_part = all_lanes(dr * turn.sin);
    std::int32_t row[block], col[block];
    float row_fraction[block], col_fraction[block];
    Corners corners = {};
    float samples[block];
    for (size_t begin = 0; begin < n; begin += block) {
        const size_t count = n - begin < block ? n - begin : block;
        for (size_t j = 0; j < count; j += F64::count) {
            const F64 dc = all_lanes(first_dc + static_cast<double>(begin + j)) + load(lane_index);
            const F64 y =
                round_to_float(row_part - dc * all_lanes(turn.sin) + all_lanes(turn.centre_row));
            const F64 x =
                round_to_float(col_part + dc * all_lanes(turn.cos) + all_lanes(turn.centre_col));
            store_truncated(row + j, y);
            store_truncated(col + j, x);
            store_floats(row_fraction + j, y - truncate(y));
            store_floats(col_fraction + j, x - truncate(x));
        }
        for (size_t k = 0; k < channels; ++k) {
            for (size_t j = 0; j < count; ++j) {
                const size_t at = channels * static_cast<size_t>(col[j]) + k;
                const float* const upper = rows[row[j]] + at;
                const float* const lower = rows[row[j] + 1] + at;
                corners.at[j] = upper[0];
                corners.right[j] = upper[channels];
                corners.below[j] = lower[0];
                corners.diagonal[j] = lower[channels];
            }
            for (size_t j = 0; j < count; j += F64::count)
                store_floats(samples + j, blend(corners, j, load_floats(row_fraction + j),
                                                load_floats(col_fraction + j)));
            put(samples, to + channels * begin + k, channels, count);
        }
    }
}

template<size_t channels>
void scale_pixels(const float* upper, const float* lower, const ScaledColumns& columns,
                  double fraction, float* to, size_t n) {
    const F64 fy = all_lanes(fraction);
    Corners corners = {};
    float col_fraction[block];
    float samples[block];
    for (size_t begin = 0; begin < n; begin += block) {
        const size_t count = n - begin < block ? n - begin : block;
        for (size_t j = 0; j < count; ++j)
            col_fraction[j] = columns.fraction[begin + j];
        for (size_t k = 0; k < channels; ++k) {
            for (size_t j = 0; j < count; ++j) {
                const size_t at = channels * static_cast<size_t>(columns.whole[begin + j]) + k;
                corners.at[j] = upper[at];
                corners.right[j] = upper[at + channels];
                corners.below[j] = lower[at];
                corners.diagonal[j] = lower[at + channels];
            }
            for (size_t j = 0; j < count; j += F64::count)
                store_floats(samples + j, blend(corners, j, fy, load_floats(col_fraction + j)));
            put(samples, to + channels * begin + k, channels, count);
        }
    }
}

void turn_row(const float* const* rows, size_t channels, const Turn& turn, double dr,
              double first_dc, float* to, size_t n) {
    (channels == 1 ? turn_pixels<1> : turn_pixels<3>)(rows, turn, dr, first_dc, to, n);
}

void scale_row(const float* upper, const float* lower, size_t channels,
               const ScaledColumns& columns, double fraction, float* to, size_t n) {
    (channels == 1 ? scale_pixels<1> : scale_pixels<3>)(upper, lower, columns, fraction, to, n);
}

} // namespace

extern const SamplingKernels sampling_kernels;
const SamplingKernels sampling_kernels = {turn_row, scale_row};

} // namespace vorlane::VORLANE_LANES
