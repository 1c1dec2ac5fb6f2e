// Planes and arrays of samples, and the digital line.
//
// A float plane is a table of row pointers: plane[r][c] is the sample of row r and column c, both
// from 0. One block of memory holds table and samples, but for a view, whose samples a host keeps
// elsewhere. Rows need not follow each other without a gap, so go through the row pointers. Whoever makes an
// array releases it with the matching `free_` function, or hands it to an object that does.
#pragma once

#include <cstddef>

#include <vorlane/platform/export.h>

// A plane of rows x cols samples, all 0.0. A size of 0 gives a valid plane without samples. Null if
// a size is negative, or if the machine doesn't have the memory. Large planes take memory only as
// they are written to.
VORLANE_API float** make_2D_float_array(int rows, int cols);

// A plane of rows x cols samples that lie in memory of the caller's: row r starts at
// samples + r * pitch, a pitch in floats that may be negative. Nothing is copied; the samples stay
// the caller's and outlive the plane. Null as above.
VORLANE_API float** make_2D_float_view(float* samples, int rows, int cols, std::ptrdiff_t pitch);

// Releases a plane whole, of a view only the row pointers. Null is ignored.
VORLANE_API void free_2D_float_array(float** plane);

// n floats; their values are open, write them before you read them. Null if n is negative or memory
// is short. free_1D_float_array ignores null.
VORLANE_API float* make_1D_float_array(int n);
VORLANE_API void free_1D_float_array(float* array);

// n ints, all 0. Null if n is negative or memory is short. free_1D_int_array ignores null.
VORLANE_API int* make_1D_int_array(int n);
VORLANE_API void free_1D_int_array(int* array);

// The points of the digital line from (row1, col1) to (row2, col2), both ends included: the k-th is
// (rows[k], cols[k]), for k below *count. Each point is one of the 8 neighbours of the one before
// it, and there are max(|row2 - row1|, |col2 - col1|) + 1 of them, one if the ends coincide; `rows`
// and `cols` must have room for them. A line of more points than an int counts is not made: *count
// is 0 then. Source: J. E. Bresenham, "Algorithm for computer control of a digital plotter", 1965.
VORLANE_API void digiline(int row1, int col1, int row2, int col2, int* rows, int* cols, int* count);

// A comparison for qsort on floats: negative, 0 or positive as *a is below, equal to or above *b.
// Not-a-numbers are equal to each other and above all else, so that a sort always ends well.
VORLANE_API int rank_float_increasing(const void* a, const void* b);
