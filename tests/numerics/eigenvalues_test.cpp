#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <vorlane/image/plane.h>
#include <vorlane/numerics/solvers.h>

namespace {

using vorlane::Plane;

struct Eigens {
    int result;
    std::vector<float> values;
    Plane vectors;
};

Plane plane_of(const std::vector<std::vector<float>>& rows) {
    const int n = static_cast<int>(rows.size());
    Plane plane(make_2D_float_array(n, n));
    for (int i = 0; i < n; ++i)
        std::copy(rows[static_cast<std::size_t>(i)].begin(),
                  rows[static_cast<std::size_t>(i)].end(), plane.get()[i]);
    return plane;
}

Eigens solve(float** matrix, int n) {
    Eigens e = {0, std::vector<float>(static_cast<std::size_t>(n), -7.0f),
                Plane(make_2D_float_array(n, n))};
    e.result = VNeumannEigens(matrix, n, e.values.data(), e.vectors.get());
    return e;
}

// Orthonormal columns, and A v = lambda v for each.
void expect_eigens(const float* const* matrix, int n, const Eigens& e) {
    ASSERT_EQ(e.result, 1);
    double largest = 0.0;
    for (const float value : e.values)
        largest = std::max(largest, std::abs(double{value}));
    for (int k = 0; k < n; ++k) {
        for (int m = 0; m <= k; ++m) {
            double product = 0.0;
            for (int i = 0; i < n; ++i)
                product += double{e.vectors.get()[i][k]} * e.vectors.get()[i][m];
            EXPECT_NEAR(product, k == m ? 1.0 : 0.0, 1e-6);
        }
        for (int i = 0; i < n; ++i) {
            double product = 0.0;
            for (int j = 0; j < n; ++j)
                product += double{matrix[i][j]} * e.vectors.get()[j][k];
            EXPECT_NEAR(product,
                        double{e.values[static_cast<std::size_t>(k)]} * e.vectors.get()[i][k],
                        2e-6 * largest);
        }
    }
    EXPECT_TRUE(std::is_sorted(e.values.begin(), e.values.end()));
}

TEST(Eigenvalues, WorkedMatrices) {
    const struct {
        std::vector<std::vector<float>> rows;
        std::vector<float> values;
    } cases[] = {
        {{{5}}, {5}},
        {{{2, 1}, {1, 2}}, {1, 3}},
        {{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {0, 0, 0}},
        {{{4, 0, 0}, {0, 4, 0}, {0, 0, 4}}, {4, 4, 4}},
        {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, {0, 0, 3}},
        {{{0, 1, 1}, {1, 0, 1}, {1, 1, 0}}, {-1, -1, 2}},
        {{{2, -1, 0}, {-1, 2, -1}, {0, -1, 2}}, {0.58578646f, 2.0f, 3.4142137f}},
        {{{-3, 0, 0}, {0, 8, 0}, {0, 0, 1}}, {-3, 1, 8}},
        {{{0, 1e-45f}, {1e-45f, 0}}, {-1e-45f, 1e-45f}},
        {{{3e38f, 0}, {0, -3e38f}}, {-3e38f, 3e38f}},
        {{{1e30f, 1e-30f}, {1e-30f, 0}}, {0, 1e30f}},
    };
    for (const auto& c : cases) {
        const Plane matrix = plane_of(c.rows);
        const int n = static_cast<int>(c.rows.size());
        const Eigens e = solve(matrix.get(), n);
        const float largest = std::max(std::abs(c.values.front()), std::abs(c.values.back()));
        for (std::size_t k = 0; k < c.values.size(); ++k)
            EXPECT_NEAR(e.values[k], c.values[k], 1e-7f * largest) << n << " " << k;
        expect_eigens(matrix.get(), n, e);
    }
}

TEST(Eigenvalues, RandomMatricesOfManySizes) {
    std::mt19937 random(4);
    for (const int n : {2, 3, 4, 7, 12, 40, 90}) {
        for (int round = 0; round < (n < 10 ? 50 : 1); ++round) {
            const Plane matrix(make_2D_float_array(n, n));
            for (int i = 0; i < n; ++i)
                for (int j = i; j < n; ++j)
                    matrix.get()[i][j] = matrix.get()[j][i] =
                        static_cast<float>(random() % 2001) - 1000.0f;
            expect_eigens(matrix.get(), n, solve(matrix.get(), n));
        }
    }
}

// 1 / (i + j + 1): eigenvalues that fall over many powers of ten.
TEST(Eigenvalues, IllConditionedMatrix) {
    const Plane matrix(make_2D_float_array(12, 12));
    for (int i = 0; i < 12; ++i)
        for (int j = 0; j < 12; ++j)
            matrix.get()[i][j] = 1.0f / static_cast<float>(i + j + 1);
    const Eigens e = solve(matrix.get(), 12);
    expect_eigens(matrix.get(), 12, e);
    EXPECT_NEAR(e.values[11], 1.7953721f, 2e-7f);
    EXPECT_NEAR(e.values[0], 0.0f, 1e-7f);
}

TEST(Eigenvalues, ReadsTheUpperHalfAndLeavesTheMatrix) {
    const Plane matrix = plane_of({{2, 1}, {99, 2}});
    const Eigens e = solve(matrix.get(), 2);
    EXPECT_FLOAT_EQ(e.values[0], 1.0f);
    EXPECT_EQ(matrix.get()[0][0], 2.0f);
    EXPECT_EQ(matrix.get()[1][0], 99.0f);
    float values[2];
    EXPECT_EQ(VNeumannEigens(matrix.get(), 2, values, nullptr), 1);
    EXPECT_FLOAT_EQ(values[1], 3.0f);
}

TEST(Eigenvalues, RefusesWithoutWriting) {
    const Plane matrix = plane_of({{2, 1}, {1, 2}});
    float values[2] = {-7.0f, -7.0f};
    EXPECT_EQ(VNeumannEigens(nullptr, 2, values, nullptr), 0);
    EXPECT_EQ(VNeumannEigens(matrix.get(), 2, nullptr, nullptr), 0);
    EXPECT_EQ(VNeumannEigens(matrix.get(), 0, values, nullptr), 0);
    EXPECT_EQ(VNeumannEigens(matrix.get(), -3, values, nullptr), 0);
    for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
        matrix.get()[0][1] = bad;
        EXPECT_EQ(VNeumannEigens(matrix.get(), 2, values, nullptr), 0);
    }
    EXPECT_EQ(values[0], -7.0f);
}

} // namespace
