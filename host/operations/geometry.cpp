#include "host/natural.h"
#include "host/operations/parts.h"

#include <climits>
#include <cmath>

namespace vorlane::host {

namespace {

constexpr Option crop_options[] = {
    {.name = "rectangle",
     .kind = Kind::integer,
     .purpose = "First row and column, from 0, and how many of each",
     .values = "ROW COL ROWS COLS",
     .low = 0,
     .least = 4,
     .most = 4,
     .is_required = true},
};
constexpr Option factor_option = {.name = "factor",
                                  .kind = Kind::integer,
                                  .purpose = "The factor",
                                  .initial = "2",
                                  .low = 1,
                                  .high = INT_MAX};
constexpr Option reduce_options[] = {
    factor_option,
    {.name = "smooth",
     .purpose = "For factor 2: a wider filter than the mean, over 3 x 3 pixels",
     .alias = "filtered"},
};
constexpr Option enlarge_options[] = {
    factor_option,
    {.name = "smooth", .purpose = "Interpolate instead of repeating pixels"},
};
constexpr Option translate_options[] = {
    {.name = "shift",
     .kind = Kind::integer,
     .purpose = "Rows down and columns to the right",
     .values = "ROWS COLS",
     .least = 2,
     .most = 2,
     .is_required = true},
};
constexpr Option rotate_options[] = {
    {.name = "degrees",
     .kind = Kind::number,
     .purpose = "The angle; a negative one turns clockwise",
     .initial = "90",
     .low = -1e6,
     .high = 1e6},
    {.name = "expand", .purpose = "Make the result as large as the turned picture"},
    {.name = "keep-size",
     .purpose = "Keep the size at multiples of 90 degrees too, which turn it otherwise",
     .excludes = "expand"},
    {.name = "fill",
     .kind = Kind::number,
     .purpose = "The value of pixels from outside the picture",
     .initial = "0"},
    {.name = "plain",
     .purpose = "The library's own form: whole degrees about pixel (rows / 2, columns / 2), the "
                "size stays"},
};
constexpr Option scale_options[] = {
    {.name = "factor",
     .kind = Kind::number,
     .purpose = "The factor, or one for rows and one for columns",
     .values = "FACTOR [FACTOR]",
     .low = 0.0,
     .high = 10000.0,
     .excludes_low = true,
     .most = 2,
     .excludes = "size"},
    {.name = "size",
     .kind = Kind::integer,
     .purpose = "The new size",
     .values = "ROWS COLS",
     .low = 1,
     .high = 1000000,
     .least = 2,
     .most = 2},
    plain_option("The library's own form: not smoothed before, and positions on the last row and "
                 "column are 0, so that an enlarged picture has a black border there"),
};

Result run_crop(Subject& subject, const Call& call) {
    const auto at = [&](int k) { return call.arguments.integer("rectangle", k); };
    ImagePtr result(subject->Extract(at(0), at(1), at(2), at(3)));
    if (!result || at(2) == 0 || at(3) == 0)
        throw UsageError("--rectangle must lie in the picture, which has " +
                         std::to_string(subject->nrows) + " rows and " +
                         std::to_string(subject->ncols) + " columns, and hold pixels");
    return picture_result(std::move(result));
}

Result run_reduce(Subject& subject, const Call& call) {
    const int factor = call.arguments.integer("factor");
    if (factor > std::min(subject->nrows, subject->ncols))
        throw UsageError("--factor must be at most " +
                         std::to_string(std::min(subject->nrows, subject->ncols)) +
                         " for this picture; got " + std::to_string(factor));
    ImagePtr result(subject->Reduce(factor, call.arguments.flag("smooth") ? 1 : 0));
    return picture_result(std::move(result));
}

Result run_enlarge(Subject& subject, const Call& call) {
    const int factor = call.arguments.integer("factor");
    ImagePtr result(subject->Enlarge(factor, call.arguments.flag("smooth") ? 1 : 0));
    if (!result || !result->pixels)
        throw Error("there is no memory for a picture that is " + std::to_string(factor) +
                    " times as large");
    return picture_result(std::move(result));
}

Result run_translate(Subject& subject, const Call& call) {
    return picture_result(ImagePtr(subject->Translate(call.arguments.integer("shift", 0),
                                                      call.arguments.integer("shift", 1))));
}

Result run_rotate(Subject& subject, const Call& call) {
    const double degrees = call.arguments.number("degrees");
    if (!call.arguments.flag("plain")) {
        const bool is_exact = std::fmod(degrees, 90.0) == 0.0 && !call.arguments.flag("keep-size");
        return picture_result(rotate(*subject, degrees, is_exact || call.arguments.flag("expand"),
                                     call.arguments.number("fill")));
    }
    return picture_result(ImagePtr(subject->Rotate(static_cast<int>(degrees))));
}

Result run_scale(Subject& subject, const Call& call) {
    const Arguments& arguments = call.arguments;
    const bool is_plain = arguments.flag("plain");
    if (arguments.is_given("size")) {
        const int rows = arguments.integer("size", 0);
        const int cols = arguments.integer("size", 1);
        return picture_result(is_plain ? ImagePtr(subject->Scale(rows, cols))
                                       : scale(*subject, rows, cols));
    }
    const double row_factor = arguments.number("factor");
    const double col_factor =
        arguments.count("factor") > 1 ? arguments.number("factor", 1) : row_factor;
    return picture_result(is_plain ? ImagePtr(subject->Scale(static_cast<float>(row_factor),
                                                             static_cast<float>(col_factor)))
                                   : scale_by(*subject, row_factor, col_factor));
}

void check_rotate(const Arguments& arguments) {
    const double degrees = arguments.number("degrees");
    if (arguments.flag("plain") && degrees != std::floor(degrees))
        throw UsageError("--degrees must be a whole number with --plain");
}

void check_scale(const Arguments& arguments) {
    if (!arguments.is_given("factor") && !arguments.is_given("size"))
        throw UsageError("--factor or --size is missing");
}

constexpr Operation table[] = {
    {.description = {.group = "geometry",
                     .name = "crop",
                     .purpose = "Cut out a rectangle",
                     .example = "in.pgm out.pgm --rectangle 10 20 30 40",
                     .options = crop_options},
     .run = run_crop},
    {.description = {.group = "geometry",
                     .name = "reduce",
                     .purpose = "Shrink by a whole factor",
                     .notes = "Rows and columns that are left over are dropped.",
                     .example = "in.pgm out.pgm --factor 2",
                     .options = reduce_options},
     .run = run_reduce},
    {.description = {.group = "geometry",
                     .name = "enlarge",
                     .purpose = "Grow by a whole factor",
                     .example = "in.pgm out.pgm --factor 3",
                     .options = enlarge_options},
     .run = run_enlarge},
    {.description = {.group = "geometry",
                     .name = "translate",
                     .purpose = "Move the picture",
                     .notes = "What comes in from outside is 0.",
                     .example = "in.pgm out.pgm --shift 10 -20",
                     .options = translate_options},
     .run = run_translate},
    {.description = {.group = "geometry",
                     .name = "rotate",
                     .purpose = "Turn counter-clockwise",
                     .notes =
                         "Multiples of 90 degrees move whole pixels and lose nothing; at other "
                         "angles the size stays without --expand.",
                     .example = "in.pgm out.pgm --degrees 30 --expand",
                     .options = rotate_options},
     .run = run_rotate,
     .check = check_rotate},
    {.description = {.group = "geometry",
                     .name = "scale",
                     .purpose = "Scale by any factor, or to a size",
                     .notes =
                         "Bilinear, smoothed before where it shrinks; the border is continued.",
                     .example = "in.pgm out.pgm --factor 1.5",
                     .options = scale_options},
     .run = run_scale,
     .check = check_scale},
};

} // namespace

std::span<const Operation> geometry_operations() {
    return table;
}

} // namespace vorlane::host
