#include <cmath>

#include <vorlane/vorlane.h>

#include "arrays.h"
#include "host/natural.h"
#include "parts.h"

namespace vorlane::python {

namespace {

void demand(bool holds, const std::string& text) {
    if (!holds)
        throw py::value_error(text);
}

std::string text_of(long long value) {
    return std::to_string(value);
}

py::array median(py::handle object, int size) {
    demand(size >= 1, "size must be 1 or more, not " + text_of(size));
    const PictureArgument image(object);
    return picture_of("median", [&] { return image->Median(size); });
}

py::array threshold(py::handle object, float level) {
    const PictureArgument image(object);
    return picture_of("threshold", [&] { return image->Threshold(level); });
}

py::array distance_mean(py::handle object, int size) {
    demand(size >= 2, "size must be 2 or more, not " + text_of(size));
    const PictureArgument image(object);
    return picture_of("distance_mean", [&] { return image->DistanceFilter(size); });
}

py::object sobel(py::handle object) {
    PictureArgument image(object);
    unlocked([&] { image.writable().SobelFilter(); });
    CImage& done = image.writable();
    if (!done.mag_plane)
        throw std::bad_alloc();
    return adopt_plane(done.mag_plane, done.nrows, done.ncols);
}

py::array chamfer(py::handle object) {
    const PictureArgument image(object);
    demand_gray(image);
    return picture_of("chamfer", [&] { return image->Chamfer(); });
}

py::array extract(py::handle object, int row, int col, int rows, int cols) {
    const PictureArgument image(object);
    const bool lies_inside = row >= 0 && col >= 0 && rows >= 0 && cols >= 0 &&
                             rows <= image->nrows - row && cols <= image->ncols - col;
    demand(lies_inside,
           "the rectangle doesn't lie in an image of shape " + shape_text(image.array()));
    return picture_of("extract", [&] { return image->Extract(row, col, rows, cols); });
}

py::array reduce(py::handle object, int factor, bool filtered) {
    demand(factor >= 1, "factor must be 1 or more, not " + text_of(factor));
    demand(!filtered || factor == 2, "filtered needs factor 2");
    const PictureArgument image(object);
    return picture_of("reduce", [&] { return image->Reduce(factor, filtered ? 1 : 0); });
}

py::array enlarge(py::handle object, int factor, bool bilinear) {
    demand(factor >= 1, "factor must be 1 or more, not " + text_of(factor));
    const PictureArgument image(object);
    return picture_of("enlarge", [&] { return image->Enlarge(factor, bilinear ? 1 : 0); });
}

py::array translate(py::handle object, int rows, int cols) {
    const PictureArgument image(object);
    return picture_of("translate", [&] { return image->Translate(rows, cols); });
}

py::array rgb_to_luv(py::handle object) {
    const PictureArgument image(object);
    demand_colour(image);
    return picture_of("rgb_to_luv", [&] { return image->RGB_to_LUV(); });
}

py::array luv_to_rgb(py::handle object) {
    const PictureArgument image(object);
    demand_colour(image);
    return picture_of("luv_to_rgb", [&]() -> CImage* {
        auto result = std::make_unique<CImage>(image.get());
        if (!result->pixels)
            return nullptr;
        for (int i = 0; i < result->nrows; ++i) {
            float* pixel = result->pixels[i];
            for (int j = 0; j < result->ncols; ++j, pixel += 3)
                LUV_to_RGB(pixel[0], pixel[1], pixel[2], pixel, pixel + 1, pixel + 2);
        }
        return result.release();
    });
}

py::array to_gray(py::handle object) {
    const PictureArgument image(object);
    demand_colour(image);
    return picture_of("to_gray", [&] { return image->MakeGray(); });
}

py::array to_colour(py::handle object, bool stretch) {
    const PictureArgument image(object);
    demand_gray(image);
    return picture_of("to_colour", [&] { return image->MakeColor(stretch ? 1 : 0); });
}

py::array invert(py::handle object) {
    const PictureArgument image(object);
    return picture_of("invert", [&] { return image->Invert(); });
}

py::array normalize(py::handle object, float low, float high) {
    const PictureArgument image(object);
    demand_gray(image);
    return picture_of("normalize", [&]() -> CImage* {
        auto result = std::make_unique<CImage>(image.get());
        if (!result->pixels)
            return nullptr;
        result->Normalize(low, high);
        return result.release();
    });
}

template<CImage* (CImage::*operation)(const CImage*) const>
py::array combine(py::handle first, py::handle second) {
    const PictureArgument a(first, "a");
    const PictureArgument b(second, "b");
    demand_same_size(a, b, "b");
    return picture_of("combination", [&] { return (a.get()->*operation)(b.get()); });
}

py::array noise(py::handle object, float sigma) {
    const PictureArgument image(object);
    demand_gray(image);
    demand(std::isfinite(sigma) && sigma >= 0, "sigma must be 0 or more");
    return picture_of("noise", [&] { return image->GNoise(sigma); });
}

py::array rotate(py::handle object, double degrees, bool expand, bool plain) {
    const PictureArgument image(object);
    if (!plain)
        return adopt(unlocked([&] { return host::rotate(*image, degrees, expand); }));
    demand(!expand, "expand is for the natural form; leave out plain");
    demand(degrees == std::trunc(degrees) && std::fabs(degrees) <= 1e9,
           "plain rotation takes whole degrees");
    return picture_of("rotate", [&] { return image->Rotate(static_cast<int>(degrees)); });
}

py::array scale(py::handle object, double row_factor, double col_factor, bool plain) {
    const PictureArgument image(object);
    if (!plain)
        return adopt(unlocked([&] { return host::scale_by(*image, row_factor, col_factor); }));
    demand(row_factor >= 0 && col_factor >= 0, "factors must be 0 or more");
    return picture_of("scale", [&] {
        return image->Scale(static_cast<float>(row_factor), static_cast<float>(col_factor));
    });
}

} // namespace

void add_operators(py::module_& module) {
    module.def("median", median);
    module.def("threshold", threshold);
    module.def("distance_mean", distance_mean);
    module.def("sobel", sobel);
    module.def("chamfer", chamfer);
    module.def("extract", extract);
    module.def("reduce", reduce);
    module.def("enlarge", enlarge);
    module.def("translate", translate);
    module.def("rotate", rotate);
    module.def("scale", scale);
    module.def("rgb_to_luv", rgb_to_luv);
    module.def("luv_to_rgb", luv_to_rgb);
    module.def("to_gray", to_gray);
    module.def("to_colour", to_colour);
    module.def("invert", invert);
    module.def("normalize", normalize);
    module.def("noise", noise);
    module.def("add", combine<&CImage::Addseq>);
    module.def("multiply", combine<&CImage::Multseq>);
    module.def("maximum", combine<&CImage::Maxseq>);
    module.def("minimum", combine<&CImage::Minseq>);
    module.def("mask_keep", combine<&CImage::Andseq>);
    module.def("mask_set", combine<&CImage::Orseq>);
    module.def("superpose", combine<&CImage::Superpose>);
}

} // namespace vorlane::python
