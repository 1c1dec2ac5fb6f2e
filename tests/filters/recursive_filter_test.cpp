#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/filters/recursive_filter.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/image/plane.h>

namespace {

using vorlane::Plane;

// The recursion as it is documented, one line at a time; every fast path must give these bits.
std::vector<float> filter_line(const std::vector<float>& x, const float* const* coef) {
    const double u0 = coef[0][0], u1 = coef[0][1], u2 = coef[0][2], u3 = coef[0][3];
    const double d1 = coef[1][1], d2 = coef[1][2], d3 = coef[1][3], d4 = coef[1][4];
    const double K = coef[2][0];
    const double m1 = coef[2][1], m2 = coef[2][2], m3 = coef[2][3], m4 = coef[2][4];
    const double e1 = coef[3][1], e2 = coef[3][2], e3 = coef[3][3], e4 = coef[3][4];
    const std::size_t n = x.size();
    std::vector<float> A(n), B(n), y(n);
    for (std::size_t j = 0; j < n; ++j) {
        double a;
        if (j == 0)
            a = (u0 + u1 + u2 + u3) * x[0];
        else if (j == 1)
            a = u0 * x[1] + (u1 + u2 + u3) * x[0] - d1 * A[0];
        else if (j == 2)
            a = u0 * x[2] + u1 * x[1] + (u2 + u3) * x[0] - d1 * A[1] - d2 * A[0];
        else if (j == 3)
            a = u0 * x[3] + u1 * x[2] + u2 * x[1] + u3 * x[0] - d1 * A[2] - d2 * A[1] - d3 * A[0];
        else
            a = u0 * x[j] + u1 * x[j - 1] + u2 * x[j - 2] + u3 * x[j - 3] - d1 * A[j - 1] -
                d2 * A[j - 2] - d3 * A[j - 3] - d4 * A[j - 4];
        A[j] = static_cast<float>(a);
    }
    for (std::size_t j = n; j-- > 0;) {
        const std::size_t r = n - 1 - j;
        double b;
        if (r == 0)
            b = (m1 + m2 + m3 + m4) * x[j];
        else if (r == 1)
            b = (m1 + m2 + m3 + m4) * x[j + 1] - e1 * B[j + 1];
        else if (r == 2)
            b = m1 * x[j + 1] + (m2 + m3 + m4) * x[j + 2] - e1 * B[j + 1] - e2 * B[j + 2];
        else if (r == 3)
            b = m1 * x[j + 1] + m2 * x[j + 2] + (m3 + m4) * x[j + 3] - e1 * B[j + 1] -
                e2 * B[j + 2] - e3 * B[j + 3];
        else
            b = m1 * x[j + 1] + m2 * x[j + 2] + m3 * x[j + 3] + m4 * x[j + 4] - e1 * B[j + 1] -
                e2 * B[j + 2] - e3 * B[j + 3] - e4 * B[j + 4];
        B[j] = static_cast<float>(b);
        y[j] = static_cast<float>((double{A[j]} + double{B[j]}) / K);
    }
    return y;
}

std::vector<float> column_of(const CImage& image, int col) {
    std::vector<float> line;
    for (int i = 0; i < image.nrows; ++i)
        line.push_back(image.pixels[i][col]);
    return line;
}

std::vector<float> line_of(const CImage& image, int row) {
    return {image.pixels[row], image.pixels[row] + image.ncols};
}

void expect_plain_result(const CImage& image, const float* const* coef) {
    const ImagePtr along_rows(image.apply_IIR4_filter_x(coef));
    const ImagePtr along_columns(image.apply_IIR4_filter_y(coef));
    for (int i = 0; i < image.nrows; ++i)
        ASSERT_TRUE(same_bits(line_of(*along_rows, i), filter_line(line_of(image, i), coef)))
            << "row " << i;
    for (int j = 0; j < image.ncols; ++j)
        ASSERT_TRUE(same_bits(column_of(*along_columns, j), filter_line(column_of(image, j), coef)))
            << "column " << j;
}

TEST(RecursiveFilter, EqualsThePlainRecursionOnEveryWidth) {
    const Plane gaussian = coefficients_of(ga, 2.0f);
    const Plane derivative = coefficients_of(fdga, 0.8f);
    with_each_instruction_set([&] {
        for (int n = 1; n <= 70; ++n) {
            expect_plain_result(*make_random(n, 71 - n, 0, static_cast<unsigned>(n)),
                                gaussian.get());
            expect_plain_result(*make_random(71 - n, n, 0, static_cast<unsigned>(n)),
                                derivative.get());
            expect_plain_result(*make_random(n, 33, 0, static_cast<unsigned>(n)), gaussian.get());
            expect_plain_result(*make_random(5, n, 0, static_cast<unsigned>(n)), derivative.get());
        }
        expect_plain_result(*make_random(517, 263, 0, 1), gaussian.get());
        expect_plain_result(*make_random(131, 1021, 0, 2), derivative.get());
    });
}

TEST(RecursiveFilter, ExtremeSamplesStayInTheirLineAndKeepTheirBits) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const float extremes[] = {infinity, -infinity, std::nanf(""), 3e38f,
                              1e-45f,   -1e-40f,   0.0f,          -0.0f};
    auto image = make_random(40, 90, 0, 7);
    for (int k = 0; k < 8; ++k) {
        image->pixels[5 * k][11 * k] = extremes[k];
        image->pixels[k][89] = extremes[k];
    }
    for (int j = 0; j < 90; ++j) // a bright pixel on black decays into subnormal numbers
        image->pixels[20][j] = j == 3 ? 1e-30f : 0.0f;
    const Plane gaussian = coefficients_of(ga, 1.0f);
    const Plane derivative = coefficients_of(fdga, 3.0f);
    with_each_instruction_set([&] {
        expect_plain_result(*image, gaussian.get());
        expect_plain_result(*image, derivative.get());
    });
}

TEST(RecursiveFilter, TakesAnyRecord) {
    const auto image = make_random(19, 23, 0, 3);
    Plane coef = coefficients_of(ga, 1.5f);
    coef.get()[3][1] = 0.25f; // the anti-causal pass has feedback of its own
    coef.get()[0][2] = -0.0f;
    for (const float K : {-2.3f, 0.0f, std::numeric_limits<float>::infinity(), 1e-45f, 3.0f}) {
        coef.get()[2][0] = K;
        with_each_instruction_set([&] { expect_plain_result(*image, coef.get()); });
    }
}

// Quotients whose double is next to a midpoint between floats are where a wrong reciprocal would
// show.
TEST(RecursiveFilter, DividesAsTheProcessorDoes) {
    Plane coef(make_2D_float_array(5, 5));
    coef.get()[0][0] = 1.0f; // A = x, B = the next sample
    coef.get()[2][1] = 1.0f;
    std::mt19937 random(11);
    const auto image = make_gray(64, 64, [&](int, int) {
        return std::ldexp(static_cast<float>(random() % (1u << 24)),
                          static_cast<int>(random() % 60) - 30);
    });
    for (int k = 0; k < 50; ++k) {
        coef.get()[2][0] = static_cast<float>(random() % (1u << 24) + 1);
        with_each_instruction_set([&] { expect_plain_result(*image, coef.get()); });
    }
}

TEST(RecursiveFilter, ColourCountsAsOneGrayLine) {
    const auto image = make_random(9, 12, 1, 4);
    const Plane coef = coefficients_of(ga, 1.0f);
    for (const auto filter : {&CImage::apply_IIR4_filter_x, &CImage::apply_IIR4_filter_y}) {
        const ImagePtr result(((*image).*filter)(coef.get()));
        for (int i = 0; i < 9; ++i)
            for (int j = 12; j < 36; ++j)
                EXPECT_EQ(result->pixels[i][j], 0.0f);
    }
    const ImagePtr along_rows(image->apply_IIR4_filter_x(coef.get()));
    for (int i = 0; i < 9; ++i)
        EXPECT_TRUE(
            same_bits(line_of(*along_rows, i), filter_line(line_of(*image, i), coef.get())));
}

// So long and thin that the lanes of a whole block, or of one vector, would take many times the
// memory of the image: other ways of filtering, the same bits.
TEST(RecursiveFilter, ThinImages) {
    const Plane gaussian = coefficients_of(ga, 2.0f);
    const Plane derivative = coefficients_of(fdga, 0.8f);
    with_each_instruction_set([&] {
        for (const int thickness : {1, 3, 9, 17}) {
            const auto wide = make_random(thickness, 150000, 0, 5);
            const auto tall =
                make_gray(150000, thickness, [&](int i, int j) { return wide->pixels[j][i]; });
            const ImagePtr along_rows(wide->apply_IIR4_filter_x(gaussian.get()));
            const ImagePtr along_columns(tall->apply_IIR4_filter_y(derivative.get()));
            for (int k = 0; k < thickness; ++k) {
                const auto line = line_of(*wide, k);
                ASSERT_TRUE(same_bits(line_of(*along_rows, k), filter_line(line, gaussian.get())));
                ASSERT_TRUE(
                    same_bits(column_of(*along_columns, k), filter_line(line, derivative.get())));
            }
        }
    });
    EXPECT_EQ(CImage(3, 3, 0, 4, 6).apply_IIR4_filter_x(nullptr), nullptr);
    EXPECT_EQ(CImage(3, 3, 0, 4, 6).apply_IIR4_filter_y(nullptr), nullptr);
}

double kernel_branch(double t, double sigma) {
    return (1.68 * std::cos(0.6318 * t / sigma) + 3.735 * std::sin(0.6318 * t / sigma)) *
               std::exp(-1.783 * t / sigma) +
           (-0.6803 * std::cos(1.997 * t / sigma) - 0.2598 * std::sin(1.997 * t / sigma)) *
               std::exp(-1.723 * t / sigma);
}

// An oracle that knows nothing of the recursion: an impulse gives the kernel, wherever it stands.
TEST(RecursiveFilter, ImpulseGivesTheKernel) {
    for (const float sigma : {1.0f, 2.5f}) {
        const Plane coef = coefficients_of(ga, sigma);
        const double K = coef.get()[2][0];
        for (const int p : {40, 57}) {
            const auto image = make_gray(1, 120, [p](int, int j) { return j == p ? 1.0f : 0.0f; });
            const ImagePtr result(image->apply_IIR4_filter_x(coef.get()));
            for (int j = 0; j < 120; ++j)
                EXPECT_NEAR(result->pixels[0][j], kernel_branch(std::abs(j - p), sigma) / K, 3e-7)
                    << j;
        }
    }
}

} // namespace
