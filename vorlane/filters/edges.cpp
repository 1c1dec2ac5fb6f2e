#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <utility>

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/image_parts.h>

namespace {

using namespace vorlane;

std::size_t count_of(int n) {
    return static_cast<std::size_t>(n);
}

// Rounds half away from zero; for numbers of the size of an image.
std::int64_t round_half_away(double value) {
    return static_cast<std::int64_t>(value < 0.0 ? value - 0.5 : value + 0.5);
}

// The derivatives stand in the two planes that become magnitude and direction; a block of rows is
// turned as soon as its second derivative is there.
bool gray_gradient(const CImage& image, float* const* mag, float* const* dir, float sigma) {
    const std::size_t rows = count_of(image.nrows);
    const std::size_t cols = count_of(image.ncols);
    const EdgeKernels& kernels = pick_edge_kernels();
    const auto turn = [&](std::size_t first, std::size_t count) {
        for (std::size_t i = first; i < first + count; ++i)
            kernels.gradient(mag[i], dir[i], cols);
    };
    return differentiate_x(image.pixels, mag, rows, cols, 1, sigma) &&
           differentiate_y(image.pixels, dir, rows, cols, 1, sigma, turn);
}

// The channel whose magnitude is not smaller than the others'; the earliest one of a tie.
std::size_t strongest_channel(const float* mag) {
    if (mag[0] >= mag[1] && mag[0] >= mag[2])
        return 0;
    return mag[1] >= mag[0] && mag[1] >= mag[2] ? 1 : 2;
}

bool colour_gradient(const CImage& image, float* const* mag, float* const* dir, float sigma) {
    const std::size_t rows = count_of(image.nrows);
    const std::size_t cols = count_of(image.ncols);
    const std::int64_t samples = std::int64_t{3} * image.ncols;
    const PlaneHandle dx(make_plane(image.nrows, samples, Fill::none));
    const PlaneHandle dy(make_plane(image.nrows, samples, Fill::none));
    const PlaneHandle spare(make_plane(3, samples, Fill::none));
    if (!dx || !dy || !spare || !differentiate_x(image.pixels, dx.get(), rows, cols, 3, sigma) ||
        !differentiate_y(image.pixels, dy.get(), rows, cols, 3, sigma))
        return false;
    const EdgeKernels& kernels = pick_edge_kernels();
    float* const magnitudes = spare.get()[0];
    float* const chosen_dx = spare.get()[1];
    float* const chosen_dy = spare.get()[2];
    for (std::size_t i = 0; i < rows; ++i) {
        const float* const row_dx = dx.get()[i];
        const float* const row_dy = dy.get()[i];
        kernels.magnitude(row_dx, row_dy, magnitudes, 3 * cols);
        for (std::size_t j = 0; j < cols; ++j) {
            const std::size_t sample = 3 * j + strongest_channel(magnitudes + 3 * j);
            mag[i][j] = magnitudes[sample];
            chosen_dx[j] = row_dx[sample];
            chosen_dy[j] = row_dy[sample];
        }
        kernels.direction(chosen_dx, chosen_dy, dir[i], cols);
    }
    return true;
}

struct Extent {
    std::size_t begin, end;
};

// Rows or columns inside the margin of 2 sigma; none of them if the margins meet.
Extent inside_margin(int n, float sigma) {
    const float margin = 2.0f * sigma;
    const double begin = std::min<double>(margin, n); // a larger one leaves nothing all the same
    const std::int64_t first = round_half_away(begin);
    const std::int64_t last = round_half_away(std::max(static_cast<double>(n) - margin, -1.0));
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(std::max(first, last))};
}

// Divides by the largest magnitude inside the margin, and clears what lies outside. A largest
// magnitude of 0 leaves not-a-numbers everywhere.
void normalise_inside_margin(float* const* mag, int nrows, int ncols, float sigma) {
    const EdgeKernels& kernels = pick_edge_kernels();
    const Extent rows = inside_margin(nrows, sigma);
    const Extent cols = inside_margin(ncols, sigma);
    const bool is_empty = rows.begin >= rows.end || cols.begin >= cols.end;
    float largest = 0.0f;
    for (std::size_t i = rows.begin; i < rows.end && !is_empty; ++i)
        largest = kernels.largest(mag[i] + cols.begin, cols.end - cols.begin, largest);
    const float outside = 0.0f / largest;
    for (std::size_t i = 0; i < count_of(nrows); ++i) {
        float* const row = mag[i];
        if (is_empty || i < rows.begin || i >= rows.end) {
            std::fill(row, row + ncols, outside);
            continue;
        }
        std::fill(row, row + cols.begin, outside);
        kernels.divide(row + cols.begin, cols.end - cols.begin, largest);
        std::fill(row + cols.end, row + ncols, outside);
    }
}

// Planes of an earlier call serve again if the image still fits them.
float** reuse_or_make(float** plane, int nrows, int ncols) {
    return plane_holds(plane, nrows, ncols) ? plane : make_plane(nrows, ncols);
}

void adopt(float**& field, float** plane) {
    if (field != plane)
        free_2D_float_array(std::exchange(field, plane));
}

} // namespace

void CImage::edges_mag_dir(float sigma) {
    const int channels = channel_count(image_type);
    if (!is_valid_sigma(sigma) || !has_pixels(*this) || channels == 0)
        return;
    float** const mag = reuse_or_make(mag_plane, nrows, ncols);
    float** const dir = reuse_or_make(dir_plane, nrows, ncols);
    const bool done = mag && dir &&
                      (channels == 1 ? gray_gradient(*this, mag, dir, sigma)
                                     : colour_gradient(*this, mag, dir, sigma));
    if (!done) {
        if (mag != mag_plane)
            free_2D_float_array(mag);
        if (dir != dir_plane)
            free_2D_float_array(dir);
        return;
    }
    normalise_inside_margin(mag, nrows, ncols, sigma);
    adopt(mag_plane, mag);
    adopt(dir_plane, dir);
}

CImage* CImage::non_maximum_suppression() const {
    if (!plane_holds(mag_plane, nrows, ncols) || !plane_holds(dir_plane, nrows, ncols))
        return nullptr;
    auto result = make_zero_image(nrows, ncols, 0, file_format, 6);
    if (!result)
        return nullptr;
    const EdgeKernels& kernels = pick_edge_kernels();
    for (int i = 1; i < nrows - 1; ++i)
        kernels.suppress(mag_plane + i - 1, dir_plane[i], result->pixels[i],
                         count_of(std::max(ncols, 0)));
    return result.release();
}
