#include <vorlane/image/image.h>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/range.h>
#include <vorlane/image/results.h>

namespace {

using namespace vorlane;

// A new image like `source`, of which `filter(in, out)` writes the first ncols samples of each row;
// a colour image's other samples are 0.
template<class Filter>
CImage* filter_gray_columns(const CImage& source, Filter filter) {
    if (channel_count(source.image_type) == 0 || !holds_channels(source, 1))
        return nullptr;
    return make_written(
        source, form_of(source), [&](CImage& out) { filter(source.pixels, out.pixels); },
        source.image_type == ImageType::gray ? Fill::none : Fill::zeros);
}

// Stretches each channel of a colour image to 0 to 255.
void stretch_channels(const CImage& image) {
    const RangeKernels& kernels = pick_range_kernels();
    const Index n = samples_per_row(image);
    Range ranges[3];
    for (int i = 0; i < image.nrows; ++i)
        kernels.widen(image.pixels[i], n, 3, ranges);
    for (int i = 0; i < image.nrows; ++i)
        kernels.stretch(image.pixels[i], n, 3, ranges, 255.0, 0.0);
}

} // namespace

CImage* CImage::apply_IIR4_filter_x(const float* const* coef) const {
    if (!coef)
        return nullptr;
    return filter_gray_columns(*this, [&](const float* const* in, float* const* out) {
        filter_rows(make_line_filter(coef), in, out, nrows, ncols);
    });
}

CImage* CImage::apply_IIR4_filter_y(const float* const* coef) const {
    if (!coef)
        return nullptr;
    return filter_gray_columns(*this, [&](const float* const* in, float* const* out) {
        filter_columns(make_line_filter(coef), in, out, nrows, ncols);
    });
}

// The interleaved channels of a colour image are filtered where they stand.
CImage* CImage::smooth_image(float sigma) const {
    if (!is_valid_sigma(sigma))
        return nullptr;
    return make_from(*this, form_of(*this), [&](CImage& out) {
        const LineFilter filter = gaussian_filter(sigma);
        const int channels = channel_count(image_type);
        filter_rows(filter, pixels, out.pixels, nrows, ncols, channels);
        filter_columns(filter, out.pixels, out.pixels, nrows, samples_per_row(out));
        if (image_type == ImageType::colour)
            stretch_channels(out);
    });
}

CImage* CImage::first_derivative_x(float sigma) const {
    if (!is_valid_sigma(sigma))
        return nullptr;
    return filter_gray_columns(*this, [&](const float* const* in, float* const* out) {
        differentiate_x(in, out, nrows, ncols, 1, sigma);
    });
}

CImage* CImage::first_derivative_y(float sigma) const {
    if (!is_valid_sigma(sigma))
        return nullptr;
    return filter_gray_columns(*this, [&](const float* const* in, float* const* out) {
        differentiate_y(in, out, nrows, ncols, 1, sigma);
    });
}
