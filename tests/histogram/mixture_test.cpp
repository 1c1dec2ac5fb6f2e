#include <vorlane/histogram/histogram.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/numerics/solvers.h>

namespace {

struct Gaussian {
    double height, centre, deviation;
};

double value_of(const std::vector<Gaussian>& mixture, double x) {
    double sum = 0.0;
    for (const Gaussian& g : mixture) {
        const double t = (x - g.centre) / g.deviation;
        sum += g.height * std::exp(-0.5 * t * t);
    }
    return sum;
}

void set_counts(CHistogram& h, const std::vector<int>& counts) {
    free_1D_int_array(h.bins);
    h.nbins = static_cast<int>(counts.size());
    h.bins = make_1D_int_array(h.nbins);
    std::copy(counts.begin(), counts.end(), h.bins);
}

void set_mixture(CHistogram& h, const std::vector<Gaussian>& mixture, int nbins,
                 unsigned noise_seed = 0) {
    std::mt19937 random(noise_seed);
    std::vector<int> counts;
    for (int i = 0; i < nbins; ++i) {
        const double value = value_of(mixture, i);
        std::poisson_distribution<int> noisy(value + 1e-12);
        counts.push_back(noise_seed ? noisy(random) : static_cast<int>(value + 0.5));
    }
    set_counts(h, counts);
}

std::vector<Gaussian> fitted(const CHistogram& h) {
    std::vector<Gaussian> result;
    for (int k = 0; k < h.nparams; k += 3) {
        const double a = h.params[k];
        result.push_back({a * a, h.params[k + 1], std::abs(h.params[k + 2]) / std::sqrt(2.0)});
    }
    std::sort(result.begin(), result.end(),
              [](const Gaussian& a, const Gaussian& b) { return a.centre < b.centre; });
    return result;
}

void expect_recovered(CHistogram& h, const std::vector<Gaussian>& mixture, double tolerance) {
    EXPECT_LT(h.FitNGaussians(static_cast<int>(mixture.size())), 0.5f);
    const auto found = fitted(h);
    ASSERT_EQ(found.size(), mixture.size());
    for (std::size_t k = 0; k < mixture.size(); ++k) {
        EXPECT_NEAR(found[k].height, mixture[k].height, tolerance * mixture[k].height);
        EXPECT_NEAR(found[k].centre, mixture[k].centre, tolerance * mixture[k].centre);
        EXPECT_NEAR(found[k].deviation, mixture[k].deviation, tolerance * mixture[k].deviation);
    }
}

TEST(MixtureModel, DerivativesAreThoseOfTheValue) {
    std::vector<float> params{3.0f, 20.0f, 5.0f, -2.0f, 31.0f, -4.0f};
    for (float x = 5.0f; x < 45.0f; x += 1.7f) {
        float value = 0.0f;
        float derivatives[6];
        gaussian_mixture_model(x, params.data(), &value, derivatives, 6);
        EXPECT_NEAR(value, value_of({{9, 20, 5 / std::sqrt(2)}, {4, 31, 4 / std::sqrt(2)}}, x),
                    1e-5);
        for (std::size_t k = 0; k < 6; ++k) {
            const float step = 1.0f / 64;
            float above = 0.0f, below = 0.0f, unused[6];
            std::vector<float> moved = params;
            moved[k] = params[k] + step;
            gaussian_mixture_model(x, moved.data(), &above, unused, 6);
            moved[k] = params[k] - step;
            gaussian_mixture_model(x, moved.data(), &below, unused, 6);
            EXPECT_NEAR(derivatives[k], (above - below) / (2 * step), 2e-3) << k << " at " << x;
        }
    }
    float value = 7.0f;
    gaussian_mixture_model(1.0f, params.data(), &value, nullptr, 0);
    EXPECT_EQ(value, 0.0f);
}

TEST(Mixture, RecoversSeparateGaussians) {
    const std::vector<std::vector<Gaussian>> mixtures = {
        {{800, 60, 12}, {1500, 180, 15}},
        {{5000, 25, 6}, {300, 140, 12}},
        {{900, 40, 8}, {400, 120, 10}, {2000, 200, 9}},
        {{1000, 130, 20}}};
    for (const auto& mixture : mixtures) {
        CHistogram h;
        set_mixture(h, mixture, 256);
        expect_recovered(h, mixture, 0.01);
    }
    // Counts whose moments leave the range of an int.
    const std::vector<Gaussian> many = {{4e6, 300, 40}, {9e6, 610, 55}, {2e6, 900, 30}};
    CHistogram h;
    set_mixture(h, many, 1001);
    expect_recovered(h, many, 0.01);
}

// Also where the intervals of the start cut the mixture badly.
TEST(Mixture, RecoversOverlappingGaussiansFromNoisyCounts) {
    for (const double centre : {95.0, 115.0, 130.0}) {
        const std::vector<Gaussian> mixture = {{1800, centre - 15, 15}, {1500, centre + 15, 15}};
        for (unsigned seed = 1; seed <= 5; ++seed) {
            CHistogram h;
            set_mixture(h, mixture, 256, seed);
            expect_recovered(h, mixture, 0.1);
        }
    }
    std::vector<Gaussian> five;
    for (int k = 0; k < 5; ++k)
        five.push_back({1000.0 + 300 * k, 500.0 + 800 * k, 100.0 + 20 * k});
    CHistogram h;
    set_mixture(h, five, 4096, 1);
    expect_recovered(h, five, 0.02);
}

// Classes that leave an interval of the start empty, or all of one in a single bin.
TEST(Mixture, FindsNarrowPeaksFarApart) {
    for (const auto& mixture :
         std::vector<std::vector<Gaussian>>{{{900, 20, 4}, {300, 60, 4}, {2000, 230, 4}},
                                            {{5000, 20, 2}, {100, 62, 5}, {700, 200, 3}},
                                            {{100, 3, 0.3}, {400, 120, 9}, {900, 200, 0.25}}}) {
        CHistogram h;
        set_mixture(h, mixture, 256);
        EXPECT_LT(h.FitNGaussians(3), 0.01f);
        for (int k = 0; k < 3; ++k) {
            EXPECT_GT(h.params[3 * k], 0.0f);
            EXPECT_GT(h.params[3 * k + 2], 0.0f);
        }
        std::unique_ptr<float, void (*)(float*)> misfits(h.FitGaussians(1, 5, 0.05f),
                                                         free_1D_float_array);
        EXPECT_EQ(h.nparams, 9);
    }
}

// Peaks that run into each other: no local minimum above the sum that rounding to counts leaves,
// and a component more never fits worse.
TEST(Mixture, IsNotCaughtInLocalMinima) {
    std::mt19937 random(7);
    const auto between = [&random](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    for (int trial = 0; trial < 20; ++trial) {
        std::vector<Gaussian> mixture;
        const double width = between(7, 14);
        double centre = between(40, 70);
        for (int k = 0; k < 2 + trial % 2; ++k) {
            mixture.push_back({between(700, 4000), centre, width * between(0.9, 1.1)});
            centre += width * between(1.8, 4);
        }
        CHistogram h;
        set_mixture(h, mixture, 256);
        double truth = 0.0, squares = 0.0;
        for (int i = 0; i < 256; ++i) {
            const double model = value_of(mixture, i);
            truth += (model - h.bins[i]) * (model - h.bins[i]);
            squares += double(h.bins[i]) * h.bins[i];
        }
        const int n = static_cast<int>(mixture.size());
        float before = 2.0f;
        for (int k = 1; k <= n + 1; ++k) {
            const float misfit = h.FitNGaussians(k);
            EXPECT_LE(misfit, before) << trial << ' ' << k;
            before = misfit;
            if (k == n) {
                EXPECT_LE(double{misfit} * misfit * squares, 1.01 * truth) << trial;
            }
        }
    }
}

TEST(Mixture, ForgetsAFitThatFails) {
    CHistogram h;
    set_counts(h, {0, 5, 9, 5, 0, 0, 0, 4, 0});
    for (const int n : {0, -3, 4, 100, 2000000000}) { // none, or more numbers than bins
        EXPECT_LT(h.FitNGaussians(1), 1.0f);
        EXPECT_EQ(h.nparams, 3);
        EXPECT_EQ(h.FitNGaussians(n), 1000000.0f) << n;
        EXPECT_EQ(h.nparams, 0) << n;
        EXPECT_NE(h.params, nullptr);
    }
    h.FitNGaussians(1);
    std::fill(h.bins, h.bins + h.nbins, 0);
    EXPECT_EQ(h.FitNGaussians(1), 1000000.0f);
    EXPECT_EQ(h.nparams, 0);
}

using FloatArray = std::unique_ptr<float, void (*)(float*)>;

FloatArray fit_range(CHistogram& h, int first, int last, float threshold) {
    return {h.FitGaussians(first, last, threshold), free_1D_float_array};
}

TEST(Mixture, ChoosesTheFewestComponentsThatAreGoodEnough) {
    const std::vector<Gaussian> mixture = {{900, 40, 8}, {400, 120, 10}, {2000, 200, 9}};
    CHistogram h;
    set_mixture(h, mixture, 256);
    std::vector<float> alone(4);
    for (int n = 1; n < 4; ++n)
        alone[static_cast<std::size_t>(n)] = h.FitNGaussians(n);
    const std::vector<float> three(h.params, h.params + 9);
    ASSERT_GT(alone[1], alone[2]);
    ASSERT_GT(alone[2], alone[3]);
    const double q2 = (double{alone[2]} - alone[3]) / double{alone[1] - alone[3]};

    const FloatArray misfits = fit_range(h, 1, 4, 1e-6f);
    EXPECT_TRUE(std::equal(alone.begin() + 1, alone.end(), misfits.get() + 1));
    EXPECT_EQ(std::vector<float>(h.params, h.params + h.nparams), three);
    const auto chosen = [&h](int first, int last, float threshold) {
        EXPECT_NE(fit_range(h, first, last, threshold), nullptr);
        return h.nparams / 3;
    };
    EXPECT_EQ(chosen(1, 4, static_cast<float>(q2 * 1.01)), 2);
    EXPECT_EQ(chosen(1, 4, static_cast<float>(q2 * 0.99)), 3);
    EXPECT_EQ(chosen(1, 4, 0.99999f), 2);
    // The range is a float and the quotient isn't: 1 may lie above the worst fit or not.
    const double worst = (double{alone[1]} - alone[3]) / (alone[1] - alone[3]);
    EXPECT_EQ(chosen(1, 4, 1.0f), worst < 1.0 ? 1 : 2);
    EXPECT_EQ(chosen(1, 4, 1.1f), 1);
    EXPECT_EQ(chosen(1, 4, 0.0f), 3); // nothing is below: the last
    EXPECT_EQ(chosen(1, 3, -1.0f), 2);
    EXPECT_EQ(chosen(2, 3, -5.0f), 2); // 0/0 is below everything
}

TEST(Mixture, ChoiceAmongFailures) {
    CHistogram h;
    // Two fits of which only that of one component has enough bins.
    set_counts(h, {5, 9, 5, 0, 4});
    const FloatArray mixed = fit_range(h, 1, 3, 0.5f);
    EXPECT_LT(mixed.get()[1], 1.0f);
    EXPECT_EQ(mixed.get()[2], 1000000.0f);
    EXPECT_EQ(h.nparams, 3);
    // All failed: every q is 0.
    fit_range(h, 2, 5, 0.5f);
    EXPECT_EQ(h.nparams, 6);
    fit_range(h, 2, 5, 0.0f);
    EXPECT_EQ(h.nparams, 12);
    // No fit at all: zeros.
    EXPECT_NE(fit_range(h, 5, 4, 0.5f), nullptr);
    ASSERT_EQ(h.nparams, 9);
    EXPECT_TRUE(std::all_of(h.params, h.params + 9, [](float p) { return p == 0.0f; }));
    EXPECT_EQ(fit_range(h, 0, 3, 0.5f), nullptr);
    EXPECT_EQ(fit_range(h, 1, 0, 0.5f), nullptr);
    EXPECT_EQ(fit_range(h, 1, 2000000000, 0.5f), nullptr);
    EXPECT_EQ(h.nparams, 9);
    set_counts(h, {0, 0, 0});
    EXPECT_EQ(fit_range(h, 1, 3, 0.5f), nullptr);
    EXPECT_EQ(h.nparams, 9);
}

} // namespace
