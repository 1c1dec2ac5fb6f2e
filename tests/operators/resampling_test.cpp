#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

ImagePtr make_with_planes(int rows, int cols, int type, unsigned seed) {
    ImagePtr image = make_random(rows, cols, type, seed);
    image->mag_plane = make_2D_float_array(rows, cols);
    image->dir_plane = make_2D_float_array(rows, cols);
    image->scale_plane = make_2D_float_array(rows, cols);
    const ImagePtr mag = make_random(rows, cols, 0, seed + 1);
    const ImagePtr dir = make_random(rows, cols, 0, seed + 2);
    for (int i = 0; i < rows; ++i) {
        std::copy_n(mag->pixels[i], cols, image->mag_plane[i]);
        std::copy_n(dir->pixels[i], cols, image->dir_plane[i]);
    }
    return image;
}

std::vector<float> reduced(const float* const* plane, int rows, int cols, int channels, int factor,
                           int mode) {
    static const float mask[3][3] = {{0, 1, 0}, {1, 2, 1}, {0, 1, 0}};
    return samples_by(rows / factor, cols / factor, channels, [&](int i, int j, int k) {
        double sum = 0.0;
        if (factor == 2 && mode == 1) {
            for (int a = -1; a <= 1; ++a)
                for (int b = -1; b <= 1; ++b)
                    sum += double{mask[a + 1][b + 1]} *
                           plane[std::abs(2 * i + a)][channels * std::abs(2 * j + b) + k];
            return static_cast<float>(sum * double{0.16666667f});
        }
        for (int a = 0; a < factor; ++a)
            for (int b = 0; b < factor; ++b)
                sum += plane[i * factor + a][channels * (j * factor + b) + k];
        return static_cast<float>(sum / (factor * factor));
    });
}

std::vector<float> enlarged(const CImage& image, int factor, int mode) {
    const int n = channels_of(image);
    const int f = factor;
    return samples_by(image.nrows * f, image.ncols * f, n, [&](int row, int col, int k) {
        const int i = row / f, j = col / f, a = row % f, b = col % f;
        const int below = i + 1 < image.nrows ? i + 1 : i;
        const int right = j + 1 < image.ncols ? j + 1 : j;
        const double P = image.pixels[i][n * j + k];
        const double R = image.pixels[i][n * right + k];
        const double B = image.pixels[below][n * j + k];
        const double D = image.pixels[below][n * right + k];
        const double sum =
            D * (a * b) + B * (a * (f - b)) + R * ((f - a) * b) + P * ((f - a) * (f - b));
        return static_cast<float>(mode == 1 ? sum / (f * f) : P);
    });
}

TEST(Extract, CutsPixelsAndEdgePlanes) {
    for (const int type : {0, 1}) {
        const ImagePtr image = make_with_planes(9, 13, type, 1);
        const int n = channels_of(*image);
        const ImagePtr part(image->Extract(2, 5, 6, 7));
        ASSERT_TRUE(part);
        for (int i = 0; i < 6; ++i) {
            for (int j = 0; j < 7 * n; ++j)
                EXPECT_EQ(part->pixels[i][j], image->pixels[2 + i][5 * n + j]);
            for (int j = 0; j < 7; ++j) {
                EXPECT_EQ(part->mag_plane[i][j], image->mag_plane[2 + i][5 + j]);
                EXPECT_EQ(part->dir_plane[i][j], image->dir_plane[2 + i][5 + j]);
            }
        }
    }
    const ImagePtr image = make_random(9, 13, 0, 1);
    EXPECT_EQ(samples_of(*ImagePtr(image->Extract(0, 0, 9, 13))), samples_of(*image));
    const ImagePtr empty(image->Extract(9, 0, 0, 13));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->nrows, 0);
    EXPECT_NE(empty->pixels, nullptr);
    EXPECT_EQ(empty->mag_plane, nullptr);
}

TEST(Extract, RefusesWhatLeavesTheImage) {
    const ImagePtr image = make_random(9, 13, 0, 1);
    const int outside[][4] = {
        {-1, 0, 3, 3},      {0, -1, 3, 3},      {0, 0, 10, 3},           {0, 0, 3, 14},
        {7, 0, 3, 3},       {0, 11, 3, 3},      {0, 0, -1, 3},           {0, 0, 3, -1},
        {1, 1, INT_MAX, 1}, {1, 1, 1, INT_MAX}, {INT_MAX, INT_MAX, 1, 1}};
    for (const auto& r : outside)
        EXPECT_EQ(image->Extract(r[0], r[1], r[2], r[3]), nullptr);
    EXPECT_EQ(CImage(4, 4, 2, 0, 0).Extract(0, 0, 2, 2), nullptr);
}

TEST(Reduce, EqualsThePlainLoops) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const auto& size : {std::pair(37, 41), std::pair(16, 70), std::pair(5, 3)}) {
                const ImagePtr image = make_with_planes(size.first, size.second, type, 3);
                image->pixels[2][1] = infinity;
                for (const auto& [factor, mode] :
                     {std::pair(1, 1), std::pair(2, 0), std::pair(2, 1), std::pair(2, 2),
                      std::pair(3, 1), std::pair(4, 0), std::pair(5, 1)}) {
                    const ImagePtr out(image->Reduce(factor, mode));
                    ASSERT_TRUE(out);
                    const int rows = size.first / factor;
                    const int cols = size.second / factor;
                    const auto plain = [&, factor = factor, mode = mode](float** plane,
                                                                         int channels) {
                        return reduced(plane, size.first, size.second, channels, factor, mode);
                    };
                    EXPECT_TRUE(
                        same_bits(samples_of(*out), plain(image->pixels, channels_of(*image))));
                    EXPECT_TRUE(same_bits(samples_of(out->dir_plane, rows, cols),
                                          plain(image->dir_plane, 1)));
                    std::vector<float> mag = plain(image->mag_plane, 1);
                    if (mag.size() < 2)
                        continue;
                    const double min = *std::min_element(mag.begin(), mag.end());
                    const double max = *std::max_element(mag.begin(), mag.end());
                    for (float& v : mag)
                        v = static_cast<float>((v - min) / (max - min));
                    EXPECT_TRUE(same_bits(samples_of(out->mag_plane, rows, cols), mag));
                }
            }
        }
    });
}

TEST(Reduce, FilterReflectsAtTheFirstRowOnly) {
    const ImagePtr ramp =
        make_gray(5, 2, [](int i, int) { return static_cast<float>(std::pow(10, i)); });
    const ImagePtr out(ramp->Reduce(2, 1));
    ASSERT_TRUE(out);
    ASSERT_EQ(out->nrows, 2);
    EXPECT_EQ(out->pixels[0][0], static_cast<float>(24.0 * double{0.16666667f}));
    EXPECT_EQ(out->pixels[1][0], static_cast<float>((10 + 400 + 1000) * double{0.16666667f}));
}

TEST(Reduce, PlanesWithoutRangeAndFactorsWithoutMeaning) {
    const ImagePtr image = make_random(4, 6, 0, 1);
    image->mag_plane = make_2D_float_array(4, 6);
    for (int i = 0; i < 4; ++i)
        std::fill_n(image->mag_plane[i], 6, 3.0f);
    const ImagePtr out(image->Reduce(2, 0));
    ASSERT_TRUE(out);
    EXPECT_EQ(samples_of(out->mag_plane, 2, 3), std::vector<float>(6, 0.0f));

    const ImagePtr none(image->Reduce(5, 0));
    ASSERT_TRUE(none);
    EXPECT_EQ(none->nrows, 0);
    EXPECT_EQ(none->ncols, 1);
    EXPECT_TRUE(ImagePtr(image->Reduce(INT_MAX, 1)));
    EXPECT_EQ(image->Reduce(0, 1), nullptr);
    EXPECT_EQ(image->Reduce(-2, 1), nullptr);

    // A plane of another size than the image's isn't the image's.
    image->nrows = 2;
    image->ncols = 5;
    free_2D_float_array(image->mag_plane);
    image->mag_plane = make_2D_float_array(1, 5);
    EXPECT_EQ(ImagePtr(image->Reduce(2, 0))->mag_plane, nullptr);
    EXPECT_EQ(ImagePtr(image->Extract(0, 0, 2, 2))->mag_plane, nullptr);
}

TEST(Enlarge, EqualsThePlainLoops) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const auto& size : {std::pair(7, 41), std::pair(1, 9), std::pair(6, 1),
                                     std::pair(2, 33), std::pair(1, 1)}) {
                const ImagePtr image = make_with_planes(size.first, size.second, type, 5);
                for (const int factor : {1, 2, 3, 4, 7}) {
                    for (const int mode : {0, 1, 2}) {
                        const ImagePtr out(image->Enlarge(factor, mode));
                        ASSERT_TRUE(out);
                        EXPECT_TRUE(same_bits(samples_of(*out), enlarged(*image, factor, mode)));
                    }
                }
            }
        }
    });
}

TEST(Enlarge, RepeatsTheLastPixelAndRefusesWhatDoesNotFit) {
    const ImagePtr pair = make_gray(1, 2, [](int, int j) { return j == 0 ? 10.0f : 20.0f; });
    const ImagePtr out(pair->Enlarge(2, 1));
    const std::vector<float> row = {10.0f, 15.0f, 20.0f, 20.0f};
    EXPECT_EQ(samples_of(out->pixels, 1, 4), row);
    EXPECT_EQ(samples_of(out->pixels + 1, 1, 4), row);
    EXPECT_EQ(pair->Enlarge(0, 0), nullptr);
    EXPECT_EQ(pair->Enlarge(-1, 1), nullptr);
    EXPECT_EQ(pair->Enlarge(INT_MAX, 1), nullptr);
    EXPECT_EQ(pair->Enlarge(INT_MAX / 2, 1), nullptr);
    const ImagePtr empty(CImage(0, 0, 0, 1, 4).Enlarge(INT_MAX, 1));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->nrows, 0);
}

} // namespace
