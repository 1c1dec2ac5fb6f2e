#include <cmath>
#include <optional>

#include <vorlane/vorlane.h>

#include "arrays.h"
#include "host/natural.h"
#include "parts.h"

namespace vorlane::python {

namespace {

// The library's own forms take any sigma that is above 0; what they make of it as a float counts.
float plain_sigma(double sigma) {
    const auto value = static_cast<float>(sigma);
    if (!(std::isfinite(value) && value > 0.0f))
        throw py::value_error("sigma must be above 0 and finite, not " +
                              std::string(py::repr(py::float_(sigma))));
    return value;
}

py::array smooth(py::handle object, double sigma, bool plain) {
    if (is_volume(object)) {
        const VolumeArgument volume(object);
        const float as_float = plain ? plain_sigma(sigma) : 0.0f;
        const auto smoothed = unlocked([&] {
            return plain ? host::VolumePtr((*volume).smooth_volume(as_float))
                         : host::smooth(*volume, sigma);
        });
        if (!smoothed)
            throw py::value_error("a volume of shape " + shape_text(volume.array()) +
                                  " can't be smoothed");
        return copy_volume(*smoothed);
    }
    const PictureArgument image(object);
    if (!plain)
        return adopt(unlocked([&] { return host::smooth(*image, sigma); }));
    const float as_float = plain_sigma(sigma);
    return picture_of("smooth", [&] { return image->smooth_image(as_float); });
}

py::array derivative(py::handle object, double sigma, int axis, bool plain) {
    if (axis < -2 || axis > 1)
        throw py::value_error("axis must be 0 (rows) or 1 (columns), not " + std::to_string(axis));
    const PictureArgument image(object);
    demand_gray(image);
    const bool along_columns = axis == 1 || axis == -1;
    if (!plain)
        return adopt(unlocked([&] {
            return host::derivative(*image, sigma, along_columns ? host::Axis::x : host::Axis::y);
        }));
    const float as_float = plain_sigma(sigma);
    return picture_of("derivative", [&] {
        return along_columns ? image->first_derivative_x(as_float)
                             : image->first_derivative_y(as_float);
    });
}

// The two planes that edges_mag_dir fills.
void find_plain_slopes(PictureArgument& image, float sigma) {
    unlocked([&] { image.writable().edges_mag_dir(sigma); });
    if (!image->mag_plane || !image->dir_plane)
        throw std::bad_alloc();
}

py::tuple gradient(py::handle object, double sigma, bool plain) {
    PictureArgument image(object);
    if (!plain) {
        auto slopes = unlocked([&] { return host::gradient(*image, sigma); });
        return py::make_tuple(adopt(std::move(slopes.magnitude)),
                              adopt(std::move(slopes.direction)));
    }
    find_plain_slopes(image, plain_sigma(sigma));
    CImage& done = image.writable();
    return py::make_tuple(adopt_plane(done.mag_plane, done.nrows, done.ncols),
                          adopt_plane(done.dir_plane, done.nrows, done.ncols));
}

py::array edges(py::handle object, double sigma, double high, double low, bool absolute,
                bool plain) {
    PictureArgument image(object);
    if (!plain) {
        const auto map = unlocked([&] {
            return host::find_edges(*image, sigma, {high, low, absolute});
        });
        return as_booleans(*map.edges);
    }
    if (absolute)
        throw py::value_error("absolute is for the natural form; leave out plain");
    if (!std::isfinite(high) || !std::isfinite(low))
        throw py::value_error("high and low must be finite");
    find_plain_slopes(image, plain_sigma(sigma));
    const ImagePtr linked = unlocked([&] {
        const ImagePtr thin = host::checked(image->non_maximum_suppression(), "edges");
        return host::checked(
            thin->hysteresis_thresholding(static_cast<float>(high), static_cast<float>(low)),
            "edges");
    });
    return as_booleans(*linked);
}

py::tuple ridges(py::handle object, double from, double to, int count, bool bright, bool dark,
                 py::handle mask_object, bool plain) {
    PictureArgument image(object);
    std::optional<PictureArgument> mask;
    if (!mask_object.is_none()) {
        mask.emplace(mask_object, "mask");
        demand_gray(*mask, "mask");
        demand_same_size(image, *mask, "mask");
    }
    const CImage* const mask_image = mask ? mask->get() : nullptr;
    if (!plain) {
        auto map = unlocked([&] {
            return host::find_ridges(*image, {from, to, count, bright, dark, mask_image});
        });
        return py::make_tuple(adopt(std::move(map.strength)), adopt(std::move(map.direction)),
                              adopt(std::move(map.scale)));
    }
    const float first = plain_sigma(from);
    const float last = plain_sigma(to);
    if (count < 1)
        throw py::value_error("n_scales must be 1 or more, not " + std::to_string(count));
    CImage& done = image.writable();
    unlocked([&] { done.ridges(first, last, count, bright, dark, mask_image); });
    if (!done.mag_plane || !done.dir_plane || !done.scale_plane)
        throw std::bad_alloc();
    return py::make_tuple(adopt_plane(done.mag_plane, done.nrows, done.ncols),
                          adopt_plane(done.dir_plane, done.nrows, done.ncols),
                          adopt_plane(done.scale_plane, done.nrows, done.ncols));
}

} // namespace

void add_filters(py::module_& module) {
    module.def("smooth", smooth);
    module.def("derivative", derivative);
    module.def("gradient", gradient);
    module.def("edges", edges);
    module.def("ridges", ridges);
}

} // namespace vorlane::python
