#include "host/natural_parts.h"
#include "host/operations/parts.h"

#include <chrono>
#include <cmath>
#include <random>

#include <vorlane/numerics/elementary.h>

namespace vorlane::host {

namespace {

constexpr double largest_window = 100000.0;

constexpr Option window_option(double smallest) {
    return {.name = "size",
            .kind = Kind::integer,
            .purpose = "Side of the window",
            .initial = "3",
            .low = smallest,
            .high = largest_window,
            .unit = "pixels"};
}

constexpr Option median_options[] = {window_option(1)};
constexpr Option distance_options[] = {window_option(2)};
constexpr Option threshold_options[] = {
    {.name = "level", .kind = Kind::number, .purpose = "The level", .initial = "127"},
};
constexpr Option sobel_options[] = {
    plain_option("The library's own form, with an empty border"),
};
constexpr Option noise_options[] = {
    {.name = "sigma",
     .kind = Kind::number,
     .purpose = "Standard deviation of the noise",
     .initial = "10",
     .low = 0.0,
     .high = 1e6,
     .unit = "gray levels"},
    {.name = "seed",
     .kind = Kind::integer,
     .purpose = "The same number gives the same noise; without one it differs at every run",
     .low = 0.0,
     .excludes = "plain"},
    plain_option("The library's own generator, for gray pictures"),
};

Result run_median(Subject& subject, const Call& call) {
    return picture_result(ImagePtr(subject->Median(call.arguments.integer("size"))));
}

Result run_distance(Subject& subject, const Call& call) {
    ImagePtr result(subject->DistanceFilter(call.arguments.integer("size")));
    if (result)
        result->pixel_format = PixelFormat::float32;
    return picture_result(std::move(result));
}

Result run_threshold(Subject& subject, const Call& call) {
    ImagePtr result(subject->Threshold(static_cast<float>(call.arguments.number("level"))));
    if (result)
        result->pixel_format = PixelFormat::byte;
    return picture_result(std::move(result));
}

// The border pixels count as continued, in place of a border without values.
Result run_sobel(Subject& subject, const Call& call) {
    if (call.arguments.flag("plain")) {
        const ImagePtr image = subject.take();
        image->SobelFilter();
        return picture_result(image_of_plane(*image, image->mag_plane));
    }
    const ImagePtr larger = continued(*subject, 1, 0.0);
    larger->SobelFilter();
    return picture_result(inside(*image_of_plane(*larger, larger->mag_plane), 1));
}

Result run_chamfer(Subject& subject, const Call&) {
    return picture_result(ImagePtr(subject->Chamfer()));
}

Result run_noise(Subject& subject, const Call& call) {
    const double sigma = call.arguments.number("sigma");
    if (call.arguments.flag("plain")) {
        if (is_colour(*subject))
            throw UsageError("--plain adds noise to gray pictures only");
        return picture_result(ImagePtr(subject->GNoise(static_cast<float>(sigma))));
    }
    std::mt19937_64 bits(call.arguments.has("seed")
                             ? static_cast<std::uint64_t>(call.arguments.integer("seed"))
                             : std::random_device()());
    const auto uniform = [&bits] { return (static_cast<double>(bits() >> 11) + 0.5) * 0x1p-53; };
    ImagePtr image = subject.take();
    image->pixel_format = PixelFormat::float32;
    const int count = samples_per_row(*image);
    double spare = 0.0;
    bool has_spare = false;
    for (int i = 0; i < image->nrows; ++i) {
        for (int j = 0; j < count; ++j, has_spare = !has_spare) {
            double normal = spare;
            if (!has_spare) { // two at a time, by G. Box and M. Muller
                const double radius = std::sqrt(-2.0 * numerics::log(uniform()));
                const double angle = 6.283185307179586 * uniform();
                normal = radius * numerics::cos(angle);
                spare = radius * numerics::sin(angle);
            }
            image->pixels[i][j] = static_cast<float>(image->pixels[i][j] + sigma * normal);
        }
    }
    return picture_result(std::move(image));
}

constexpr Operation table[] = {
    {.description = {.group = "filter",
                     .name = "median",
                     .purpose = "The median of a square window",
                     .example = "in.pgm out.pgm --size 5",
                     .options = median_options},
     .run = run_median},
    {.description = {.group = "filter",
                     .name = "distance",
                     .purpose = "A mean that weights near pixels more",
                     .example = "in.pgm out.pgm --size 5",
                     .options = distance_options},
     .run = run_distance},
    {.description = {.group = "filter",
                     .name = "threshold",
                     .purpose = "White where all samples are above a level",
                     .example = "in.pgm out.pgm --level 100",
                     .options = threshold_options},
     .run = run_threshold},
    {.description = {.group = "filter",
                     .name = "sobel",
                     .purpose = "The magnitude of the gradient",
                     .notes = "A step of h gives 4 h.",
                     .example = "in.pgm out.tq",
                     .options = sobel_options},
     .run = run_sobel},
    {.description = {.group = "filter",
                     .name = "chamfer",
                     .purpose = "The distance to the nearest pixel that isn't black",
                     .notes = "In pixels, with steps of 1 and 1.4142; 1000000 where there is none.",
                     .example = "in.pgm out.tq"},
     .run = run_chamfer},
    {.description = {.group = "filter",
                     .name = "noise",
                     .purpose = "Add Gaussian noise",
                     .example = "in.pgm out.pgm --sigma 8 --seed 1",
                     .options = noise_options},
     .run = run_noise},
};

} // namespace

std::span<const Operation> filter_operations() {
    return table;
}

} // namespace vorlane::host
