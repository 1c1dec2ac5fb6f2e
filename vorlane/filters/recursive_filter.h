// Private: the recursive filter over planes of any origin.
#pragma once

#include <cstddef>
#include <functional>

#include <vorlane/filters/recursive_kernels.h>

namespace vorlane {

LineFilter make_line_filter(const float* const* coef, float scale = 1.0f);

// Hears that the rows from `first` on, `count` of them, are filtered, while they are still in the
// cache.
using RowsDone = std::function<void(std::size_t first, std::size_t count)>;

// Filters n columns of `rows` rows, or `rows` rows of n pixels. False, with the output partly
// written, only if there is no memory for the scratch block of some lines.
bool filter_columns(const LineFilter& filter, const float* const* in, float* const* out,
                    std::size_t rows, std::size_t n);
bool filter_rows(const LineFilter& filter, const float* const* in, float* const* out,
                 std::size_t rows, std::size_t n, std::size_t channels = 1,
                 const RowsDone& rows_done = {});

} // namespace vorlane
