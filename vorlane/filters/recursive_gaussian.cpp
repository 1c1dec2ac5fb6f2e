#include <vorlane/filters/recursive_gaussian.h>

#include <algorithm>

#include <vorlane/filters/coefficients.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

void write_record(const Coefficients& c, float** coef) {
    std::copy(c.u, c.u + 4, coef[0]);
    coef[2][0] = c.k;
    for (int k = 1; k <= 4; ++k) {
        coef[1][k] = coef[3][k] = c.d[k];
        coef[2][k] = c.m[k];
    }
}

} // namespace

void ga(float sigma, float** coef) {
    const DefaultArithmetic arithmetic;
    if (coef && is_valid_sigma(sigma))
        write_record(gaussian_coefficients(sigma), coef);
}

void fdga(float sigma, float** coef) {
    const DefaultArithmetic arithmetic;
    if (coef && is_valid_sigma(sigma))
        write_record(derivative_coefficients(sigma), coef);
}
