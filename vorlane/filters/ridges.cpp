#include <vorlane/filters/ridges.h>
#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>

#include <vorlane/filters/gaussian_passes.h>
#include <vorlane/filters/ridge_kernels.h>
#include <vorlane/filters/ridge_scale.h>
#include <vorlane/image/range.h>
#include <vorlane/image/results.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

// The scales of a search, linear from the smallest on.
struct Scales {
    float first;
    float step;
    int count;

    Scales(float sigma_min, float sigma_max, int n)
        : first(sigma_min),
          step(n == 1 ? 1.0f
                      : static_cast<float>((double{sigma_max} - double{sigma_min}) /
                                           (static_cast<double>(n) - 1.0))),
          count(n) {}

    float at(int k) const { return static_cast<float>(static_cast<double>(k) * step + first); }

    bool are_valid() const {
        return count < 1 || (is_valid_sigma(at(0)) && is_valid_sigma(at(count - 1)));
    }
};

// Stretches the strengths to 0 to 1; not-a-numbers if no pixel has one.
void normalise(float* const* mag, int rows, int cols) {
    const RangeKernels& kernels = pick_range_kernels();
    Range range;
    range.max = 0.0f;
    for (int i = 0; i < rows; ++i)
        kernels.widen(mag[i], cols, 1, &range);
    for (int i = 0; i < rows; ++i)
        kernels.stretch(mag[i], cols, 1, &range, 1.0, 0.0);
}

void print_scale(int scale, float sigma, void*) {
    std::printf("Current scale: k=%d sigma=%f\n", scale, static_cast<double>(sigma));
}

struct Listener {
    RidgeProgress progress = print_scale;
    void* context = nullptr;
};
thread_local Listener listener;

} // namespace

void SetRidgeProgress(RidgeProgress progress, void* context) {
    listener = progress ? Listener{progress, context} : Listener{};
}

float bilinear_int(const float* const* grad_row, const float* const* grad_col, int row, int col,
                   float distance, float angle) {
    const DefaultArithmetic arithmetic;
    if (!(std::abs(distance) <= 0x1p30f) || !std::isfinite(angle))
        return std::numeric_limits<float>::quiet_NaN();
    const double theta = angle;
    return slope_at(grad_row, grad_col, row, col, distance,
                    static_cast<float>(numerics::cos(theta)),
                    static_cast<float>(numerics::sin(theta)));
}

void CImage::ridges(float sigma_min, float sigma_max, int n_scales, int bright, int dark,
                    const CImage* mask) {
    const Scales scales(sigma_min, sigma_max, n_scales);
    if (!is_sound(*this) || !scales.are_valid() ||
        (mask && has_rows_and_columns(*this) && !plane_holds(mask->pixels, nrows, ncols)))
        return;
    guarded([&] {
        Plane mag(nrows, ncols);
        Plane dir(nrows, ncols, Fill::none);
        Plane scale(nrows, ncols);
        for (int i = 0; i < nrows; ++i)
            std::fill_n(dir[i], ncols, no_angle);
        const RidgeSearch search{bright != 0, dark != 0, mask ? mask->pixels : nullptr,
                                 mag.get(),   dir.get(), scale.get()};
        for (int k = 0; k < n_scales; ++k) {
            const float sigma = scales.at(k);
            listener.progress(k, sigma, listener.context);
            const std::unique_ptr<CImage> smooth(smooth_image(sigma));
            if (!smooth)
                throw std::bad_alloc();
            search_scale(smooth->pixels, nrows, ncols, sigma, search);
        }
        normalise(mag.get(), nrows, ncols);
        mag.hand_to(mag_plane);
        dir.hand_to(dir_plane);
        scale.hand_to(scale_plane);
    });
}
