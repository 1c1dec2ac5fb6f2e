// Private: pixels of red, green, blue and of blue, green, red.
#pragma once

#include <cstddef>

namespace vorlane {

// Swaps the first and the last of the three bytes of each pixel; in place or not.
void swap_ends(const unsigned char* from, unsigned char* to, std::size_t pixels);

// The same with samples as the result.
void swap_ends(const unsigned char* from, float* to, std::size_t pixels);

} // namespace vorlane
