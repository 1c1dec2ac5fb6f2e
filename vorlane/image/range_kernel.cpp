// Search and stretch of sample ranges over lanes. Three vectors make a group: whichever lane a
// sample falls into, three groups of lanes hold whole colour pixels.

#include <vorlane/image/range.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

static void widen(const float* row, size_t n, size_t channels, Range* ranges) {
    constexpr size_t lanes = F32::count;
    size_t j = 0;
    if (n >= 3 * lanes) {
        const Range unset;
        F32 low[3];
        F32 high[3];
        for (int g = 0; g < 3; ++g) {
            low[g] = all_lanes(unset.min);
            high[g] = all_lanes(unset.max);
        }
        for (; j + 3 * lanes <= n; j += 3 * lanes) {
            for (size_t g = 0; g < 3; ++g) {
                const F32 s = load(row + j + g * lanes);
                low[g] = minimum(s, low[g]);
                high[g] = maximum(s, high[g]);
            }
        }
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
    for (; j < n; ++j) {
        Range& range = ranges[j % channels];
        range.min = row[j] < range.min ? row[j] : range.min;
        range.max = row[j] > range.max ? row[j] : range.max;
    }
}

static void stretch(float* row, size_t n, size_t channels, const Range* ranges, double span,
                    double lo) {
    constexpr size_t lanes = F64::count;
    double minima[3 * lanes];
    double widths[3 * lanes];
    for (size_t k = 0; k < 3 * lanes; ++k) {
        minima[k] = ranges[k % channels].min;
        widths[k] = double{ranges[k % channels].max} - double{ranges[k % channels].min};
    }
    size_t j = 0;
    for (; j + 3 * lanes <= n; j += 3 * lanes) {
        for (size_t g = 0; g < 3 * lanes; g += lanes) {
            const F64 part = (load_floats(row + j + g) - load(minima + g)) / load(widths + g);
            store_floats(row + j + g, part * all_lanes(span) + all_lanes(lo));
        }
    }
    for (size_t k = 0; j < n; ++j, ++k)
        row[j] = static_cast<float>((row[j] - minima[k]) / widths[k] * span + lo);
}

} // namespace

extern const RangeKernels range_kernels;
const RangeKernels range_kernels = {widen, stretch};

} // namespace vorlane::VORLANE_LANES
