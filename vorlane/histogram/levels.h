// Private: the gray levels of an image as whole numbers, and their counts.
#pragma once

#include <cstdint>
#include <vector>

#include <vorlane/image/image.h>

namespace vorlane {

constexpr int no_level = -1; // of a pixel that has no bin

// The highest level of the pixels that count in `mask` (all of them if it is null), or no_level.
int highest_level(const CImage& image, const float* const* mask);

// How many pixels that count in `mask` have each level from 0 to `top`, the highest one. May throw
// std::bad_alloc.
std::vector<std::int64_t> count_of_levels(const CImage& image, const float* const* mask, int top);

} // namespace vorlane
