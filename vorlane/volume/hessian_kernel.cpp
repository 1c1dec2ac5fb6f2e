// Second differences of a volume and their eigenvalues over lanes.

#include <vorlane/simd/eigenvalues.h>
#include <vorlane/simd/lanes.h>
#include <vorlane/volume/hessian_kernels.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;
using Rows = const float* const (*)[3]; // rows i - 1 to i + 1 of slices k - 1 to k + 1

static inline F64 quarter(F64 sum) {
    return round_to_float(sum * all_lanes(0.25));
}

// Index 0 is the row axis, 1 the column axis, 2 the slice axis. All six have the factor 0.25.
static inline Symmetric3 second_differences(Rows rows, size_t j) {
    const auto at = [&](int slice, int row, int col) {
        return load_floats(rows[1 + slice][1 + row] + j + col);
    };
    const F64 centre = at(0, 0, 0);
    const F64 twice = centre + centre;
    Symmetric3 h;
    h.a00 = quarter(at(0, -1, 0) - twice + at(0, 1, 0));
    h.a11 = quarter(at(0, 0, -1) - twice + at(0, 0, 1));
    h.a22 = quarter(at(-1, 0, 0) - twice + at(1, 0, 0));
    h.a01 = quarter(at(0, -1, -1) + at(0, 1, 1) - at(0, -1, 1) - at(0, 1, -1));
    h.a02 = quarter(at(1, 1, 0) + at(-1, -1, 0) - at(1, -1, 0) - at(-1, 1, 0));
    h.a12 = quarter(at(1, 0, 1) + at(-1, 0, -1) - at(-1, 0, 1) - at(1, 0, -1));
    return h;
}

static inline void eigenvalues_at(Rows rows, float* low, float* middle, float* high, size_t j) {
    F64 sorted[3];
    absolute_eigenvalues(second_differences(rows, j), sorted);
    store_floats(low + j, sorted[0]);
    store_floats(middle + j, sorted[1]);
    store_floats(high + j, sorted[2]);
}

static void eigenvalues(Rows rows, float* low, float* middle, float* high, size_t n) {
    constexpr size_t lanes = F64::count;
    if (n < 3)
        return;
    size_t j = 1;
    for (; j + lanes <= n - 1; j += lanes)
        eigenvalues_at(rows, low, middle, high, j);
    if (j == n - 1)
        return;
    // The rest of the row, in rows that are long enough for the lanes.
    float padded[3][3][lanes + 2] = {};
    float rest[3][lanes + 2];
    const float* pointers[3][3];
    for (size_t s = 0; s < 3; ++s) {
        for (size_t r = 0; r < 3; ++r) {
            pointers[s][r] = padded[s][r];
            for (size_t k = 0; j - 1 + k < n; ++k)
                padded[s][r][k] = rows[s][r][j - 1 + k];
        }
    }
    eigenvalues_at(pointers, rest[0], rest[1], rest[2], 1);
    for (size_t k = 1; j - 1 + k < n - 1; ++k) {
        low[j - 1 + k] = rest[0][k];
        middle[j - 1 + k] = rest[1][k];
        high[j - 1 + k] = rest[2][k];
    }
}

} // namespace

extern const HessianKernels hessian_kernels;
const HessianKernels hessian_kernels = {eigenvalues};

} // namespace vorlane::VORLANE_LANES
