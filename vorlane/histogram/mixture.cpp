#include <vorlane/histogram/histogram.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include <vorlane/histogram/owned_arrays.h>
#include <vorlane/image/plane.h>
#include <vorlane/numerics/solvers.h>

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

// One component with the mean, the variance and the area of the counts in the bins from `lo` up to
// `hi`. Bins that hold nothing, or a single one that holds all, give not-a-numbers.
void start_component(const int* bins, int lo, int hi, float* component) {
    std::int64_t count = 0;
    std::int64_t moment = 0;
    for (int i = lo; i < hi; ++i) {
        count += bins[i];
        moment += std::int64_t{i} * bins[i];
    }
    const auto total = static_cast<double>(count);
    const auto mean = static_cast<float>(static_cast<float>(moment) / total);
    double squares = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double distance = i - double{mean};
        squares += distance * distance * bins[i];
    }
    const auto variance = static_cast<float>(squares / total);
    double area = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double distance = i - double{mean};
        area += std::exp(-0.5 * (distance * distance) / variance);
    }
    component[0] = static_cast<float>(std::sqrt(total / area));
    component[1] = mean;
    component[2] = static_cast<float>(std::sqrt(2.0 * variance));
}

// Starting values from n intervals of equal width on the gray scale.
void start_mixture(const CHistogram& h, int n, float* params) {
    const std::int64_t first = first_bin_of(h);
    const std::int64_t span = h.nbins - first;
    for (std::int64_t k = 0; k < n; ++k) {
        const auto lo = static_cast<int>(first + span * k / n);
        const auto hi = static_cast<int>(first + span * (k + 1) / n);
        start_component(h.bins, lo, hi, params + 3 * k);
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

void gaussian_mixture_model(float x, float* params, float* value, float* derivatives, int nparams) {
    *value = 0.0f;
    for (int k = 0; k < nparams; k += 3) {
        const double a = params[k];
        const double m = params[k + 1];
        const double w = params[k + 2];
        const double t = static_cast<float>((x - m) / w);
        const double e = static_cast<float>(std::exp(-(t * t)));
        *value = static_cast<float>(*value + a * a * e);
        derivatives[k] = static_cast<float>(2.0 * a * e);
        derivatives[k + 1] = static_cast<float>(2.0 * a * a * e * t / w);
        derivatives[k + 2] = static_cast<float>(2.0 * a * a * e * (t * t) / w);
    }
}

float CHistogram::FitNGaussians(int n) {
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
    if (first < 1 || last < 1 || last > most_components || !has_counts(*this))
        return nullptr;
    const PlaneHandle table(make_plane(last, std::int64_t{3} * last));
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
