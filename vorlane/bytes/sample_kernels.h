// Private: samples to bytes on file and back, as samples.h and colour_order.h say.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

struct SampleKernels {
    // The low 8, 16 or 32 bits of n samples as whole numbers, the low byte first but for
    // to_int16_high_first.
    void (*to_bytes)(const float* samples, unsigned char* bytes, std::size_t n);
    void (*to_int16)(const float* samples, unsigned char* bytes, std::size_t n);
    void (*to_int16_high_first)(const float* samples, unsigned char* bytes, std::size_t n);
    void (*to_int32)(const float* samples, unsigned char* bytes, std::size_t n);

    // The low 8 bits of (sample - lo) * 255 / width.
    void (*to_windowed_bytes)(const float* samples, unsigned char* bytes, std::size_t n, double lo,
                              double width);

    // Samples of n bytes, of n words, and of the low 12 bits of n words; the low byte first but for
    // high_first. Whole words give the bits that any of them has.
    void (*from_bytes)(const unsigned char* bytes, float* samples, std::size_t n);
    unsigned (*from_int16)(const unsigned char* bytes, float* samples, std::size_t n);
    unsigned (*from_int16_high_first)(const unsigned char* bytes, float* samples, std::size_t n);
    void (*from_int12)(const unsigned char* bytes, float* samples, std::size_t n);
    void (*from_int12_high_first)(const unsigned char* bytes, float* samples, std::size_t n);

    // Swaps the first and the last of the three bytes of each pixel; in place or not.
    void (*swap_ends)(const unsigned char* from, unsigned char* to, std::size_t pixels);
};

VORLANE_DECLARE_KERNELS(SampleKernels, sample_kernels)

} // namespace vorlane
