// Private, for kernel files: sine and cosine over lanes, for floats from 0 to pi held in doubles.
#pragma once

#include <vorlane/simd/lanes.h>

namespace {

// Errors stay below 2^-52 of the result. The reduction by a multiple of pi / 2 is exact for floats
// but for the low part of pi / 2, which enters the series as a first-order term; the series are
// those of Taylor for |r| <= pi / 4. All instruction sets take the same steps.
inline void sine_and_cosine(F64 angle, F64& sine, F64& cosine) {
    const F64 half = all_lanes(0.5);
    const F64 one = all_lanes(1.0);
    const F64 zero = all_lanes(0.0);
    const F64 quarters = truncate(angle * all_lanes(0.6366197723675814) + half);
    const F64 r = angle - quarters * all_lanes(1.5707963267948966);
    const F64 low = zero - quarters * all_lanes(6.123233995736766e-17);
    const F64 w = r * r;

    F64 odd = all_lanes(1.0 / 355687428096000.0) * w - all_lanes(1.0 / 1307674368000.0);
    odd = odd * w + all_lanes(1.0 / 6227020800.0);
    odd = odd * w - all_lanes(1.0 / 39916800.0);
    odd = odd * w + all_lanes(1.0 / 362880.0);
    odd = odd * w - all_lanes(1.0 / 5040.0);
    odd = odd * w + all_lanes(1.0 / 120.0);
    odd = odd * w - all_lanes(1.0 / 6.0);

    F64 even = all_lanes(1.0 / 20922789888000.0) * w - all_lanes(1.0 / 87178291200.0);
    even = even * w + all_lanes(1.0 / 479001600.0);
    even = even * w - all_lanes(1.0 / 3628800.0);
    even = even * w + all_lanes(1.0 / 40320.0);
    even = even * w - all_lanes(1.0 / 720.0);
    even = even * w + all_lanes(1.0 / 24.0);

    const F64 half_w = half * w;
    const F64 main = one - half_w;
    const F64 s = r + (low * main + r * w * odd);
    const F64 c = main + (((one - main) - half_w) + (w * w * even - r * low));

    const M64 is_one = quarters == one;
    const M64 is_two = quarters == all_lanes(2.0);
    sine = select(is_one, c, select(is_two, zero - s, s));
    cosine = select(is_one, zero - s, select(is_two, zero - c, c));
}

// The float nearest to a double that `value` is near, by 2^-49 of it at least. Where the error could
// decide the rounding, exactly(lane) gives that double.
template<class Exactly>
inline F64 nearest_floats(F64 value, Exactly exactly) {
    const F64 doubt = absolute(value) * all_lanes(0x1p-49);
    const F64 rounded = round_to_float(value - doubt);
    const M64 is_sure = rounded == round_to_float(value + doubt);
    if (all_set(is_sure))
        return rounded;
    double lanes[F64::count];
    store(lanes, rounded);
    for (int k = 0; k < F64::count; ++k) {
        if (!(lane_bits(is_sure) >> k & 1u))
            lanes[k] = static_cast<double>(static_cast<float>(exactly(k)));
    }
    return load(lanes);
}

} // namespace
