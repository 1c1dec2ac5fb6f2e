// Private: planes in the size of a movie's frames.
#pragma once

#include <algorithm>
#include <cstdint>

#include <vorlane/image/plane.h>

namespace vorlane {

// A plane with at least rows x cols samples: the given one, if it is large enough, or a copy that
// is filled up by 0. Null if there is no memory.
class WholePlane {
public:
    WholePlane(const float* const* from, std::int64_t rows, std::int64_t cols) : plane_(from) {
        if (plane_holds(from, rows, cols))
            return;
        copy_.reset(make_plane(rows, cols));
        plane_ = copy_.get();
        if (!copy_ || !from)
            return;
        const std::int64_t common = std::min(cols, plane_cols(from));
        for (std::int64_t i = 0; i < std::min(rows, plane_rows(from)); ++i)
            std::copy_n(from[i], common, copy_.get()[i]);
    }

    const float* const* get() const { return plane_; }

private:
    PlaneHandle copy_;
    const float* const* plane_;
};

} // namespace vorlane
