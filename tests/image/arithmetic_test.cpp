#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>

namespace {

using vorlane::form_of;

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float subnormal = 1.0e-42f;

// A pixel as three samples; a gray one has the same three times.
struct Pixel {
    float s[3];
    bool is_colour;

    double mean() const {
        return is_colour ? ((double{s[2]} + double{s[1]}) + double{s[0]}) * double{0.33333334f}
                         : double{s[0]};
    }
};

Pixel pixel_of(const CImage& image, int i, int j) {
    if (image.image_type == 0) {
        const float v = image.pixels[i][j];
        return {{v, v, v}, false};
    }
    const float* const p = image.pixels[i] + 3 * j;
    return {{p[0], p[1], p[2]}, true};
}

using Combine = Pixel (*)(const Pixel& a, const Pixel& b);

Pixel sum(const Pixel& a, const Pixel& b) {
    Pixel out = b;
    for (int k = 0; k < 3; ++k)
        out.s[k] = static_cast<float>(double{b.s[k]} + double{a.s[k]});
    return out;
}

Pixel product(const Pixel& a, const Pixel& b) {
    Pixel out = b;
    for (int k = 0; k < 3; ++k)
        out.s[k] = static_cast<float>(double{b.s[k]} * double{a.s[k]});
    return out;
}

Pixel larger(const Pixel& a, const Pixel& b) {
    if (a.is_colour && !b.is_colour)
        return a.mean() > b.mean() ? a : b;
    if (b.is_colour && !a.is_colour)
        return b.mean() > a.mean() ? b : a;
    return b.mean() < a.mean() ? a : b;
}

Pixel smaller(const Pixel& a, const Pixel& b) {
    if (a.is_colour && !b.is_colour)
        return a.mean() < b.mean() ? a : b;
    if (b.is_colour && !a.is_colour)
        return b.mean() < a.mean() ? b : a;
    return b.mean() > a.mean() ? a : b;
}

void expect_combined(CImage* (CImage::*operation)(const CImage*) const, Combine combine,
                     const CImage& a, const CImage& b) {
    const ImagePtr out((a.*operation)(&b));
    ASSERT_TRUE(out);
    const int type = a.image_type | b.image_type;
    EXPECT_EQ(facts_of(*out), (Facts{form_of(a).of_type(type), ""}));
    const auto expected = samples_by(a.nrows, a.ncols, channels_of(*out), [&](int i, int j, int k) {
        return combine(pixel_of(a, i, j), pixel_of(b, i, j)).s[k];
    });
    EXPECT_TRUE(same_bits(samples_of(*out), expected));
}

TEST(Arithmetic, EveryPairOfTypesCombinesPixelByPixel) {
    for (const int a_type : {0, 1}) {
        for (const int b_type : {0, 1}) {
            // Whole numbers tie often; the others round.
            for (const bool whole : {false, true}) {
                const ImagePtr a = make_random(23, 19, a_type, 1, whole);
                const ImagePtr b = make_random(23, 19, b_type, 2, whole);
                a->file_format = 7;
                a->pixel_format = 5;
                a->mag_plane = make_2D_float_array(23, 19);
                b->pixels[0][0] = nan_value;
                b->pixels[1][0] = -0.0f;
                a->pixels[1][0] = 0.0f;
                a->pixels[2][0] = std::numeric_limits<float>::infinity();
                expect_combined(&CImage::Addseq, sum, *a, *b);
                expect_combined(&CImage::Multseq, product, *a, *b);
                expect_combined(&CImage::Maxseq, larger, *a, *b);
                expect_combined(&CImage::Minseq, smaller, *a, *b);
                expect_combined(&CImage::Maxseq, larger, *a, *a);
            }
        }
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
    for (const int a_type : {0, 1}) {
        for (const int b_type : {0, 1}) {
            const ImagePtr a = make_random(9, 11, a_type, 3);
            const ImagePtr b = make_random(9, 11, b_type, 4);
            for (int i = 0; i < 9; ++i)
                for (int j = 0; j < 11 * channels_of(*b); ++j)
                    if ((i + j) % 2)
                        b->pixels[i][j] = 0.0f;
            b->pixels[0][0] = -0.0f;
            b->pixels[0][1] = nan_value;
            b->pixels[0][2] = subnormal;
            b->pixels[0][3] = -3.0f;
            a->pixels[4][5] = 300.0f;
            a->pixels[4][10 * channels_of(*a)] = 400.0f; // past the first third of a colour row
            const int channels = channels_of(*a);
            float max = -1000000.0f;
            for (int i = 0; i < 9; ++i)
                for (int j = 0; j < 11; ++j)
                    max = std::fmax(max, a->pixels[i][j]);
            EXPECT_EQ(max, a_type == 1 ? 300.0f : 400.0f);
            std::vector<float> either, both;
            for (int i = 0; i < 9; ++i) {
                for (int j = 0; j < 11 * channels; ++j) {
                    const float mask = b->pixels[i][j / channels];
                    either.push_back(mask != 0.0f ? max : a->pixels[i][j]);
                    both.push_back(mask != 0.0f ? a->pixels[i][j] : 0.0f);
                }
            }
            const ImagePtr out_or(a->Orseq(b.get()));
            const ImagePtr out_and(a->Andseq(b.get()));
            ASSERT_TRUE(out_or && out_and);
            EXPECT_EQ(facts_of(*out_or), (Facts{form_of(*a).of_type(a_type), ""}));
            EXPECT_EQ(facts_of(*out_and), (Facts{form_of(*a).of_type(a_type), ""}));
            EXPECT_TRUE(same_bits(samples_of(*out_or), either));
            EXPECT_TRUE(same_bits(samples_of(*out_and), both));
        }
    }
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
