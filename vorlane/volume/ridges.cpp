#include <algorithm>
#include <new>
#include <utility>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/plane.h>
#include <vorlane/volume/hessian_kernels.h>
#include <vorlane/volume/smoothing.h>

namespace {

using namespace vorlane;

// A plane for every slice: those that the slices have where they are large enough, and new ones for
// the others, which the slices take over in the end.
class SlicePlanes {
public:
    SlicePlanes(CVolume& volume, const std::vector<int>& indices, float** CImage::*field)
        : field_(field) {
        PlaneStack stack(volume.nrows, volume.ncols, Fill::none, indices.size());
        for (const int k : indices) {
            CImage& slice = volume.slices[k];
            slices_.push_back(&slice);
            Plane made;
            if (!plane_holds(slice.*field, slice.nrows, slice.ncols))
                made = stack.next();
            planes_.push_back(made ? made.get() : slice.*field);
            made_.push_back(std::move(made));
        }
    }

    bool are_whole() const {
        for (std::size_t k = 0; k < planes_.size(); ++k) {
            if (!plane_holds(planes_[k], slices_[k]->nrows, slices_[k]->ncols))
                return false;
        }
        return true;
    }

    const std::vector<float**>& planes() const { return planes_; }

    void hand_over() {
        for (std::size_t k = 0; k < made_.size(); ++k) {
            if (!made_[k])
                continue;
            free_2D_float_array(slices_[k]->*field_);
            slices_[k]->*field_ = made_[k].release();
        }
    }

private:
    float** CImage::*field_;
    std::vector<CImage*> slices_;
    std::vector<float**> planes_;
    std::vector<Plane> made_;
};

void clear(float* const* plane, std::size_t rows, std::size_t cols) {
    for (std::size_t i = 0; i < rows; ++i)
        std::fill(plane[i], plane[i] + cols, 0.0f);
}

void copy(const float* const* from, float* const* to, std::size_t rows, std::size_t cols) {
    for (std::size_t i = 0; i < rows; ++i)
        std::copy(from[i], from[i] + cols, to[i]);
}

struct Results {
    const std::vector<float**>& mag; // the smoothed volume on entry
    const std::vector<float**>& dir;
    const std::vector<float**>& scale;

    void clear_slice(std::size_t k, std::size_t rows, std::size_t cols) const {
        for (float** const plane : {mag[k], dir[k], scale[k]})
            clear(plane, rows, cols);
    }
};

// Replaces each slice by its results. Only the smoothed slices k - 1 and k have to be kept for it.
bool find_eigenvalues(const Results& results, std::size_t rows, std::size_t cols) {
    const std::size_t count = results.mag.size();
    PlaneHandle before(
        make_plane(static_cast<std::int64_t>(rows), static_cast<std::int64_t>(cols), Fill::none));
    PlaneHandle here(
        make_plane(static_cast<std::int64_t>(rows), static_cast<std::int64_t>(cols), Fill::none));
    if (!before || !here)
        return false;
    const HessianKernels& kernels = pick_hessian_kernels();
    copy(results.mag[0], before.get(), rows, cols);
    results.clear_slice(0, rows, cols);
    for (std::size_t k = 1; k + 1 < count; ++k) {
        copy(results.mag[k], here.get(), rows, cols);
        const float* const* const planes[3] = {before.get(), here.get(), results.mag[k + 1]};
        for (std::size_t i = 0; i < rows; ++i) {
            float* const outputs[3] = {results.mag[k][i], results.dir[k][i], results.scale[k][i]};
            if (i == 0 || i + 1 == rows) {
                for (float* const output : outputs)
                    std::fill(output, output + cols, 0.0f);
                continue;
            }
            const float* neighbours[3][3];
            for (std::size_t s = 0; s < 3; ++s)
                for (std::size_t r = 0; r < 3; ++r)
                    neighbours[s][r] = planes[s][i - 1 + r];
            kernels.eigenvalues(neighbours, outputs[0], outputs[1], outputs[2], cols);
            for (float* const output : outputs)
                output[0] = output[cols - 1] = 0.0f;
        }
        std::swap(before, here);
    }
    results.clear_slice(count - 1, rows, cols);
    return true;
}

} // namespace

void CVolume::ridges(float sigma, float, int, int, int) try {
    if (!is_valid_sigma(sigma) || !has_slices())
        return;
    const std::vector<int> indices = slices_to_process(*this);
    if (indices.empty())
        return;
    SlicePlanes mag(*this, indices, &CImage::mag_plane);
    SlicePlanes dir(*this, indices, &CImage::dir_plane);
    SlicePlanes scale(*this, indices, &CImage::scale_plane);
    if (!mag.are_whole() || !dir.are_whole() || !scale.are_whole())
        return;
    const auto rows = static_cast<std::size_t>(nrows);
    const auto cols = static_cast<std::size_t>(ncols);
    std::vector<const float* const*> pixels;
    for (const int k : indices)
        pixels.push_back(slices[k].pixels);
    if (!smooth_planes(pixels, mag.planes(), rows, cols, sigma) ||
        !find_eigenvalues({mag.planes(), dir.planes(), scale.planes()}, rows, cols))
        return;
    mag.hand_over();
    dir.hand_over();
    scale.hand_over();
} catch (const std::bad_alloc&) {
}
