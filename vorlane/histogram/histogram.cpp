#include <vorlane/histogram/histogram.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <vorlane/histogram/levels.h>
#include <vorlane/histogram/owned_arrays.h>
#include <vorlane/image/soundness.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/numerics/rounding.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

int as_whole_number(float value) {
    constexpr double least = std::numeric_limits<int>::min();
    constexpr double most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(half_away(value), least, most));
}

// Bins, and the largest of them. Without memory, or without a mask that holds the image, the
// histogram is left as an empty one.
void count(const CImage* image, const float* const* mask, bool drop_zero, CHistogram& h) {
    const DefaultArithmetic arithmetic;
    const int top = image ? highest_level(*image, mask) : no_level;
    IntArray bins(make_1D_int_array(top + 1));
    if (!bins)
        return;
    if (top >= 0) {
        try {
            h.peak = count_levels(*image, mask, top, drop_zero, bins.get());
        } catch (const std::bad_alloc&) {
            return;
        }
    }
    h.nbins = top + 1;
    h.bins = bins.release();
}

} // namespace

constinit CRuntimeClass CHistogram::classCHistogram = {
    "CHistogram", sizeof(CHistogram), 0, &CHistogram::CreateObject, &CObject::_GetBaseClass,
    nullptr};

CObject* CHistogram::CreateObject() {
    return new (std::nothrow) CHistogram;
}

CRuntimeClass* CHistogram::GetRuntimeClass() const {
    return &classCHistogram;
}

CHistogram::CHistogram() : nbins(0), peak(0), bins(nullptr), params(nullptr), nparams(0) {}

CHistogram::CHistogram(const CImage* image, int drop_zero) : CHistogram() {
    count(image, nullptr, drop_zero != 0, *this);
}

CHistogram::CHistogram(const CImage* image, const CImage* mask) : CHistogram() {
    const bool is_usable =
        !mask || (image && plane_holds(mask->pixels, image->nrows, image->ncols));
    count(is_usable ? image : nullptr, mask ? mask->pixels : nullptr, false, *this);
}

CHistogram::~CHistogram() {
    free_1D_int_array(bins);
    free_1D_float_array(params);
}

CHistogram& CHistogram::operator=(const CHistogram& other) {
    if (this == &other)
        return *this;
    const bool has_fit = other.nparams > 0 && other.params;
    IntArray new_bins(make_1D_int_array(std::max(other.nbins, 0)));
    FloatArray new_params(has_fit ? make_1D_float_array(other.nparams) : nullptr);
    if (!new_bins || (has_fit && !new_params))
        return *this;
    if (other.nbins > 0 && other.bins)
        std::copy_n(other.bins, other.nbins, new_bins.get());
    nbins = other.nbins;
    peak = other.peak;
    free_1D_int_array(std::exchange(bins, new_bins.release()));
    nparams = has_fit ? other.nparams : 0;
    if (has_fit) {
        std::copy_n(other.params, nparams, new_params.get());
        free_1D_float_array(std::exchange(params, new_params.release()));
    }
    return *this;
}

void CHistogram::Smooth(int width) {
    if (width < 1 || nbins < 1 || !bins)
        return;
    const DefaultArithmetic arithmetic;
    const std::int64_t n = nbins;
    const std::int64_t half = width / 2;
    const double denominator =
        static_cast<double>(std::int64_t{width} * width) * double{0.055555556f};
    try {
        std::vector<float> sums(static_cast<std::size_t>(n));
        std::vector<double> weights(static_cast<std::size_t>(n));
        // One weight after the other over all bins: each bin still sees its terms in their order,
        // and bins don't wait for each other.
        const std::int64_t last = std::min(width - 1 - half, n - 1);
        for (std::int64_t offset = std::max(-half, 1 - n); offset <= last; ++offset) {
            const auto distance = static_cast<double>(offset);
            const auto weight =
                static_cast<float>(numerics::exp(-(distance * distance) / denominator));
            const std::int64_t begin = std::max<std::int64_t>(-offset, 0);
            const std::int64_t end = std::min(n - offset, n);
            const int* const from = bins + offset;
            float* const to = sums.data();
            double* const total = weights.data();
            for (std::int64_t i = begin; i < end; ++i) {
                to[i] = static_cast<float>(to[i] + double{weight} * from[i]);
                total[i] += weight;
            }
        }
        for (std::int64_t i = 0; i < n; ++i) {
            const auto k = static_cast<std::size_t>(i);
            bins[i] = as_whole_number(static_cast<float>(sums[k] / weights[k]));
        }
    } catch (const std::bad_alloc&) { // no change
    }
}
