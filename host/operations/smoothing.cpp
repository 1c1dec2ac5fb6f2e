// Smoothing, slopes and colour spaces.
#include "host/natural.h"
#include "host/operations/parts.h"

namespace vorlane::host {

namespace {

constexpr Option sigma_option(double low, bool excludes_low) {
    return {.name = "sigma",
            .kind = Kind::number,
            .purpose = "Standard deviation of the Gaussian",
            .initial = "2",
            .low = low,
            .high = 1000.0,
            .excludes_low = excludes_low,
            .unit = "pixels"};
}

constexpr Option smooth_options[] = {
    sigma_option(0.0, true),
    plain_option("The library's own filter, whose gain isn't 1; colour channels are stretched"),
};

constexpr Option derivative_options[] = {
    sigma_option(0.3, false),
    {.name = "axis",
     .kind = Kind::choice,
     .purpose = "x along the rows, y along the columns",
     .initial = "x",
     .choices = "x|y"},
    plain_option("The library's own filter: of opposite sign, with a gain; colour turns gray"),
};

float as_float(double value) {
    return static_cast<float>(value);
}

Result run_smooth(Subject& subject, const Call& call) {
    const double sigma = call.arguments.number("sigma");
    if (!call.arguments.flag("plain"))
        return picture_result(smooth(*subject, sigma));
    return picture_result(
        checked(subject->smooth_image(as_float(sigma)), "can't smooth this picture"));
}

Result run_derivative(Subject& subject, const Call& call) {
    const double sigma = call.arguments.number("sigma");
    const bool is_x = call.arguments.text("axis") == "x";
    if (!call.arguments.flag("plain"))
        return picture_result(derivative(*subject, sigma, is_x ? Axis::x : Axis::y));
    ImagePtr gray;
    if (is_colour(*subject))
        gray = checked(subject->MakeGray(), "can't turn this picture gray");
    const CImage& image = gray ? *gray : *subject;
    return picture_result(checked(is_x ? image.first_derivative_x(as_float(sigma))
                                       : image.first_derivative_y(as_float(sigma)),
                                  "can't filter this picture"));
}

Result run_luv(Subject& subject, const Call&) {
    if (!is_colour(*subject))
        throw Error("not a colour image");
    ImagePtr luv = checked(subject->RGB_to_LUV(), "can't convert this picture");
    luv->pixel_format = PixelFormat::float32;
    return picture_result(std::move(luv));
}

constexpr Operation table[] = {
    {.description = {.name = "smooth",
                     .purpose = "Smooth with a Gaussian",
                     .notes = "Keeps the brightness, to the border.",
                     .example = "picture.pgm smooth.pgm --sigma 4",
                     .options = smooth_options},
     .run = run_smooth},
    {.description = {.name = "derivative",
                     .purpose = "First derivative of the smoothed picture",
                     .notes = "In gray levels a pixel, positive where the picture rises to the "
                              "right (x) or downwards (y); channel by channel.",
                     .example = "picture.pgm slope.tq --axis y --sigma 2",
                     .options = derivative_options},
     .run = run_derivative},
    {.description = {.name = "luv",
                     .purpose = "Convert a colour picture to L*u*v*",
                     .notes = "CIE 1976 with a D65 white point, rounded to whole numbers.",
                     .example = "picture.ppm luv.ppm"},
     .run = run_luv},
};

} // namespace

std::span<const Operation> smoothing_operations() {
    return table;
}

} // namespace vorlane::host
