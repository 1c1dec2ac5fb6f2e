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

using vorlane::Plane;

std::string ridges_of(CImage& image, float sigma_min, float sigma_max, int n_scales, int bright,
                      int dark, const CImage* mask = nullptr) {
    testing::internal::CaptureStdout();
    image.ridges(sigma_min, sigma_max, n_scales, bright, dark, mask);
    return testing::internal::GetCapturedStdout();
}

ImagePtr horizontal_line(float ground = 20.0f, float line = 200.0f) {
    return make_gray(36, 40, [=](int i, int) { return i == 18 ? line : ground; });
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

// A mask of anything but zeros changes nothing; what it leaves out stays empty.
TEST(Ridges, StayUnderTheirMask) {
    const auto image = make_random(57, 71, 0, 1);
    CImage masked(*image);
    ridges_of(*image, 0.7f, 4.0f, 4, 1, 1);
    const auto all = make_gray(57, 71, [](int, int j) { return j % 2 ? NAN : 1e-45f; });
    ridges_of(masked, 0.7f, 4.0f, 4, 1, 1, all.get());
    for (const auto plane : {&CImage::mag_plane, &CImage::dir_plane, &CImage::scale_plane})
        EXPECT_TRUE(
            same_bits(samples_of(masked.*plane, 57, 71), samples_of((*image).*plane, 57, 71)));
    const auto half = make_gray(57, 71, [](int, int j) { return j < 40 ? -0.0f : 1.0f; });
    ridges_of(masked, 0.7f, 4.0f, 4, 1, 1, half.get());
    int found = 0;
    for (int i = 0; i < 57; ++i)
        for (int j = 0; j < 71; ++j) {
            found += masked.scale_plane[i][j] != 0.0f;
            if (j < 40) {
                EXPECT_EQ(masked.dir_plane[i][j], 3.5f);
                EXPECT_EQ(masked.scale_plane[i][j], 0.0f);
            }
        }
    EXPECT_GT(found, 100);
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
    ridges_of(*line, 50.0f, 1e9f, 2, 1, 1); // wider than the image
    EXPECT_TRUE(std::isnan(line->mag_plane[18][20]));
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
    const Plane row(5, 5), col(5, 5);
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
        for (float angle = -4.0f; angle < 4.0f; angle += 0.31f) { // planes that are linear
            const float c = std::cos(angle), s = std::sin(angle);
            const float level = 12.0f + distance * (5.0f * c + s);
            EXPECT_NEAR(at(distance, angle), c * level + s * (100.0f - level), 1e-4f);
        }
    // A step of -0.0 goes up like one of 0.0: the neighbour that weighs nothing is the next one.
    col.get()[1][1] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(at(-1.5f, 0.0f), 4.5f);
    EXPECT_TRUE(std::isnan(at(std::nanf(""), 0.0f)));
    EXPECT_TRUE(std::isnan(at(1e30f, 0.0f)));
    EXPECT_TRUE(std::isnan(at(1.0f, std::numeric_limits<float>::infinity())));
}

} // namespace
