// Private: the kernels of the recursive filter of fourth order. One kernel serves the filter along
// columns and, with rows of different slices for `in`, across slices.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// What a line filter reads from a coefficient record, and a factor that multiplies the rounded
// result.
struct LineFilter {
    double u[4];
    double d[5]; // causal feedback, from 1
    double k;
    double m[5]; // from 1
    double e[5]; // anti-causal feedback, from 1
    float scale;
};

struct RecursiveKernels {
    // Lines that a wide block, and a block of a single vector, filter at once, as lanes.
    int lines_per_block;
    int lines_per_vector;

    // Filters `count` columns, from `col` on, of the n rows in[0] to in[n - 1], into the same
    // columns of `out`; in and out may be the same. `count` is at most lines_per_block; `scratch`
    // has 2 n floats for each line of the block, wide or not, that holds them.
    void (*columns)(const LineFilter& filter, const float* const* in, float* const* out,
                    std::size_t n, std::size_t col, std::size_t count, float* scratch);

    // Filters `count` rows of n pixels with `channels` interleaved samples each, every channel as a
    // line of its own. in and out may be the same. `scratch` has 2 n channels floats for each line
    // of the block.
    void (*rows)(const LineFilter& filter, const float* const* in, float* const* out, std::size_t n,
                 std::size_t channels, std::size_t count, float* scratch);
};

VORLANE_DECLARE_KERNELS(RecursiveKernels, recursive_kernels)

} // namespace vorlane
