#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

constexpr double pi = 3.141592653589793;

struct RidgeOptions {
    std::string in, out, mask, channel = "mean", scale_map, overlay, stages;
    float from = 1.0f;
    float to = 4.0f;
    int scales = 4;
    bool bright = false;
    bool dark = false;
    float threshold = 0.1f;
};

// What the search runs on: a gray image as it is, of a colour image the mean or one channel.
ImagePtr gray_of(const CImage& image, const std::string& channel) {
    if (image.image_type == 0)
        return std::make_unique<CImage>(image);
    if (channel == "mean")
        return checked(image.MakeGray(), "Can't make this image gray");
    ImagePtr parts[3];
    for (ImagePtr& part : parts)
        part = std::make_unique<CImage>(image.nrows, image.ncols, 0, 1, 4);
    image.ComputeRGB(parts[0].get(), parts[1].get(), parts[2].get());
    return std::move(parts[channel == "red" ? 0 : channel == "green" ? 1 : 2]);
}

// Narrow ridges are blue, wide ones red.
double hue_of_scale(double sigma, const RidgeOptions& options) {
    const double low = std::min(options.from, options.to);
    const double span = std::abs(double{options.to} - options.from);
    return span > 0.0 && options.scales > 1 ? 0.67 * (1.0 - (sigma - low) / span) : 0.33;
}

// A colour picture of colour(i, j) where a pixel is a ridge, and black elsewhere.
template<class Colour>
ImagePtr paint(const CImage& image, Colour colour) {
    auto picture = std::make_unique<CImage>(image.nrows, image.ncols, 1, 2, 4);
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < image.ncols; ++j) {
            if (!(image.mag_plane[i][j] > 0.0f))
                continue;
            const std::array<float, 3> rgb = colour(i, j);
            std::copy(rgb.begin(), rgb.end(), picture->pixels[i] + std::int64_t{3} * j);
        }
    }
    return picture;
}

// Weak ridges stay visible beside a strong one.
double brightness(float strength) {
    return 255.0 * std::sqrt(double{strength});
}

ImagePtr scale_map(const CImage& image, const RidgeOptions& options) {
    return paint(image, [&](int i, int j) {
        return colour_of_hue(hue_of_scale(image.scale_plane[i][j], options),
                             brightness(image.mag_plane[i][j]));
    });
}

// An axis has no sign: half a turn goes through all hues.
ImagePtr direction_map(const CImage& image) {
    return paint(image, [&](int i, int j) {
        return colour_of_hue(image.dir_plane[i][j] / pi, brightness(image.mag_plane[i][j]));
    });
}

// The picture that was read, with its ridges above the threshold in the colour of their scale.
ImagePtr overlay(const CImage& source, const CImage& image, const RidgeOptions& options) {
    ImagePtr picture = source.image_type == 0
                           ? checked(source.MakeColor(0), "Can't make this image a colour one")
                           : std::make_unique<CImage>(source);
    stretch(*picture, 0.0f, 255.0f);
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < image.ncols; ++j) {
            if (!(image.mag_plane[i][j] >= options.threshold))
                continue;
            const auto colour =
                colour_of_hue(hue_of_scale(image.scale_plane[i][j], options), 255.0);
            std::copy(colour.begin(), colour.end(), picture->pixels[i] + std::int64_t{3} * j);
        }
    }
    picture->pixel_format = 4;
    return picture;
}

ImagePtr strength_picture(const CImage& image) {
    ImagePtr picture = image_of_plane(image, image.mag_plane);
    stretch(*picture, 0.0f, 255.0f);
    picture->pixel_format = 4;
    return picture;
}

void save_stages(const CImage& image, const RidgeOptions& options) {
    std::error_code error;
    std::filesystem::create_directories(options.stages, error);
    if (error)
        throw CommandError(options.stages + ": " + error.message());
    save(*strength_picture(image), options.stages + "/strength.pgm");
    save(*direction_map(image), options.stages + "/direction.ppm");
    save(*scale_map(image, options), options.stages + "/scale.ppm");
}

void find_ridges(const RidgeOptions& options) {
    for (const std::string* const path : {&options.out, &options.scale_map, &options.overlay}) {
        if (!path->empty())
            format_of_ending(*path); // before the work
    }
    const ImagePtr source = load(options.in);
    const ImagePtr image = gray_of(*source, options.channel);
    const ImagePtr mask = options.mask.empty() ? nullptr : load(options.mask);
    if (mask && (mask->nrows != image->nrows || mask->ncols != image->ncols))
        throw CommandError(options.mask + ": the mask must have the size of the image");
    const bool both = !options.bright && !options.dark;
    image->ridges(options.from, options.to, options.scales, both || options.bright,
                  both || options.dark, mask.get());
    if (!image->mag_plane)
        throw CommandError(options.in + ": Can't find ridges in this image");
    if (!options.stages.empty())
        save_stages(*image, options);
    if (!options.scale_map.empty())
        save(*scale_map(*image, options), options.scale_map);
    if (!options.overlay.empty())
        save(*overlay(*source, *image, options), options.overlay);
    save(*strength_picture(*image), options.out);
}

} // namespace

void add_ridges_command(CLI::App& program) {
    CLI::App* const command =
        program.add_subcommand("ridges", "Find lines of any width, such as vessels");
    const auto options = std::make_shared<RidgeOptions>();
    command->add_option("IN", options->in, "An image, gray or colour")->required();
    command
        ->add_option("OUT", options->out, "The strength of the ridges; its ending picks the format")
        ->required();
    command->add_option("--from", options->from, "Smallest scale: sigma in pixels")
        ->check(check_positive, "POSITIVE")
        ->capture_default_str();
    command->add_option("--to", options->to, "Largest scale")
        ->check(check_positive, "POSITIVE")
        ->capture_default_str();
    command->add_option("--scales", options->scales, "Number of scales, in equal steps")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    command->add_flag("--bright", options->bright, "Only ridges brighter than their surroundings");
    command->add_flag("--dark", options->dark, "Only ridges darker than their surroundings");
    command->add_option("--channel", options->channel, "Of a colour image: what to search")
        ->check(CLI::IsMember({"mean", "red", "green", "blue"}))
        ->capture_default_str();
    command->add_option("--mask", options->mask, "An image that is 0 where no ridge is wanted");
    command->add_option("--scale-map", options->scale_map,
                        "Also write the scales in colour: narrow ridges blue, wide ones red");
    command->add_option("--overlay", options->overlay,
                        "Also write the image with its ridges in the colours of their scales");
    command
        ->add_option("--threshold", options->threshold,
                     "The overlay shows ridges from this part of the strongest on")
        ->capture_default_str();
    command->add_option("--stages", options->stages,
                        "Also leave strength.pgm, direction.ppm (hue: the axis across the ridge) "
                        "and scale.ppm in this folder");
    command->footer("Example: vorlane ridges retina.ppm ridges.pgm --dark --channel green --from 2 "
                    "--to 8 --scales 7 --overlay vessels.ppm");
    command->callback([options] { find_ridges(*options); });
}
