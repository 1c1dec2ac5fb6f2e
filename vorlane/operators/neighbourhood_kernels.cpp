// Sobel magnitude, weighted means and chamfer distances over lanes.

#include <vorlane/operators/neighbourhood_kernels.h>
#include <vorlane/simd/rows.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

inline F64 sobel_at(const float* const (&rows)[3], size_t j) {
    const F64 two = all_lanes(2.0);
    const auto at = [&](int r, int c) { return load_floats(rows[r] + j + c - 1); };
    const F64 north_west = at(0, 0);
    const F64 north_east = at(0, 2);
    const F64 south_west = at(2, 0);
    const F64 south_east = at(2, 2);
    const F64 gx =
        (north_east + two * at(1, 2) + south_east) - (north_west + two * at(1, 0) + south_west);
    const F64 gy =
        (north_west + two * at(0, 1) + north_east) - (south_west + two * at(2, 1) + south_east);
    return square_root(gx * gx + gy * gy);
}

void sobel(const float* const rows[3], float* to, size_t n) {
    if (n < 3)
        return;
    along_row<F64::count, 1>(
        {rows[0], rows[1], rows[2]}, {to}, 1, n - 1,
        [](auto& in, auto& out, size_t j) { store_floats(out[0] + j, sobel_at(in, j)); });
}

inline double weight_at(const WindowRows& window, size_t row, size_t col) {
    const std::ptrdiff_t offset = window.first_offset + static_cast<std::ptrdiff_t>(col);
    return window.weights[row][offset < 0 ? -offset : offset];
}

// The means at `vectors` vectors of places from j on; or, if that is 0, at the last `count` places.
template<size_t vectors>
inline void weighted_means(const WindowRows& window, float* to, size_t j, size_t count = 0) {
    constexpr size_t sums = vectors == 0 ? 1 : vectors;
    F64 sum[sums];
    for (size_t v = 0; v < sums; ++v)
        sum[v] = all_lanes(0.0);
    for (size_t a = 0; a < window.row_count; ++a) {
        const float* from = window.rows[a] + j;
        for (size_t b = 0; b < window.col_count; ++b, from += window.channels) {
            const F64 weight = all_lanes(weight_at(window, a, b));
            for (size_t v = 0; v < sums; ++v) {
                const F64 samples = vectors == 0 ? load_first_floats(from, count)
                                                 : load_floats(from + v * F64::count);
                sum[v] = sum[v] + weight * samples;
            }
        }
    }
    for (size_t v = 0; v < sums; ++v) {
        const F64 mean = sum[v] / all_lanes(window.total);
        if constexpr (vectors == 0)
            store_first_floats(to + j, mean, count);
        else
            store_floats(to + j + v * F64::count, mean);
    }
}

void weighted_mean(const WindowRows& window, float* to, size_t n) {
    constexpr size_t group = 8;
    size_t j = 0;
    for (; j + group * F64::count <= n; j += group * F64::count)
        weighted_means<group>(window, to, j);
    for (; j + F64::count <= n; j += F64::count)
        weighted_means<1>(window, to, j);
    if (j < n && n >= F64::count)
        weighted_means<1>(window, to, n - F64::count); // some of them again
    else if (j < n)
        weighted_means<0>(window, to, j, n - j);
}

inline float lower(float a, float b) {
    return a < b ? a : b;
}

// The steps from the row before, for every sample of the row.
void spread_from(const float* before, float* row, size_t n) {
    row[0] = lower(before[0] + 1.0f, row[0]);
    if (n == 1)
        return;
    row[0] = lower(before[1] + diagonal_step, row[0]);
    along_row<F32::count, 1>({before, row}, {row}, 1, n - 1, [](auto& in, auto& out, size_t j) {
        const float* const from = in[0] + j;
        const F32 aslant = minimum(load(from - 1), load(from + 1)) + all_lanes(diagonal_step);
        const F32 upright = load(from) + all_lanes(1.0f);
        store(out[0] + j, minimum(minimum(aslant, upright), load(in[1] + j)));
    });
    row[n - 1] = lower(lower(before[n - 2] + diagonal_step, before[n - 1] + 1.0f), row[n - 1]);
}

void spread_right(const float* before, float* row, size_t n) {
    if (before)
        spread_from(before, row, n);
    float distance = row[0];
    for (size_t j = 1; j < n; ++j)
        row[j] = distance = lower(distance + 1.0f, row[j]);
}

void spread_left(const float* before, float* row, size_t n) {
    if (before)
        spread_from(before, row, n);
    float distance = row[n - 1];
    for (size_t j = n - 1; j-- > 0;)
        row[j] = distance = lower(distance + 1.0f, row[j]);
}

} // namespace

extern const NeighbourhoodKernels neighbourhood_kernels;
const NeighbourhoodKernels neighbourhood_kernels = {sobel, weighted_mean, spread_right,
                                                    spread_left};

} // namespace vorlane::VORLANE_LANES
