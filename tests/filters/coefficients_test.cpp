#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/image/plane.h>

namespace {

using vorlane::Plane;

using Maker = void (*)(float, float**);

// u0 to u3, d1 to d4, K, m1 to m4.
std::vector<float> numbers_of(Maker maker, float sigma) {
    const Plane coef = coefficients_of(maker, sigma);
    const float* const* c = coef.get();
    return {c[0][0], c[0][1], c[0][2], c[0][3], c[1][1], c[1][2], c[1][3],
            c[1][4], c[2][0], c[2][1], c[2][2], c[2][3], c[2][4]};
}

struct Check {
    Maker maker;
    float sigma;
    std::vector<double> values;
};

TEST(Coefficients, CheckValues) {
    const Check checks[] = {
        {ga,
         1.0f,
         {0.9997, 0.483095, 0.08050089, 0.001942757, -0.1237406, 0.02008563, -0.004475997,
          0.0009010047, 2.156796, 0.6067985, 0.06042129, 0.00641741, -0.0009007343}},
        {ga,
         2.0f,
         {0.9997, -0.3541579, 0.2180508, -0.02129661, -1.237152, 0.7034025, -0.2161104, 0.03001674,
          3.596037, 0.8826231, -0.4851406, 0.1947489, -0.03000773}},
        {fdga,
         1.0f,
         {0.0022, -0.6073208, -0.1924829, -0.01231893, -0.1289411, 0.02365236, -0.006438826,
          0.002274489, -2.33396, 0.6070371, 0.192535, 0.01230477, 0.000005003892}},
        {fdga,
         2.0f,
         {0.0022, -0.4434538, -0.007163858, -0.04033152, -1.357622, 0.8570979, -0.2969706,
          0.0476916, -9.58365, 0.440467, 0.00904948, 0.03967819, 0.0001049219}}};
    for (const Check& check : checks) {
        const auto found = numbers_of(check.maker, check.sigma);
        for (std::size_t k = 0; k < found.size(); ++k) {
            const double expected = check.values[k];
            EXPECT_NEAR(found[k], expected,
                        1.5e-7 * std::max(1.0, std::abs(expected)) + 6e-7 * std::abs(expected))
                << "sigma " << check.sigma << ", value " << k;
        }
    }
}

TEST(Coefficients, OtherEntriesStay) {
    constexpr float untouched = 77.0f;
    const Plane coef(5, 5);
    for (int i = 0; i < 5; ++i)
        std::fill_n(coef.get()[i], 5, untouched);
    ga(1.7f, coef.get());
    for (const auto& [row, col] : {std::pair{0, 4}, {1, 0}, {3, 0}, {4, 0}, {4, 4}})
        EXPECT_EQ(coef.get()[row][col], untouched);
}

TEST(Coefficients, FourRowsSufficeAndNonsenseWritesNothing) {
    const Plane coef(make_2D_float_array(4, 5));
    ga(1.0f, coef.get());
    const float kept = coef.get()[2][0];
    for (const float bad : {0.0f, -1.0f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        ga(bad, coef.get());
        fdga(bad, coef.get());
        EXPECT_EQ(coef.get()[2][0], kept);
    }
    ga(1.0f, nullptr);
    for (const float tiny : {1e-3f, 1e-10f, 1e-38f}) { // powers of exp(1 / sigma) overflow
        ga(tiny, coef.get());
        EXPECT_EQ(coef.get()[2][0], 1.68f);
    }
}

} // namespace
