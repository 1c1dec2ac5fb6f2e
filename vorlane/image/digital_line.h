// Private: the digital line in closed form, so that a part of it can be had without the rest.
#pragma once

#include <cstdint>

namespace vorlane {

// The points from the first end to the last one, numbered from 0. The ends are ints; those of an
// upright line may be any sum of two ints.
class DigitalLine {
public:
    struct Point {
        std::int64_t row, col;
    };
    struct Part {
        std::uint64_t begin, end; // the points from begin to end - 1
    };

    DigitalLine(std::int64_t row1, std::int64_t col1, std::int64_t row2, std::int64_t col2);

    std::uint64_t count() const { return steps_ + 1; }

    Point at(std::uint64_t k) const;

    // The points that lie in an image of this size: one stretch of the line, or none.
    Part inside(int nrows, int ncols) const;

private:
    // Sideways steps among the first k ones.
    std::uint64_t sideways(std::uint64_t k) const;
    // The first point that has made `moves` sideways steps; there is one.
    std::uint64_t first_after(std::uint64_t moves) const;

    std::int64_t row1_, col1_;
    int row_sign_, col_sign_;
    bool along_rows_;
    std::uint64_t steps_; // of the longer axis: one a point
    std::uint64_t drift_; // of the shorter axis
};

} // namespace vorlane
