// Private: planes as the library itself makes and looks at them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <vorlane/image/arrays.h>

namespace vorlane {

enum class Fill {
    zeros,
    none // the caller writes every sample
};

// As make_2D_float_array, with sizes in 64 bits: a colour plane has 3 * cols columns.
float** make_plane(std::int64_t rows, std::int64_t cols, Fill fill = Fill::zeros);

// The size that the plane was made with. Only for planes made by this library. An image's fields
// may have changed since its planes were made, so whoever touches a plane that an earlier call left
// asks here.
std::int64_t plane_rows(const float* const* plane);
std::int64_t plane_cols(const float* const* plane);

// True if `plane` exists and has at least rows x cols samples.
bool plane_holds(const float* const* plane, std::int64_t rows, std::int64_t cols);

struct FreePlane {
    void operator()(float** plane) const { free_2D_float_array(plane); }
};
using PlaneHandle = std::unique_ptr<float*, FreePlane>;

} // namespace vorlane
