// Private: medians of small windows by networks of minima and maxima.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

constexpr int largest_network_median = 9;

struct MedianKernels {
    // Entry `size` filters a row: rows are the `size` rows of the window from its top, to[j] the
    // sample of rank size * size / 2 of the window around pixel j, column positions clamped to 0 to
    // cols - 1. Sizes from 2 on. Not-a-numbers give some sample of the window. Gives false if the
    // last one of the rows holds any.
    bool (*filter_row[largest_network_median + 1])(const float* const* rows, std::size_t cols,
                                                   std::size_t channels, float* to);
};

VORLANE_DECLARE_KERNELS(MedianKernels, median_kernels)

} // namespace vorlane
