// Private: numbers as the unevaluated sum of two doubles, good to about 2^-104 of them. Every step
// is IEEE arithmetic without contraction, so it gives the same bits on every machine.
//
// Sources: T. J. Dekker, "A floating-point technique for extending the available precision", 1971;
// D. E. Knuth, "The Art of Computer Programming", volume 2, section 4.2.2.
#pragma once

namespace vorlane::numerics {

struct DoubleDouble {
    double high, low; // high is the sum rounded to a double
};

// a + b exactly.
constexpr DoubleDouble two_sum(double a, double b) {
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

// The same where a is 0 or b no larger than it.
constexpr DoubleDouble quick_two_sum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

// a b exactly, for magnitudes below 2^996 whose product is above 2^-969.
constexpr DoubleDouble two_product(double a, double b) {
    constexpr double splitter = 134217729.0; // 2^27 + 1
    const double product = a * b;
    const double a_scaled = splitter * a;
    const double a_high = a_scaled - (a_scaled - a);
    const double a_low = a - a_high;
    const double b_scaled = splitter * b;
    const double b_high = b_scaled - (b_scaled - b);
    const double b_low = b - b_high;
    return {product,
            ((a_high * b_high - product) + a_high * b_low + a_low * b_high) + a_low * b_low};
}

constexpr DoubleDouble operator-(DoubleDouble a) {
    return {-a.high, -a.low};
}

constexpr DoubleDouble operator+(DoubleDouble a, double b) {
    const DoubleDouble sum = two_sum(a.high, b);
    return quick_two_sum(sum.high, sum.low + a.low);
}

constexpr DoubleDouble operator+(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble high = two_sum(a.high, b.high);
    const DoubleDouble low = two_sum(a.low, b.low);
    const DoubleDouble sum = quick_two_sum(high.high, high.low + low.high);
    return quick_two_sum(sum.high, sum.low + low.low);
}

constexpr DoubleDouble operator-(DoubleDouble a, DoubleDouble b) {
    return a + -b;
}

constexpr DoubleDouble operator*(DoubleDouble a, double b) {
    const DoubleDouble product = two_product(a.high, b);
    return quick_two_sum(product.high, product.low + a.low * b);
}

constexpr DoubleDouble operator*(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble product = two_product(a.high, b.high);
    return quick_two_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

} // namespace vorlane::numerics
