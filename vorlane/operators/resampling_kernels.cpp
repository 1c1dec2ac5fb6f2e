// Shrinking and growing by whole factors over lanes, which are the pixels of the result.

#include <vorlane/operators/resampling_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

constexpr size_t lanes = F64::count;

// p[0], p[step], p[2 step] ...
inline F64 load_every(const float* p, size_t step) {
    float samples[lanes];
    for (size_t k = 0; k < lanes; ++k)
        samples[k] = p[k * step];
    return load_floats(samples);
}

inline void store_every(float* p, size_t step, F64 a) {
    float samples[lanes];
    store_floats(samples, a);
    for (size_t k = 0; k < lanes; ++k)
        p[k * step] = samples[k];
}

// Adds what a row has of each block, from left to right.
template<size_t known_factor, size_t channels>
inline F64 add_row_of_blocks(F64 sum, const float* row, size_t factor) {
    if constexpr (known_factor == 2 && channels == 1) {
        F64 left, right;
        load_pairs(row, left, right);
        return sum + left + right;
    } else {
        const size_t step = channels * factor;
        for (size_t c = 0; c < step; c += channels)
            sum = sum + load_every(row + c, step);
        return sum;
    }
}

template<size_t known_factor, size_t channels>
void mean_of_blocks_by(const float* const* rows, size_t any_factor, float* to, size_t n) {
    const size_t factor = known_factor ? known_factor : any_factor;
    const size_t step = channels * factor;
    const auto area = static_cast<double>(factor * factor);
    size_t j = 0;
    for (; j + lanes <= n; j += lanes) {
        for (size_t k = 0; k < channels; ++k) {
            F64 sum = all_lanes(0.0);
            for (size_t r = 0; r < factor; ++r)
                sum =
                    add_row_of_blocks<known_factor, channels>(sum, rows[r] + step * j + k, factor);
            store_every(to + channels * j + k, channels, sum / all_lanes(area));
        }
    }
    for (; j < n; ++j) {
        for (size_t k = 0; k < channels; ++k) {
            double sum = 0.0;
            for (size_t r = 0; r < factor; ++r)
                for (size_t c = 0; c < step; c += channels)
                    sum += rows[r][step * j + c + k];
            to[channels * j + k] = static_cast<float>(sum / area);
        }
    }
}

template<size_t channels>
void mean_of_blocks_in(const float* const* rows, size_t factor, float* to, size_t n) {
    switch (factor) {
    case 2:
        return mean_of_blocks_by<2, channels>(rows, factor, to, n);
    case 3:
        return mean_of_blocks_by<3, channels>(rows, factor, to, n);
    case 4:
        return mean_of_blocks_by<4, channels>(rows, factor, to, n);
    default:
        return mean_of_blocks_by<0, channels>(rows, factor, to, n);
    }
}

void mean_of_blocks(const float* const* rows, size_t factor, size_t channels, float* to, size_t n) {
    (channels == 1 ? mean_of_blocks_in<1> : mean_of_blocks_in<3>)(rows, factor, to, n);
}

template<size_t channels>
void weigh_every_second_in(const float* const rows[3], const float weights[3][3], double factor,
                           float* to, size_t n) {
    constexpr size_t step = 2 * channels;
    const auto weigh_one = [&](size_t j) {
        const size_t at[] = {j == 0 ? channels : step * j - channels, step * j,
                             step * j + channels};
        for (size_t k = 0; k < channels; ++k) {
            double sum = 0.0;
            for (size_t a = 0; a < 3; ++a)
                for (size_t b = 0; b < 3; ++b)
                    sum += double{weights[a][b]} * rows[a][at[b] + k];
            to[channels * j + k] = static_cast<float>(sum * factor);
        }
    };
    if (n > 0)
        weigh_one(0);
    size_t j = 1;
    for (; j + lanes <= n; j += lanes) {
        for (size_t k = 0; k < channels; ++k) {
            F64 sum = all_lanes(0.0);
            for (size_t a = 0; a < 3; ++a) {
                const float* const centre = rows[a] + step * j + k;
                F64 samples[3];
                if constexpr (channels == 1) {
                    load_pairs(centre - 1, samples[0], samples[1]);
                    load_pairs(centre, samples[1], samples[2]);
                } else {
                    samples[0] = load_every(centre - channels, step);
                    samples[1] = load_every(centre, step);
                    samples[2] = load_every(centre + channels, step);
                }
                for (size_t b = 0; b < 3; ++b)
                    sum = add_product(sum, all_lanes(double{weights[a][b]}), samples[b]);
            }
            store_every(to + channels * j + k, channels, sum * all_lanes(factor));
        }
    }
    for (; j < n; ++j)
        weigh_one(j);
}

void weigh_every_second(const float* const rows[3], const float weights[3][3], double factor,
                        size_t channels, float* to, size_t n) {
    (channels == 1 ? weigh_every_second_in<1> : weigh_every_second_in<3>)(rows, weights, factor, to,
                                                                          n);
}

template<size_t known_factor, size_t channels>
void replicate_by(const float* from, size_t any_factor, double* to, size_t n) {
    const size_t factor = known_factor ? known_factor : any_factor;
    for (size_t j = 0; j < n; ++j, from += channels)
        for (size_t b = 0; b < factor; ++b, to += channels)
            for (size_t k = 0; k < channels; ++k)
                to[k] = from[k];
}

void replicate(const float* from, size_t channels, size_t factor, double* to, size_t n) {
    if (channels == 1)
        (factor == 2 ? replicate_by<2, 1> : replicate_by<0, 1>)(from, factor, to, n);
    else
        (factor == 2 ? replicate_by<2, 3> : replicate_by<0, 3>)(from, factor, to, n);
}

constexpr size_t unit = most_double_lanes; // samples that are blended at once

struct UnitWeights {
    F64 pixel[unit / lanes], right[unit / lanes], below[unit / lanes], diagonal[unit / lanes];
};

inline UnitWeights weights_at(const EnlargingWeights& w, size_t k) {
    UnitWeights result;
    for (size_t v = 0; v < unit / lanes; ++v, k += lanes) {
        result.pixel[v] = load(w.pixel + k);
        result.right[v] = load(w.right + k);
        result.below[v] = load(w.below + k);
        result.diagonal[v] = load(w.diagonal + k);
    }
    return result;
}

void blend_rows(const double* upper, const double* lower, size_t step, const EnlargingWeights& all,
                size_t factor, float* to, size_t n) {
    const auto area = static_cast<double>(factor * factor);
    const F64 divisor = all_lanes(area);
    const F64 reciprocal = all_lanes(1.0 / area);
    const auto blend_unit = [=](size_t j, const UnitWeights& w, auto divide) {
        for (size_t v = 0; v < unit / lanes; ++v, j += lanes) {
            F64 sum = load(lower + j + step) * w.diagonal[v];
            sum = add_product(sum, load(lower + j), w.below[v]);
            sum = add_product(sum, load(upper + j + step), w.right[v]);
            sum = add_product(sum, load(upper + j), w.pixel[v]);
            store_floats(to + j, divide(sum));
        }
    };
    size_t j = 0;
    if (all.period == unit) { // so the factor divides it, and the area is a power of two
        const UnitWeights always = weights_at(all, 0);
        for (; j + unit <= n; j += unit)
            blend_unit(j, always, [=](F64 sum) { return sum * reciprocal; });
    } else {
        for (size_t k = 0; j + unit <= n; j += unit, k = k + unit < all.period ? k + unit : 0)
            blend_unit(j, weights_at(all, k),
                       [=](F64 sum) { return quotient(sum, divisor, reciprocal); });
    }
    for (; j < n; ++j) {
        const size_t k = j % all.period;
        const double sum = lower[j + step] * all.diagonal[k] + lower[j] * all.below[k] +
                           upper[j + step] * all.right[k] + upper[j] * all.pixel[k];
        to[j] = static_cast<float>(sum / area);
    }
}

} // namespace

extern const ResamplingKernels resampling_kernels;
const ResamplingKernels resampling_kernels = {mean_of_blocks, weigh_every_second, replicate,
                                              blend_rows};

} // namespace vorlane::VORLANE_LANES
