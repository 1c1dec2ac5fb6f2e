#include <vorlane/image/digital_line.h>

#include <algorithm>
#include <limits>

#include <vorlane/image/arrays.h>

namespace vorlane {

namespace {

using std::int64_t;
using std::uint64_t;

uint64_t distance(int64_t a, int64_t b) {
    return static_cast<uint64_t>(a < b ? b - a : a - b);
}

struct Moves {
    uint64_t first, last;
    bool is_empty;
};

// How many moves from `start` in the direction `sign`, at most `most`, end at 0 to size - 1.
Moves moves_inside(int64_t start, int sign, uint64_t most, int size) {
    const int64_t near = sign > 0 ? -start : start - (size - 1);
    const int64_t far = sign > 0 ? size - 1 - start : start;
    if (far < 0 || near > static_cast<int64_t>(most))
        return {0, 0, true};
    return {static_cast<uint64_t>(std::max<int64_t>(near, 0)),
            std::min(static_cast<uint64_t>(far), most), false};
}

} // namespace

DigitalLine::DigitalLine(int64_t row1, int64_t col1, int64_t row2, int64_t col2)
    : row1_(row1), col1_(col1), row_sign_(row2 > row1 ? 1 : -1), col_sign_(col2 > col1 ? 1 : -1) {
    const uint64_t row_length = distance(row1, row2);
    const uint64_t col_length = distance(col1, col2);
    along_rows_ = row_length > col_length;
    steps_ = along_rows_ ? row_length : col_length;
    drift_ = along_rows_ ? col_length : row_length;
}

// Bresenham's error starts at steps / 2, loses `drift` a step, and is brought back to 0 or more by
// adding `steps`. Both lengths are below 2^32 where there is a drift, so no product exceeds 64
// bits.
uint64_t DigitalLine::sideways(uint64_t k) const {
    return drift_ == 0 ? 0 : (k * drift_ + (steps_ - 1 - steps_ / 2)) / steps_;
}

uint64_t DigitalLine::first_after(uint64_t moves) const {
    const uint64_t head_start = steps_ == 0 ? 0 : steps_ - 1 - steps_ / 2;
    if (moves * steps_ <= head_start)
        return 0;
    return (moves * steps_ - head_start + drift_ - 1) / drift_;
}

DigitalLine::Point DigitalLine::at(uint64_t k) const {
    const auto forward = static_cast<int64_t>(k);
    const auto aside = static_cast<int64_t>(sideways(k));
    return {row1_ + row_sign_ * (along_rows_ ? forward : aside),
            col1_ + col_sign_ * (along_rows_ ? aside : forward)};
}

DigitalLine::Part DigitalLine::inside(int nrows, int ncols) const {
    const Moves by_row = moves_inside(row1_, row_sign_, along_rows_ ? steps_ : drift_, nrows);
    const Moves by_col = moves_inside(col1_, col_sign_, along_rows_ ? drift_ : steps_, ncols);
    if (by_row.is_empty || by_col.is_empty)
        return {0, 0};
    const Moves& forward = along_rows_ ? by_row : by_col;
    const Moves& aside = along_rows_ ? by_col : by_row;
    Part part = {forward.first, forward.last + 1};
    if (aside.first > 0)
        part.begin = std::max(part.begin, first_after(aside.first));
    if (aside.last < drift_)
        part.end = std::min(part.end, first_after(aside.last + 1));
    return part;
}

} // namespace vorlane

void digiline(int row1, int col1, int row2, int col2, int* rows, int* cols, int* count) {
    const vorlane::DigitalLine line(row1, col1, row2, col2);
    *count = 0;
    if (line.count() > static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
        return;
    for (std::uint64_t k = 0; k < line.count(); ++k) {
        const vorlane::DigitalLine::Point point = line.at(k);
        rows[k] = static_cast<int>(point.row);
        cols[k] = static_cast<int>(point.col);
    }
    *count = static_cast<int>(line.count());
}
