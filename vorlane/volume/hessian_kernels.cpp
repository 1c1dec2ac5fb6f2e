// Second differences of a volume and their eigenvalues over lanes.

#include <vorlane/simd/eigenvalues.h>
#include <vorlane/simd/rows.h>
#include <vorlane/volume/hessian_kernels.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;
// Rows i - 1 to i + 1 of slice k - 1, of slice k and of slice k + 1.
using Rows = const float* const (&)[9];

inline F64 quarter(F64 sum) {
    return round_to_float(sum * all_lanes(0.25));
}

// Index 0 is the row axis, 1 the column axis, 2 the slice axis. All six have the factor 0.25.
inline Symmetric3 second_differences(Rows rows, size_t j) {
    const auto at = [&](int slice, int row, int col) {
        return load_floats(rows[4 + 3 * slice + row] + j + col);
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

void eigenvalues(const float* const (*rows)[3], float* low, float* middle, float* high, size_t n) {
    if (n < 3)
        return;
    along_row<F64::count, 1>({rows[0][0], rows[0][1], rows[0][2], rows[1][0], rows[1][1],
                              rows[1][2], rows[2][0], rows[2][1], rows[2][2]},
                             {low, middle, high}, 1, n - 1, [](auto& in, auto& out, size_t j) {
                                 F64 sorted[3];
                                 absolute_eigenvalues(second_differences(in, j), sorted);
                                 for (size_t k = 0; k < 3; ++k)
                                     store_floats(out[k] + j, sorted[k]);
                             });
}

} // namespace

extern const HessianKernels hessian_kernels;
const HessianKernels hessian_kernels = {eigenvalues};

} // namespace vorlane::VORLANE_LANES
