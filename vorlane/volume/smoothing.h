// Private: what smoothing and ridges of a volume share.
#pragma once

#include <vector>

#include <vorlane/image/index.h>

namespace vorlane {

// A slice in the making: rows x cols samples of `in` go, smoothed, into `out`.
struct SliceTask {
    const float* const* in;
    float* const* out;
    Index rows, cols;
};

// Smooths each slice in its plane and then, where the first rows x cols samples are, across the
// slices.
void smooth_slices(const std::vector<SliceTask>& slices, Index rows, Index cols, float sigma);

} // namespace vorlane
