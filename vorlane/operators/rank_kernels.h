// Private: medians of large windows by ranks.
#pragma once

#include <cstddef>
#include <cstdint>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// A channel of a part of an image, with the rank of every sample in it.
struct RankedPart {
    const std::uint32_t* ranks;                    // row by row
    const float* sorted;                           // the samples in the order of their ranks
    std::int64_t first_row, first_col, rows, cols; // what it covers of the image
    std::int64_t image_rows, image_cols;
    std::uint64_t* present; // scratch: a bit a rank, all 0 before and after
    std::int64_t* weights;  // scratch: a number a rank, all 0 before and after; null if no window
                            // leaves the image
};

struct PixelBlock {
    std::int64_t first_row, first_col, end_row, end_col;
};

struct RankKernels {
    // to[i][channels * j + channel] for the pixels of the block: the sample of rank
    // size * size / 2 of the window around each, positions clamped to the image. The part covers
    // all their windows.
    void (*filter_block)(const RankedPart& part, const PixelBlock& block, std::int64_t size,
                         float* const* to, std::int64_t channels, std::int64_t channel);
};

VORLANE_DECLARE_KERNELS(RankKernels, rank_kernels)

} // namespace vorlane
