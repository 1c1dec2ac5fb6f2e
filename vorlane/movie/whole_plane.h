// Private: planes in the size of a movie's frames.
#pragma once

#include <algorithm>
#include <cstdint>

#include <vorlane/image/plane.h>

namespace vorlane {

// A plane with at least rows x cols samples: the given one, if it is large enough, or a copy that
// is filled up by 0. Throws std::bad_alloc.
class WholePlane {
public:
    WholePlane(const float* const* from, std::int64_t rows, std::int64_t cols) : plane_(from) {
        if (plane_holds(from, rows, cols))
            return;
        copy_ = Plane(rows, cols);
        plane_ = copy_.get();
        const std::int64_t common_rows = from ? std::min(rows, plane_rows(from)) : 0;
        for (std::int64_t i = 0; i < common_rows; ++i)
            std::copy_n(from[i], std::min(cols, plane_cols(from)), copy_[i]);
    }

    const float* const* get() const { return plane_; }

private:
    Plane copy_;
    const float* const* plane_;
};

} // namespace vorlane
