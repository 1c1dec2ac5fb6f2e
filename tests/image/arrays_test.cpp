#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <vorlane/image/arrays.h>
#include <vorlane/image/plane.h>

namespace {

using namespace vorlane;

TEST(Plane, IsZeroAlignedAndItsOwn) {
    for (const auto& [rows, cols] :
         {std::pair{1, 1}, std::pair{7, 5}, std::pair{3, 1000}, std::pair{600, 3000}}) {
        const Plane plane(make_2D_float_array(rows, cols));
        ASSERT_TRUE(plane);
        for (int i = 0; i < rows; ++i) {
            float* const row = plane.get()[i];
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(row) % 64, 0u);
            EXPECT_TRUE(std::all_of(row, row + cols, [](float v) { return v == 0.0f; }));
            std::fill(row, row + cols, static_cast<float>(i + 1));
        }
        for (int i = 0; i < rows; ++i)
            EXPECT_TRUE(std::all_of(plane.get()[i], plane.get()[i] + cols,
                                    [i](float v) { return v == static_cast<float>(i + 1); }));
    }
}

TEST(Plane, SizesWithoutAPlane) {
    EXPECT_EQ(make_2D_float_array(-1, 5), nullptr);
    EXPECT_EQ(make_2D_float_array(5, -1), nullptr);
    EXPECT_EQ(make_2D_float_array(INT_MIN, INT_MIN), nullptr);
    EXPECT_EQ(make_2D_float_array(INT_MAX, INT_MAX), nullptr);
    EXPECT_EQ(make_2D_float_array(1 << 20, 1 << 20), nullptr); // 4 TiB
    for (const auto& [rows, cols] : {std::pair{0, 0}, std::pair{0, 9}, std::pair{9, 0}}) {
        const Plane plane(make_2D_float_array(rows, cols));
        EXPECT_TRUE(plane);
    }
    free_2D_float_array(nullptr);
}

// A view reads and writes where the samples stand, forwards and backwards, and leaves them behind.
TEST(Plane, ViewsStandOnOtherMemory) {
    std::vector<float> samples = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    {
        const Plane view(make_2D_float_view(samples.data() + 9, 4, 2, -3));
        ASSERT_TRUE(plane_holds(view.get(), 4, 2));
        EXPECT_FALSE(plane_holds(view.get(), 4, 3));
        EXPECT_EQ(view.get()[0][1], 10.0f);
        EXPECT_EQ(view.get()[3][1], 1.0f);
        view.get()[3][0] = 20.0f;
    }
    EXPECT_EQ(samples[0], 20.0f);
    EXPECT_EQ(make_2D_float_view(samples.data(), -1, 2, 2), nullptr);
    EXPECT_EQ(make_2D_float_view(samples.data(), 2, -1, 2), nullptr);
}

// Blocks are shared, planes are not; they may go in any order.
TEST(Plane, StackHandsOutPlanesOfTheirOwn) {
    constexpr int rows = 300, cols = 7000,
                  count = 9; // 8 MB each: several to a block, several blocks
    PlaneStack stack(rows, cols, Fill::zeros, count);
    std::vector<Plane> planes;
    for (int k = 0; k < count; ++k) {
        planes.push_back(stack.next());
        ASSERT_TRUE(plane_holds(planes.back().get(), rows, cols));
        for (int i = 0; i < rows; ++i) {
            float* const row = planes.back().get()[i];
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(row) % 64, 0u);
            ASSERT_EQ(row[0] + row[cols - 1], 0.0f);
            std::fill(row, row + cols, static_cast<float>(k));
        }
    }
    EXPECT_THROW(stack.next(), std::bad_alloc);
    for (const int k : {4, 0, 8, 3})
        planes[static_cast<std::size_t>(k)] = Plane();
    for (const int k : {1, 2, 5, 6, 7}) {
        const float* const* const plane = planes[static_cast<std::size_t>(k)].get();
        EXPECT_EQ(plane[0][0], static_cast<float>(k));
        EXPECT_EQ(plane[rows - 1][cols - 1], static_cast<float>(k));
    }
    EXPECT_THROW(PlaneStack(-1, 4, Fill::none, 3).next(), std::bad_alloc);
}

TEST(Arrays, IntsStartAtZero) {
    int* const ints = make_1D_int_array(1000);
    EXPECT_TRUE(std::all_of(ints, ints + 1000, [](int v) { return v == 0; }));
    free_1D_int_array(ints);
    free_1D_float_array(make_1D_float_array(0));
    EXPECT_EQ(make_1D_float_array(-1), nullptr);
    EXPECT_EQ(make_1D_int_array(-1), nullptr);
}

struct Line {
    std::vector<int> rows, cols;
    int count;
};

Line digitise(int row1, int col1, int row2, int col2) {
    const std::int64_t room =
        std::max(std::abs(std::int64_t{row2} - row1), std::abs(std::int64_t{col2} - col1)) + 1;
    constexpr int guard = 123456789;
    Line line{std::vector<int>(static_cast<std::size_t>(room) + 1, guard),
              std::vector<int>(static_cast<std::size_t>(room) + 1, guard), -1};
    digiline(row1, col1, row2, col2, line.rows.data(), line.cols.data(), &line.count);
    EXPECT_EQ(line.count, room);
    EXPECT_EQ(line.rows.back(), guard);
    EXPECT_EQ(line.cols.back(), guard);
    return line;
}

TEST(DigitalLine, JoinsItsEndsWithoutAGapAndStaysClose) {
    std::mt19937 random(5);
    const auto next = [&] { return static_cast<int>(random() % 81) - 40; };
    for (int k = 0; k < 2000; ++k) {
        const int r1 = next(), c1 = next(), r2 = k % 7 ? next() : r1, c2 = k % 5 ? next() : c1;
        const Line line = digitise(r1, c1, r2, c2);
        const std::size_t last = static_cast<std::size_t>(line.count) - 1;
        ASSERT_EQ(line.rows[0], r1);
        ASSERT_EQ(line.cols[0], c1);
        ASSERT_EQ(line.rows[last], r2);
        ASSERT_EQ(line.cols[last], c2);
        const double length = std::max(1.0, std::hypot(r2 - r1, c2 - c1));
        for (std::size_t p = 0; p <= last; ++p) {
            const double off =
                std::abs((line.rows[p] - r1) * (c2 - c1) - (line.cols[p] - c1) * (r2 - r1)) /
                length;
            ASSERT_LE(off, 0.5 + 1e-9);
            if (p > 0) {
                ASSERT_EQ(std::max(std::abs(line.rows[p] - line.rows[p - 1]),
                                   std::abs(line.cols[p] - line.cols[p - 1])),
                          1);
            }
        }
    }
}

TEST(DigitalLine, WholeRangeOfAnInt) {
    const Line line = digitise(INT_MIN, INT_MAX - 5, INT_MIN + 3, INT_MAX);
    EXPECT_EQ(line.rows[5], INT_MIN + 3);
    EXPECT_EQ(line.cols[5], INT_MAX);
    int row = 77;
    int col = 77;
    int count = -1;
    digiline(INT_MIN, 0, INT_MAX, 0, &row, &col, &count); // more points than an int counts
    EXPECT_EQ(count, 0);
    EXPECT_EQ(row, 77);
}

TEST(RankFloats, SortsWithNotANumbersLast) {
    std::vector<float> values = {3.0f, NAN, -INFINITY, 0.5f, -0.0f, INFINITY, NAN, -7.0f};
    std::qsort(values.data(), values.size(), sizeof(float), rank_float_increasing);
    const std::vector<float> expected = {-INFINITY, -7.0f, -0.0f, 0.5f, 3.0f, INFINITY};
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), values.begin()));
    EXPECT_TRUE(std::isnan(values[6]) && std::isnan(values[7]));
}

} // namespace
