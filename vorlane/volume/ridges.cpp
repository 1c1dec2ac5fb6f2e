#include <algorithm>
#include <utility>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/image/guard.h>
#include <vorlane/image/plane.h>
#include <vorlane/volume/hessian_kernels.h>
#include <vorlane/volume/slices.h>
#include <vorlane/volume/smoothing.h>

namespace {

using namespace vorlane;

// A plane for every slice: those that the slices have where they are large enough, and new ones for
// the others, which the slices take over in the end.
class SlicePlanes {
public:
    SlicePlanes(const std::vector<CImage*>& slices, float** CImage::*field)
        : slices_(slices), field_(field),
          stack_(slices[0]->nrows, slices[0]->ncols, Fill::none, slices.size()) {
        for (const CImage* const slice : slices) {
            made_.push_back(plane_for(*slice));
            planes_.push_back(made_.back() ? made_.back().get() : slice->*field);
        }
    }

    float* const* operator[](std::size_t k) const { return planes_[k]; }

    void hand_over() {
        for (std::size_t k = 0; k < made_.size(); ++k) {
            if (made_[k])
                made_[k].hand_to(slices_[k]->*field_);
        }
    }

private:
    Plane plane_for(const CImage& slice) {
        if (plane_holds(slice.*field_, slice.nrows, slice.ncols))
            return {};
        if (slice.nrows == slices_[0]->nrows && slice.ncols == slices_[0]->ncols)
            return stack_.next();
        return Plane(slice.nrows, slice.ncols, Fill::none);
    }

    const std::vector<CImage*>& slices_;
    float** CImage::*field_;
    PlaneStack stack_;
    std::vector<float* const*> planes_;
    std::vector<Plane> made_;
};

// The three planes of every slice, and how much of them is the volume's.
struct Results {
    const std::vector<CImage*>& slices;
    const SlicePlanes& mag; // the smoothed slices on entry
    const SlicePlanes& dir;
    const SlicePlanes& scale;
    Index rows, cols;

    // Clears slice k but for `count` columns from `first` on in its row i.
    void clear_row(std::size_t k, Index i, Index first, Index count) const {
        for (float* const* const plane : {mag[k], dir[k], scale[k]}) {
            std::fill(plane[i], plane[i] + first, 0.0f);
            std::fill(plane[i] + first + count, plane[i] + slices[k]->ncols, 0.0f);
        }
    }
    void clear_rows(std::size_t k, Index first, Index end) const {
        for (Index i = first; i < end; ++i)
            clear_row(k, i, 0, 0);
    }
};

// Replaces each slice by its results. Only the smoothed slices k - 1 and k have to be kept for it.
void find_eigenvalues(const Results& results) {
    const auto& [slices, mag, dir, scale, rows, cols] = results;
    Plane before(rows, cols, Fill::none);
    Plane here(rows, cols, Fill::none);
    const auto keep = [&results](float* const* from, const Plane& to) {
        for (Index i = 0; i < results.rows; ++i)
            std::copy_n(from[i], results.cols, to[i]);
    };
    const HessianKernels& kernels = pick_hessian_kernels();
    keep(mag[0], before);
    results.clear_rows(0, 0, slices[0]->nrows);
    for (std::size_t k = 1; k + 1 < slices.size(); ++k) {
        keep(mag[k], here);
        const float* const* const planes[3] = {before.get(), here.get(), mag[k + 1]};
        results.clear_rows(k, 0, 1);
        for (Index i = 1; i < rows - 1; ++i) {
            const float* neighbours[3][3];
            for (int s = 0; s < 3; ++s)
                for (int r = 0; r < 3; ++r)
                    neighbours[s][r] = planes[s][i - 1 + r];
            kernels.eigenvalues(neighbours, mag[k][i], dir[k][i], scale[k][i], cols);
            results.clear_row(k, i, 1, std::max<Index>(cols - 2, 0));
        }
        results.clear_rows(k, std::max<Index>(rows - 1, 1), slices[k]->nrows);
        std::swap(before, here);
    }
    results.clear_rows(slices.size() - 1, 0, slices.back()->nrows);
}

} // namespace

void CVolume::ridges(float sigma, float, int, int, int) {
    if (!is_valid_sigma(sigma))
        return;
    guarded([&] {
        std::vector<CImage*> stack;
        for (const int k : slices_to_process(*this))
            stack.push_back(slices + k);
        if (stack.empty())
            return;
        SlicePlanes mag(stack, &CImage::mag_plane);
        SlicePlanes dir(stack, &CImage::dir_plane);
        SlicePlanes scale(stack, &CImage::scale_plane);
        std::vector<SliceTask> tasks;
        for (std::size_t k = 0; k < stack.size(); ++k)
            tasks.push_back({stack[k]->pixels, mag[k], stack[k]->nrows, stack[k]->ncols});
        smooth_slices(tasks, nrows, ncols, sigma);
        find_eigenvalues({stack, mag, dir, scale, nrows, ncols});
        mag.hand_over();
        dir.hand_over();
        scale.hand_over();
    });
}
