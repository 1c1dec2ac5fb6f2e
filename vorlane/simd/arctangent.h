// Private, for kernel files: atan2 over lanes, for floats held in doubles.
#pragma once

#include <vorlane/simd/lanes.h>

namespace {

// arctan(k / 8) as a sum of two doubles.
constexpr double arctangent_high[8] = {0.0,
                                       0.12435499454676144,
                                       0.24497866312686414,
                                       0.35877067027057225,
                                       0.4636476090008061,
                                       0.5585993153435624,
                                       0.6435011087932844,
                                       0.7188299996216245};
constexpr double arctangent_low[8] = {0.0,
                                      -3.1253241424539383e-18,
                                      1.0698755618734451e-17,
                                      -2.4623815582638635e-17,
                                      2.2698777452961687e-17,
                                      -5.4556305485916264e-18,
                                      1.5834785051444286e-17,
                                      -2.1478388444456983e-17};

// The angle of (x, y) in radians, from -pi to pi, as atan2 gives it, with an error below 0.51 units
// in the last place; x and y aren't both 0. Every step but the listed ones is exact or carries its
// rounding error along: with v / u the smaller by the larger magnitude and c the nearest multiple
// of 1/8,
//     arctan(v / u) = arctan(c) + arctan(z),   z = (v - c u) / (u + c v),   |z| < 0.067,
// where numerator and denominator are exact for floats, and arctan(z) is its power series.
// All instruction sets take the same steps, so they give the same bits.
inline F64 finite_arctangent_2(F64 y, F64 x) {
    const F64 ax = absolute(x);
    const F64 ay = absolute(y);
    const F64 u = maximum(ax, ay);
    const F64 v = minimum(ax, ay);

    // c by bisection, from comparisons that are exact.
    const F64 zero = all_lanes(0.0);
    F64 c = select(v < u * all_lanes(7.0 / 16), zero, all_lanes(0.5));
    c = c + select(v < u * (c + all_lanes(3.0 / 16)), zero, all_lanes(0.25));
    c = c + select(v < u * (c + all_lanes(1.0 / 16)), zero, all_lanes(0.125));
    const F64 index = c * all_lanes(8.0);

    const F64 z = (v - c * u) / (u + c * v);
    const F64 w = z * z;
    F64 series = all_lanes(1.0 / 13) * w - all_lanes(1.0 / 11);
    series = series * w + all_lanes(1.0 / 9);
    series = series * w - all_lanes(1.0 / 7);
    series = series * w + all_lanes(1.0 / 5);
    series = series * w - all_lanes(1.0 / 3);
    const F64 bend = z * w * series; // arctan(z) - z

    // angle + rest: arctan(v / u), and then the octant it came from.
    const F64 high = look_up_8(arctangent_high, index);
    const F64 angle = high + z;
    const F64 rest = (z - (angle - high)) + (look_up_8(arctangent_low, index) + bend);
    const M64 is_steep = ax < ay;
    const M64 is_left = is_negative(x);
    const F64 half_pi_high = all_lanes(1.5707963267948966);
    const F64 half_pi_low = all_lanes(6.123233995736766e-17);
    const F64 pi_high = all_lanes(3.141592653589793);
    const F64 pi_low = all_lanes(1.2246467991473532e-16);
    const F64 origin = select(is_steep, half_pi_high, select(is_left, pi_high, zero));
    const F64 origin_low = select(is_steep, half_pi_low, select(is_left, pi_low, zero));
    const F64 sign = select(is_steep, select(is_left, all_lanes(1.0), all_lanes(-1.0)),
                            select(is_left, all_lanes(-1.0), all_lanes(1.0)));
    const F64 part = sign * angle;
    const F64 sum = origin + part;
    const F64 result = sum + ((part - (sum - origin)) + (origin_low + sign * rest));
    return with_sign_of(result, y);
}

// The same for infinities too, beside which finite numbers are 0, and not-a-numbers.
inline F64 arctangent_2(F64 y, F64 x) {
    const F64 zero = all_lanes(0.0);
    const F64 one = all_lanes(1.0);
    const F64 infinity = all_lanes(__builtin_inf());
    const F64 ax = absolute(x);
    const F64 ay = absolute(y);
    if (all_set(ax + ay < infinity))
        return finite_arctangent_2(y, x);
    const M64 is_far = (ax == infinity) | (ay == infinity);
    const F64 near_x = select(is_far, with_sign_of(select(ax == infinity, one, zero), x), x);
    const F64 near_y = select(is_far, with_sign_of(select(ay == infinity, one, zero), y), y);
    return select((x == x) & (y == y), finite_arctangent_2(near_y, near_x), x + y);
}

// Within 2^-36 of arctangent_2 in half the steps, in bits that may differ from set to set;
// not-a-number where one is, or both are 0 or infinite. Up to tan(pi / 8), and beyond it for the
// angle that is left to pi / 4, a Chebyshev fit to arctan(z) / z in z^2 is 2^-36.7 off at most.
constexpr double near_arctangent[7] = {
    0.04707347923475079, -0.08456192783522785, 0.1104048920900191, -0.14281588771188738,
    0.19999883856498613, -0.33333332097608703, 0.9999999999783987};
constexpr double largest_near_error = 0x1p-36;
inline F64 near_arctangent_2(F64 y, F64 x) {
    const F64 zero = all_lanes(0.0);
    const F64 ax = absolute(x);
    const F64 ay = absolute(y);
    const F64 u = maximum(ax, ay);
    const F64 v = minimum(ay, ax); // whichever is not-a-number, u or v is
    const M64 is_middle = u * all_lanes(0.41421356237309503) < v;
    const F64 z = select(is_middle, v - u, v) / select(is_middle, v + u, u);
    const F64 w = z * z;
    F64 series = all_lanes(near_arctangent[0]);
    for (int k = 1; k < 7; ++k)
        series = add_product(all_lanes(near_arctangent[k]), series, w);
    const F64 flat = add_product(select(is_middle, all_lanes(0.7853981633974483), zero), series, z);
    const F64 upper = select(ax < ay, all_lanes(1.5707963267948966) - flat, flat);
    return with_sign_of(select(is_negative(x), all_lanes(3.141592653589793) - upper, upper), y);
}

} // namespace
