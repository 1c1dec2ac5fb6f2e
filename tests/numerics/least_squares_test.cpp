#include <vorlane/numerics/solvers.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

// p0 exp(-p1 x) + p2
void decay(float x, float* p, float* value, float* derivatives, int) {
    const float e = std::exp(-p[1] * x);
    *value = p[0] * e + p[2];
    derivatives[0] = e;
    derivatives[1] = -p[0] * x * e;
    derivatives[2] = 1.0f;
}

// A straight line in which only the sum of the first two parameters counts.
void tied_line(float x, float* p, float* value, float* derivatives, int) {
    *value = (p[0] + p[1]) * x + p[2];
    derivatives[0] = derivatives[1] = x;
    derivatives[2] = 1.0f;
}

void line(float x, float* p, float* value, float* derivatives, int) {
    *value = p[0] * x + p[1];
    derivatives[0] = x;
    derivatives[1] = 1.0f;
}

struct Points {
    std::vector<float> x, y, sig;

    template<class Value>
    Points(int n, Value value) {
        for (int k = 0; k < n; ++k) {
            x.push_back(static_cast<float>(k) / 4.0f);
            y.push_back(value(x.back()));
            sig.push_back(1.0f);
        }
    }

    template<class Model>
    float fit(std::vector<float>& params, Model model) {
        return LevenbergMarquardt(x.data(), y.data(), sig.data(), static_cast<int>(x.size()),
                                  params.data(), static_cast<int>(params.size()), model);
    }
};

TEST(LeastSquares, FindsTheParametersOfACurve) {
    Points points(40, [](float x) { return 3.0f * std::exp(-0.7f * x) + 0.5f; });
    std::vector<float> params{1.0f, 0.1f, 0.0f};
    EXPECT_LT(points.fit(params, decay), 1e-6f);
    EXPECT_NEAR(params[0], 3.0f, 1e-4f);
    EXPECT_NEAR(params[1], 0.7f, 1e-4f);
    EXPECT_NEAR(params[2], 0.5f, 1e-4f);
    EXPECT_LT(points.fit(params, decay), 1e-6f); // from the optimum
}

// The closed formula of the weighted line; a deviation of 4 weighs a sixteenth.
TEST(LeastSquares, WeighsEachPointByItsDeviation) {
    std::mt19937 random(5);
    Points points(
        30, [&](float x) { return 2.0f * x - 1.0f + static_cast<float>(random() % 100) / 50.0f; });
    double s = 0, sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (std::size_t k = 0; k < 30; ++k) {
        points.sig[k] = k % 3 ? 1.0f : 4.0f;
        const double w = 1.0 / (points.sig[k] * points.sig[k]);
        s += w, sx += w * points.x[k], sy += w * points.y[k];
        sxx += w * points.x[k] * points.x[k], sxy += w * points.x[k] * points.y[k];
        syy += w * points.y[k] * points.y[k];
    }
    const double slope = (s * sxy - sx * sy) / (s * sxx - sx * sx);
    const double level = (sy - slope * sx) / s;
    std::vector<float> params{0.0f, 0.0f};
    const float misfit = points.fit(params, line);
    EXPECT_NEAR(params[0], slope, 1e-5);
    EXPECT_NEAR(params[1], level, 1e-5);
    EXPECT_NEAR(misfit, std::sqrt((syy - slope * sxy - level * sy) / syy), 1e-5);
}

TEST(LeastSquares, GivesUpAndLeavesTheParametersAlone) {
    const float nan = std::nanf("");
    const float infinity = std::numeric_limits<float>::infinity();
    const auto expect_failure = [](Points points, std::vector<float> params, auto model) {
        const std::vector<float> before = params;
        EXPECT_EQ(points.fit(params, model), 1000000.0f);
        EXPECT_EQ(std::vector<float>(params.begin() + 1, params.end()),
                  std::vector<float>(before.begin() + 1, before.end()));
    };
    const Points good(20, [](float x) { return x; });
    expect_failure(Points(0, [](float x) { return x; }), {1, 1}, line);
    expect_failure(Points(1, [](float x) { return x; }), {1, 1}, line);
    expect_failure(good, {nan, 1}, line);
    expect_failure(good, {infinity, 1}, line);
    expect_failure(good, {0.5f, 0.5f, 0}, tied_line);
    expect_failure(good, {1, -1e9f, 0}, decay); // a start that overflows
    Points bad = good;
    bad.sig[3] = 0.0f;
    expect_failure(bad, {1, 1}, line);
    bad = good;
    bad.y[3] = nan;
    expect_failure(bad, {1, 1}, line);
    float x = 0, y = 0, sig = 1;
    EXPECT_EQ(LevenbergMarquardt(nullptr, &y, &sig, 1, &x, 1, line), 1000000.0f);
    EXPECT_EQ(LevenbergMarquardt(&x, &y, &sig, -1, &x, 1, line), 1000000.0f);
    EXPECT_EQ(LevenbergMarquardt(&x, &y, &sig, 1, &x, 0, line), 1000000.0f);
    EXPECT_EQ(LevenbergMarquardt(&x, &y, &sig, 1, &x, 1, nullptr), 1000000.0f);
}

} // namespace
