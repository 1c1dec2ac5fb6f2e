// Private: bilinear samples of rows of pixels, for the geometric transforms.
#pragma once

#include <cstddef>
#include <cstdint>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

// From a pixel of the result, dr rows and dc columns off the centre, to a position of the source:
// y = (dr cos - dc sin) + centre_row, x = (dr sin + dc cos) + centre_col, in double precision, each
// rounded to a float.
struct Turn {
    double cos, sin;
    double centre_row, centre_col;
};

// Where a scaled column samples the source.
struct ScaledColumns {
    const std::int32_t* whole;
    const float* fraction;
};

struct SamplingKernels {
    // n pixels of a row of the result: those at dr, first_dc, first_dc + 1, ... All their positions
    // have a next row and a next column.
    void (*turn_row)(const float* const* rows, std::size_t channels, const Turn& turn, double dr,
                     double first_dc, float* to, std::size_t n);

    // n pixels between two rows of the source, at the same columns and a `fraction` of a row below
    // the upper one.
    void (*scale_row)(const float* upper, const float* lower, std::size_t channels,
                      const ScaledColumns& columns, double fraction, float* to, std::size_t n);
};

VORLANE_DECLARE_KERNELS(SamplingKernels, sampling_kernels)

} // namespace vorlane
