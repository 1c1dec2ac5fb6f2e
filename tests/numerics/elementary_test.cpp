#include <vorlane/numerics/elementary.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#ifdef VORLANE_HAS_MPFR
#include <mpfr.h>
#endif

namespace {

using namespace vorlane;

constexpr double infinity = std::numeric_limits<double>::infinity();

// Results within 2^-46 units of the middle between two doubles or nearer, which the power series
// decides: exp(2^-53) = 1 + 2^-53 + 2^-107 ...; and angles whose turns need all bits of pi.
TEST(Elementary, HardArguments) {
    EXPECT_EQ(numerics::exp(0x1p-53), 0x1.0000000000001p+0);
    EXPECT_EQ(numerics::exp(0x3p-53), 0x1.0000000000002p+0);
    EXPECT_EQ(numerics::exp(-0x1p-54), 1.0);
    EXPECT_EQ(numerics::exp(-0x3p-54), 0x1.fffffffffffffp-1);
    EXPECT_EQ(numerics::cos(0x3p-26), 1.0 - 0x9p-53);
    EXPECT_EQ(numerics::atan(0x3p-26), 0x3p-26 - 0x4p-77);
    EXPECT_EQ(numerics::log(1.0 + 0x1p-52), 0x1p-52 - 0x1p-105);
    EXPECT_EQ(numerics::log(1.0 - 0x1p-53), -0x1p-53);
    EXPECT_EQ(numerics::sin(0x1.921fb54442d18p+1), 0x1.1a62633145c07p-53);
    EXPECT_EQ(numerics::cos(0x1.921fb54442d18p+0), 0x1.1a62633145c07p-54);
    // J.-M. Muller, "Elementary functions": the double nearest to a multiple of pi / 2.
    EXPECT_EQ(numerics::cos(0x1.6ac5b262ca1ffp+849), -0x1.14ae72e6ba22fp-61);
    EXPECT_EQ(numerics::cube(0x1.0000000000001p+0), 0x1.0000000000003p+0);
    EXPECT_EQ(numerics::cube(-3.0), -27.0);
    EXPECT_EQ(numerics::pow(0x1p-12, 0.25), 0x1p-3);
}

TEST(Elementary, EndsOfTheRange) {
    EXPECT_EQ(numerics::exp(709.782712893384), 0x1.fffffffffff2ap+1023);
    EXPECT_EQ(numerics::exp(709.7827128933841), infinity);
    EXPECT_EQ(numerics::exp(-745.1332191019411), 0x1p-1074);
    EXPECT_EQ(numerics::exp(-745.1332191019412), 0.0);
    EXPECT_EQ(numerics::exp(infinity), infinity);
    EXPECT_EQ(numerics::exp(-infinity), 0.0);
    EXPECT_EQ(numerics::log(0.0), -infinity);
    EXPECT_EQ(numerics::log(infinity), infinity);
    EXPECT_EQ(numerics::log(1.0), 0.0);
    EXPECT_EQ(numerics::atan(-infinity), -0x1.921fb54442d18p+0);
    EXPECT_EQ(numerics::pow(0.0, 0.333333), 0.0);
    EXPECT_EQ(numerics::cube(infinity), infinity);
    for (const double x : {0.0, -0.0, 1e-300, -0x1p-1074}) {
        EXPECT_EQ(numerics::sin(x), x);
        EXPECT_EQ(std::signbit(numerics::sin(x)), std::signbit(x));
        EXPECT_EQ(std::signbit(numerics::atan(x)), std::signbit(x));
        EXPECT_EQ(numerics::cos(x), 1.0);
        EXPECT_EQ(numerics::exp(x), 1.0);
    }
    const double pi = 0x1.921fb54442d18p+1;
    EXPECT_EQ(numerics::atan2(0.0, -1.0), pi);
    EXPECT_EQ(numerics::atan2(-0.0, -0.0), -pi);
    EXPECT_EQ(numerics::atan2(-1.0, 0.0), -pi / 2);
    EXPECT_EQ(numerics::atan2(infinity, -infinity), 0x1.2d97c7f3321d2p+1);
    EXPECT_EQ(numerics::atan2(-3.0, -infinity), -pi);
    EXPECT_TRUE(std::signbit(numerics::atan2(-0.0, 1.0)));
    const double nan = std::nan("");
    for (const double y : {numerics::exp(nan), numerics::log(nan), numerics::log(-1.0),
                           numerics::sin(infinity), numerics::cos(nan), numerics::atan(nan),
                           numerics::atan2(nan, 1.0), numerics::atan2(infinity, nan)})
        EXPECT_TRUE(std::isnan(y));
}

class Arguments {
public:
    double between(double low, double high) {
        return low + (high - low) * (static_cast<double>(random_() >> 11) * 0x1p-53);
    }
    // Of every exponent from `low` to `high` alike.
    double of_exponents(int low, int high) {
        const auto range = static_cast<std::uint64_t>(high - low + 1);
        const double size =
            std::ldexp(between(1.0, 2.0), low + static_cast<int>(random_() % range));
        return random_() % 2 == 0 ? size : -size;
    }

private:
    std::mt19937_64 random_{1};
};

TEST(Elementary, QuickExponentialIsNearTheExactOne) {
    Arguments arguments;
    for (int k = 0; k < 20000; ++k) {
        const double x = arguments.between(-100, 10);
        const double exact = numerics::exp(x);
        EXPECT_NEAR(numerics::quick_exp(x), exact, std::nextafter(exact, infinity) - exact);
        EXPECT_EQ(numerics::exp_as_float(x), static_cast<float>(exact)) << x;
    }
}

#ifdef VORLANE_HAS_MPFR

class Oracle {
public:
    using Function = int (*)(mpfr_t, const mpfr_t, mpfr_rnd_t);

    Oracle() {
        mpfr_set_default_prec(53);
        mpfr_set_emin(-1073);
        mpfr_set_emax(1024);
        mpfr_inits(x_, y_, result_, static_cast<mpfr_ptr>(nullptr));
    }
    Oracle(const Oracle&) = delete;
    Oracle& operator=(const Oracle&) = delete;
    ~Oracle() { mpfr_clears(x_, y_, result_, static_cast<mpfr_ptr>(nullptr)); }

    double of(Function function, double x) {
        mpfr_set_d(x_, x, MPFR_RNDN);
        const int direction = function(result_, x_, MPFR_RNDN);
        mpfr_subnormalize(result_, direction, MPFR_RNDN);
        return mpfr_get_d(result_, MPFR_RNDN);
    }
    double power(double x, double y) {
        mpfr_set_d(x_, x, MPFR_RNDN);
        mpfr_set_d(y_, y, MPFR_RNDN);
        mpfr_pow(result_, x_, y_, MPFR_RNDN);
        return mpfr_get_d(result_, MPFR_RNDN);
    }
    double angle(double y, double x) {
        mpfr_set_d(x_, x, MPFR_RNDN);
        mpfr_set_d(y_, y, MPFR_RNDN);
        mpfr_atan2(result_, y_, x_, MPFR_RNDN);
        return mpfr_get_d(result_, MPFR_RNDN);
    }

private:
    mpfr_t x_, y_, result_;
};

void expect_nearest(double (*own)(double), Oracle::Function function, double x) {
    static Oracle oracle;
    ASSERT_EQ(own(x), oracle.of(function, x)) << std::hexfloat << x;
}

void expect_nearest_doubles(int count) {
    Arguments arguments;
    Oracle oracle;
    for (int k = 0; k < count; ++k) {
        for (const double x : {arguments.between(-760, 720), arguments.between(-20, 1),
                               arguments.of_exponents(-56, 9)})
            expect_nearest(numerics::exp, mpfr_exp, x);
        const double quarter = 0x1.921fb54442d18p+0;
        for (const double x : {arguments.between(-7, 7), arguments.of_exponents(-30, 16),
                               std::floor(arguments.between(1, 1e5)) * quarter}) {
            expect_nearest(numerics::sin, mpfr_sin, x);
            expect_nearest(numerics::cos, mpfr_cos, x);
        }
        for (const double x : {arguments.between(-2, 2), arguments.of_exponents(-30, 70)})
            expect_nearest(numerics::atan, mpfr_atan, x);
        for (const double x : {arguments.between(0, 1), arguments.between(0.999, 1.001),
                               std::fabs(arguments.of_exponents(-1074, 1023))})
            expect_nearest(numerics::log, mpfr_log, x);
        for (const int spread : {1, 30, 140, 400}) {
            double y = arguments.of_exponents(-spread, spread);
            double x = arguments.of_exponents(-spread, spread);
            if (k % 2 == 0 && spread < 400) { // as they come from images
                y = static_cast<double>(static_cast<float>(y));
                x = static_cast<double>(static_cast<float>(x));
            }
            ASSERT_EQ(numerics::atan2(y, x), oracle.angle(y, x)) << std::hexfloat << y << ' ' << x;
        }
        const double base = arguments.between(0, 2);
        ASSERT_EQ(numerics::pow(base, 0.333333), oracle.power(base, 0.333333)) << base;
        ASSERT_EQ(numerics::cube(base), oracle.power(base, 3.0)) << base;
        if (testing::Test::HasFatalFailure())
            return;
    }
}

TEST(Elementary, IsTheNearestDouble) {
    expect_nearest_doubles(20000);
    Arguments arguments;
    for (int k = 0; k < 500; ++k) { // far out, and where the last step needs all bits
        const double far = arguments.of_exponents(-500, 1023);
        expect_nearest(numerics::sin, mpfr_sin, far);
        expect_nearest(numerics::cos, mpfr_cos, far);
        expect_nearest(numerics::exp, mpfr_exp, (2 * k + 1) * 0x1p-53);
        expect_nearest(numerics::cos, mpfr_cos, (2 * k + 1) * 0x1p-26);
        expect_nearest(numerics::atan, mpfr_atan, (6 * k + 3) * 0x1p-27);
        expect_nearest(numerics::log, mpfr_log, 1.0 + (k - 250) * 0x1p-52);
    }
}

// Minutes: `scripts/test exactness` runs it.
TEST(Elementary, DISABLED_IsTheNearestDoubleMillionsOfTimes) {
    expect_nearest_doubles(2000000);
}

#endif

} // namespace
