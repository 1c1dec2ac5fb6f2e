// Private: samples through a window to bytes.
#pragma once

#include <cstddef>

#include <vorlane/bytes/sample_kernels.h>

namespace vorlane {

// Each sample v gives the byte of (v - lo) * 255 / (hi - lo), in double precision and this order.
inline void to_windowed_bytes(const float* samples, unsigned char* bytes, std::size_t count,
                              double lo, double hi) {
    pick_sample_kernels().to_windowed_bytes(samples, bytes, count, lo, hi - lo);
}

} // namespace vorlane
