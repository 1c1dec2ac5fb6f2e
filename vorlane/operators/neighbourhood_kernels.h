// Private: neighbourhood filters, row by row.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// A window that lies in the image at all of its places in a row.
struct WindowRows {
    const float* const* rows;     // one for each row of the window, at its first place
    const double* const* weights; // for each row: the weight of a column by its distance
    std::size_t row_count, col_count;
    std::ptrdiff_t first_offset; // columns from the centre to the window's first one
    std::size_t channels;
    double total; // of all weights
};

constexpr float far_away = 1000000.0f;      // a distance before any is known
constexpr float diagonal_step = 1.4142137f; // one unit above the float nearest to sqrt(2)

struct NeighbourhoodKernels {
    // to[j], for 1 <= j <= n - 2: the Sobel gradient magnitude in the middle of three rows.
    void (*sobel)(const float* const rows[3], float* to, std::size_t n);

    // to[j] for n samples: the weighted mean of the window that moves along the rows with j.
    void (*weighted_mean)(const WindowRows& window, float* to, std::size_t n);

    // Lowers a row of distances to those by way of the row before, finished, which may be null, and
    // then by way of the sample to the left, or to the right.
    void (*spread_right)(const float* before, float* row, std::size_t n);
    void (*spread_left)(const float* before, float* row, std::size_t n);
};

VORLANE_DECLARE_KERNELS(NeighbourhoodKernels, neighbourhood_kernels)

} // namespace vorlane
