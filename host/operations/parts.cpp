#include "host/operations/parts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vorlane::host {

namespace {

template<class Visit>
void for_each_sample(const CImage& image, Visit visit) {
    const int count = samples_per_row(image);
    for (int i = 0; i < image.nrows; ++i)
        for (int j = 0; j < count; ++j)
            visit(image.pixels[i][j]);
}

} // namespace

bool is_colour(const CImage& image) {
    return image.image_type == ImageType::colour;
}

int samples_per_row(const CImage& image) {
    return is_colour(image) ? 3 * image.ncols : image.ncols;
}

void check_same_size(const CImage& a, const CImage& b, const std::string& what) {
    if (a.nrows != b.nrows || a.ncols != b.ncols)
        throw UsageError(what + " must have the size of the picture, " + std::to_string(a.nrows) +
                         " x " + std::to_string(a.ncols) + " pixels; it has " +
                         std::to_string(b.nrows) + " x " + std::to_string(b.ncols));
}

SampleRange range_of(const CImage& image) {
    SampleRange range{INFINITY, -INFINITY};
    for_each_sample(image, [&](float sample) {
        range.low = std::fmin(range.low, sample);
        range.high = std::fmax(range.high, sample);
    });
    return range.low > range.high ? SampleRange{0.0f, 0.0f} : range;
}

void stretch(CImage& image, double lo, double hi) {
    const SampleRange range = range_of(image);
    const double width = double{range.high} - range.low;
    for_each_sample(image, [&](float& sample) {
        const double part = width > 0.0 ? (sample - double{range.low}) / width : 0.0;
        sample = static_cast<float>(std::isnan(part) ? lo : lo + part * (hi - lo));
    });
}

ImagePtr stretched_copy(const CImage& image) {
    auto copy = std::make_unique<CImage>(image);
    stretch(*copy, 0.0, 255.0);
    copy->pixel_format = PixelFormat::byte;
    return copy;
}

ImagePtr colour_copy(const CImage& image) {
    return is_colour(image)
               ? std::make_unique<CImage>(image)
               : checked(image.MakeColor(0), "there is no memory for a picture in colour");
}

ImagePtr image_of_plane(const CImage& image, const float* const* plane) {
    return std::make_unique<CImage>(image.nrows, image.ncols, ImageType::gray, plane,
                                    image.file_format, PixelFormat::float32);
}

std::array<float, 3> colour_of_hue(double hue, double value) {
    std::array<float, 3> colour;
    for (int k = 0; k < 3; ++k) {
        const double distance =
            std::abs(std::remainder(hue - k / 3.0, 1.0)); // to the channel's own hue
        colour[static_cast<std::size_t>(k)] =
            static_cast<float>(value * std::clamp(2.0 - 6.0 * distance, 0.0, 1.0));
    }
    return colour;
}

} // namespace vorlane::host
