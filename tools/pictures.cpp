#include "pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

std::int64_t samples_per_row(const CImage& image) {
    return std::int64_t{image.ncols} * samples_per_pixel(image);
}

template<class Visit>
void for_each_sample(const CImage& image, Visit visit) {
    for (int i = 0; i < image.nrows; ++i)
        for (std::int64_t j = 0; j < samples_per_row(image); ++j)
            visit(image.pixels[i][j]);
}

} // namespace

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

const char* name_of_encoding(int pixel_format) {
    switch (pixel_format) {
    case 4:
        return "unsigned bytes";
    case 5:
        return "signed 32-bit integers";
    case 6:
        return "32-bit floats";
    case 7:
        return "signed 16-bit integers";
    default:
        return "no stated encoding";
    }
}

int samples_per_pixel(const CImage& image) {
    return image.image_type == 1 ? 3 : 1;
}

SampleRange range_of(const CImage& image) {
    SampleRange range{INFINITY, -INFINITY};
    for_each_sample(image, [&](float sample) {
        range.low = std::fmin(range.low, sample);
        range.high = std::fmax(range.high, sample);
    });
    return range.low > range.high ? SampleRange{0.0f, 0.0f} : range;
}

void stretch(CImage& image, float lo, float hi) {
    const SampleRange range = range_of(image);
    const double width = double{range.high} - range.low;
    for_each_sample(image, [&](float& sample) {
        const double part = width > 0.0 ? (sample - double{range.low}) / width : 0.0;
        sample = std::isnan(part) ? lo : static_cast<float>(lo + part * (double{hi} - lo));
    });
}

void fit_to_format(CImage& image, const std::string& path) {
    constexpr int pgm = 1;
    constexpr int bmp = 3;
    constexpr int tq = 4;
    const int format = format_of_ending(path);
    const bool is_in_bytes =
        (format >= pgm && format <= bmp) || (format == tq && image.image_type == 1);
    const SampleRange range = range_of(image);
    if (is_in_bytes && (range.low < 0.0f || range.high >= 256.0f))
        stretch(image, 0.0f, 255.0f);
}

ImagePtr image_of_plane(const CImage& image, const float* const* plane) {
    return std::make_unique<CImage>(image.nrows, image.ncols, 0, plane, image.file_format, 6);
}

ImagePtr colour_wheel(const CImage& image, const float* const* direction,
                      const float* const* strength) {
    constexpr double turn = 6.283185307179586;
    auto picture = std::make_unique<CImage>(image.nrows, image.ncols, 1, 2, 4);
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < image.ncols; ++j) {
            const double value = std::clamp(double{strength[i][j]}, 0.0, 1.0) * 255.0;
            if (!(value > 0.0) || std::isnan(direction[i][j]))
                continue;
            const auto colour = colour_of_hue(direction[i][j] / turn, value);
            std::copy(colour.begin(), colour.end(), picture->pixels[i] + std::int64_t{3} * j);
        }
    }
    return picture;
}
