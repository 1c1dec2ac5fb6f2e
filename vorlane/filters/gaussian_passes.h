// Private: the line filters of a given sigma, and how smoothing and derivatives compose them in
// place.
#pragma once

#include <cstddef>

#include <vorlane/filters/recursive_filter.h>

namespace vorlane {

constexpr float derivative_scale = 0.5f; // multiplies every sample of a first derivative

bool is_valid_sigma(float sigma);

LineFilter gaussian_filter(float sigma, float scale = 1.0f);
LineFilter derivative_filter(float sigma);

// The first derivatives along the rows and along the columns, of every channel of an interleaved
// plane: the derivative pass goes first. `rows_done` hears of rows of the result as soon as they
// are whole. False if there is no memory for scratch blocks.
bool differentiate_x(const float* const* in, float* const* out, std::size_t rows, std::size_t cols,
                     std::size_t channels, float sigma);
bool differentiate_y(const float* const* in, float* const* out, std::size_t rows, std::size_t cols,
                     std::size_t channels, float sigma, const RowsDone& rows_done = {});

} // namespace vorlane
