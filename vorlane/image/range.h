// Private: the range of samples, and linear stretches of it.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// The smallest and the largest sample. Every search in the library starts from these values; a
// not-a-number never counts.
struct Range {
    float min = 1000000.0f;
    float max = -1000000.0f;
};

struct RangeKernels {
    // Widens ranges[c] by the samples c, c + channels, ... of a row of n samples; channels is 1
    // or 3.
    void (*widen)(const float* row, std::size_t n, std::size_t channels, Range* ranges);

    // Replaces each sample s by (s - min) / (max - min) * span + lo, with the range of its channel.
    void (*stretch)(float* row, std::size_t n, std::size_t channels, const Range* ranges,
                    double span, double lo);
};

VORLANE_DECLARE_KERNELS(RangeKernels, range_kernels)

// The range of the first `cols` samples of each of `rows` rows.
inline Range find_range(const float* const* plane, int rows, int cols) {
    const RangeKernels& kernels = pick_range_kernels();
    Range range;
    for (int i = 0; i < rows; ++i)
        kernels.widen(plane[i], cols, 1, &range);
    return range;
}

} // namespace vorlane
