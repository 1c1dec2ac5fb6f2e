#include <vorlane/filters/ridges.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/image/image.h>
#include <vorlane/image/plane.h>

namespace {

using vorlane::make_plane;
using vorlane::Plane;

constexpr double pi = 3.1415927410125732;

float plain_slope(const float* const* grad_row, const float* const* grad_col, int row, int col,
                  float distance, float angle) {
    const float c = static_cast<float>(std::cos(double{angle}));
    const float s = static_cast<float>(std::sin(double{angle}));
    const float p = static_cast<float>(double{distance} * c);
    const float q = static_cast<float>(double{distance} * s);
    const int r0 = static_cast<int>(p);
    const int c0 = static_cast<int>(q);
    const int dr = p >= 0 ? 1 : -1;
    const int dc = q >= 0 ? 1 : -1;
    const double fr = std::fabs(double{p} - r0);
    const double fc = std::fabs(double{q} - c0);
    const int u0 = row + r0, u1 = u0 + dr, w0 = col + c0, w1 = w0 + dc;
    const auto P = [&](int u, int w) {
        return double{c} * grad_row[u][w] + double{s} * grad_col[u][w];
    };
    return static_cast<float>((1 - fc) * ((1 - fr) * P(u0, w0) + fr * P(u1, w0)) +
                              fc * ((1 - fr) * P(u0, w1) + fr * P(u1, w1)));
}

double plain_curvature(double t, double rr, double cc, double rc) {
    const double c = std::cos(t), s = std::sin(t);
    return std::fabs(c * c * rr + 2 * c * s * rc + s * s * cc);
}

int round_away(double v) {
    return static_cast<int>(v < 0 ? v - 0.5 : v + 0.5);
}

float plain_direction(const float* const* S, const float* const* grad_angle, int i, int j,
                      float sigma) {
    const float rr = static_cast<float>((double{S[i - 1][j]} - 2.0 * S[i][j] + S[i + 1][j]) * 0.25);
    const float cc = static_cast<float>((double{S[i][j - 1]} - 2.0 * S[i][j] + S[i][j + 1]) * 0.25);
    const float rc = static_cast<float>(
        (double{S[i - 1][j - 1]} + S[i + 1][j + 1] - S[i - 1][j + 1] - S[i + 1][j - 1]) * 0.25);
    double t1 = 0, t2 = 1.5707964f;
    if (rr != cc) {
        t1 = static_cast<float>(
            std::fmod(0.5 * std::atan(2.0 * rc / (double{rr} - double{cc})) + pi, pi));
        t2 = std::fmod(t1 + double{1.5707964f}, pi);
    }
    const double l1 = plain_curvature(t1, rr, cc, rc), l2 = plain_curvature(t2, rr, cc, rc);
    const double t = l1 > l2 ? t1 : t2;
    if ((l1 > l2 ? l1 : l2) < 0.005f || std::isnan(t))
        return 3.5f;
    const int a = round_away(sigma * std::cos(t));
    const int b = round_away(sigma * std::sin(t));
    const float g1 = grad_angle[i + a][j + b];
    const float g2 = grad_angle[i - a][j - b];
    if (g1 == 3.5f || g2 == 3.5f)
        return 3.5f;
    const double D = std::fabs(pi - std::fabs(double{g1} - double{g2}));
    if (!(D < 1.0471976f))
        return 3.5f;
    return static_cast<float>(std::fmod((double{g1} + double{g2}) * 0.5 + double{4.712389f}, pi));
}

// Ridge detection pass by pass, with whole planes, as it is documented.
void plain_ridges(CImage& image, float sigma_min, float sigma_max, int n_scales, bool bright,
                  bool dark, const CImage* mask) {
    const int rows = image.nrows, cols = image.ncols;
    for (float*** plane : {&image.mag_plane, &image.dir_plane, &image.scale_plane}) {
        free_2D_float_array(*plane);
        *plane = make_2D_float_array(rows, cols);
    }
    const Plane grad_row(make_plane(rows, cols)), grad_col(make_plane(rows, cols));
    const Plane grad_angle(make_plane(rows, cols)), ridge_angle(make_plane(rows, cols));
    float* const* gr = grad_row.get();
    float* const* gc = grad_col.get();
    const auto for_each_pixel = [&](auto visit) {
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j)
                if (!mask || mask->pixels[i][j] != 0.0f)
                    visit(i, j);
    };
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            image.dir_plane[i][j] = 3.5f;
    const float step =
        n_scales == 1
            ? 1.0f
            : static_cast<float>((double{sigma_max} - double{sigma_min}) / (n_scales - 1));
    for (int k = 0; k < n_scales; ++k) {
        const float sigma = static_cast<float>(k * double{step} + sigma_min);
        const ImagePtr smooth(image.smooth_image(sigma));
        const float* const* S = smooth->pixels;
        const int s = static_cast<int>(sigma);
        for_each_pixel([&](int i, int j) {
            if (i < 1 || i >= rows - 1 || j < 1 || j >= cols - 1) {
                grad_angle.get()[i][j] = 3.5f;
                return;
            }
            gr[i][j] = static_cast<float>((double{S[i + 1][j]} - S[i - 1][j]) * 0.5);
            gc[i][j] = static_cast<float>((double{S[i][j + 1]} - S[i][j - 1]) * 0.5);
            const double r = gr[i][j], c = gc[i][j];
            grad_angle.get()[i][j] =
                std::sqrt(c * c + r * r) < 0.0001f ? 3.5f : static_cast<float>(std::atan2(c, r));
        });
        for_each_pixel([&](int i, int j) {
            const bool is_inside = i >= s + 1 && i < rows - s - 1 && j >= s + 1 && j < cols - s - 1;
            ridge_angle.get()[i][j] =
                is_inside ? plain_direction(S, grad_angle.get(), i, j, sigma) : 3.5f;
        });
        for_each_pixel([&](int i, int j) {
            const float angle = ridge_angle.get()[i][j];
            float r = 0;
            if (i >= s + 2 && i < rows - s - 2 && j >= s + 2 && j < cols - s - 2 && angle != 3.5f) {
                const float sa = plain_slope(gr, gc, i, j, -sigma, angle);
                const float sb = -plain_slope(gr, gc, i, j, sigma, angle);
                const auto pos = [](float v) { return v > 0 ? v : 0.0f; };
                if (bright)
                    r = static_cast<float>(std::min(pos(sa), pos(sb)) * double{2.8989599f});
                if (dark)
                    r = static_cast<float>(r + std::min(pos(-sa), pos(-sb)) * double{2.8989599f});
                if (r < 0.0001f)
                    r = 0;
            }
            if (r > image.mag_plane[i][j]) {
                image.mag_plane[i][j] = r;
                image.dir_plane[i][j] = angle;
                image.scale_plane[i][j] = sigma;
            }
        });
    }
    float smallest = 1000000.0f, largest = 0.0f;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            smallest = image.mag_plane[i][j] < smallest ? image.mag_plane[i][j] : smallest;
            largest = image.mag_plane[i][j] > largest ? image.mag_plane[i][j] : largest;
        }
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            image.mag_plane[i][j] = static_cast<float>((double{image.mag_plane[i][j]} - smallest) /
                                                       (double{largest} - smallest));
}

void expect_plain_ridges(const CImage& source, float sigma_min, float sigma_max, int n_scales,
                         bool bright, bool dark, const CImage* mask = nullptr) {
    CImage plain(source);
    plain_ridges(plain, sigma_min, sigma_max, n_scales, bright, dark, mask);
    const int rows = source.nrows, cols = source.ncols;
    with_each_instruction_set([&] {
        CImage image(source);
        testing::internal::CaptureStdout();
        image.ridges(sigma_min, sigma_max, n_scales, bright, dark, mask);
        testing::internal::GetCapturedStdout();
        ASSERT_NE(image.mag_plane, nullptr);
        EXPECT_TRUE(same_bits(samples_of(image.mag_plane, rows, cols),
                              samples_of(plain.mag_plane, rows, cols)));
        EXPECT_TRUE(same_bits(samples_of(image.dir_plane, rows, cols),
                              samples_of(plain.dir_plane, rows, cols)));
        EXPECT_TRUE(same_bits(samples_of(image.scale_plane, rows, cols),
                              samples_of(plain.scale_plane, rows, cols)));
    });
}

std::string ridges_of(CImage& image, float sigma_min, float sigma_max, int n_scales, int bright,
                      int dark, const CImage* mask = nullptr) {
    testing::internal::CaptureStdout();
    image.ridges(sigma_min, sigma_max, n_scales, bright, dark, mask);
    return testing::internal::GetCapturedStdout();
}

ImagePtr horizontal_line(float ground = 20.0f, float line = 200.0f) {
    return make_gray(36, 40, [=](int i, int) { return i == 18 ? line : ground; });
}

// Lines, blobs and a ramp: what a real picture has, with ties and flat ground.
ImagePtr drawing(int rows, int cols) {
    return make_gray(rows, cols, [](int i, int j) {
        const float arc = std::hypot(static_cast<float>(i - 20), static_cast<float>(j - 25));
        float v = i < 30 ? 20.0f : 20.0f + static_cast<float>(j) / 2.0f;
        v += std::abs(arc - 17.0f) < 2.0f ? 90.0f : 0.0f;
        v -= std::abs(i - j) < 2 ? 15.0f : 0.0f;
        return v + (j == 40 || i == 44 ? 60.0f : 0.0f);
    });
}

TEST(Ridges, AnswersTheWorkedLine) {
    const auto image = horizontal_line();
    EXPECT_EQ(ridges_of(*image, 1.0f, 3.0f, 3, 1, 0),
              "Current scale: k=0 sigma=1.000000\nCurrent scale: k=1 sigma=2.000000\n"
              "Current scale: k=2 sigma=3.000000\n");
    const float strengths[] = {0.1191f, 0.3270f, 0.9998f, 0.3270f, 0.1191f};
    const float scales[] = {3, 2, 1, 2, 3};
    for (int i = 0; i < 36; ++i) {
        const bool is_near = i >= 16 && i <= 20;
        EXPECT_NEAR(image->mag_plane[i][20], is_near ? strengths[i - 16] : 0.0f, 5e-5f) << i;
        EXPECT_EQ(image->scale_plane[i][20], is_near ? scales[i - 16] : 0.0f) << i;
        const float angle = image->dir_plane[i][20];
        if (is_near)
            EXPECT_NEAR(std::sin(angle), 0.0f, 1e-3f) << i;
        else
            EXPECT_EQ(angle, 3.5f) << i;
    }
    for (int j = 0; j < 40; ++j)
        EXPECT_EQ(image->scale_plane[18][j] == 1.0f, j >= 3 && j <= 36) << j;
}

TEST(Ridges, KnowBrightFromDarkAndOneAxisFromTheOther) {
    const auto bright = horizontal_line();
    const auto dark = horizontal_line(200.0f, 20.0f);
    ridges_of(*bright, 1.0f, 1.0f, 1, 0, 1);
    EXPECT_EQ(bright->scale_plane[18][20], 0.0f);
    ridges_of(*dark, 1.0f, 9.0f, 1, 0, 1); // a single scale is the smallest
    EXPECT_EQ(dark->scale_plane[18][20], 1.0f);
    EXPECT_EQ(dark->dir_plane[14][20], 3.5f);
    const auto upright = make_gray(40, 36, [](int, int j) { return j == 18 ? 200.0f : 20.0f; });
    ridges_of(*upright, 2.0f, 2.0f, 1, 1, 1);
    EXPECT_NEAR(upright->dir_plane[20][18], 1.5708f, 1e-4f);
    EXPECT_GT(upright->mag_plane[20][18], 0.99f);
}

TEST(Ridges, EqualThePlainPasses) {
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const auto noise = make_random(61 + static_cast<int>(seed), 83, 0, seed, seed == 2);
        expect_plain_ridges(*noise, 0.4f, 3.7f, 4, true, seed != 1);
        const ImagePtr soft(noise->smooth_image(3.0f));
        expect_plain_ridges(*soft, 1.0f, 6.5f, 5, seed != 2, true);
    }
    expect_plain_ridges(*drawing(70, 90), 1.0f, 4.0f, 7, true, true);
    expect_plain_ridges(*horizontal_line(), 1.0f, 3.0f, 5, true, false);
    expect_plain_ridges(*make_random(24, 130, 1, 5), 1.0f, 2.5f, 3, true, true); // colour
    for (int n = 1; n <= 24; ++n)
        expect_plain_ridges(*make_random(n, 25 - n, 0, static_cast<unsigned>(n)), 0.5f, 3.0f, 3,
                            true, true);
    expect_plain_ridges(*make_random(9, 300, 0, 9), 1.0f, 1.0f, 1, true, false);
}

// A mask leaves gradients of 0 with the angle 0, which neighbours read.
TEST(Ridges, EqualThePlainPassesUnderAMask) {
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const auto noise = make_random(57, 71, 0, seed);
        const auto mask = make_random(57, 71, 0, seed + 10);
        for (int i = 0; i < 57; ++i)
            for (int j = 0; j < 71; ++j)
                mask->pixels[i][j] = mask->pixels[i][j] < 60 || (i / 9 + j / 9) % 4 == 0 ? -0.0f
                                     : j == 5                                            ? NAN
                                                                                         : 1e-45f;
        expect_plain_ridges(*noise, 0.7f, 4.0f, 4, true, true, mask.get());
        const ImagePtr soft(noise->smooth_image(2.0f));
        expect_plain_ridges(*soft, 1.0f, 3.0f, 3, true, true, mask.get());
    }
}

TEST(Ridges, ExtremeSamplesGiveWhatTheArithmeticGives) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float extreme : {infinity, std::nanf(""), 3e38f, 1e19f, -1e25f, 1e-38f}) {
        auto image = make_random(40, 60, 0, 3);
        image->pixels[20][30] = extreme;
        expect_plain_ridges(*image, 1.0f, 2.0f, 2, true, true);
    }
    for (const float gain : {1e-3f, 1e-2f, 1e20f, 1e-22f}) { // around the two thresholds
        auto image = make_random(50, 60, 0, 4);
        for (int i = 0; i < 50; ++i)
            for (int j = 0; j < 60; ++j)
                image->pixels[i][j] *= gain;
        expect_plain_ridges(*image, 1.0f, 3.0f, 3, true, true);
    }
}

TEST(Ridges, WithoutAResponse) {
    const auto flat = make_gray(20, 22, [](int, int) { return 0.0f; });
    for (const int n_scales : {2, 0, -3}) {
        const std::string printed = ridges_of(*flat, 1.0f, 2.0f, n_scales, 1, 1);
        EXPECT_EQ(printed.empty(), n_scales <= 0);
        for (int i = 0; i < 20; ++i)
            for (int j = 0; j < 22; ++j) {
                EXPECT_TRUE(std::isnan(flat->mag_plane[i][j]));
                EXPECT_EQ(flat->dir_plane[i][j], 3.5f);
                EXPECT_EQ(flat->scale_plane[i][j], 0.0f);
            }
    }
    const auto line = horizontal_line();
    ridges_of(*line, 1.0f, 2.0f, 2, 0, 0);
    EXPECT_TRUE(std::isnan(line->mag_plane[18][20]));
    expect_plain_ridges(*horizontal_line(), 50.0f, 1e9f, 2, true, true); // wider than the image
}

TEST(Ridges, RefuseWhatHasNoMeaning) {
    const auto image = horizontal_line();
    ridges_of(*image, 1.0f, 1.0f, 1, 1, 0);
    const float* const* const mag = image->mag_plane;
    const auto small = make_gray(36, 39, [](int, int) { return 1.0f; });
    for (const float sigma : {0.0f, -1.0f, std::nanf("")})
        EXPECT_EQ(ridges_of(*image, sigma, 2.0f, 3, 1, 0), "");
    EXPECT_EQ(ridges_of(*image, 1.0f, -2.0f, 3, 1, 0), "");
    EXPECT_EQ(ridges_of(*image, 1.0f, 2.0f, 3, 1, 0, small.get()), "");
    EXPECT_EQ(image->mag_plane, mag);
}

TEST(BilinearInt, ProjectsAndInterpolates) {
    const Plane row(make_plane(5, 5)), col(make_plane(5, 5));
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j) {
            row.get()[i][j] = static_cast<float>(5 * i + j);
            col.get()[i][j] = static_cast<float>(100 - 5 * i - j);
        }
    const auto at = [&](float distance, float angle) {
        return bilinear_int(row.get(), col.get(), 2, 2, distance, angle);
    };
    EXPECT_EQ(at(1.5f, 0.0f), 19.5f);
    EXPECT_EQ(at(-1.5f, 0.0f), 4.5f);
    EXPECT_NEAR(at(1.2f, 0.7f), 66.516f, 1e-3f);
    EXPECT_NEAR(at(0.0f, 0.7f), std::cos(0.7f) * 12 + std::sin(0.7f) * 88, 1e-4f);
    for (float distance = -1.9f; distance < 2.0f; distance += 0.13f)
        for (float angle = -4.0f; angle < 4.0f; angle += 0.31f)
            EXPECT_TRUE(same_bits(at(distance, angle),
                                  plain_slope(row.get(), col.get(), 2, 2, distance, angle)));
    // A step of -0.0 goes up like one of 0.0: the neighbour that weighs nothing is the next one.
    col.get()[1][1] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(at(-1.5f, 0.0f), 4.5f);
    EXPECT_TRUE(std::isnan(at(std::nanf(""), 0.0f)));
    EXPECT_TRUE(std::isnan(at(1e30f, 0.0f)));
    EXPECT_TRUE(std::isnan(at(1.0f, std::numeric_limits<float>::infinity())));
}

} // namespace
