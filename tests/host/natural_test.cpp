#include "host/natural.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

#include <gtest/gtest.h>

#include "host/error.h"
#include "support/images.h"

namespace {

using namespace vorlane;

using Level = std::function<double(int, int)>;

CImage image_of(int rows, int cols, const Level& level) {
    return *make_gray(rows, cols, level);
}

// Three channels of different levels and slopes.
CImage colour_image_of(int rows, int cols, const Level& level) {
    return *make_colour(rows, cols, [&](int i, int j, int c) { return (c + 1) * level(i, j); });
}

// The largest |a - level(i, j, channel)|.
double deviation(const CImage& a, const std::function<double(int, int, int)>& level) {
    const int channels = a.image_type == ImageType::colour ? 3 : 1;
    double largest = 0.0;
    for (int i = 0; i < a.nrows; ++i) {
        for (int k = 0; k < a.ncols * channels; ++k) {
            const double difference =
                std::abs(a.pixels[i][k] - level(i, k / channels, k % channels));
            largest = difference <= largest ? largest : difference; // a not-a-number stays
        }
    }
    return largest;
}

bool same(const CImage& a, const CImage& b) {
    return a.nrows == b.nrows && a.image_type == b.image_type && samples_of(a) == samples_of(b);
}

constexpr double sigmas[] = {0.05, 0.5, 1.0, 2.0, 5.0, 8.0, 8.1, 20.0, 64.0, 300.0};

TEST(NaturalSmoothing, KeepsAFlatPicture) {
    const CImage flat = image_of(70, 301, [](int, int) { return 127.0; });
    const CImage colour = colour_image_of(33, 18, [](int, int) { return 80.0; });
    for (const double sigma : sigmas) {
        EXPECT_LT(deviation(*host::smooth(flat, sigma), [](int, int, int) { return 127.0; }),
                  127e-5)
            << sigma;
        EXPECT_LT(
            deviation(*host::smooth(colour, sigma), [](int, int, int c) { return 80.0 * (c + 1); }),
            240e-5)
            << sigma;
    }
}

TEST(NaturalSmoothing, KeepsAFlatVolume) {
    CVolume volume(9, 12, 40, ImageType::gray, FileFormat::none, PixelFormat::byte);
    for (int k = 0; k < 9; ++k) {
        for (int i = 0; i < 12; ++i)
            std::fill_n(volume.slices[k].pixels[i], 40, 127.0f);
    }
    for (const double sigma : {0.7, 3.0, 8.0, 12.0}) {
        const host::VolumePtr smooth = host::smooth(volume, sigma);
        ASSERT_EQ(smooth->nslices, 9);
        for (int k = 0; k < 9; ++k)
            EXPECT_LT(deviation(smooth->slices[k], [](int, int, int) { return 127.0; }), 127e-5);
    }
}

// The filter in doubles continues where that in floats ends; both are a Gaussian of that width.
TEST(NaturalSmoothing, SpreadsAPixelIntoAGaussian) {
    for (const double sigma : {3.0, 8.0, 8.001, 15.0}) {
        const int half = static_cast<int>(6 * sigma);
        const CImage dot = image_of(2 * half + 1, 2 * half + 1, [&](int i, int j) {
            return i == half && j == half ? 1e4 : 0.0;
        });
        const ImagePtr smooth = host::smooth(dot, sigma);
        const double peak = 1e4 / (2.0 * 3.141592653589793 * sigma * sigma);
        EXPECT_LT(deviation(*smooth,
                            [&](int i, int j, int) {
                                return peak * std::exp(-(std::pow(i - half, 2.0) +
                                                         std::pow(j - half, 2.0)) /
                                                       (2.0 * sigma * sigma));
                            }),
                  0.004 * peak)
            << sigma;
    }
}

TEST(NaturalDerivative, GivesTheSlopeOfARamp) {
    const auto ramp = [](int i, int j) { return 100.0 + j - 2.5 * i; };
    const CImage gray = image_of(60, 90, ramp);
    const CImage colour = colour_image_of(60, 90, ramp);
    for (const double sigma : {0.3, 0.5, 1.0, 2.0, 5.0, 8.0, 8.1, 20.0, 64.0, 300.0}) {
        const double allowed = sigma < 4.0 ? 1e-4 : 1e-3;
        const ImagePtr x = host::derivative(gray, sigma, host::Axis::x);
        const ImagePtr y = host::derivative(colour, sigma, host::Axis::y);
        EXPECT_LT(deviation(*x, [](int, int, int) { return 1.0; }), allowed) << sigma;
        EXPECT_LT(deviation(*y, [](int, int, int c) { return -2.5 * (c + 1); }), 8 * allowed)
            << sigma;
    }
    const host::Gradient slope = host::gradient(colour, 2.0);
    EXPECT_LT(deviation(*slope.magnitude, [](int, int, int) { return 3.0 * std::hypot(1.0, 2.5); }),
              1e-3);
    const double angle = 2.0 * 3.141592653589793 + std::atan2(-2.5, 1.0);
    EXPECT_LT(deviation(*slope.direction, [&](int, int, int) { return angle; }), 1e-3);
}

TEST(NaturalEdges, ReachTheBorderAndDrawNoFrame) {
    const CImage step = image_of(40, 50, [](int i, int j) {
        return (i == 0 || j == 0 || i == 39 || j == 49) && j < 25 ? 20.0 : j < 25 ? 20.0 : 90.0;
    });
    for (const double sigma : {1.0, 3.0, 9.0}) {
        const host::EdgeMap map = host::find_edges(step, sigma, {});
        EXPECT_FALSE(map.is_flat);
        // A step of 70 has the slope 70 g(0) of its Gaussian.
        EXPECT_NEAR(map.steepest_slope, 70.0 / (sigma * std::sqrt(2.0 * 3.141592653589793)),
                    sigma > 2.0 ? 0.05 * map.steepest_slope : 0.12 * map.steepest_slope);
        for (int i = 0; i < 40; ++i) {
            for (int j = 0; j < 50; ++j)
                EXPECT_EQ(map.edges->pixels[i][j],
                          j == 24 || j == 25 ? map.edges->pixels[20][j] : 0)
                    << i << ' ' << j;
        }
        EXPECT_EQ(map.edges->pixels[0][24] + map.edges->pixels[0][25] > 0.0f, true);
    }
}

TEST(NaturalEdges, TakeThresholdsInGrayLevels) {
    const CImage steps = image_of(30, 60, [](int, int j) {
        return j < 20 ? 0 : j < 40 ? 20 : 100;
    });
    const auto count = [&](double high, double low, bool absolute) {
        const host::EdgeMap map = host::find_edges(steps, 2.0, {high, low, absolute});
        int marked = 0;
        for (int j = 0; j < 60; ++j)
            marked += map.edges->pixels[0][j] > 0.0f;
        return marked;
    };
    EXPECT_EQ(count(0.5, 0.1, false), count(8.0, 8.0, true)); // slopes are 4 and 16
    EXPECT_GT(count(0.2, 0.1, false), count(0.5, 0.1, false));
    EXPECT_EQ(count(17.0, 17.0, true), 0);
}

TEST(NaturalEdges, SayThatAPictureIsFlat) {
    const host::EdgeMap map =
        host::find_edges(image_of(20, 20, [](int, int) { return 127.3; }), 2.0, {});
    EXPECT_TRUE(map.is_flat);
    EXPECT_EQ(deviation(*map.edges, [](int, int, int) { return 0.0; }), 0.0);
    const host::EdgeMap faint =
        host::find_edges(image_of(20, 20, [](int, int j) { return j < 10 ? 1.0 : 1.1; }), 2.0, {});
    EXPECT_FALSE(faint.is_flat);
}

TEST(NaturalRidges, RunToTheBorderInSilence) {
    const CImage line = image_of(40, 50, [](int i, int) { return 200.0 - 60.0 * (i == 20); });
    int scales = 0;
    testing::internal::CaptureStdout();
    const host::RidgeMap map =
        host::find_ridges(line, {1.0, 3.0, 3, false, true, nullptr},
                          [&](int done, int count) { scales += done < count; });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(scales, 3);
    EXPECT_FALSE(map.is_empty);
    for (int j = 0; j < 50; ++j) {
        EXPECT_NEAR(map.strength->pixels[20][j], 1.0, 1e-3) << j;
        EXPECT_EQ(map.strength->pixels[3][j], 0.0f) << j;
        EXPECT_EQ(map.scale->pixels[20][j], 1.0f) << j;
    }
    EXPECT_TRUE(host::find_ridges(line, {1.0, 1.0, 1, true, false, nullptr}).is_empty ||
                map.strength->pixels[20][0] > 0.0f);
    const host::RidgeMap none =
        host::find_ridges(image_of(30, 30, [](int, int) { return 9.0; }), host::RidgeScales{});
    EXPECT_TRUE(none.is_empty);
    EXPECT_EQ(deviation(*none.strength, [](int, int, int) { return 0.0; }), 0.0);
}

TEST(NaturalRotation, FourQuarterTurnsAreNone) {
    std::mt19937 random(7);
    const CImage image = colour_image_of(13, 22, [&](int, int) { return random() % 256; });
    ImagePtr turned = host::rotate(image, 90.0);
    EXPECT_EQ(turned->nrows, 22);
    EXPECT_EQ(turned->pixels[0][0], image.pixels[0][3 * 21]); // counter-clockwise
    for (int n = 0; n < 3; ++n)
        turned = host::rotate(*turned, n == 1 ? -270.0 : 450.0);
    EXPECT_TRUE(same(*turned, image));
    EXPECT_TRUE(same(*host::rotate(*host::rotate(image, 180.0), -180.0, false), image));
    // Without the room for it, the middle stays in the middle.
    const CImage strip = image_of(3, 5, [](int i, int j) { return 10 * i + j; });
    const ImagePtr kept = host::rotate(strip, 90.0, false, -1.0);
    EXPECT_EQ(kept->pixels[1][2], 12.0f);
    EXPECT_EQ(kept->pixels[0][1], 3.0f);
    EXPECT_EQ(kept->pixels[1][0], -1.0f);
}

TEST(NaturalRotation, KeepsTheWholePicture) {
    const CImage disc = image_of(60, 80, [](int i, int j) {
        return std::exp(-(std::pow(i - 12.0, 2.0) + std::pow(j - 60.0, 2.0)) / 32.0);
    });
    const ImagePtr turned = host::rotate(disc, 33.3);
    const ImagePtr back = host::rotate(*turned, -33.3);
    const int down = (back->nrows - 60) / 2, right = (back->ncols - 80) / 2;
    EXPECT_LT(deviation(disc, [&](int i, int j, int) { return back->pixels[i + down][j + right]; }),
              0.1);
    // The same angle next to a quarter turn needs no more room.
    EXPECT_EQ(host::rotate(disc, 90.0 + 1e-10)->nrows, 80);
}

TEST(NaturalScale, KeepsLevelsAndCorners) {
    const CImage flat = colour_image_of(37, 51, [](int, int) { return 50.0; });
    for (const double factor : {0.013, 0.2, 0.5, 1.0, 2.7}) {
        const ImagePtr scaled = host::scale_by(flat, factor, factor);
        EXPECT_LT(deviation(*scaled, [](int, int, int c) { return 50.0 * (c + 1); }), 1e-3);
    }
    const CImage ramp = image_of(40, 60, [](int i, int j) { return 3.0 * (j + 0.5) + (i + 0.5); });
    const ImagePtr half = host::scale(ramp, 20, 30);
    EXPECT_NEAR(half->pixels[10][15], 3.0 * 31.0 + 21.0, 0.01);
    EXPECT_TRUE(same(*host::scale(ramp, 40, 60), ramp));
    // Fine stripes become their mean, not a pattern.
    const CImage stripes = image_of(64, 64, [](int, int j) { return j % 2 ? 200.0 : 0.0; });
    EXPECT_LT(deviation(*host::scale(stripes, 64, 14), [](int, int, int) { return 100.0; }), 12.0);
}

TEST(NaturalOperators, RefuseArgumentsWithoutAMeaning) {
    const CImage image = image_of(8, 8, [](int, int) { return 1.0; });
    const CImage other = image_of(7, 8, [](int, int) { return 1.0; });
    EXPECT_THROW(host::smooth(CImage(), 1.0), host::UsageError);
    for (const double sigma : {0.0, -1.0, 1001.0, std::nan("")})
        EXPECT_THROW(host::smooth(image, sigma), host::UsageError);
    EXPECT_THROW(host::derivative(image, 0.2, host::Axis::x), host::UsageError);
    EXPECT_THROW(host::find_edges(image, 1.0, {0.1, 0.2, false}), host::UsageError);
    EXPECT_THROW(host::find_edges(image, 1.0, {2.0, 0.2, false}), host::UsageError);
    EXPECT_THROW(host::find_ridges(image, {1.0, 2.0, 2, true, true, &other}), host::UsageError);
    EXPECT_THROW(host::find_ridges(image, {1.0, 40.0, 2}), host::UsageError);
    EXPECT_THROW(host::rotate(image, INFINITY), host::UsageError);
    EXPECT_THROW(host::scale(image, 0, 4), host::UsageError);
    EXPECT_THROW(host::scale_by(image, 1e12, 1.0), host::UsageError);
    EXPECT_THROW(host::smooth(CVolume(), 1.0), host::UsageError);
}

} // namespace
