// Private: medians of windows of middle sizes, block by block.
#pragma once

#include <cstddef>
#include <cstdint>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// A block of one channel, with room for its ranks.
struct MedianBlock {
    // Rows or columns: a rank then fits 16 bits with a sign.
    static constexpr std::int64_t longest = 181;
    static constexpr std::int64_t room = longest * longest;
    static constexpr std::int64_t padding = 64; // of what is read 64 entries at a time

    std::int64_t rows, cols;
    float samples[room]; // row by row
    float medians[room]; // likewise

    // By place in the block.
    std::uint32_t keys[room];
    std::uint16_t digits[room];
    std::int16_t ranks[room + padding];
    // By rank.
    std::uint32_t entries[2][room];
    unsigned char row_of[padding + room + padding];
    unsigned char col_of[padding + room + padding];
};

// Blocks with larger windows are all margin.
inline constexpr int largest_block_median = 117;

struct BlockMedianKernels {
    // To block.medians, the sample of rank size * size / 2 of every window of size x size in the
    // block: rows - size + 1 of cols - size + 1, which is a multiple of 4. Not-a-numbers rank above
    // all else. Changes what the block holds beside its samples. Null where the set compares one
    // integer at a time.
    void (*filter)(MedianBlock& block, std::int64_t size);
};

VORLANE_DECLARE_KERNELS(BlockMedianKernels, block_median_kernels)

} // namespace vorlane
