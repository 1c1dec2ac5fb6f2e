// Private: the gray levels of an image as whole numbers, and their counts.
#pragma once

#include <vorlane/image/image.h>

namespace vorlane {

constexpr int no_level = -1; // of a pixel that has no bin

// The highest level of the pixels that count in `mask` (all of them if it is null), or no_level.
int highest_level(const CImage& image, const float* const* mask);

// Counts the pixels that count in `mask` into `bins`, zeros for the levels from 0 to `top`, the
// highest one; a count stops at the largest int. With `drop_zero` bin 0 is cleared behind. Returns
// the largest count. May throw std::bad_alloc.
int count_levels(const CImage& image, const float* const* mask, int top, bool drop_zero, int* bins);

} // namespace vorlane
