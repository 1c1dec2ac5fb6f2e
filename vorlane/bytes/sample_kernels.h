// Private: samples to bytes on file, as samples.h says.
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
};

VORLANE_DECLARE_KERNELS(SampleKernels, sample_kernels)

} // namespace vorlane
