// Private: what the operations share.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <string>

#include "host/operations.h"

namespace vorlane::host {

constexpr double largest_number = std::numeric_limits<double>::infinity();

constexpr Option plain_option(const char* purpose) {
    return {.name = "plain", .purpose = purpose};
}

// The operations of each subject.
std::span<const Operation> smoothing_operations();
std::span<const Operation> edge_operations();
std::span<const Operation> ridge_operations();
std::span<const Operation> filter_operations();
std::span<const Operation> arithmetic_operations();
std::span<const Operation> geometry_operations();
std::span<const Operation> drawing_operations();
std::span<const Operation> file_operations();
std::span<const Operation> info_operations();
std::span<const Operation> histogram_operations();
std::span<const Operation> comparison_operations();

inline Result picture_result(ImagePtr image) {
    Result result;
    result.image = std::move(image);
    return result;
}

bool is_colour(const CImage& image);
int samples_per_row(const CImage& image);

// Throws UsageError unless both are of one size.
void check_same_size(const CImage& a, const CImage& b, const std::string& what);

struct SampleRange {
    float low, high;
};

// The smallest and the largest sample that is a number; 0 and 0 if there is none.
SampleRange range_of(const CImage& image);

// Maps the range of all samples, of all channels alike, to lo to hi. Equal samples become lo; so do
// not-a-numbers.
void stretch(CImage& image, double lo, double hi);

// A copy as bytes, stretched to 0 to 255.
ImagePtr stretched_copy(const CImage& image);

// A gray image as a colour one of the same values, a colour one as it is.
ImagePtr colour_copy(const CImage& image);

// A plane of an image as an image of its own.
ImagePtr image_of_plane(const CImage& image, const float* const* plane);

// A fully saturated colour: the hue in turns from red, the value from 0 to 255.
std::array<float, 3> colour_of_hue(double hue, double value);

// A colour picture of bytes with colour(i, j) at each pixel.
template<class Colour>
ImagePtr paint(const CImage& image, Colour colour) {
    auto picture = std::make_unique<CImage>(image.nrows, image.ncols, ImageType::colour,
                                            FileFormat::ppm, PixelFormat::byte);
    if (!picture->pixels)
        throw Error("there is no memory for a picture in colour");
    for (int i = 0; i < image.nrows; ++i) {
        float* to = picture->pixels[i];
        for (int j = 0; j < image.ncols; ++j, to += 3) {
            const std::array<float, 3> rgb = colour(i, j);
            to[0] = rgb[0];
            to[1] = rgb[1];
            to[2] = rgb[2];
        }
    }
    return picture;
}

} // namespace vorlane::host
