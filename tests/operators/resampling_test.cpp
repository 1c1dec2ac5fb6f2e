#include <algorithm>
#include <climits>
#include <cmath>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

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

TEST(Reduce, TakesMeansOfBlocks) {
    for (const int type : {0, 1}) {
        const int n = type == 1 ? 3 : 1;
        const ImagePtr image = make_with_planes(37, 41, type, 3);
        for (const auto& [factor, mode] : {std::pair(1, 1), {2, 0}, {2, 2}, {3, 1}, {9, 1}}) {
            const ImagePtr out(image->Reduce(factor, mode));
            ASSERT_TRUE(out);
            const ImagePtr block(image->Extract(factor, 2 * factor, factor, factor)); // [1][2]
            for (int k = 0; k < n; ++k) {
                double sum = 0.0;
                for (int i = 0; i < factor; ++i)
                    for (int j = 0; j < factor; ++j)
                        sum += block->pixels[i][n * j + k];
                EXPECT_EQ(out->pixels[1][n * 2 + k], static_cast<float>(sum / (factor * factor)));
            }
            const auto mag = samples_of(out->mag_plane, out->nrows, out->ncols);
            EXPECT_EQ(*std::min_element(mag.begin(), mag.end()), 0.0f); // it is stretched
            EXPECT_EQ(*std::max_element(mag.begin(), mag.end()), 1.0f);
        }
    }
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

// Between pixels of a plane of any slope lies that plane.
TEST(Enlarge, KeepsSlopesUpToTheLastPixel) {
    const auto plane = [](double i, double j, int k) { return 4.0 * i - 2.5 * j + 9.0 * k; };
    const ImagePtr image =
        make_colour(5, 9, [&](int i, int j, int k) { return static_cast<float>(plane(i, j, k)); });
    for (const int factor : {1, 2, 3, 4, 5, 6, 7, 8}) {
        const ImagePtr out(image->Enlarge(factor, 1));
        const ImagePtr repeated(image->Enlarge(factor, 2));
        for (int i = 0; i < 5 * factor; ++i)
            for (int j = 0; j < 9 * factor; ++j)
                for (int k = 0; k < 3; ++k) {
                    const double row = std::min(static_cast<double>(i) / factor, 4.0);
                    const double col = std::min(static_cast<double>(j) / factor, 8.0);
                    EXPECT_NEAR(out->pixels[i][3 * j + k], plane(row, col, k), 1e-5);
                    EXPECT_EQ(repeated->pixels[i][3 * j + k],
                              image->pixels[i / factor][j / factor * 3 + k]);
                }
    }
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
