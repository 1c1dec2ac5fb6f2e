#include <vorlane/image/image.h>

#include <vorlane/image/results.h>
#include <vorlane/operators/neighbourhood_kernels.h>

namespace {

using namespace vorlane;

// 0 where a pixel isn't 0; on a colour image, where any of its samples isn't.
void mark_objects(const float* from, float* to, Index cols, int channels) {
    if (channels == 1) {
        for (Index j = 0; j < cols; ++j)
            to[j] = from[j] != 0.0f ? 0.0f : far_away;
        return;
    }
    for (Index j = 0; j < cols; ++j, from += 3) {
        const bool is_object = (from[0] != 0.0f) | (from[1] != 0.0f) | (from[2] != 0.0f);
        to[j] = is_object ? 0.0f : far_away;
    }
}

// The first third of a row becomes whole pixels of three equal samples.
void widen_to_colour(float* row, Index cols) {
    for (Index j = cols; j-- > 0;)
        row[3 * j] = row[3 * j + 1] = row[3 * j + 2] = row[j];
}

} // namespace

CImage* CImage::Chamfer() const {
    const Form form = form_of(*this).as(PixelFormat::float32).in_file(FileFormat::none);
    return make_from(*this, form, [&](CImage& out) {
        const NeighbourhoodKernels& kernels = pick_neighbourhood_kernels();
        float* const* const rows = out.pixels;
        for (int i = 0; i < nrows; ++i) {
            mark_objects(pixels[i], rows[i], ncols, channel_count(image_type));
            kernels.spread_right(i > 0 ? rows[i - 1] : nullptr, rows[i], ncols);
        }
        for (int i = nrows - 1; i >= 0; --i)
            kernels.spread_left(i + 1 < nrows ? rows[i + 1] : nullptr, rows[i], ncols);
        if (image_type == ImageType::colour) {
            for (int i = 0; i < nrows; ++i)
                widen_to_colour(rows[i], ncols);
        }
    });
}
