// Private: the voxel work of ridge detection in volumes, row by row.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

struct HessianKernels {
    // For 1 <= j <= n - 2: the absolute eigenvalues, in increasing order, of the matrix of second
    // differences of the voxels rows[1][1][j]; rows[s][r] is row i - 1 + r of slice k - 1 + s.
    void (*eigenvalues)(const float* const (*rows)[3], float* low, float* middle, float* high,
                        std::size_t n);
};

VORLANE_DECLARE_KERNELS(HessianKernels, hessian_kernels)

} // namespace vorlane
