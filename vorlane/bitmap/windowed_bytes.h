// Private: samples through a window to bytes.
#pragma once

#include <cstddef>

namespace vorlane {

// Each sample v gives the byte of (v - lo) * 255 / (hi - lo), in double precision and this order.
void to_windowed_bytes(const float* samples, unsigned char* bytes, std::size_t count, double lo,
                       double hi);

} // namespace vorlane
