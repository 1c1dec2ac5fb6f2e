#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

// A sort for each pixel, as documented.
std::vector<float> medians_of(const CImage& image, int size) {
    const int n = image.image_type == 1 ? 3 : 1;
    const int half = size / 2;
    std::vector<float> out;
    std::vector<float> window;
    for (int r = 0; r < image.nrows; ++r) {
        for (int c = 0; c < image.ncols; ++c) {
            for (int k = 0; k < n; ++k) {
                window.clear();
                for (int a = half - size + 1; a <= half; ++a)
                    for (int b = half - size + 1; b <= half; ++b)
                        window.push_back(
                            image.pixels[std::clamp(r + a, 0, image.nrows - 1)]
                                        [n * std::clamp(c + b, 0, image.ncols - 1) + k]);
                const auto middle = window.begin() + size * size / 2;
                std::nth_element(window.begin(), middle, window.end());
                out.push_back(*middle);
            }
        }
    }
    return out;
}

void expect_medians(const CImage& image, int size) {
    const ImagePtr out(image.Median(size));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->nrows, image.nrows);
    EXPECT_EQ(out->ncols, image.ncols);
    EXPECT_EQ(out->image_type, image.image_type);
    EXPECT_EQ(out->file_format, image.file_format);
    EXPECT_EQ(out->pixel_format, image.pixel_format);
    EXPECT_EQ(out->mag_plane, nullptr);
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
                image->mag_plane = make_2D_float_array(rows, cols);
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
    EXPECT_EQ(CImage().Median(3), nullptr);
}

TEST(Median, NotANumbersAreHarmless) {
    const float nan_value = std::numeric_limits<float>::quiet_NaN();
    ImagePtr image = make_random(40, 50, 0, 2);
    for (int i = 0; i < 40; ++i)
        for (int j = i % 3; j < 50; j += 3)
            image->pixels[i][j] = i % 2 ? nan_value : -nan_value;
    for (const int size : {2, 3, 5, 9, 13, 101}) {
        const ImagePtr out(image->Median(size));
        ASSERT_TRUE(out);
        for (const float s : samples_of(*out))
            EXPECT_TRUE(std::isnan(s) || (s >= 0.0f && s < 256.0f));
    }
}

} // namespace
