// Sobel magnitude, weighted means and chamfer distances over lanes.

#include <vorlane/operators/neighbourhood_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

static inline F64 sobel_at(const float* const rows[3], size_t j) {
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

static void sobel(const float* const rows[3], float* to, size_t n) {
    size_t j = 1;
    for (; j + F64::count < n; j += F64::count)
        store_floats(to + j, sobel_at(rows, j));
    if (j + 1 >= n)
        return;
    // The rest of the row, in rows that are long enough for the lanes.
    float rest[3][F64::count + 2] = {};
    for (size_t r = 0; r < 3; ++r)
        for (size_t k = 0; j - 1 + k < n; ++k)
            rest[r][k] = rows[r][j - 1 + k];
    const float* const padded[3] = {rest[0], rest[1], rest[2]};
    float last[F64::count];
    store_floats(last, sobel_at(padded, 1));
    for (size_t k = 0; j + k + 1 < n; ++k)
        to[j + k] = last[k];
}

static inline double weight_at(const WindowRows& window, size_t row, size_t col) {
    const std::ptrdiff_t offset = window.first_offset + static_cast<std::ptrdiff_t>(col);
    return window.weights[row][offset < 0 ? -offset : offset];
}

template<size_t vectors>
static inline void weighted_means(const WindowRows& window, float* to, size_t j) {
    F64 sum[vectors];
    for (size_t v = 0; v < vectors; ++v)
        sum[v] = all_lanes(0.0);
    for (size_t a = 0; a < window.row_count; ++a) {
        const float* from = window.rows[a] + j;
        for (size_t b = 0; b < window.col_count; ++b, from += window.channels) {
            const F64 weight = all_lanes(weight_at(window, a, b));
            for (size_t v = 0; v < vectors; ++v)
                sum[v] = sum[v] + weight * load_floats(from + v * F64::count);
        }
    }
    for (size_t v = 0; v < vectors; ++v)
        store_floats(to + j + v * F64::count, sum[v] / all_lanes(window.total));
}

static void weighted_mean(const WindowRows& window, float* to, size_t n) {
    constexpr size_t group = 8;
    size_t j = 0;
    for (; j + group * F64::count <= n; j += group * F64::count)
        weighted_means<group>(window, to, j);
    for (; j + F64::count <= n; j += F64::count)
        weighted_means<1>(window, to, j);
    for (; j < n; ++j) {
        double sum = 0.0;
        for (size_t a = 0; a < window.row_count; ++a)
            for (size_t b = 0; b < window.col_count; ++b)
                sum += weight_at(window, a, b) * window.rows[a][j + b * window.channels];
        to[j] = static_cast<float>(sum / window.total);
    }
}

static inline float lower(float a, float b) {
    return a < b ? a : b;
}

// The steps from the row before, for every sample of the row.
static void spread_from(const float* before, float* row, size_t n) {
    row[0] = lower(before[0] + 1.0f, row[0]);
    if (n == 1)
        return;
    row[0] = lower(before[1] + diagonal_step, row[0]);
    const F32 straight = all_lanes(1.0f);
    const F32 diagonal = all_lanes(diagonal_step);
    size_t j = 1;
    for (; j + F32::count < n; j += F32::count) {
        const F32 aslant = minimum(load(before + j - 1), load(before + j + 1)) + diagonal;
        const F32 upright = load(before + j) + straight;
        store(row + j, minimum(minimum(aslant, upright), load(row + j)));
    }
    for (; j + 1 < n; ++j) {
        const float aslant = lower(before[j - 1], before[j + 1]) + diagonal_step;
        row[j] = lower(lower(aslant, before[j] + 1.0f), row[j]);
    }
    row[j] = lower(lower(before[j - 1] + diagonal_step, before[j] + 1.0f), row[j]);
}

static void spread_right(const float* before, float* row, size_t n) {
    if (before)
        spread_from(before, row, n);
    float distance = row[0];
    for (size_t j = 1; j < n; ++j)
        row[j] = distance = lower(distance + 1.0f, row[j]);
}

static void spread_left(const float* before, float* row, size_t n) {
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
