// Private: the recursive filter over planes of any origin.
#pragma once

#include <functional>

#include <vorlane/filters/coefficients.h>
#include <vorlane/filters/recursive_kernels.h>
#include <vorlane/image/index.h>

namespace vorlane {

LineFilter make_line_filter(const Coefficients& c, float scale = 1.0f);
LineFilter make_line_filter(const float* const* record, float scale = 1.0f);

// Hears that the rows from `first` on, `count` of them, are filtered, while they are still in the
// cache.
using RowsDone = std::function<void(Index first, Index count)>;

// Filter n columns of `rows` rows, or `rows` rows of n pixels. They throw std::bad_alloc, with
// nothing written, if there is no memory for the scratch block of some lines: no more than two
// planes of this size, but for a few megabytes that even a thin plane may take.
void filter_columns(const LineFilter& filter, const float* const* in, float* const* out, Index rows,
                    Index n);
void filter_rows(const LineFilter& filter, const float* const* in, float* const* out, Index rows,
                 Index n, Index channels = 1, const RowsDone& rows_done = {});

} // namespace vorlane
