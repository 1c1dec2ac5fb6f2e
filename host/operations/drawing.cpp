#include "host/operations/parts.h"

#include <algorithm>
#include <cmath>

#include <vorlane/numerics/elementary.h>

namespace vorlane::host {

namespace {

constexpr Option value_option = {
    .name = "value", .kind = Kind::number, .purpose = "The value to draw with", .initial = "255"};

constexpr Option position_option(const char* name, const char* purpose) {
    return {.name = name,
            .kind = Kind::integer,
            .purpose = purpose,
            .values = "ROW COL",
            .initial = "0 0",
            .least = 2,
            .most = 2};
}

constexpr Option line_options[] = {position_option("from", "The first end"),
                                   position_option("to", "The last end"), value_option};
constexpr Option circle_options[] = {
    position_option("at", "The centre"),
    {.name = "radius",
     .kind = Kind::number,
     .purpose = "The radius",
     .initial = "20",
     .low = 0.0,
     .high = 1e6,
     .unit = "pixels"},
    value_option,
    plain_option("The library's own form: 360 points, which leave gaps from a radius of about 57 "
                 "pixels on"),
};
constexpr Option cross_options[] = {
    position_option("at", "The centre"),
    {.name = "length",
     .kind = Kind::integer,
     .purpose = "Pixels of an arm",
     .initial = "5",
     .low = 0,
     .high = 1e9},
    value_option,
};
constexpr Option fill_options[] = {
    position_option("at", "Where to start"),
    {.name = "boundary",
     .kind = Kind::number,
     .purpose = "The value that stops the fill",
     .initial = "255"},
    value_option,
};
constexpr Option convex_options[] = {value_option};

float value_of(const Call& call, const char* name = "value") {
    return static_cast<float>(call.arguments.number(name));
}

int row_of(const Call& call, const char* name) {
    return call.arguments.integer(name, 0);
}

int col_of(const Call& call, const char* name) {
    return call.arguments.integer(name, 1);
}

// Into a copy of the picture, or into the picture itself where the host has given it away.
template<void (*draw)(CImage&, const Call&)>
Result draw_into(Subject& subject, const Call& call) {
    ImagePtr picture = subject.take();
    draw(*picture, call);
    return picture_result(std::move(picture));
}

void draw_line(CImage& image, const Call& call) {
    image.DrawLine(row_of(call, "from"), col_of(call, "from"), row_of(call, "to"),
                   col_of(call, "to"), value_of(call));
}

// Points at most a pixel apart, joined by lines.
void draw_circle(CImage& image, const Call& call) {
    const double radius = call.arguments.number("radius");
    const int row = row_of(call, "at");
    const int col = col_of(call, "at");
    if (call.arguments.flag("plain")) {
        image.DrawCircle(row, col, static_cast<float>(radius), value_of(call));
        return;
    }
    constexpr double turn = 6.283185307179586;
    const int count = std::max(8, static_cast<int>(std::ceil(turn * radius)));
    const auto at = [&](int k, double& y, double& x) {
        y = std::round(row + radius * numerics::sin(turn * k / count));
        x = std::round(col + radius * numerics::cos(turn * k / count));
    };
    for (int k = 0; k < count; ++k) {
        double y0 = 0.0;
        double x0 = 0.0;
        double y1 = 0.0;
        double x1 = 0.0;
        at(k, y0, x0);
        at(k + 1, y1, x1);
        constexpr double limit = 2e9;
        if (std::max({std::abs(y0), std::abs(x0), std::abs(y1), std::abs(x1)}) < limit)
            image.DrawLine(static_cast<int>(y0), static_cast<int>(x0), static_cast<int>(y1),
                           static_cast<int>(x1), value_of(call));
    }
}

void draw_cross(CImage& image, const Call& call) {
    image.DrawCross(row_of(call, "at"), col_of(call, "at"), value_of(call),
                    call.arguments.integer("length"));
}

void fill(CImage& image, const Call& call) {
    const int row = row_of(call, "at");
    const int col = col_of(call, "at");
    if (row < 0 || row >= image.nrows || col < 0 || col >= image.ncols)
        throw UsageError("--at must lie in the picture, which has " + std::to_string(image.nrows) +
                         " rows and " + std::to_string(image.ncols) + " columns");
    image.FillObject(row, col, value_of(call), value_of(call, "boundary"));
}

void fill_convex(CImage& image, const Call& call) {
    image.FillConvexObject(value_of(call));
}

constexpr Operation table[] = {
    {.description = {.group = "draw",
                     .name = "line",
                     .purpose = "A line",
                     .notes = "Both ends belong to it; what falls outside the picture is left out.",
                     .example = "in.pgm out.pgm --from 0 0 --to 90 120",
                     .options = line_options},
     .run = draw_into<draw_line>},
    {.description = {.group = "draw",
                     .name = "circle",
                     .purpose = "A circle",
                     .example = "in.pgm out.pgm --at 50 60 --radius 30",
                     .options = circle_options},
     .run = draw_into<draw_circle>},
    {.description = {.group = "draw",
                     .name = "cross",
                     .purpose = "An upright cross",
                     .example = "in.pgm out.pgm --at 50 60 --length 4",
                     .options = cross_options},
     .run = draw_into<draw_cross>},
    {.description = {.group = "draw",
                     .name = "fill",
                     .purpose = "Fill up to a boundary",
                     .notes =
                         "Spreads from the start to the pixels above, below and beside it, so "
                         "that a boundary of pixels that meet at their corners holds it, and a "
                         "gap lets it out. A pixel of the boundary's value stops it; so does "
                         "one of the value to fill with.",
                     .example = "in.pgm out.pgm --at 50 60 --value 80 --boundary 255",
                     .options = fill_options},
     .run = draw_into<fill>},
    {.description = {.group = "draw",
                     .name = "convex",
                     .purpose = "Fill each row between its marks",
                     .example = "in.pgm out.pgm --value 255",
                     .options = convex_options},
     .run = draw_into<fill_convex>},
};

} // namespace

std::span<const Operation> drawing_operations() {
    return table;
}

} // namespace vorlane::host
