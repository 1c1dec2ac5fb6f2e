// Reading what says nothing about itself, and changing values on the way from file to file.
#include "host/operations/parts.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace vorlane::host {

namespace {

constexpr Option convert_options[] = {
    {.name = "gray", .purpose = "Turn colour into gray, before anything else"},
    {.name = "normalize",
     .kind = Kind::number,
     .purpose = "Stretch the values to LO to HI",
     .values = "LO HI",
     .least = 2,
     .most = 2},
    {.name = "window",
     .kind = Kind::number,
     .purpose = "Show WIDTH values around CENTRE as 0 to 255",
     .values = "CENTRE WIDTH",
     .least = 2,
     .most = 2,
     .excludes = "normalize"},
    {.name = "samples",
     .kind = Kind::choice,
     .purpose = "What a sample is in the file, where its format leaves the choice",
     .choices = "byte|int16|int32|float"},
    {.name = "template",
     .kind = Kind::path,
     .purpose = "The scanner file whose header a halvort file takes"},
};

constexpr Option size_option(const char* name, const char* purpose) {
    return {.name = name,
            .kind = Kind::integer,
            .purpose = purpose,
            .low = 1,
            .high = INT_MAX,
            .is_required = true};
}

constexpr Option raw_options[] = {
    size_option("rows", "Rows of the picture"),
    size_option("cols", "Columns of the picture"),
    {.name = "samples",
     .kind = Kind::choice,
     .purpose = "What a gray sample is; 12bit: the low 12 bits of 16",
     .initial = "byte",
     .choices = "byte|12bit|int16|int32|float"},
    {.name = "colour",
     .kind = Kind::choice,
     .purpose = "Colour, in bytes: red, green, blue together, or in planes one after the other",
     .choices = "together|planes",
     .excludes = "samples"},
    {.name = "swap", .purpose = "The high byte of a sample comes first"},
    {.name = "offset",
     .kind = Kind::integer,
     .purpose = "Bytes before the first sample",
     .initial = "0",
     .low = 0,
     .high = INT_MAX},
};

constexpr const char* gray_formats[] = {"byte", "12bit", "int16", "int32", "float"};

int index_of(const std::string& name, std::span<const char* const> names) {
    return static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
}

// Maps `width` values around `centre` to 0 to 255, and what lies beyond to the ends.
void apply_window(CImage& image, double centre, double width) {
    const int count = samples_per_row(image);
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < count; ++j) {
            float& sample = image.pixels[i][j];
            const double part = (sample - (centre - width / 2.0)) / width;
            sample = static_cast<float>(
                std::isnan(part) ? 0.0 : std::round(255.0 * std::clamp(part, 0.0, 1.0)));
        }
    }
}

Result run_convert(Subject& subject, const Call& call) {
    const Arguments& arguments = call.arguments;
    Result result;
    result.image = arguments.flag("gray") && is_colour(*subject)
                       ? checked(subject->MakeGray(), "can't turn this picture gray")
                       : nullptr;
    if (result.image)
        result.image->pixel_format = subject->pixel_format;
    else
        result.image = subject.take();
    if (arguments.is_given("window")) {
        apply_window(*result.image, arguments.number("window", 0), arguments.number("window", 1));
        result.image->pixel_format = PixelFormat::byte;
    }
    if (arguments.is_given("normalize"))
        stretch(*result.image, arguments.number("normalize", 0), arguments.number("normalize", 1));
    if (arguments.is_given("samples")) {
        constexpr const char* names[] = {"byte", "int16", "int32", "float"};
        constexpr Depth depths[] = {Depth::bits8, Depth::bits16, Depth::bits32, Depth::float32};
        result.depth = depths[index_of(arguments.text("samples"), names)];
    }
    return result;
}

// Here and not when it runs: the template is one for all threads.
void check_convert(const Arguments& arguments) {
    if (arguments.is_given("window") && !(arguments.number("window", 1) > 0.0))
        throw UsageError("the width of --window must be above 0");
    if (arguments.is_given("template"))
        SetHalvortTemplate(arguments.text("template").c_str());
}

Result run_raw(Subject&, const Call& call) {
    const Arguments& arguments = call.arguments;
    const std::string colour = arguments.text("colour");
    const int format = colour.empty() ? index_of(arguments.text("samples"), gray_formats)
                                      : (colour == "planes" ? 1 : 0);
    return picture_result(
        checked(Raw2Img(call.name.c_str(), arguments.integer("rows"), arguments.integer("cols"),
                        colour.empty() ? ImageType::gray : ImageType::colour, format,
                        arguments.flag("swap") ? 1 : 0, arguments.integer("offset")),
                "can't be read as a picture of this size"));
}

constexpr Operation table[] = {
    {.description = {.name = "convert",
                     .purpose = "Write a picture in another format",
                     .notes = "Values that the format can't hold are brought into its range as "
                              "--range says.",
                     .example = "picture.ppm gray.pgm --gray --normalize 0 255",
                     .options = convert_options},
     .run = run_convert,
     .check = check_convert},
    {.description = {.name = "raw",
                     .purpose = "Load data that has no header",
                     .notes = "Samples stand from the top row on.",
                     .example = "scan.dat scan.tq --rows 256 --cols 256 --samples int16 --swap",
                     .options = raw_options},
     .input = Input::file,
     .run = run_raw},
};

} // namespace

std::span<const Operation> file_operations() {
    return table;
}

} // namespace vorlane::host
