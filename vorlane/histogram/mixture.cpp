#include <vorlane/histogram/histogram.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include <vorlane/histogram/owned_arrays.h>
#include <vorlane/image/plane.h>
#include <vorlane/numerics/mixture_starts.h>
#include <vorlane/numerics/solvers.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

constexpr float gave_up = 1000000.0f;
constexpr int most_components = std::numeric_limits<int>::max() / 3;

// The lowest bin that isn't empty, or nbins.
int first_bin_of(const CHistogram& h) {
    if (!h.bins || h.nbins < 1)
        return h.nbins;
    const auto is_counted = [](int count) { return count != 0; };
    return static_cast<int>(std::find_if(h.bins, h.bins + h.nbins, is_counted) - h.bins);
}

bool has_counts(const CHistogram& h) {
    return h.nbins > 0 && first_bin_of(h) < h.nbins;
}

// Starting values from n intervals of equal width on the gray scale.
void start_mixture(const CHistogram& h, int n, float* params) {
    const std::int64_t first = first_bin_of(h);
    const std::int64_t span = h.nbins - first;
    for (std::int64_t k = 0; k < n; ++k) {
        const auto lo = static_cast<int>(first + span * k / n);
        const auto hi = static_cast<int>(first + span * (k + 1) / n);
        moments_of_interval(
            lo, hi, [](int i) { return std::int64_t{i}; },
            [&h](int i) { return std::int64_t{h.bins[i]}; }, params + 3 * k);
    }
}

// Fits n components into `params`, which has room for 3n floats.
float fit_mixture(const CHistogram& h, int n, float* params) {
    start_mixture(h, n, params);
    const FloatArray levels(make_1D_float_array(h.nbins));
    const FloatArray counts(make_1D_float_array(h.nbins));
    const FloatArray deviations(make_1D_float_array(h.nbins));
    if (!levels || !counts || !deviations)
        return gave_up;
    for (int i = 0; i < h.nbins; ++i) {
        levels.get()[i] = static_cast<float>(i);
        counts.get()[i] = static_cast<float>(h.bins[i]);
        deviations.get()[i] = 1.0f;
    }
    return LevenbergMarquardt(levels.get(), counts.get(), deviations.get(), h.nbins, params, 3 * n,
                              gaussian_mixture_model);
}

// The fewest components whose misfit lies below the threshold, on a scale where the best fit is 0
// and the worst that didn't fail is 1.
int choose(const float* misfits, int first, int last, float threshold) {
    float best = 1000000.0f;
    float worst = -1000000.0f;
    for (int n = first; n < last; ++n) {
        best = std::min(best, misfits[n]);
        if (misfits[n] < gave_up)
            worst = std::max(worst, misfits[n]);
    }
    const auto range = static_cast<float>(double{worst} - double{best});
    for (int n = first; n < last; ++n) {
        const double q = (double{misfits[n]} - double{best}) / double{range};
        if (q < threshold || std::isnan(q))
            return n;
    }
    return last - 1;
}

} // namespace

float CHistogram::FitNGaussians(int n) {
    const DefaultArithmetic arithmetic;
    nparams = 0;
    if (n < 1 || n > most_components || !has_counts(*this))
        return gave_up;
    FloatArray fitted(make_1D_float_array(3 * n));
    if (!fitted)
        return gave_up;
    const float misfit = fit_mixture(*this, n, fitted.get());
    nparams = misfit == gave_up ? 0 : 3 * n;
    free_1D_float_array(std::exchange(params, fitted.release()));
    return misfit;
}

float* CHistogram::FitGaussians(int first, int last, float threshold) {
    const DefaultArithmetic arithmetic;
    if (first < 1 || last < 1 || last > most_components || !has_counts(*this))
        return nullptr;
    const Plane table(make_plane(last, std::int64_t{3} * last));
    FloatArray misfits(make_1D_float_array(last));
    if (!table || !misfits)
        return nullptr;
    for (int n = first; n < last; ++n)
        misfits.get()[n] = fit_mixture(*this, n, table.get()[n]);
    const int chosen = choose(misfits.get(), first, last, threshold);
    FloatArray kept(make_1D_float_array(3 * chosen));
    if (!kept)
        return nullptr;
    std::copy_n(table.get()[chosen], 3 * chosen, kept.get());
    nparams = 3 * chosen;
    free_1D_float_array(std::exchange(params, kept.release()));
    return misfits.release();
}
