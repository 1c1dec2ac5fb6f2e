// Private: small questions about images that many operations ask.
#pragma once

#include <cstdint>
#include <memory>
#include <new>

#include <vorlane/image/image.h>
#include <vorlane/image/plane.h>

namespace vorlane {

// Samples of a pixel in the plane: 1 gray, 3 colour, 0 for a type that has no pixels.
constexpr int channel_count(int image_type) {
    return image_type == 0 ? 1 : image_type == 1 ? 3 : 0;
}

// True if the image has a plane with at least one pixel.
inline bool has_pixels(const CImage& image) {
    return image.pixels && image.nrows > 0 && image.ncols > 0;
}

// True if the image has a type with pixels and a plane of it, which may have no pixel.
inline bool has_plane(const CImage& image) {
    return image.pixels && channel_count(image.image_type) > 0;
}

// Samples in a row of the plane.
inline std::int64_t samples_per_row(const CImage& image) {
    return std::int64_t{channel_count(image.image_type)} * image.ncols;
}

// A new image whose samples the caller writes, every one of them: they aren't set to 0 before. Null
// if there is no memory for it.
inline std::unique_ptr<CImage> make_unwritten_image(int rows, int cols, int image_type,
                                                    int file_format, int pixel_format) {
    std::unique_ptr<CImage> image(new (std::nothrow) CImage);
    if (!image)
        return nullptr;
    image->nrows = rows;
    image->ncols = cols;
    image->image_type = image_type;
    image->file_format = file_format;
    image->pixel_format = pixel_format;
    image->pixels = make_plane(rows, std::int64_t{channel_count(image_type)} * cols, Fill::none);
    return image->pixels ? std::move(image) : nullptr;
}

// The same with samples of 0.
inline std::unique_ptr<CImage> make_zero_image(int rows, int cols, int image_type, int file_format,
                                               int pixel_format) {
    std::unique_ptr<CImage> image(new (std::nothrow)
                                      CImage(rows, cols, image_type, file_format, pixel_format));
    return image && image->pixels ? std::move(image) : nullptr;
}

} // namespace vorlane
