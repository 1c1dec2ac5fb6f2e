#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

ImagePtr blank(int rows, int cols, int type) {
    return std::make_unique<CImage>(rows, cols, type, 1, 4);
}

void plot(CImage& image, int row, int col, float value) {
    if (row >= 0 && row < image.nrows && col >= 0 && col < image.ncols)
        image.SetPixel(row, col, value);
}

bool same_image(const CImage& a, const CImage& b) {
    return same_bits(samples_of(a), samples_of(b));
}

int count_of(const CImage& image, float value) {
    int count = 0;
    for (const float s : samples_of(image))
        count += s == value;
    return count;
}

TEST(DrawLine, PlotsThePointsOfTheDigitalLineThatLieInTheImage) {
    std::mt19937 random(3);
    const auto next = [&] { return static_cast<int>(random() % 71) - 25; };
    for (int k = 0; k < 4000; ++k) {
        const int rows = 1 + static_cast<int>(random() % 20);
        const int cols = 1 + static_cast<int>(random() % 20);
        const int r1 = next(), c1 = next(), r2 = k % 7 ? next() : r1, c2 = k % 5 ? next() : c1;
        const ImagePtr drawn = blank(rows, cols, k % 2);
        const ImagePtr expected = blank(rows, cols, k % 2);
        drawn->DrawLine(r1, c1, r2, c2, 9.0f);
        int line_rows[100], line_cols[100], count;
        digiline(r1, c1, r2, c2, line_rows, line_cols, &count);
        for (int p = 0; p < count; ++p)
            plot(*expected, line_rows[p], line_cols[p], 9.0f);
        ASSERT_TRUE(same_image(*drawn, *expected)) << r1 << ' ' << c1 << ' ' << r2 << ' ' << c2;
    }
}

TEST(DrawLine, CrossesAnImageFromTheEndsOfAnInt) {
    const ImagePtr diagonal = blank(50, 40, 0);
    diagonal->DrawLine(INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1.0f);
    EXPECT_EQ(count_of(*diagonal, 1.0f), 40);
    EXPECT_EQ(diagonal->pixels[39][39], 1.0f);
    diagonal->DrawLine(INT_MAX, INT_MIN, INT_MIN, INT_MAX, 2.0f); // misses (0, 0) by one
    EXPECT_EQ(diagonal->pixels[0][0], 1.0f);

    // Half of 20 columns after half of two thousand million rows.
    const ImagePtr steep = blank(3, 21, 0);
    steep->DrawLine(-1000000000, 0, 1000000000, 20, 1.0f);
    EXPECT_EQ(count_of(*steep, 1.0f), 3);
    EXPECT_EQ(steep->pixels[0][10], 1.0f);
    const ImagePtr outside = blank(3, 3, 0);
    outside->DrawLine(-5, 100, 2000000000, 101, 1.0f);
    outside->DrawLine(INT_MIN, INT_MAX, INT_MIN, INT_MAX, 1.0f);
    EXPECT_EQ(count_of(*outside, 1.0f), 0);
}

TEST(DrawCross, HasFourArmsThatAreClipped) {
    for (const int half : {0, 1, 4, 7, -4, INT_MAX, INT_MIN}) {
        const ImagePtr drawn = blank(9, 12, 1);
        const ImagePtr expected = blank(9, 12, 1);
        drawn->DrawCross(3, 10, 5.0f, half);
        for (int i = 0; i < 9; ++i)
            for (int j = 0; j < 12; ++j)
                if ((j == 10 && std::abs(i - 3) <= std::abs(std::int64_t{half})) ||
                    (i == 3 && std::abs(j - 10) <= std::abs(std::int64_t{half})))
                    expected->SetPixel(i, j, 5.0f);
        EXPECT_TRUE(same_image(*drawn, *expected)) << half;
    }
    const ImagePtr far = blank(4, 4, 0);
    far->DrawCross(INT_MAX, INT_MIN, 1.0f, INT_MAX);
    far->DrawCross(2, INT_MAX, 1.0f, INT_MAX); // its arm ends at column 0
    EXPECT_EQ(count_of(*far, 1.0f), 4);
}

TEST(DrawCircle, PlotsOnePointADegree) {
    const auto nearest = [](double v) { return static_cast<int>(v >= 0 ? v + 0.5 : v - 0.5); };
    for (const int type : {0, 1}) {
        for (const float radius : {0.0f, 0.5f, 3.0f, -3.0f, 11.5f, 70.0f}) {
            for (const int row : {0, 4, 20, -9}) {
                const ImagePtr drawn = blank(21, 25, type);
                const ImagePtr expected = blank(21, 25, type);
                drawn->DrawCircle(row, 7, radius, 3.0f);
                for (int d = 0; d < 360; ++d) {
                    const double a = d * double{0.017453292f};
                    plot(*expected, nearest(row + radius * std::cos(a)),
                         nearest(7 + radius * std::sin(a)), 3.0f);
                }
                EXPECT_TRUE(same_image(*drawn, *expected));
            }
        }
    }
    const ImagePtr untouched = blank(3, 3, 0);
    for (const float radius : {nan_value, infinity, -infinity, 3.0e38f})
        untouched->DrawCircle(1, 1, radius, 1.0f);
    EXPECT_EQ(count_of(*untouched, 1.0f), 0);
}

bool pixel_is(const CImage& image, int i, int j, float value) {
    const float* const p = image.pixels[i] + channels_of(image) * j;
    return std::all_of(p, p + channels_of(image), [value](float s) { return s == value; });
}

void fill_plainly(CImage& image, int row, int col, float fill, float boundary) {
    std::vector<std::pair<int, int>> pending = {{row, col}};
    while (!pending.empty()) {
        const auto [i, j] = pending.back();
        pending.pop_back();
        if (i < 0 || i >= image.nrows || j < 0 || j >= image.ncols || pixel_is(image, i, j, fill) ||
            pixel_is(image, i, j, boundary))
            continue;
        image.SetPixel(i, j, fill);
        for (const auto& next : {std::pair(i - 1, j), {i + 1, j}, {i, j - 1}, {i, j + 1}})
            pending.push_back(next);
    }
}

TEST(FillObject, EqualsThePlainFill) {
    std::mt19937 random(8);
    for (int k = 0; k < 1500; ++k) {
        const int rows = 1 + static_cast<int>(random() % 17);
        const int cols = 1 + static_cast<int>(random() % 17);
        const ImagePtr image = blank(rows, cols, k % 2);
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols * (k % 2 ? 3 : 1); ++j)
                image->pixels[i][j] = static_cast<float>(random() % 100 < 60);
        if (k % 2)
            image->pixels[0][0] = nan_value;
        const ImagePtr expected = std::make_unique<CImage>(*image);
        const int row = static_cast<int>(random() % static_cast<unsigned>(rows));
        const int col = static_cast<int>(random() % static_cast<unsigned>(cols));
        const float fill = k % 3 ? 2.0f : 1.0f;
        image->FillObject(row, col, fill, 0.0f);
        fill_plainly(*expected, row, col, fill, 0.0f);
        ASSERT_TRUE(same_image(*image, *expected)) << k;
    }
}

TEST(FillObject, BearsLongWindingRegions) {
    // A corridor that folds up and down through the whole image.
    const ImagePtr image = make_gray(1001, 1001, [](int i, int j) {
        return j % 2 && i != (j % 4 == 1 ? 1000 : 0) ? 1.0f : 0.0f;
    });
    const int wall = count_of(*image, 1.0f);
    image->FillObject(0, 0, 2.0f, 1.0f);
    EXPECT_EQ(count_of(*image, 2.0f), 1001 * 1001 - wall);
    EXPECT_EQ(count_of(*image, 1.0f), wall);
}

TEST(FillObject, StartsThatFillNothing) {
    const ImagePtr image = make_random(5, 6, 0, 4, true);
    const std::vector<float> before = samples_of(*image);
    for (const auto& [row, col] : {std::pair(-1, 0), {5, 0}, {0, -1}, {0, 6}, {INT_MIN, INT_MAX}})
        image->FillObject(row, col, 7.0f, 8.0f);
    image->FillObject(2, 2, image->pixels[2][2], 999.0f);
    image->FillObject(2, 2, 999.0f, image->pixels[2][2]);
    image->FillObject(2, 2, nan_value, 999.0f); // would never hold what it has filled
    EXPECT_TRUE(same_bits(samples_of(*image), before));
    image->FillObject(2, 2, 7.0f, nan_value);
    EXPECT_EQ(count_of(*image, 7.0f), 30);
}

TEST(FillConvexObject, FillsEachRowBetweenItsMarks) {
    std::mt19937 random(9);
    for (const int type : {0, 1}) {
        const ImagePtr image = blank(40, 9, type);
        const ImagePtr expected = blank(40, 9, type);
        for (int i = 0; i < 40; ++i) {
            int first = -1;
            int last = -1;
            for (int j = 0; j < 9; ++j) {
                const float value = random() % 4 ? 1.0f : 5.0f;
                image->SetPixel(i, j, value);
                expected->SetPixel(i, j, value);
                if (value == 5.0f) {
                    first = first < 0 ? j : first;
                    last = j;
                }
            }
            for (int j = first + 1; j < last; ++j)
                expected->SetPixel(i, j, 5.0f);
        }
        image->FillConvexObject(5.0f);
        EXPECT_TRUE(same_image(*image, *expected));
    }
}

} // namespace
