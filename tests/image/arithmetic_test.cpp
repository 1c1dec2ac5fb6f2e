#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>

namespace {

using vorlane::form_of;

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float subnormal = 1.0e-42f;

TEST(Arithmetic, GrayCountsInEachChannelOfColour) {
    const ImagePtr gray = make_gray(1, 2, [](int, int j) { return j == 0 ? -2.0f : 1e30f; });
    const ImagePtr colour =
        make_colour(1, 2, [](int, int j, int k) { return static_cast<float>(3 * j + k); });
    gray->file_format = 7;
    gray->mag_plane = make_2D_float_array(1, 2);
    for (const auto& [a, b] : {std::pair(gray.get(), colour.get()), {colour.get(), gray.get()}}) {
        const ImagePtr sum(a->Addseq(b)), product(a->Multseq(b));
        EXPECT_EQ(facts_of(*sum), (Facts{form_of(*a).of_type(1), ""}));
        EXPECT_EQ(samples_of(*sum), (std::vector<float>{-2, -1, 0, 1e30f, 1e30f, 1e30f}));
        EXPECT_EQ(samples_of(*product),
                  (std::vector<float>{0, -2, -4, 3 * 1e30f, 4 * 1e30f, 5 * 1e30f}));
    }
}

TEST(Arithmetic, TiesGoToTheGrayPixelOrToB) {
    const auto colour = [](float r, float g, float b) {
        return make_colour(1, 1, [=](int, int, int k) { return k == 0 ? r : k == 1 ? g : b; });
    };
    const ImagePtr even = colour(20.0f, 20.0f, 20.0f);
    const ImagePtr mixed = colour(0.0f, 20.0f, 40.0f);
    // 60 * 0.33333334 is a little more than 20 in double precision, and 20 when it is rounded.
    const ImagePtr gray = make_gray(1, 1, [](int, int) { return 20.0f; });
    EXPECT_EQ(samples_of(*ImagePtr(gray->Maxseq(mixed.get()))), samples_of(*mixed));
    EXPECT_EQ(samples_of(*ImagePtr(mixed->Minseq(gray.get()))), samples_of(*even));
    EXPECT_EQ(samples_of(*ImagePtr(even->Maxseq(mixed.get()))), samples_of(*mixed));
    EXPECT_EQ(samples_of(*ImagePtr(even->Minseq(mixed.get()))), samples_of(*mixed));

    const ImagePtr black = make_gray(1, 1, [](int, int) { return 0.0f; });
    const ImagePtr balanced = colour(-1.0f, 0.0f, 1.0f);
    const std::vector<float> zeros(3, 0.0f);
    EXPECT_EQ(samples_of(*ImagePtr(black->Maxseq(balanced.get()))), zeros);
    EXPECT_EQ(samples_of(*ImagePtr(black->Minseq(balanced.get()))), zeros);
    EXPECT_EQ(samples_of(*ImagePtr(balanced->Maxseq(black.get()))), zeros);
    EXPECT_EQ(samples_of(*ImagePtr(balanced->Minseq(black.get()))), zeros);
}

TEST(Arithmetic, MasksAreReadWithTheGrayIndex) {
    const ImagePtr mask = make_colour(1, 2, [](int, int j, int k) {
        return j == 0 && k == 1 ? subnormal : k == 2 ? 9.0f : -0.0f;
    });
    const ImagePtr colour =
        make_colour(1, 2, [](int, int j, int k) { return static_cast<float>(10 * j + k); });
    // The mask's first two samples are the two pixels'; the first two of a row give the largest.
    EXPECT_EQ(samples_of(*ImagePtr(colour->Andseq(mask.get()))),
              (std::vector<float>{0, 0, 0, 10, 11, 12}));
    EXPECT_EQ(samples_of(*ImagePtr(colour->Orseq(mask.get()))),
              (std::vector<float>{0, 1, 2, 1, 1, 1}));
    const ImagePtr marks = make_gray(1, 3, [](int, int j) { return j == 0 ? nan_value : 0.0f; });
    const ImagePtr gray = make_gray(1, 3, [](int, int j) { return static_cast<float>(5 + j); });
    EXPECT_EQ(samples_of(*ImagePtr(gray->Andseq(marks.get()))), (std::vector<float>{5, 0, 0}));
    EXPECT_EQ(samples_of(*ImagePtr(gray->Orseq(marks.get()))), (std::vector<float>{7, 6, 7}));
}

TEST(Arithmetic, SuperposePaintsMarkedPixelsRed) {
    const ImagePtr mask = make_gray(3, 5, [](int i, int j) { return (i + j) % 3 ? 0.0f : -1.0f; });
    const ImagePtr gray = make_random(2, 4, 0, 5);
    gray->pixels[0][1] = -17.0f;
    gray->pixels[1][2] = 333.0f;
    const ImagePtr colour = make_random(2, 4, 1, 6);
    std::vector<float> on_gray, on_colour;
    const float red[3] = {255.0f, 0.0f, 0.0f};
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 4; ++j) {
            for (int k = 0; k < 3; ++k) {
                const bool marked = mask->pixels[i][j] != 0.0f;
                const double level = (gray->pixels[i][j] - -17.0) * 255.0 / (333.0 - -17.0);
                on_gray.push_back(marked ? red[k] : static_cast<float>(level));
                on_colour.push_back(marked ? red[k] : colour->pixels[i][3 * j + k]);
            }
        }
    }
    const ImagePtr painted_gray(gray->Superpose(mask.get()));
    const ImagePtr painted_colour(colour->Superpose(mask.get()));
    ASSERT_TRUE(painted_gray && painted_colour);
    EXPECT_EQ(facts_of(*painted_gray), (Facts{form_of(*gray).of_type(1), ""}));
    EXPECT_TRUE(same_bits(samples_of(*painted_gray), on_gray));
    EXPECT_TRUE(same_bits(samples_of(*painted_colour), on_colour));

    const ImagePtr flat = make_gray(1, 2, [](int, int) { return 7.0f; });
    const ImagePtr half = make_gray(1, 2, [](int, int j) { return static_cast<float>(j); });
    const std::vector<float> samples = samples_of(*ImagePtr(flat->Superpose(half.get())));
    EXPECT_TRUE(same_bits(samples, {nan_value, nan_value, nan_value, 255.0f, 0.0f, 0.0f}));
}

TEST(Arithmetic, InvertMirrorsTheRange) {
    const ImagePtr gray =
        make_gray(7, 9, [](int i, int j) { return static_cast<float>(10 + (i * 9 + j) % 11); });
    const ImagePtr mirrored(gray->Invert());
    ASSERT_TRUE(mirrored);
    EXPECT_EQ(mirrored->pixels[0][0], 20.0f);
    EXPECT_EQ(samples_of(*ImagePtr(mirrored->Invert())), samples_of(*gray));

    const ImagePtr colour = make_random(5, 6, 1, 8);
    colour->pixels[2][3] = 300.0f;
    std::vector<float> expected;
    for (const float s : samples_of(*colour))
        expected.push_back(static_cast<float>(255.0 - s));
    EXPECT_TRUE(same_bits(samples_of(*ImagePtr(colour->Invert())), expected));

    // Both samples lie beyond the values that the search starts from.
    const ImagePtr bright =
        make_gray(1, 2, [](int, int j) { return j == 0 ? 2000000.0f : 2500000.0f; });
    EXPECT_EQ(ImagePtr(bright->Invert())->pixels[0][0], 1500000.0f);
}

TEST(Arithmetic, SizesThatDifferAreReportedAndRefused) {
    MessageCatcher catcher;
    const ImagePtr a = make_random(4, 6, 0, 1);
    const ImagePtr others[] = {make_random(4, 5, 0, 2), make_random(5, 6, 1, 2)};
    for (const ImagePtr& b : others) {
        for (const auto operation : {&CImage::Multseq, &CImage::Addseq, &CImage::Orseq,
                                     &CImage::Andseq, &CImage::Maxseq, &CImage::Minseq}) {
            EXPECT_EQ(((*a).*operation)(b.get()), nullptr);
            EXPECT_EQ(catcher.take_failures(), Texts{"The two images should have the same size"});
        }
    }
    EXPECT_EQ(a->Superpose(make_random(4, 5, 0, 2).get()), nullptr);
    EXPECT_EQ(a->Addseq(nullptr), nullptr);
    const CImage unknown(4, 6, 2, 1, 4);
    EXPECT_EQ(a->Addseq(&unknown), nullptr);
    EXPECT_TRUE(catcher.take_failures().empty());
}

} // namespace
