// Private: the line filters of a given sigma, and how derivatives compose them in place.
#pragma once

#include <vorlane/filters/coefficients.h>
#include <vorlane/filters/recursive_filter.h>

namespace vorlane {

LineFilter gaussian_filter(float sigma, float scale = 1.0f);
LineFilter derivative_filter(float sigma);

// The first derivatives along the rows and along the columns, of every channel of an interleaved
// plane: the derivative pass goes first. `rows_done` hears of rows of the result as soon as they
// are whole.
void differentiate_x(const float* const* in, float* const* out, Index rows, Index cols,
                     Index channels, float sigma);
void differentiate_y(const float* const* in, float* const* out, Index rows, Index cols,
                     Index channels, float sigma, const RowsDone& rows_done = {});

} // namespace vorlane
