#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/image/plane.h>

namespace {

using vorlane::Plane;

ImagePtr filtered(const CImage& image, void (*maker)(float, float**), float sigma,
                  bool along_rows) {
    const Plane coef = coefficients_of(maker, sigma);
    return ImagePtr(along_rows ? image.apply_IIR4_filter_x(coef.get())
                               : image.apply_IIR4_filter_y(coef.get()));
}

ImagePtr transposed(const CImage& image) {
    return make_gray(image.ncols, image.nrows, [&](int i, int j) { return image.pixels[j][i]; });
}

TEST(Smoothing, IsThePassesOneAfterTheOther) {
    const auto image = make_random(37, 53, 0, 1);
    with_each_instruction_set([&] {
        const ImagePtr smooth(image->smooth_image(1.3f));
        const auto expected = filtered(*filtered(*image, ga, 1.3f, true), ga, 1.3f, false);
        EXPECT_TRUE(same_bits(samples_of(*smooth), samples_of(*expected)));

        const ImagePtr dx(image->first_derivative_x(1.3f));
        const auto passes = filtered(*filtered(*image, fdga, 1.3f, true), ga, 1.3f, false);
        for (int i = 0; i < 37; ++i)
            for (int j = 0; j < 53; ++j)
                ASSERT_EQ(dx->pixels[i][j], static_cast<float>(passes->pixels[i][j] * 0.5));

        const ImagePtr dy(transposed(*image)->first_derivative_y(1.3f));
        EXPECT_TRUE(same_bits(samples_of(*transposed(*dy)), samples_of(*dx)));
    });
}

TEST(Smoothing, ColourIsThreeGrayImagesStretched) {
    const auto image = make_random(29, 41, 1, 2);
    with_each_instruction_set([&] {
        const ImagePtr smooth(image->smooth_image(2.0f));
        CImage channels[3] = {{29, 41, 0, 2, 4}, {29, 41, 0, 2, 4}, {29, 41, 0, 2, 4}};
        image->ComputeRGB(&channels[0], &channels[1], &channels[2]);
        for (int k = 0; k < 3; ++k) {
            const auto channel = filtered(*filtered(channels[k], ga, 2.0f, true), ga, 2.0f, false);
            channel->Normalize(0.0f, 255.0f);
            for (int i = 0; i < 29; ++i)
                for (int j = 0; j < 41; ++j)
                    ASSERT_EQ(smooth->pixels[i][3 * j + k], channel->pixels[i][j]) << k;
        }
    });
    for (int i = 0; i < 29; ++i)
        for (int j = 0; j < 41; ++j)
            image->pixels[i][3 * j + 1] = 0.0f;
    const ImagePtr smooth(image->smooth_image(2.0f));
    EXPECT_TRUE(std::isnan(smooth->pixels[3][4])); // a channel of zeros
}

TEST(Smoothing, GainAndSlope) {
    const auto constant = make_gray(60, 60, [](int, int) { return 10.0f; });
    const auto ramp = make_gray(90, 90, [](int, int j) { return static_cast<float>(j - 45); });
    EXPECT_NEAR(ImagePtr(constant->smooth_image(1.0f))->pixels[30][30], 13.51, 0.01);
    EXPECT_NEAR(ImagePtr(ramp->first_derivative_x(1.0f))->pixels[45][45], -0.622, 0.0006);
    EXPECT_NEAR(ImagePtr(ramp->first_derivative_x(2.0f))->pixels[45][45], -0.727, 0.0006);
    EXPECT_NEAR(ImagePtr(ramp->first_derivative_x(4.0f))->pixels[45][45], -0.765, 0.0006);
}

TEST(Smoothing, DerivativeOfColourUsesTheFirstColumnsOnly) {
    const auto image = make_random(20, 12, 1, 3);
    const auto first_columns = make_gray(20, 12, [&](int i, int j) { return image->pixels[i][j]; });
    const ImagePtr derivative(image->first_derivative_y(1.0f));
    const ImagePtr expected(first_columns->first_derivative_y(1.0f));
    for (int i = 0; i < 20; ++i)
        for (int j = 0; j < 36; ++j)
            ASSERT_EQ(derivative->pixels[i][j], j < 12 ? expected->pixels[i][j] : 0.0f);
}

TEST(Smoothing, NonsenseGivesNull) {
    const auto image = make_random(8, 8, 0, 4);
    for (const float bad : {0.0f, -2.0f, std::numeric_limits<float>::infinity(), std::nanf("")}) {
        EXPECT_EQ(image->smooth_image(bad), nullptr);
        EXPECT_EQ(image->first_derivative_x(bad), nullptr);
        EXPECT_EQ(image->first_derivative_y(bad), nullptr);
    }
}

} // namespace
