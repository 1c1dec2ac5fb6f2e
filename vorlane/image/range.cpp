// Search and stretch of sample ranges over lanes. Three vectors make a group: whichever lane a
// sample falls into, three groups of lanes hold whole colour pixels.

#include <vorlane/image/range.h>
#include <vorlane/simd/rows.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

void widen(const float* row, size_t n, size_t channels, Range* ranges) {
    constexpr size_t lanes = F32::count;
    const Range unset;
    F32 low[3];
    F32 high[3];
    for (int g = 0; g < 3; ++g) {
        low[g] = all_lanes(unset.min);
        high[g] = all_lanes(unset.max);
    }
    const auto widen_by = [&](size_t g, F32 samples) {
        low[g] = minimum(samples, low[g]);
        high[g] = maximum(samples, high[g]);
    };
    size_t j = 0;
    for (; j + 3 * lanes <= n; j += 3 * lanes) {
        for (size_t g = 0; g < 3; ++g)
            widen_by(g, load(row + j + g * lanes));
    }
    size_t last = 0;
    for (; j + lanes <= n; j += lanes)
        widen_by(last++, load(row + j));
    widen_by(last, load_first(row + j, n - j, __builtin_nanf("")));
    float lows[3 * lanes];
    float highs[3 * lanes];
    for (size_t g = 0; g < 3; ++g) {
        store(lows + g * lanes, low[g]);
        store(highs + g * lanes, high[g]);
    }
    for (size_t k = 0; k < 3 * lanes; ++k) {
        Range& range = ranges[k % channels];
        range.min = lows[k] < range.min ? lows[k] : range.min;
        range.max = highs[k] > range.max ? highs[k] : range.max;
    }
}

void stretch(float* row, size_t n, size_t channels, const Range* ranges, double span, double lo) {
    constexpr size_t lanes = F64::count;
    double minima[3 * lanes];
    double widths[3 * lanes];
    for (size_t k = 0; k < 3 * lanes; ++k) {
        minima[k] = ranges[k % channels].min;
        widths[k] = double{ranges[k % channels].max} - double{ranges[k % channels].min};
    }
    along_row<3 * lanes, 0>({row}, {row}, 0, n, [&](auto& in, auto& out, size_t j) {
        for (size_t g = 0; g < 3 * lanes; g += lanes) {
            const F64 part = (load_floats(in[0] + j + g) - load(minima + g)) / load(widths + g);
            store_floats(out[0] + j + g, part * all_lanes(span) + all_lanes(lo));
        }
    });
}

} // namespace

extern const RangeKernels range_kernels;
const RangeKernels range_kernels = {widen, stretch};

} // namespace vorlane::VORLANE_LANES
