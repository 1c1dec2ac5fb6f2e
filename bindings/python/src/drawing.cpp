#include <vorlane/vorlane.h>

#include "arrays.h"
#include "parts.h"

namespace vorlane::python {

namespace {

// Drawing works on a copy, so that what is given stays as it is.
template<class Draw>
py::array drawn(py::handle object, Draw draw) {
    const PictureArgument image(object);
    return picture_of("drawing", [&]() -> CImage* {
        auto result = std::make_unique<CImage>(image.get());
        if (!result->pixels)
            return nullptr;
        draw(*result);
        return result.release();
    });
}

} // namespace

void add_drawing(py::module_& module) {
    module.def(
        "draw_line", [](py::handle image, int row1, int col1, int row2, int col2, float value) {
            return drawn(image, [=](CImage& on) { on.DrawLine(row1, col1, row2, col2, value); });
        });
    module.def("draw_circle", [](py::handle image, int row, int col, float radius, float value) {
        return drawn(image, [=](CImage& on) { on.DrawCircle(row, col, radius, value); });
    });
    module.def("draw_cross", [](py::handle image, int row, int col, float value, int length) {
        return drawn(image, [=](CImage& on) { on.DrawCross(row, col, value, length); });
    });
    module.def("fill", [](py::handle image, int row, int col, float value, float boundary) {
        return drawn(image, [=](CImage& on) { on.FillObject(row, col, value, boundary); });
    });
    module.def("fill_convex", [](py::handle image, float value) {
        return drawn(image, [=](CImage& on) { on.FillConvexObject(value); });
    });
}

} // namespace vorlane::python
