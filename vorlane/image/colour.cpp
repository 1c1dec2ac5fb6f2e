#include <vorlane/image/colour.h>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/image/range.h>

using namespace vorlane;

void CImage::ComputeRGB(CImage* red, CImage* green, CImage* blue) const {
    if (image_type != 1 || !has_pixels(*this))
        return;
    for (const CImage* const channel : {red, green, blue}) {
        if (!channel || !plane_holds(channel->pixels, nrows, ncols))
            return;
    }
    for (int i = 0; i < nrows; ++i) {
        const float* pixel = pixels[i];
        float* const r = red->pixels[i];
        float* const g = green->pixels[i];
        float* const b = blue->pixels[i];
        for (int j = 0; j < ncols; ++j, pixel += 3) {
            r[j] = pixel[0];
            g[j] = pixel[1];
            b[j] = pixel[2];
        }
    }
}

CImage* CImage::MakeGray() const {
    if (image_type != 1 || !pixels)
        return nullptr;
    auto gray = make_unwritten_image(nrows, ncols, 0, file_format, 6);
    if (!gray)
        return nullptr;
    for (int i = 0; i < nrows; ++i) {
        const float* const from = pixels[i];
        float* const to = gray->pixels[i];
        for (std::int64_t j = 0; j < ncols; ++j)
            to[j] = static_cast<float>(mean_of_pixel(from + 3 * j));
    }
    return gray.release();
}

CImage* CImage::MakeColor(int scale) const {
    if (image_type != 0 || !pixels)
        return nullptr;
    auto colour = make_unwritten_image(nrows, ncols, 1, file_format, 4);
    if (!colour)
        return nullptr;
    const Range range = scale ? find_range(pixels, nrows, ncols) : Range{};
    const double min = range.min;
    const double width = double{range.max} - double{range.min};
    for (int i = 0; i < nrows; ++i) {
        const float* const from = pixels[i];
        float* const to = colour->pixels[i];
        for (std::int64_t j = 0; j < ncols; ++j) {
            const float v = scale ? static_cast<float>((from[j] - min) * 255.0 / width) : from[j];
            to[3 * j] = to[3 * j + 1] = to[3 * j + 2] = v;
        }
    }
    return colour.release();
}
