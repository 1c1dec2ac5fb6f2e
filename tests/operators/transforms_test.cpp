#include <climits>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

// A bilinear sample, with the position as the caller has rounded it.
float sample(const CImage& image, double y, double x, int iy, int ix, double fy, double fx, int k) {
    if (y < 0 || !(y < image.nrows - 1) || x < 0 || !(x < image.ncols - 1))
        return 0.0f;
    const int n = channels_of(image);
    const float* const upper = image.pixels[iy] + n * ix + k;
    const float* const lower = image.pixels[iy + 1] + n * ix + k;
    return static_cast<float>((1 - fy) * (1 - fx) * upper[0] + (1 - fy) * fx * upper[n] +
                              (1 - fx) * fy * lower[0] + fx * fy * lower[n]);
}

std::vector<float> rotated(const CImage& image, int degrees) {
    const auto theta = static_cast<float>(degrees * double{-0.017453292f});
    const double c = std::cos(double{theta});
    const double s = std::sin(double{theta});
    const int hr = image.nrows / 2;
    const int hc = image.ncols / 2;
    return samples_by(image.nrows, image.ncols, channels_of(image), [&](int row, int col, int k) {
        const double dr = row - hr;
        const double dc = col - hc;
        const auto y = static_cast<float>(dr * c - dc * s + hr);
        const auto x = static_cast<float>(dr * s + dc * c + hc);
        const int iy = static_cast<int>(y);
        const int ix = static_cast<int>(x);
        const auto fy = static_cast<float>(y - static_cast<float>(iy));
        const auto fx = static_cast<float>(x - static_cast<float>(ix));
        return sample(image, y, x, iy, ix, fy, fx, k);
    });
}

std::vector<float> scaled(const CImage& image, int rows, int cols, float row_factor,
                          float col_factor) {
    return samples_by(rows, cols, channels_of(image), [&](int r, int c, int k) {
        const double y = r / double{row_factor};
        const double quotient = c / double{col_factor};
        const auto x = static_cast<float>(quotient);
        const int ix = static_cast<int>(quotient);
        const auto fx = static_cast<float>(double{x} - ix);
        return sample(image, y, x, static_cast<int>(y), ix, y - static_cast<int>(y), fx, k);
    });
}

std::vector<float> translated(const CImage& image, int row_shift, int col_shift) {
    const int n = channels_of(image);
    return samples_by(image.nrows, image.ncols, n, [&](int r, int c, int k) {
        const std::int64_t i = std::int64_t{r} - row_shift;
        const std::int64_t j = std::int64_t{c} - col_shift;
        const bool inside = i >= 0 && i < image.nrows && j >= 0 && j < image.ncols;
        return inside ? image.pixels[i][n * j + k] : 0.0f;
    });
}

void expect_image(const CImage* out, const CImage& source, int rows, int cols,
                  const std::vector<float>& expected) {
    const ImagePtr owned(const_cast<CImage*>(out));
    ASSERT_TRUE(out);
    EXPECT_EQ(facts_of(*out), (Facts{vorlane::form_of(source).of_size(rows, cols), ""}));
    EXPECT_TRUE(same_bits(samples_of(*out), expected));
}

const std::pair<int, int> sizes[] = {{31, 47}, {40, 36}, {2, 300}, {17, 2}, {1, 9}, {9, 1}, {1, 1}};

TEST(Translate, MovesPixelsAndClearsTheRest) {
    for (const int type : {0, 1}) {
        const ImagePtr image = make_random(7, 9, type, 1);
        for (const int rows : {0, 1, -1, 6, -6, 7, -7, INT_MAX, INT_MIN})
            for (const int cols : {0, 2, -2, 8, -8, 9, -9, INT_MAX, INT_MIN})
                expect_image(image->Translate(rows, cols), *image, 7, 9,
                             translated(*image, rows, cols));
    }
}

TEST(Rotate, EqualsThePlainLoop) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const auto& [rows, cols] : sizes) {
                ImagePtr image = make_random(rows, cols, type, 2);
                image->pixels[rows / 2][0] = std::numeric_limits<float>::infinity();
                for (const int degrees :
                     {0, 30, 45, 90, -90, 133, 180, 270, 359, 360, 100000, INT_MAX, INT_MIN})
                    expect_image(image->Rotate(degrees), *image, rows, cols,
                                 rotated(*image, degrees));
            }
        }
    });
}

TEST(Rotate, KeepsItsDirectionAndLosesBorders) {
    const ImagePtr image = make_random(8, 8, 0, 3, true);
    const ImagePtr same(image->Rotate(0));
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j)
            EXPECT_EQ(same->pixels[i][j], i < 7 && j < 7 ? image->pixels[i][j] : 0.0f);
    const ImagePtr corner = make_gray(9, 9, [](int i, int j) { return i < 3 && j > 5 ? 9.0f : 0; });
    EXPECT_NEAR(ImagePtr(corner->Rotate(90))->pixels[1][1], 9.0f, 1e-3f);
}

TEST(Scale, EqualsThePlainLoop) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const auto& [rows, cols] : sizes) {
                const ImagePtr image = make_random(rows, cols, type, 4);
                for (const auto& [fr, fc] :
                     {std::pair(1.0f, 0.0f), std::pair(2.0f, 2.0f), std::pair(0.5f, 0.0f),
                      std::pair(0.7f, 1.3f), std::pair(3.1f, 0.1f), std::pair(0.01f, 1.0f),
                      std::pair(0.0f, 1.5f), std::pair(0.1f, 6.9f)}) {
                    const float used = fc == 0.0f ? fr : fc;
                    const int r = static_cast<int>(rows * double{fr});
                    const int c = static_cast<int>(cols * double{used});
                    expect_image(image->Scale(fr, fc), *image, r, c,
                                 scaled(*image, r, c, fr, used));
                }
                for (const auto& [r, c] : {std::pair(rows, cols), std::pair(2 * rows + 1, 100),
                                           std::pair(3, 7), std::pair(0, 5), std::pair(5, 0)}) {
                    const auto fr = static_cast<float>(static_cast<double>(r) / rows);
                    const auto fc = static_cast<float>(static_cast<double>(c) / cols);
                    expect_image(image->Scale(r, c), *image, r, c, scaled(*image, r, c, fr, fc));
                }
            }
        }
    });
}

TEST(Scale, SizesTruncateAndFractionsReachOne) {
    const ImagePtr image = make_random(10, 10, 0, 5);
    EXPECT_EQ(ImagePtr(image->Scale(0.7f, 0.0f))->nrows, 6);
    // 3 / 0.3f lies just below 10 and rounds to the float 10: all of pixel 10 and nothing of
    // pixel 9.
    const ImagePtr row = make_gray(
        2, 20, [](int, int j) { return j == 9 ? std::numeric_limits<float>::infinity() : 1.0f; });
    const ImagePtr out(row->Scale(1.0f, 0.3f));
    EXPECT_TRUE(std::isnan(out->pixels[0][3]));
    row->pixels[0][9] = row->pixels[1][9] = 7.0f;
    EXPECT_EQ(ImagePtr(row->Scale(1.0f, 0.3f))->pixels[0][3], 1.0f);
}

TEST(Scale, RefusesSizesWithoutMeaning) {
    const ImagePtr image = make_random(10, 10, 1, 5);
    const float nan_factor = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    EXPECT_EQ(image->Scale(-1.0f, 1.0f), nullptr);
    EXPECT_EQ(image->Scale(-0.01f, 1.0f), nullptr);
    EXPECT_EQ(image->Scale(1.0f, -1.0f), nullptr);
    EXPECT_EQ(image->Scale(nan_factor, 1.0f), nullptr);
    EXPECT_EQ(image->Scale(1.0f, nan_factor), nullptr);
    EXPECT_EQ(image->Scale(infinite, 1.0f), nullptr);
    EXPECT_EQ(image->Scale(1.0e9f, 1.0f), nullptr);
    EXPECT_EQ(image->Scale(-1, 1), nullptr);
    EXPECT_EQ(image->Scale(1, -1), nullptr);
    EXPECT_EQ(CImage(0, 3, 0, 1, 4).Scale(3, 3), nullptr);
}

} // namespace
