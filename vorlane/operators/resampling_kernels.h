// Private: rows of images that shrink or grow by a whole factor.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// How much of a pixel and of its neighbours to the right, below, and diagonally below goes into each
// sample of an enlarged row: entry k is that of the samples k, k + period, k + 2 period ..., where the period
// is the least multiple of the step from pixel to pixel and of most_double_lanes. All are floats.
struct EnlargingWeights {
    const double* pixel;
    const double* right;
    const double* below;
    const double* diagonal;
    std::size_t period;
};

struct ResamplingKernels {
    // The means of n blocks of factor x factor pixels, which lie side by side in `factor` rows: each
    // is summed row by row in double precision, divided by factor^2, and rounded.
    void (*mean_of_blocks)(const float* const* rows, std::size_t factor, std::size_t channels,
                           float* to, std::size_t n);

    // For the n pixels 0, 2, 4 ... of the middle one of three rows: the sum, row by row in double
    // precision, of the 3 x 3 pixels around with these weights, times `factor`. Left of the first
    // pixel stands the second.
    void (*weigh_every_second)(const float* const rows[3], const float weights[3][3], double factor,
                               std::size_t channels, float* to, std::size_t n);

    // n pixels, each of them `factor` times.
    void (*replicate)(const float* from, std::size_t channels, std::size_t factor, double* to,
                      std::size_t n);

    // n samples between two rows in which each pixel stands `step` samples before the next one:
    // (diagonal + below + right + pixel) / factor^2, each with its weight, in double precision. The rows
    // go on for `step` samples, and all of them are floats.
    void (*blend_rows)(const double* upper, const double* lower, std::size_t step,
                       const EnlargingWeights& weights, std::size_t factor, float* to,
                       std::size_t n);
};

VORLANE_DECLARE_KERNELS(ResamplingKernels, resampling_kernels)

} // namespace vorlane
