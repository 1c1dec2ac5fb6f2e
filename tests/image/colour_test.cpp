#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/image/colour.h>

namespace {

using Colour = std::vector<float>;

Colour luv_of(float r, float g, float b) {
    Colour luv(3);
    RGB_to_LUV(r, g, b, &luv[0], &luv[1], &luv[2]);
    return luv;
}

Colour rgb_of(float l, float u, float v) {
    Colour rgb(3);
    LUV_to_RGB(l, u, v, &rgb[0], &rgb[1], &rgb[2]);
    return rgb;
}

TEST(Colour, SplitsIntoChannels) {
    const auto image = make_random(5, 6, 1, 1);
    CImage red(5, 6, 0, 1, 4), green(5, 6, 0, 1, 4), blue(5, 6, 0, 1, 4), small(5, 5, 0, 1, 4);
    image->ComputeRGB(&red, &green, &small);
    EXPECT_EQ(samples_of(red), Colour(30, 0.0f));
    image->ComputeRGB(&red, &green, &blue);
    const CImage* const channels[] = {&red, &green, &blue};
    EXPECT_EQ(samples_of(*image),
              samples_by(5, 6, 3, [&](int i, int j, int k) { return channels[k]->pixels[i][j]; }));
}

TEST(Colour, GrayAddsFromTheLastChannelInDouble) {
    const auto image = make_random(9, 9, 1, 2);
    image->pixels[0][2] = 255.0f;
    image->pixels[0][0] = image->pixels[0][1] = 0.0f;
    const ImagePtr gray(image->MakeGray());
    EXPECT_EQ(gray->pixels[0][0], 85.0f);
    EXPECT_EQ(samples_of(*gray), samples_by(9, 9, 1, [&](int i, int j, int) {
                  const float* const s = image->pixels[i] + 3 * j;
                  const double sum = (double{s[2]} + double{s[1]}) + double{s[0]};
                  return static_cast<float>(sum * double{0.33333334f});
              }));
}

TEST(Colour, ColourFromGrayPlainOrStretched) {
    const auto image = make_random(4, 7, 0, 3);
    const ImagePtr plain(image->MakeColor(0));
    const ImagePtr stretched(image->MakeColor(-5));
    float min = 1e6f, max = -1e6f;
    for (const float v : samples_of(*image)) {
        min = std::min(min, v);
        max = std::max(max, v);
    }
    const auto gray = [&](int i, int j, int) { return image->pixels[i][j]; };
    EXPECT_EQ(samples_of(*plain), samples_by(4, 7, 3, gray));
    EXPECT_EQ(samples_of(*stretched), samples_by(4, 7, 3, [&](int i, int j, int) {
                  return static_cast<float>((double{image->pixels[i][j]} - min) * 255.0 /
                                            (double{max} - min));
              }));
    const ImagePtr flat(CImage(2, 2, 0, 1, 4).MakeColor(1));
    EXPECT_TRUE(std::isnan(flat->pixels[1][5]));
}

TEST(Luv, KnownColours) {
    EXPECT_EQ(luv_of(0, 0, 0), (Colour{0, 0, 0}));
    EXPECT_EQ(luv_of(255, 255, 255), (Colour{100, 0, 0}));
    EXPECT_EQ(luv_of(255, 0, 0), (Colour{53, 175, 38})); // CIE: 53.24, 175.01, 37.76
    EXPECT_EQ(luv_of(0, 255, 0)[0], 88);
    EXPECT_EQ(luv_of(0, 0, 255)[0], 32);
    EXPECT_EQ(rgb_of(0.05f, 50, 50), (Colour{0, 0, 0}));
    EXPECT_EQ(rgb_of(60, 200, -100)[1], 0.0f); // out of gamut
    EXPECT_FALSE(std::signbit(luv_of(1, 1, 1)[1]));
}

// Both forms round to floats at other places; over the whole cube that changes this many results,
// by 1 each.
TEST(Luv, TheTwoFormsDifferInAFewRoundings) {
    int differences = 0;
    const ImagePtr image = make_colour(256, 256, [](int, int, int) { return 0.0f; });
    for (int r = 0; r < 256; ++r) {
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b) {
                image->pixels[g][3 * b] = static_cast<float>(r);
                image->pixels[g][3 * b + 1] = static_cast<float>(g);
                image->pixels[g][3 * b + 2] = static_cast<float>(b);
            }
        const ImagePtr luv(image->RGB_to_LUV());
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b) {
                float single[3];
                RGB_to_LUV(static_cast<float>(r), static_cast<float>(g), static_cast<float>(b),
                           single, single + 1, single + 2);
                for (int k = 0; k < 3; ++k) {
                    const float gap = std::abs(single[k] - luv->pixels[g][3 * b + k]);
                    ASSERT_LE(gap, 1.0f);
                    differences += gap != 0.0f;
                    ASSERT_FALSE(gap != 0.0f && r == g && g == b);
                }
            }
    }
    EXPECT_EQ(differences, 357);
}

TEST(Luv, RoundTripStaysClose) {
    for (int r = 0; r < 256; r += 51)
        for (int g = 0; g < 256; g += 51)
            for (int b = 0; b < 256; b += 51) {
                const Colour luv =
                    luv_of(static_cast<float>(r), static_cast<float>(g), static_cast<float>(b));
                const Colour rgb = rgb_of(luv[0], luv[1], luv[2]);
                EXPECT_NEAR(rgb[0], r, 9) << r << ' ' << g << ' ' << b;
                EXPECT_NEAR(rgb[1], g, 9) << r << ' ' << g << ' ' << b;
                EXPECT_NEAR(rgb[2], b, 9) << r << ' ' << g << ' ' << b;
            }
}

TEST(Luv, SamplesBeyondTheTableAreSafe) {
    const auto image = make_colour(1, 4, [](int, int j, int) {
        const float values[] = {-50.0f, 1e30f, NAN, INFINITY};
        return values[j];
    });
    const ImagePtr luv(image->RGB_to_LUV());
    EXPECT_EQ(luv->pixel_format, 0);
    EXPECT_EQ(luv->file_format, 0);
}

} // namespace
