#include <vorlane/filters/coefficients.h>

#include <cmath>

#include <vorlane/numerics/elementary.h>

namespace vorlane {

namespace {

struct KernelParameters {
    float a0, a1, b0, w0;
    float c0, c1, b1, w1;
};

constexpr KernelParameters gaussian = {1.68f,    3.735f,   1.783f, 0.6318f,
                                       -0.6803f, -0.2598f, 1.723f, 1.997f};
constexpr KernelParameters derivative = {-0.6472f, -4.531f, 1.527f, 0.6719f,
                                         0.6494f,  0.9557f, 1.516f, 2.072f};

enum class Symmetry { even, odd };

double square(double value) {
    return value * value;
}

// K is taken from the first damped term alone: the sum over all lags of its cosine part for the
// Gaussian, and of its sine part times the lag for the derivative.
double normaliser(const KernelParameters& p, Symmetry symmetry, double sigma) {
    const double b0 = p.b0;
    const double E = numerics::exp(b0 / sigma);
    const double C0 = numerics::cos(p.w0 / sigma);
    const double S0 = numerics::sin(p.w0 / sigma);
    const double E2 = square(E);
    const double denominator = 1.0 + E2 - 2.0 * C0 * E;
    if (symmetry == Symmetry::even)
        return std::isfinite(E2) ? p.a0 * (E2 - 1.0) / denominator : p.a0;
    // Where the powers of E leave the range of a double, 2 a1 S0 / E remains of the quotient.
    return std::isfinite(square(denominator))
               ? 2.0 * p.a1 * E * S0 * (E2 - 1.0) / square(denominator)
               : 2.0 * p.a1 * S0 / E;
}

Coefficients coefficients_of(const KernelParameters& p, Symmetry symmetry, double sigma) {
    const double a0 = p.a0;
    const double a1 = p.a1;
    const double c0 = p.c0;
    const double c1 = p.c1;
    const double e0 = numerics::exp(-p.b0 / sigma);
    const double e1 = numerics::exp(-p.b1 / sigma);
    const double C0 = numerics::cos(p.w0 / sigma);
    const double S0 = numerics::sin(p.w0 / sigma);
    const double C1 = numerics::cos(p.w1 / sigma);
    const double S1 = numerics::sin(p.w1 / sigma);

    Coefficients c{};
    float* const u = c.u;
    u[0] = p.a0 + p.c0;
    u[1] = static_cast<float>(e0 * (a1 * S0 - (a0 + 2.0 * c0) * C0) +
                              e1 * (c1 * S1 - (c0 + 2.0 * a0) * C1));
    u[2] = static_cast<float>(2.0 * e0 * e1 * ((a0 + c0) * C0 * C1 - a1 * S0 * C1 - c1 * C0 * S1) +
                              a0 * square(e1) + c0 * square(e0));
    u[3] = static_cast<float>(e0 * square(e1) * (a1 * S0 - a0 * C0) +
                              square(e0) * e1 * (c1 * S1 - c0 * C1));

    float* const d = c.d;
    d[1] = static_cast<float>(-2.0 * e0 * C0 - 2.0 * e1 * C1);
    d[2] = static_cast<float>(4.0 * e0 * e1 * C0 * C1 + square(e0) + square(e1));
    d[3] = static_cast<float>(-2.0 * e0 * square(e1) * C0 - 2.0 * square(e0) * e1 * C1);
    d[4] = static_cast<float>(square(e0) * square(e1));

    // From the values as they stand, after their rounding.
    float* const m = c.m;
    const double sign = symmetry == Symmetry::even ? 1.0 : -1.0;
    c.k = static_cast<float>(normaliser(p, symmetry, sigma));
    for (int k = 1; k <= 3; ++k)
        m[k] = static_cast<float>(sign * (double{u[k]} - double{d[k]} * double{u[0]}));
    m[4] = static_cast<float>(sign * (-double{d[4]} * double{u[0]}));

    return c;
}

} // namespace

Coefficients gaussian_coefficients(float sigma) {
    return coefficients_of(gaussian, Symmetry::even, sigma);
}

Coefficients derivative_coefficients(float sigma) {
    return coefficients_of(derivative, Symmetry::odd, sigma);
}

bool is_valid_sigma(float sigma) {
    return std::isfinite(sigma) && sigma > 0.0f;
}

} // namespace vorlane
