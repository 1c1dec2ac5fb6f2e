// Private: what an image's plane has to hold. Fields are public and planes outlive calls that
// failed, so whoever touches a plane asks here what it holds; no operator asks in another way.
#pragma once

#include <vorlane/image/codes.h>
#include <vorlane/image/image.h>
#include <vorlane/image/index.h>
#include <vorlane/image/plane.h>

namespace vorlane {

// Samples of a pixel in the plane: 1 gray, 3 colour, 0 for a type that has no pixels.
constexpr int channel_count(int image_type) {
    return image_type == ImageType::gray ? 1 : image_type == ImageType::colour ? 3 : 0;
}

// Samples in a row of the plane.
inline Index samples_per_row(const CImage& image) {
    return Index{channel_count(image.image_type)} * image.ncols;
}

inline bool has_rows_and_columns(const CImage& image) {
    return image.nrows > 0 && image.ncols > 0;
}

// True if the image is empty, without a row or without a column, or if its plane has `channels`
// samples for every pixel that it states.
inline bool holds_channels(const CImage& image, int channels) {
    if (image.nrows < 0 || image.ncols < 0)
        return false;
    return !has_rows_and_columns(image) ||
           plane_holds(image.pixels, image.nrows, Index{channels} * image.ncols);
}

// True if an operator can work on the image: it's empty, or its plane holds it. Nothing may be read
// of an empty one, which needs no plane.
inline bool is_sound(const CImage& image) {
    const int channels = channel_count(image.image_type);
    return channels > 0 && holds_channels(image, channels);
}

// True if the image is sound and has at least one pixel.
inline bool has_pixels(const CImage& image) {
    return has_rows_and_columns(image) && is_sound(image);
}

// The channels that an operator reads which takes every type but gray for colour.
constexpr int channels_read(int image_type) {
    return image_type == ImageType::gray ? 1 : 3;
}

} // namespace vorlane
