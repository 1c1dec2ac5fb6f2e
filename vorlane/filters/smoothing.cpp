#include <vorlane/image/image.h>

#include <cmath>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/image/range.h>

namespace vorlane {

bool is_valid_sigma(float sigma) {
    return std::isfinite(sigma) && sigma > 0.0f;
}

LineFilter gaussian_filter(float sigma, float scale) {
    const PlaneHandle coef(make_plane(5, 5));
    ga(sigma, coef.get());
    return make_line_filter(coef.get(), scale);
}

LineFilter derivative_filter(float sigma) {
    const PlaneHandle coef(make_plane(5, 5));
    fdga(sigma, coef.get());
    return make_line_filter(coef.get());
}

bool differentiate_x(const float* const* in, float* const* out, std::size_t rows, std::size_t cols,
                     std::size_t channels, float sigma) {
    return filter_rows(derivative_filter(sigma), in, out, rows, cols, channels) &&
           filter_columns(gaussian_filter(sigma, derivative_scale), out, out, rows,
                          cols * channels);
}

bool differentiate_y(const float* const* in, float* const* out, std::size_t rows, std::size_t cols,
                     std::size_t channels, float sigma, const RowsDone& rows_done) {
    return filter_columns(derivative_filter(sigma), in, out, rows, cols * channels) &&
           filter_rows(gaussian_filter(sigma, derivative_scale), out, out, rows, cols, channels,
                       rows_done);
}

} // namespace vorlane

namespace {

using namespace vorlane;

// A new image of the kind of `source` for the first ncols samples of each row; a colour image's
// other samples are 0.
std::unique_ptr<CImage> make_filter_result(const CImage& source) {
    const auto make = source.image_type == 0 ? make_unwritten_image : make_zero_image;
    return make(source.nrows, source.ncols, source.image_type, source.file_format,
                source.pixel_format);
}

std::size_t count_of(int n) {
    return static_cast<std::size_t>(n);
}

CImage* smooth_gray(const CImage& image, float sigma) {
    auto result = make_filter_result(image);
    const LineFilter filter = gaussian_filter(sigma);
    const std::size_t rows = count_of(image.nrows);
    const std::size_t cols = count_of(image.ncols);
    const bool done = result && filter_rows(filter, image.pixels, result->pixels, rows, cols) &&
                      filter_columns(filter, result->pixels, result->pixels, rows, cols);
    return done ? result.release() : nullptr;
}

// The interleaved channels are filtered where they stand, and each is then stretched to 0 to 255.
CImage* smooth_colour(const CImage& image, float sigma) {
    auto result = make_unwritten_image(image.nrows, image.ncols, image.image_type,
                                       image.file_format, image.pixel_format);
    const LineFilter filter = gaussian_filter(sigma);
    const std::size_t rows = count_of(image.nrows);
    const std::size_t cols = count_of(image.ncols);
    if (!result || !filter_rows(filter, image.pixels, result->pixels, rows, cols, 3) ||
        !filter_columns(filter, result->pixels, result->pixels, rows, 3 * cols))
        return nullptr;
    const RangeKernels& kernels = pick_range_kernels();
    Range ranges[3];
    for (std::size_t i = 0; i < rows; ++i)
        kernels.widen(result->pixels[i], 3 * cols, 3, ranges);
    for (std::size_t i = 0; i < rows; ++i)
        kernels.stretch(result->pixels[i], 3 * cols, 3, ranges, 255.0, 0.0);
    return result.release();
}

} // namespace

CImage* CImage::apply_IIR4_filter_x(const float* const* coef) const {
    if (!coef || !pixels || channel_count(image_type) == 0)
        return nullptr;
    auto result = make_filter_result(*this);
    if (!result)
        return nullptr;
    if (has_pixels(*this) && !filter_rows(make_line_filter(coef), pixels, result->pixels,
                                          count_of(nrows), count_of(ncols)))
        return nullptr;
    return result.release();
}

CImage* CImage::apply_IIR4_filter_y(const float* const* coef) const {
    if (!coef || !pixels || channel_count(image_type) == 0)
        return nullptr;
    auto result = make_filter_result(*this);
    if (!result)
        return nullptr;
    if (has_pixels(*this) && !filter_columns(make_line_filter(coef), pixels, result->pixels,
                                             count_of(nrows), count_of(ncols)))
        return nullptr;
    return result.release();
}

CImage* CImage::smooth_image(float sigma) const {
    if (!is_valid_sigma(sigma) || !has_pixels(*this))
        return nullptr;
    switch (image_type) {
    case 0:
        return smooth_gray(*this, sigma);
    case 1:
        return smooth_colour(*this, sigma);
    default:
        return nullptr;
    }
}

CImage* CImage::first_derivative_x(float sigma) const {
    if (!is_valid_sigma(sigma) || !has_pixels(*this) || channel_count(image_type) == 0)
        return nullptr;
    auto result = make_filter_result(*this);
    const bool done = result && differentiate_x(pixels, result->pixels, count_of(nrows),
                                                count_of(ncols), 1, sigma);
    return done ? result.release() : nullptr;
}

CImage* CImage::first_derivative_y(float sigma) const {
    if (!is_valid_sigma(sigma) || !has_pixels(*this) || channel_count(image_type) == 0)
        return nullptr;
    auto result = make_filter_result(*this);
    const bool done = result && differentiate_y(pixels, result->pixels, count_of(nrows),
                                                count_of(ncols), 1, sigma);
    return done ? result.release() : nullptr;
}
