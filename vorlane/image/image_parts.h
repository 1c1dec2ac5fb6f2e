// Private: small questions about images that many operations ask.
#pragma once

#include <vorlane/image/results.h>

namespace vorlane {

inline bool has_plane(const CImage& image) {
    return image.pixels && is_sound(image);
}

inline std::unique_ptr<CImage> make_unwritten_image(int rows, int cols, int image_type,
                                                    int file_format, int pixel_format) {
    return std::unique_ptr<CImage>(guarded([&] {
        return make_image({rows, cols, image_type, pixel_format, file_format}, Fill::none);
    }));
}

} // namespace vorlane
