#include "host/natural.h"
#include "host/operations/parts.h"

#include <algorithm>
#include <cmath>

namespace vorlane::host {

namespace {

constexpr double pi = 3.141592653589793;

constexpr Option scale_option(const char* name, const char* purpose, const char* initial) {
    return {.name = name,
            .kind = Kind::number,
            .purpose = purpose,
            .initial = initial,
            .low = 0.0,
            .high = 32.0,
            .excludes_low = true,
            .unit = "pixels"};
}

constexpr Option options[] = {
    scale_option("from", "Smallest scale, a sigma: about half the width of a line", "1"),
    scale_option("to", "Largest scale", "4"),
    {.name = "scales",
     .kind = Kind::integer,
     .purpose = "Number of scales, in equal steps",
     .initial = "4",
     .low = 1,
     .high = 1000},
    {.name = "bright", .purpose = "Only ridges brighter than their surroundings"},
    {.name = "dark", .purpose = "Only ridges darker than their surroundings"},
    {.name = "channel",
     .kind = Kind::choice,
     .purpose = "Of a colour picture: what to search",
     .initial = "mean",
     .choices = "mean|red|green|blue"},
    {.name = "mask",
     .kind = Kind::picture,
     .purpose = "A picture that is 0 where no ridge is wanted"},
    {.name = "scale-map",
     .kind = Kind::output,
     .purpose = "Also write the scales in colour: narrow ridges blue, wide ones red"},
    {.name = "overlay",
     .kind = Kind::output,
     .purpose = "Also write the picture with its ridges in the colours of their scales"},
    {.name = "threshold",
     .kind = Kind::number,
     .purpose = "The overlay shows ridges from this part of the strongest on",
     .initial = "0.1",
     .low = 0.0,
     .high = 1.0},
    {.name = "stages",
     .kind = Kind::folder,
     .purpose = "Also leave strength.pgm, direction.ppm (hue: the axis across the ridge) and "
                "scale.ppm in this folder"},
    plain_option("The library's own form: no ridges near the border"),
};

// What the search runs on: a gray picture as it is, of a colour one the mean or one channel.
ImagePtr gray_of(const CImage& image, const std::string& channel) {
    if (!is_colour(image))
        return std::make_unique<CImage>(image);
    if (channel == "mean")
        return checked(image.MakeGray(), "can't turn this picture gray");
    ImagePtr parts[3];
    for (ImagePtr& part : parts)
        part = std::make_unique<CImage>(image.nrows, image.ncols, ImageType::gray, FileFormat::pgm,
                                        PixelFormat::byte);
    image.ComputeRGB(parts[0].get(), parts[1].get(), parts[2].get());
    return std::move(parts[channel == "red" ? 0 : channel == "green" ? 1 : 2]);
}

// Narrow ridges are blue, wide ones red.
double hue_of_scale(double sigma, const Arguments& arguments) {
    const double from = arguments.number("from");
    const double to = arguments.number("to");
    const double span = std::abs(to - from);
    return span > 0.0 && arguments.integer("scales") > 1
               ? 0.67 * (1.0 - (sigma - std::min(from, to)) / span)
               : 0.33;
}

// Weak ridges stay visible beside a strong one.
double brightness(float strength) {
    return 255.0 * std::sqrt(double{strength});
}

ImagePtr scale_picture(const RidgeMap& map, const Arguments& arguments) {
    return paint(*map.strength, [&](int i, int j) {
        const float strength = map.strength->pixels[i][j];
        return strength > 0.0f ? colour_of_hue(hue_of_scale(map.scale->pixels[i][j], arguments),
                                               brightness(strength))
                               : std::array<float, 3>{};
    });
}

// An axis has no sign: half a turn goes through all hues.
ImagePtr direction_picture(const RidgeMap& map) {
    return paint(*map.strength, [&](int i, int j) {
        const float strength = map.strength->pixels[i][j];
        return strength > 0.0f
                   ? colour_of_hue(map.direction->pixels[i][j] / pi, brightness(strength))
                   : std::array<float, 3>{};
    });
}

// The picture itself, with its ridges above the threshold in the colour of their scale.
ImagePtr overlay(const CImage& source, const RidgeMap& map, const Arguments& arguments) {
    ImagePtr picture = colour_copy(source);
    stretch(*picture, 0.0, 255.0);
    const double threshold = arguments.number("threshold");
    for (int i = 0; i < source.nrows; ++i) {
        float* to = picture->pixels[i];
        for (int j = 0; j < source.ncols; ++j, to += 3) {
            const float strength = map.strength->pixels[i][j];
            if (strength > 0.0f && strength >= threshold) {
                const auto colour =
                    colour_of_hue(hue_of_scale(map.scale->pixels[i][j], arguments), 255.0);
                std::copy(colour.begin(), colour.end(), to);
            }
        }
    }
    picture->pixel_format = PixelFormat::byte;
    return picture;
}

RidgeMap find_plain_ridges(const CImage& gray, const RidgeScales& scales, const Call& call) {
    CImage image(gray);
    SetRidgeProgress([](int, float, void*) {}, nullptr); // in place of its lines on standard output
    image.ridges(static_cast<float>(scales.from), static_cast<float>(scales.to), scales.count,
                 scales.bright, scales.dark, scales.mask);
    SetRidgeProgress(nullptr, nullptr);
    if (!image.mag_plane)
        throw Error(take_message("can't find ridges in this picture"));
    if (call.progress)
        call.progress(scales.count, scales.count);
    RidgeMap map{};
    map.strength = image_of_plane(image, image.mag_plane);
    map.direction = image_of_plane(image, image.dir_plane);
    map.scale = image_of_plane(image, image.scale_plane);
    return map;
}

Result run(Subject& subject, const Call& call) {
    const Arguments& arguments = call.arguments;
    const ImagePtr gray = gray_of(*subject, arguments.text("channel"));
    RidgeScales scales;
    scales.from = arguments.number("from");
    scales.to = arguments.number("to");
    scales.count = arguments.integer("scales");
    scales.bright = arguments.flag("bright") || !arguments.flag("dark");
    scales.dark = arguments.flag("dark") || !arguments.flag("bright");
    scales.mask = arguments.picture("mask");
    if (scales.mask)
        check_same_size(*subject, *scales.mask, "the mask");
    const RidgeMap map = arguments.flag("plain") ? find_plain_ridges(*gray, scales, call)
                                                 : find_ridges(*gray, scales, call.progress);

    Result result = picture_result(stretched_copy(*map.strength));
    const auto add = [&](const char* option, const char* name, ImagePtr image) {
        result.further.push_back(
            {.option = option, .name = name, .image = std::move(image), .text = {}, .path = {}});
    };
    if (arguments.is_given("stages")) {
        add("stages", "strength.pgm", std::make_unique<CImage>(*result.image));
        add("stages", "direction.ppm", direction_picture(map));
        add("stages", "scale.ppm", scale_picture(map, arguments));
    }
    if (arguments.is_given("scale-map"))
        add("scale-map", "", scale_picture(map, arguments));
    if (arguments.is_given("overlay"))
        add("overlay", "", overlay(*subject, map, arguments));
    return result;
}

constexpr Operation table[] = {
    {.description = {.name = "ridges",
                     .purpose = "Find lines of any width, such as vessels",
                     .notes = "The result is their strength, from 0 to 255 at the strongest. "
                              "Without --bright and --dark both kinds are found.",
                     .example = "retina.ppm ridges.pgm --dark --channel green --from 2 --to 8 "
                                "--scales 7 --overlay vessels.ppm",
                     .options = options},
     .run = run},
};

} // namespace

std::span<const Operation> ridge_operations() {
    return table;
}

} // namespace vorlane::host
