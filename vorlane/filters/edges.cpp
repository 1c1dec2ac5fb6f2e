#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/results.h>
#include <vorlane/numerics/rounding.h>

namespace {

using namespace vorlane;

// For numbers of the size of an image.
Index nearest_whole(double value) {
    return static_cast<Index>(half_away(value));
}

// The derivatives stand in the two planes that become magnitude and direction; a block of rows is
// turned as soon as its second derivative is there.
void gray_gradient(const CImage& image, float* const* mag, float* const* dir, float sigma) {
    const EdgeKernels& kernels = pick_edge_kernels();
    const auto turn = [&](Index first, Index count) {
        for (Index i = first; i < first + count; ++i)
            kernels.gradient(mag[i], dir[i], image.ncols);
    };
    differentiate_x(image.pixels, mag, image.nrows, image.ncols, 1, sigma);
    differentiate_y(image.pixels, dir, image.nrows, image.ncols, 1, sigma, turn);
}

// The channel whose magnitude is not smaller than the others'; the earliest one of a tie.
Index strongest_channel(const float* mag) {
    if (mag[0] >= mag[1] && mag[0] >= mag[2])
        return 0;
    return mag[1] >= mag[0] && mag[1] >= mag[2] ? 1 : 2;
}

void colour_gradient(const CImage& image, float* const* mag, float* const* dir, float sigma) {
    const Index samples = Index{3} * image.ncols;
    const Plane dx(image.nrows, samples, Fill::none);
    const Plane dy(image.nrows, samples, Fill::none);
    const Plane spare(3, samples, Fill::none);
    differentiate_x(image.pixels, dx.get(), image.nrows, image.ncols, 3, sigma);
    differentiate_y(image.pixels, dy.get(), image.nrows, image.ncols, 3, sigma);
    const EdgeKernels& kernels = pick_edge_kernels();
    float* const magnitudes = spare[0];
    float* const chosen_dx = spare[1];
    float* const chosen_dy = spare[2];
    for (int i = 0; i < image.nrows; ++i) {
        kernels.magnitude(dx[i], dy[i], magnitudes, samples);
        for (Index j = 0; j < image.ncols; ++j) {
            const Index sample = 3 * j + strongest_channel(magnitudes + 3 * j);
            mag[i][j] = magnitudes[sample];
            chosen_dx[j] = dx[i][sample];
            chosen_dy[j] = dy[i][sample];
        }
        kernels.direction(chosen_dx, chosen_dy, dir[i], image.ncols);
    }
}

struct Span {
    Index begin, end;
};

// Rows or columns inside the margin of 2 sigma; none of them if the margins meet.
Span inside_margin(int n, float sigma) {
    const float margin = 2.0f * sigma;
    const double begin = std::min<double>(margin, n); // a larger one leaves nothing all the same
    const Index first = nearest_whole(begin);
    const Index last = nearest_whole(std::max(static_cast<double>(n) - margin, -1.0));
    return {first, std::max(first, last)};
}

// Divides by the largest magnitude inside the margin, and clears what lies outside. A largest
// magnitude of 0 leaves not-a-numbers everywhere.
void normalise_inside_margin(float* const* mag, int nrows, int ncols, float sigma) {
    const EdgeKernels& kernels = pick_edge_kernels();
    const Span rows = inside_margin(nrows, sigma);
    const Span cols = inside_margin(ncols, sigma);
    const bool is_empty = rows.begin >= rows.end || cols.begin >= cols.end;
    float largest = 0.0f;
    for (Index i = rows.begin; i < rows.end && !is_empty; ++i)
        largest = kernels.largest(mag[i] + cols.begin, cols.end - cols.begin, largest);
    const float outside = 0.0f / largest;
    for (int i = 0; i < nrows; ++i) {
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

} // namespace

void CImage::edges_mag_dir(float sigma) {
    const int channels = channels_read(image_type);
    if (!is_valid_sigma(sigma) || !holds_channels(*this, channels))
        return;
    guarded([&] {
        // Planes of an earlier call serve again if the image still fits them.
        const auto make = [&](float** plane) {
            return plane_holds(plane, nrows, ncols) ? Plane() : Plane(nrows, ncols);
        };
        Plane new_mag = make(mag_plane);
        Plane new_dir = make(dir_plane);
        if (has_rows_and_columns(*this)) {
            float* const* const mag = new_mag ? new_mag.get() : mag_plane;
            float* const* const dir = new_dir ? new_dir.get() : dir_plane;
            (channels == 1 ? gray_gradient : colour_gradient)(*this, mag, dir, sigma);
            normalise_inside_margin(mag, nrows, ncols, sigma);
        }
        if (new_mag)
            new_mag.hand_to(mag_plane);
        if (new_dir)
            new_dir.hand_to(dir_plane);
    });
}

CImage* CImage::non_maximum_suppression() const {
    if (has_rows_and_columns(*this) &&
        (!plane_holds(mag_plane, nrows, ncols) || !plane_holds(dir_plane, nrows, ncols)))
        return nullptr;
    const Form form = form_of(*this).of_type(ImageType::gray).as(PixelFormat::float32);
    return make_written(*this, form, [&](CImage& out) {
        for (int i = 0; i < nrows; ++i) {
            float* const row = out.pixels[i];
            if (i == 0 || i == nrows - 1) {
                std::fill(row, row + ncols, 0.0f);
                continue;
            }
            pick_edge_kernels().suppress(mag_plane + i - 1, dir_plane[i], row, ncols);
            row[0] = row[ncols - 1] = 0.0f;
        }
    });
}
