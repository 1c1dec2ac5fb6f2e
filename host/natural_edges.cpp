#include "host/natural.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/natural_parts.h"

namespace vorlane::host {

namespace {

void check_thresholds(const EdgeThresholds& t) {
    if (!(t.low >= 0.0 && t.low <= t.high && std::isfinite(t.high)))
        throw UsageError("the thresholds must be 0 <= low <= high, not low " +
                         std::to_string(t.low) + " and high " + std::to_string(t.high));
    if (!t.absolute && t.high > 1.0)
        throw UsageError("a threshold in parts of the steepest slope is at most 1, not " +
                         std::to_string(t.high));
}

// What is left of the slopes where they are larger than their neighbours across the edge.
ImagePtr thinned(Gradient& gradient) {
    CImage carrier(gradient.magnitude->nrows, gradient.magnitude->ncols, ImageType::gray,
                   FileFormat::none, PixelFormat::float32);
    std::swap(carrier.mag_plane, gradient.magnitude->pixels);
    std::swap(carrier.dir_plane, gradient.direction->pixels);
    ImagePtr thin(carrier.non_maximum_suppression());
    std::swap(carrier.mag_plane, gradient.magnitude->pixels);
    std::swap(carrier.dir_plane, gradient.direction->pixels);
    return checked(thin.release(), "there is no memory for the edges");
}

void clear_frame(CImage& image) {
    for (int i = 0; i < image.nrows; ++i) {
        image.pixels[i][0] = image.pixels[i][image.ncols - 1] = 0.0f;
        if (i == 0 || i == image.nrows - 1)
            std::fill_n(image.pixels[i], image.ncols, 0.0f);
    }
}

} // namespace

EdgeMap find_edges(const CImage& image, double sigma, const EdgeThresholds& thresholds) {
    check_image(image);
    check_sigma_of_slopes(sigma);
    check_thresholds(thresholds);
    const Levels levels = levels_of(image);
    const int margin = margin_of(sigma);
    const ImagePtr wide = continued(image, margin, 0.5 * (levels.low + levels.high));
    Gradient slopes = gradient(*wide, sigma);
    const ImagePtr wide_thin = thinned(slopes);

    EdgeMap map{};
    map.magnitude = inside(*slopes.magnitude, margin);
    map.direction = inside(*slopes.direction, margin);
    map.thin = inside(*wide_thin, margin);
    // Differences as small as this are rounding errors of an even picture.
    constexpr double rounding = 1e-5;
    map.is_flat = levels.high - levels.low <=
                  rounding * std::max(std::abs(levels.low), std::abs(levels.high));
    map.steepest_slope = map.is_flat ? 0.0 : levels_of(*map.magnitude).high;
    const double unit = thresholds.absolute ? 1.0 : map.steepest_slope;
    map.high = thresholds.high * unit;
    map.low = thresholds.low * unit;
    if (map.is_flat) {
        map.edges = make_image(image.nrows, image.ncols, ImageType::gray);
    } else {
        // Edges are followed inside the picture only, up to its border: within a frame of zeros.
        const ImagePtr framed = inside(*wide_thin, margin - 1);
        clear_frame(*framed);
        const ImagePtr marks = checked(framed->hysteresis_thresholding(static_cast<float>(map.high),
                                                                       static_cast<float>(map.low)),
                                       "there is no memory for the edges");
        map.edges = inside(*marks, 1);
    }
    map.edges->pixel_format = PixelFormat::byte;
    return map;
}

} // namespace vorlane::host
