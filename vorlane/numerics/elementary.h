// Private: the elementary functions that results depend on, in this library's own arithmetic: C
// libraries differ in the last place. Each gives the double nearest to the true value, on every
// machine, for rounding to nearest.
//
// A sum of two doubles decides the rounding but for one argument in billions; those are worked out
// with 192 bits behind the point.
#pragma once

namespace vorlane::numerics {

double exp(double x);
double sin(double x);
double cos(double x);
double atan(double x);
double log(double x);

// The angle of (x, y) in radians, from -pi to pi, for magnitudes from 2^-400 to 2^400, zeros and
// infinities.
double atan2(double y, double x);

// x^y for x from 0 to 2^100 and y above 0, where the result isn't below 2^-900 or above 2^900, and
// not exactly in the middle of two doubles.
double pow(double x, double y);

// x^3 where the result lies between 2^-900 and 2^900, or is 0.
double cube(double x);

// e^x with an error below 0.6 units in the last place: for searches that take it often. The same on
// every machine as well.
double quick_exp(double x);

// exp(x) rounded to a float, as quickly unless it lies near the middle between two.
float exp_as_float(double x);

} // namespace vorlane::numerics
