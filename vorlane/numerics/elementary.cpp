#include <vorlane/numerics/elementary.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include <vorlane/numerics/double_double.h>
#include <vorlane/numerics/elementary_tables.h>
#include <vorlane/numerics/wide_fixed.h>

namespace vorlane::numerics {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double half_pi = 0x1.921fb54442d18p+0;

// Of magnitude below 2^51.
double nearest_whole(double x) {
    constexpr double shifter = 0x1.8p52;
    return (x + shifter) - shifter;
}

// 2^k of normal numbers.
double power_of_two(int k) {
    return std::bit_cast<double>(static_cast<std::uint64_t>(k + 1023) << 52);
}

// True if all numbers within `error` of the value round to the same double.
bool is_decided(DoubleDouble value, double error) {
    return value.high + (value.low + error) == value.high + (value.low - error);
}

// a + b + c rounded once, for terms that fall off by 2^-40 at least.
double round_sum(double a, double b, double c) {
    const DoubleDouble first = two_sum(a, b);
    const DoubleDouble rest = two_sum(first.low, c);
    const DoubleDouble high = quick_two_sum(first.high, rest.high);
    // What is cut off below makes the last bit odd, so that no middle is met by accident.
    const DoubleDouble low = two_sum(high.low, rest.low);
    auto bits = std::bit_cast<std::uint64_t>(low.high);
    if (low.low != 0.0 && (bits & 1) == 0)
        bits += (low.low > 0.0) == (low.high > 0.0) ? 1 : -std::uint64_t{1};
    return high.high + std::bit_cast<double>(bits);
}

// e^x = value 2^exponent, value from 0.99 to 2; |x| < 2^13, with an error of 2^-98 of the value.
DoubleDouble exp_of(DoubleDouble x, int& exponent) {
    constexpr double steps_of_ln2 = 0x1.71547652b82fep+6; // 64 / ln(2)
    const double k = nearest_whole(x.high * steps_of_ln2);
    const DoubleDouble r =
        ((two_sum(x.high, -k * ln2_64_1) + -k * ln2_64_2) + x.low) + ln2_64_3 * -k;
    const double h = r.high;
    const double tail =
        1.0 / 120 + h * (1.0 / 720 + h * (1.0 / 5040 + h * (1.0 / 40320 + h * (1.0 / 362880))));
    constexpr DoubleDouble sixth = {0x1.5555555555555p-3, 0x1.5555555555555p-57};
    constexpr DoubleDouble twenty_fourth = {0x1.5555555555555p-5, 0x1.5555555555555p-59};
    const DoubleDouble power = r + r * r * (r * (r * (twenty_fourth + h * tail) + sixth) + 0.5);
    const auto whole = static_cast<int>(k);
    const DoubleDouble step = power_of_2[whole & 63];
    exponent = (whole - (whole & 63)) / 64;
    return step + step * power;
}

// e^x 2^-exponent.
WideFixed wide_exp(const WideFixed& x, int& exponent) {
    const double k = nearest_whole(x.rounded() * 0x1.71547652b82fep+0); // 1 / ln(2)
    const WideFixed r = x - WideFixed(k) * WideFixed(ln2_limbs);
    WideFixed term(1.0);
    WideFixed sum = term;
    for (std::uint32_t n = 1; !term.is_zero(); ++n) {
        term = term * r / n;
        sum = sum + term;
    }
    exponent = static_cast<int>(k);
    return sum;
}

// Sine and cosine of the rest of an angle, |r| <= pi / 64: sin(r), cos(r) - 1.
void rest_of_turn(DoubleDouble r, DoubleDouble& sine, DoubleDouble& cosine) {
    const DoubleDouble w = r * r;
    const double h = w.high;
    const double odd = 1.0 / 362880 + h * (-1.0 / 39916800 +
                                           h * (1.0 / 6227020800.0 + h * (-1.0 / 1307674368000.0)));
    const double even =
        1.0 / 40320 + h * (-1.0 / 3628800 + h * (1.0 / 479001600.0 + h * (-1.0 / 87178291200.0)));
    constexpr DoubleDouble c3 = {-0x1.5555555555555p-3, -0x1.5555555555555p-57};
    constexpr DoubleDouble c5 = {0x1.1111111111111p-7, 0x1.1111111111111p-63};
    constexpr DoubleDouble c7 = {-0x1.a01a01a01a01ap-13, -0x1.a01a01a01a01ap-73};
    constexpr DoubleDouble c4 = {0x1.5555555555555p-5, 0x1.5555555555555p-59};
    constexpr DoubleDouble c6 = {-0x1.6c16c16c16c17p-10, 0x1.f49f49f49f49fp-65};
    sine = r + r * w * (w * (w * (w * odd + c7) + c5) + c3);
    cosine = w * (w * (w * (w * even + c6) + c4) + -0.5);
}

// sin(x + quarters pi / 2) for |x| < 2^15, with an error of 2^-96 of it and 2^-104.
DoubleDouble sine_of(double x, int quarters) {
    constexpr double steps_of_turn = 0x1.45f306dc9c883p+3; // 32 / pi
    const double k = nearest_whole(x * steps_of_turn);
    const DoubleDouble r = (two_sum(x, -k * pi_32_1) + -k * pi_32_2) + pi_32_3 * -k;
    DoubleDouble sine, cosine;
    rest_of_turn(r, sine, cosine);
    const int step = (static_cast<int>(k) + 16 * quarters) & 63;
    const int j = step & 31;
    const DoubleDouble s = sine_of_step[j <= 16 ? j : 32 - j];
    const DoubleDouble c = j <= 16 ? sine_of_step[16 - j] : -sine_of_step[j - 16];
    const DoubleDouble value = s + (c * sine + s * cosine);
    return step < 32 ? value : -value;
}

// x as a number of quarter turns: the whole ones modulo 4, and the rest from -1/2 to 1/2.
//
// Source: M. H. Payne, R. N. Hanek, "Radian reduction for trigonometric functions", 1983.
WideFixed rest_of_quarters(double x, int& quarters) {
    int exponent = 0;
    const auto mantissa =
        static_cast<std::uint64_t>(std::ldexp(std::frexp(std::fabs(x), &exponent), 53));
    exponent -= 53;
    // Bits of 2 / pi whose products are whole multiples of 4 are left out.
    const int skipped = exponent > 2 ? exponent - 2 : 0;
    constexpr std::size_t window = 6;
    std::uint64_t product[window + 1] = {}; // the lowest limb first
    std::uint64_t carry = 0;
    for (std::size_t k = 0; k < window; ++k) {
        const std::size_t first = static_cast<std::size_t>(skipped) / 64 + (window - 1 - k);
        const int offset = skipped % 64;
        const std::uint64_t limb = offset == 0 ? two_over_pi_limbs[first]
                                               : two_over_pi_limbs[first] << offset |
                                                     two_over_pi_limbs[first + 1] >> (64 - offset);
        const LimbPair sum = multiply_add(limb, mantissa, carry, 0);
        product[k] = sum.low;
        carry = sum.high;
    }
    product[window] = carry;
    // The product stands for product 2^(exponent - skipped - 64 window).
    const int down = 64 * static_cast<int>(window) - (exponent - skipped) - 192;
    std::uint64_t limbs[4];
    for (int k = 0; k < 4; ++k) {
        const int low = down + 64 * k;
        const auto at = static_cast<std::size_t>(low / 64);
        const int offset = low % 64;
        const std::uint64_t lower = at <= window ? product[at] : 0;
        const std::uint64_t upper = at + 1 <= window ? product[at + 1] : 0;
        limbs[3 - k] = offset == 0 ? lower : lower >> offset | upper << (64 - offset);
    }
    limbs[0] &= 3;
    const bool is_up = limbs[1] >> 63 != 0;
    quarters = static_cast<int>(limbs[0]) + (is_up ? 1 : 0);
    WideFixed rest = WideFixed(limbs) - WideFixed(static_cast<double>(quarters));
    if (std::signbit(x)) {
        rest = -rest;
        quarters = -quarters;
    }
    return rest;
}

WideFixed wide_sine(double x, int quarters) {
    int whole = 0;
    const WideFixed r = rest_of_quarters(x, whole) * WideFixed(half_pi_limbs);
    const int quadrant = (whole + quarters) & 3;
    const bool is_even = (quadrant & 1) != 0;
    const WideFixed w = r * r;
    WideFixed term = is_even ? WideFixed(1.0) : r;
    WideFixed sum = term;
    for (std::uint32_t n = is_even ? 1 : 2; !term.is_zero(); n += 2) {
        term = -(term * w / (n * (n + 1)));
        sum = sum + term;
    }
    return quadrant < 2 ? sum : -sum;
}

double sine(double x, int quarters) {
    if (std::fabs(x) < 0x1p15) {
        const DoubleDouble value = sine_of(x, quarters);
        if (is_decided(value, 0x1p-92 * std::fabs(value.high) + 0x1p-100))
            return value.high;
    }
    return wide_sine(x, quarters).rounded();
}

struct Logarithm {
    DoubleDouble value;
    double error;
};

// x = mantissa 2^exponent, mantissa from 0.5 to 1; `start` is near the result. The result is start +
// ln(x e^-start).
Logarithm log_of(double mantissa, int exponent, double start) {
    int power = 0;
    const DoubleDouble inverse = exp_of({-start, 0.0}, power);
    const double scale = power_of_two(exponent + power);
    const DoubleDouble z =
        DoubleDouble{inverse.high * scale, inverse.low * scale} * mantissa + -1.0;
    const double correction = -0.5 * z.high * z.high;
    return {two_sum(start, 0.0) + (z + correction), 0x1p-95 + 0x1p-98 * std::fabs(start)};
}

// The same, as three terms with an error of 2^-150.
void wide_log(double mantissa, int exponent, double start, double (&terms)[3]) {
    int power = 0;
    const WideFixed inverse = wide_exp(WideFixed(-start), power);
    const WideFixed z =
        inverse * WideFixed(std::ldexp(mantissa, exponent + power)) - WideFixed(1.0);
    terms[0] = start;
    terms[1] = z.rounded();
    terms[2] = (z - WideFixed(terms[1])).rounded() - 0.5 * terms[1] * terms[1];
}

// The angle of (x, y) from an angle near it, with an error of 2^-150.
double wide_angle(double y, double x, double start) {
    int exponent = 0;
    static_cast<void>(std::frexp(std::fmax(std::fabs(x), std::fabs(y)), &exponent));
    const WideFixed p(std::ldexp(y, -exponent));
    const WideFixed q(std::ldexp(x, -exponent));
    const WideFixed s = wide_sine(start, 0);
    const WideFixed c = wide_sine(start, 1);
    const WideFixed numerator = p * c - q * s;
    const WideFixed denominator = q * c + p * s;
    const double first = numerator.rounded() / denominator.rounded();
    const double second =
        (numerator - WideFixed(first) * denominator).rounded() / denominator.rounded();
    return round_sum(start, first, second);
}

// The same: start + arctan((y cos(start) - x sin(start)) / (x cos(start) + y sin(start))).
double angle_of(double y, double x, double start) {
    const DoubleDouble s = sine_of(start, 0);
    const DoubleDouble c = sine_of(start, 1);
    const double correction = (c * y - s * x).high / (c.high * x + s.high * y);
    const DoubleDouble value = two_sum(start, correction);
    const bool is_sure = is_decided(value, 0x1p-90 * std::fabs(start) + 0x1p-98);
    return is_sure ? value.high : wide_angle(y, x, start);
}

} // namespace

double exp(double x) {
    if (!(x < 709.79)) // 1024 ln(2) is 709.7827...
        return x > 0.0 ? infinity : x;
    if (x < -745.14)
        return 0.0;
    if (std::fabs(x) < 0x1p-54)
        return 1.0 + x;
    int exponent = 0;
    const DoubleDouble value = exp_of({x, 0.0}, exponent);
    if (exponent >= -1020 && exponent < 1023 && is_decided(value, 0x1p-92))
        return value.high * power_of_two(exponent);
    const WideFixed wide = wide_exp(WideFixed(x), exponent);
    return wide.rounded(exponent);
}

double quick_exp(double x) {
    if (!(std::fabs(x) < 700.0))
        return exp(x);
    constexpr double steps_of_ln2 = 0x1.71547652b82fep+6;
    const double k = nearest_whole(x * steps_of_ln2);
    const double r = (x - k * ln2_64_1) - k * (ln2_64_2 + ln2_64_3.high);
    const double power =
        r + r * r * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    const auto whole = static_cast<int>(k);
    const DoubleDouble step = power_of_2[whole & 63];
    return (step.high + (step.low + step.high * power)) * power_of_two((whole - (whole & 63)) / 64);
}

float exp_as_float(double x) {
    const double value = quick_exp(x);
    const auto below = static_cast<float>(value * (1.0 - 0x1p-51));
    const auto above = static_cast<float>(value * (1.0 + 0x1p-51));
    return below == above ? below : static_cast<float>(exp(x));
}

double sin(double x) {
    if (std::fabs(x) < 0x1p-27)
        return x;
    return std::isfinite(x) ? sine(x, 0) : x - x;
}

double cos(double x) {
    if (std::fabs(x) < 0x1p-27)
        return 1.0;
    return std::isfinite(x) ? sine(x, 1) : x - x;
}

double atan(double x) {
    const double size = std::fabs(x);
    if (!(size >= 0x1p-27))
        return x;
    return size > 0x1p60 ? std::copysign(half_pi, x) : angle_of(x, 1.0, std::atan(x));
}

double atan2(double y, double x) {
    if (std::isnan(x) || std::isnan(y))
        return x + y;
    if (std::isinf(x) || std::isinf(y))
        return atan2(std::copysign(std::isinf(y) ? 1.0 : 0.0, y),
                     std::copysign(std::isinf(x) ? 1.0 : 0.0, x));
    if (y == 0.0)
        return std::signbit(x) ? std::copysign(2.0 * half_pi, y) : y;
    if (x == 0.0)
        return std::copysign(half_pi, y);
    const double start = std::atan2(y, x);
    if (std::fabs(start) >= 0x1p-27)
        return angle_of(y, x, start);
    // y / x - (y / x)^3 / 3
    const double quotient = y / x;
    const DoubleDouble product = two_product(quotient, x);
    const double low =
        ((y - product.high) - product.low) / x - quotient * quotient * quotient * (1.0 / 3);
    const DoubleDouble value = quick_two_sum(quotient, low);
    return is_decided(value, 0x1p-100 * std::fabs(quotient)) ? value.high : wide_angle(y, x, start);
}

double log(double x) {
    if (!(x > 0.0))
        return x == 0.0 ? -infinity : std::numeric_limits<double>::quiet_NaN();
    if (x == 1.0 || x == infinity)
        return x == 1.0 ? 0.0 : x;
    int exponent = 0;
    const double mantissa = std::frexp(x, &exponent);
    const double start = std::log(x);
    const Logarithm found = log_of(mantissa, exponent, start);
    if (is_decided(found.value, found.error))
        return found.value.high;
    double terms[3];
    wide_log(mantissa, exponent, start, terms);
    return round_sum(terms[0], terms[1], terms[2]);
}

double pow(double x, double y) {
    if (x == 0.0 || x == 1.0 || !std::isfinite(x))
        return x;
    int exponent = 0;
    const double mantissa = std::frexp(x, &exponent);
    const double start = std::log(x);
    const Logarithm base = log_of(mantissa, exponent, start);
    int power = 0;
    const DoubleDouble value = exp_of(base.value * y, power);
    if (is_decided(value, y * base.error * 4.0 + 0x1p-90))
        return value.high * power_of_two(power);
    double terms[3];
    wide_log(mantissa, exponent, start, terms);
    const WideFixed wide_log_x = WideFixed(terms[0]) + WideFixed(terms[1]) + WideFixed(terms[2]);
    const WideFixed wide = wide_exp(wide_log_x * WideFixed(y), power);
    return wide.rounded(power);
}

double cube(double x) {
    const DoubleDouble square = two_product(x, x);
    const DoubleDouble high = two_product(square.high, x);
    const DoubleDouble low = two_product(square.low, x);
    const DoubleDouble middle = two_sum(high.low, low.high);
    const double result = round_sum(high.high, middle.high, middle.low + low.low);
    return std::isfinite(result) ? result : high.high;
}

} // namespace vorlane::numerics
