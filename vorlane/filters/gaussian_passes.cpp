#include <vorlane/filters/gaussian_passes.h>

namespace vorlane {

namespace {

constexpr float derivative_scale = 0.5f; // multiplies every sample of a first derivative

} // namespace

LineFilter gaussian_filter(float sigma, float scale) {
    return make_line_filter(gaussian_coefficients(sigma), scale);
}

LineFilter derivative_filter(float sigma) {
    return make_line_filter(derivative_coefficients(sigma));
}

void differentiate_x(const float* const* in, float* const* out, Index rows, Index cols,
                     Index channels, float sigma) {
    filter_rows(derivative_filter(sigma), in, out, rows, cols, channels);
    filter_columns(gaussian_filter(sigma, derivative_scale), out, out, rows, cols * channels);
}

void differentiate_y(const float* const* in, float* const* out, Index rows, Index cols,
                     Index channels, float sigma, const RowsDone& rows_done) {
    filter_columns(derivative_filter(sigma), in, out, rows, cols * channels);
    filter_rows(gaussian_filter(sigma, derivative_scale), out, out, rows, cols, channels,
                rows_done);
}

} // namespace vorlane
