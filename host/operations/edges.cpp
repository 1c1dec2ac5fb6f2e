#include "host/natural.h"
#include "host/operations/parts.h"

#include <algorithm>
#include <cmath>

namespace vorlane::host {

namespace {

constexpr Option options[] = {
    {.name = "sigma",
     .kind = Kind::number,
     .purpose = "Standard deviation of the smoothing",
     .initial = "2",
     .low = 0.3,
     .high = 1000.0,
     .unit = "pixels"},
    {.name = "high",
     .kind = Kind::number,
     .purpose = "Edges start above this part of the steepest slope",
     .initial = "0.2",
     .low = 0.0},
    {.name = "low",
     .kind = Kind::number,
     .purpose = "Edges go on above this part of the steepest slope",
     .initial = "0.08",
     .low = 0.0},
    {.name = "absolute",
     .purpose = "Both thresholds are in gray levels a pixel, so that they mean the same in every "
                "picture"},
    {.name = "stages",
     .kind = Kind::folder,
     .purpose = "Also leave magnitude.pgm, direction.ppm (as a colour wheel: red rises to the "
                "right) and thin.pgm in this folder"},
    {.name = "plain",
     .purpose = "The library's own form, with an empty border",
     .excludes = "absolute"},
};

// Directions from 0 to 2 pi as hues, with strengths from 0 to `strongest` as brightness.
ImagePtr colour_wheel(const CImage& direction, const CImage& strength, double strongest) {
    constexpr double turn = 6.283185307179586;
    return paint(direction, [&](int i, int j) {
        const double value = strength.pixels[i][j] / strongest;
        const double angle = direction.pixels[i][j];
        return value > 0.0 && !std::isnan(angle)
                   ? colour_of_hue(angle / turn, 255.0 * std::min(value, 1.0))
                   : std::array<float, 3>{};
    });
}

void add_stages(Result& result, const CImage& magnitude, const CImage& direction,
                const CImage& thin, double steepest) {
    const auto add = [&](const char* name, ImagePtr image) {
        result.further.push_back(
            {.option = "stages", .name = name, .image = std::move(image), .text = {}, .path = {}});
    };
    add("magnitude.pgm", stretched_copy(magnitude));
    add("thin.pgm", stretched_copy(thin));
    add("direction.ppm", colour_wheel(direction, magnitude, steepest));
}

Result run_plain(Subject& subject, const Call& call) {
    const auto value = [&](const char* name) {
        return static_cast<float>(call.arguments.number(name));
    };
    const ImagePtr image = subject.take();
    image->edges_mag_dir(value("sigma"));
    const ImagePtr thin = checked(image->non_maximum_suppression(), "can't find edges here");
    Result result = picture_result(
        checked(thin->hysteresis_thresholding(value("high"), value("low")), "can't link edges"));
    if (call.arguments.is_given("stages"))
        add_stages(result, *image_of_plane(*image, image->mag_plane),
                   *image_of_plane(*image, image->dir_plane), *thin, 1.0);
    return result;
}

Result run(Subject& subject, const Call& call) {
    if (call.arguments.flag("plain"))
        return run_plain(subject, call);
    const EdgeThresholds thresholds{.high = call.arguments.number("high"),
                                    .low = call.arguments.number("low"),
                                    .absolute = call.arguments.flag("absolute")};
    EdgeMap map = find_edges(*subject, call.arguments.number("sigma"), thresholds);
    Result result = picture_result(std::move(map.edges));
    if (call.arguments.is_given("stages"))
        add_stages(result, *map.magnitude, *map.direction, *map.thin, map.steepest_slope);
    return result;
}

void check(const Arguments& arguments) {
    if (arguments.number("low") > arguments.number("high"))
        throw UsageError("--low must be at most --high");
    if (arguments.flag("absolute") && !(arguments.is_given("high") && arguments.is_given("low")))
        throw UsageError("--absolute needs --high and --low in gray levels a pixel");
}

constexpr Operation table[] = {
    {.description = {.name = "edges",
                     .purpose = "Find the edges of a picture",
                     .notes = "White lines on black. Beyond its border the picture counts as "
                              "continued, so that edges reach the border and the border is none.",
                     .example = "picture.pgm edges.pgm --sigma 2 --high 0.2 --low 0.08",
                     .options = options},
     .run = run,
     .check = check},
};

} // namespace

std::span<const Operation> edge_operations() {
    return table;
}

} // namespace vorlane::host
