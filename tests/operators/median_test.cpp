#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

// A sort for each pixel, as documented.
std::vector<float> medians_of(const CImage& image, int size) {
    const int n = channels_of(image);
    const int half = size / 2;
    std::vector<float> window;
    return samples_by(image.nrows, image.ncols, n, [&](int r, int c, int k) {
        window.clear();
        for (int a = half - size + 1; a <= half; ++a)
            for (int b = half - size + 1; b <= half; ++b)
                window.push_back(image.pixels[std::clamp(r + a, 0, image.nrows - 1)]
                                             [n * std::clamp(c + b, 0, image.ncols - 1) + k]);
        const auto middle = window.begin() + size * size / 2;
        std::nth_element(window.begin(), middle, window.end(),
                         [](float a, float b) { return rank_float_increasing(&a, &b) < 0; });
        return *middle;
    });
}

void expect_medians(const CImage& image, int size) {
    const ImagePtr out(image.Median(size));
    ASSERT_TRUE(out);
    EXPECT_TRUE(same_bits(samples_of(*out), medians_of(image, size)))
        << image.nrows << 'x' << image.ncols << " type " << image.image_type << " size " << size;
}

TEST(Median, EqualsASortForEachPixel) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            // Several tiles of a row, tails, windows larger than the image.
            for (const auto& [rows, cols] : {std::pair(7, 431), std::pair(13, 37), std::pair(5, 3),
                                             std::pair(1, 9), std::pair(6, 1), std::pair(1, 1)}) {
                const ImagePtr image = make_random(rows, cols, type, 3, cols % 2 == 0);
                image->pixels[rows / 2][0] = -std::numeric_limits<float>::infinity();
                image->pixels[0][cols / 2] = 1.0e30f;
                for (int size = 1; size <= 12; ++size)
                    expect_medians(*image, size);
                expect_medians(*image, 17);
                expect_medians(*image, 20);
            }
        }
    });
}

TEST(Median, BlocksOfRanksMeet) {
    with_each_instruction_set([] {
        // Few values, so that most ranks tie, and signs.
        const ImagePtr image = make_gray(150, 141, [](int i, int j) {
            return static_cast<float>((i * 7919 + j * 104729 + i * j) % 23 - 11);
        });
        expect_medians(*image, 11);
        expect_medians(*image, 26);
        // The last size by blocks and the first one beyond.
        const ImagePtr small = make_random(5, 70, 0, 9);
        expect_medians(*small, 117);
        expect_medians(*small, 118);
    });
    expect_medians(*make_random(70, 67, 0, 9), 75);
}

TEST(Median, HugeWindowsAndSizesWithoutMeaning) {
    const ImagePtr image =
        make_gray(2, 3, [](int i, int j) { return static_cast<float>(3 * i + j); });
    // Past the borders the two corners fill all but nothing of the window.
    const ImagePtr out(image->Median(INT_MAX));
    ASSERT_TRUE(out);
    for (const float s : samples_of(*out))
        EXPECT_TRUE(s >= 0.0f && s <= 5.0f);
    EXPECT_EQ(image->Median(0), nullptr);
    EXPECT_EQ(image->Median(-3), nullptr);
}

// They stand above all else, wherever they are and whatever their sign.
TEST(Median, NotANumbersHaveARank) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const unsigned rarity : {200u, 5u, 2u, 1u}) {
                const ImagePtr image = make_random(25, 61, type, rarity);
                std::mt19937 random(rarity);
                constexpr float infinity = std::numeric_limits<float>::infinity();
                const float extremes[] = {NAN, -NAN, NAN, infinity, -infinity, NAN};
                for (int i = 0; i < 25; ++i)
                    for (int j = 0; j < 61 * channels_of(*image); ++j)
                        if (random() % rarity == 0)
                            image->pixels[i][j] = extremes[random() % 6];
                for (const int size : {2, 3, 4, 5, 9, 10, 13})
                    expect_medians(*image, size);
            }
        }
    });
}

} // namespace
