#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();

TEST(Threshold, SetsWhatIsAbove) {
    for (const int type : {0, 1}) {
        const ImagePtr image = make_random(11, 19, type, 1, true);
        const float level = image->pixels[3][4];
        image->pixels[0][0] = nan_value;
        const int n = channels_of(*image);
        const auto expected = samples_by(11, 19, 1, [&](int i, int j, int) {
            const float* const pixel = image->pixels[i] + n * j;
            return std::all_of(pixel, pixel + n, [&](float s) { return s > level; }) ? 255.0f
                                                                                     : 0.0f;
        });
        EXPECT_EQ(samples_of(*ImagePtr(image->Threshold(level))), expected);
    }
}

TEST(DistanceFilter, WeighsByDistanceAndRepeatsTheBorder) {
    const ImagePtr dots = make_gray(
        9, 7, [](int i, int j) { return (i == 5 && j == 3) || (i == 0 && j == 0) ? 1.0f : 0.0f; });
    const double side = 1.0 - std::sqrt(0.5); // of 1 in the middle and 0 in the corners
    const ImagePtr three(dots->DistanceFilter(3));
    EXPECT_NEAR(three->pixels[5][3], 1.0 / (1.0 + 4.0 * side), 1e-7);
    EXPECT_NEAR(three->pixels[5][2], side / (1.0 + 4.0 * side), 1e-7);
    EXPECT_NEAR(three->pixels[4][2], 0.0, 1e-7);
    EXPECT_NEAR(three->pixels[0][0], 1.0 / (1.0 + side), 1e-7); // it counts four times
    const ImagePtr two(dots->DistanceFilter(2)); // a window that reaches down and right
    EXPECT_NEAR(two->pixels[5][3], 1.0 / (1.0 + 2.0 * side), 1e-7);
    EXPECT_NEAR(two->pixels[4][3], side / (1.0 + 2.0 * side), 1e-7);
    EXPECT_NEAR(two->pixels[6][3], 0.0, 1e-7);
    const ImagePtr flat = make_gray(4, 6, [](int, int) { return 7.25f; });
    for (const int size : {2, 5, 25})
        EXPECT_EQ(samples_of(*ImagePtr(flat->DistanceFilter(size))), std::vector<float>(24, 7.25f));
    EXPECT_EQ(flat->DistanceFilter(1), nullptr);
    EXPECT_EQ(flat->DistanceFilter(-3), nullptr);
}

TEST(SobelFilter, MeasuresSlopesAndLeavesTheBorder) {
    for (const int type : {0, 1}) {
        const auto ramp = [](int i, int j) { return static_cast<float>(3 * j - 4 * i); };
        const ImagePtr image =
            type == 0 ? make_gray(6, 19, ramp)
                      : make_colour(6, 19, [&](int i, int j, int k) { // of that mean
                            return ramp(i, j) + static_cast<float>(k - 1) * static_cast<float>(i);
                        });
        image->mag_plane = make_2D_float_array(6, 19);
        float** const plane = image->mag_plane;
        for (int i = 0; i < 6; ++i)
            std::fill_n(plane[i], 19, -7.0f);
        image->SobelFilter();
        ASSERT_EQ(image->mag_plane, plane);
        EXPECT_EQ(image->dir_plane, nullptr);
        for (int i = 0; i < 6; ++i)
            for (int j = 0; j < 19; ++j) {
                const bool is_inside = i > 0 && i < 5 && j > 0 && j < 18;
                EXPECT_NEAR(plane[i][j], is_inside ? 8.0f * 5.0f : -7.0f, 1e-5f) << i << ' ' << j;
            }
    }
    // A plane that is missing or too small is made, also where there is nothing to compute.
    const ImagePtr flat = make_random(2, 5, 0, 1);
    flat->mag_plane = make_2D_float_array(1, 5);
    flat->SobelFilter();
    EXPECT_EQ(samples_of(flat->mag_plane, 2, 5), std::vector<float>(10, 0.0f));
}

TEST(Chamfer, StepsStraightAndDiagonally) {
    for (const int type : {0, 1}) {
        for (const auto& [row, col] : {std::pair(299, 1099), {0, 3}, {150, 600}}) {
            CImage image(300, 1100, type, 3, 4);
            image.pixels[row][channels_of(image) * col + type] = nan_value; // anything but 0
            image.pixels[0][1] = -0.0f;
            const std::vector<float> found = samples_of(*ImagePtr(image.Chamfer()));
            std::size_t at = 0;
            for (int i = 0; i < 300; ++i)
                for (int j = 0; j < 1100; ++j) {
                    const int down = std::abs(i - row), right = std::abs(j - col);
                    const double distance =
                        std::max(down, right) + (std::sqrt(2.0) - 1.0) * std::min(down, right);
                    for (int k = 0; k < channels_of(image); ++k) // sums of floats
                        ASSERT_NEAR(found[at++], distance, 1e-5 * distance) << i << ' ' << j;
                }
        }
    }
    EXPECT_EQ(samples_of(*ImagePtr(CImage(2, 1, 0, 3, 4).Chamfer())),
              std::vector<float>(2, 1000000.0f));
}

float noise_unit() {
    int drawn = 0;
    while (drawn == 0)
        drawn = std::rand() & 32767;
    return static_cast<float>(drawn * double{3.0518509e-05f});
}

// The standard generator, seeded with the clock at each call.
TEST(GNoise, EqualsThePlainLoop) {
    const ImagePtr image =
        make_gray(300, 301, [](int i, int j) { return static_cast<float>(i + j); });
    std::vector<float> expected;
    ImagePtr noisy;
    int colour_draw = 0;
    unsigned now = 0;
    do { // all within one second
        now = static_cast<unsigned>(std::time(nullptr));
        EXPECT_EQ(make_random(3, 3, 1, 1)->GNoise(1.0f), nullptr);
        colour_draw = std::rand();
        noisy.reset(image->GNoise(2.0f));
    } while (now != static_cast<unsigned>(std::time(nullptr)));
    std::srand(now);
    EXPECT_EQ(colour_draw, std::rand());
    std::srand(now);
    for (const float sample : samples_of(*image)) {
        const float u1 = noise_unit();
        const float u2 = noise_unit();
        const auto radius = static_cast<float>(std::sqrt(-2.0 * std::log(double{u1})));
        expected.push_back(
            static_cast<float>(sample + 2.0 * radius * std::sin(double{u2} * double{6.2831855f})));
    }
    EXPECT_TRUE(same_bits(samples_of(*noisy), expected));
    EXPECT_TRUE(same_bits(samples_of(*ImagePtr(image->GNoise(0.0f))), samples_of(*image)));
}

} // namespace
