#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/filters/edge_kernels.h>
#include <vorlane/numerics/elementary.h>

namespace {

float direction_plainly(float dx, float dy) {
    double angle;
    if (dx != 0.0f)
        angle = vorlane::numerics::atan2(dy, dx);
    else
        angle = dy > 0.0f ? 1.5707964f : -1.5707964f;
    return static_cast<float>(angle + 3.1415927f);
}

// A channel stands alone, and of all channels the steepest counts.
TEST(Edges, EachPixelTakesItsSteepestChannel) {
    const auto image = make_random(23, 70, 1, 2);
    image->edges_mag_dir(1.4f);
    Samples steepest(23 * 70), dir(23 * 70);
    for (int k = 0; k < 3; ++k) {
        const auto gray =
            make_gray(23, 70, [&](int i, int j) { return image->pixels[i][3 * j + k]; });
        const ImagePtr dx(gray->first_derivative_x(1.4f)), dy(gray->first_derivative_y(1.4f));
        const Samples x = samples_of(*dx), y = samples_of(*dy);
        for (std::size_t p = 0; p < x.size(); ++p) {
            const float slope = std::hypot(x[p], y[p]);
            if (slope > steepest[p]) {
                steepest[p] = slope;
                dir[p] = direction_plainly(x[p], y[p]);
            }
        }
    }
    EXPECT_TRUE(same_bits(samples_of(image->dir_plane, 23, 70), dir));
    float largest = 0.0f; // of the pixels that are further from the border than 2 sigma
    for (int i = 3; i < 20; ++i)
        for (int j = 3; j < 67; ++j)
            largest = std::max(largest, steepest[static_cast<std::size_t>(70 * i + j)]);
    for (int i = 3; i < 20; ++i)
        for (int j = 3; j < 67; ++j)
            EXPECT_NEAR(image->mag_plane[i][j],
                        steepest[static_cast<std::size_t>(70 * i + j)] / largest, 1e-6f);
}

// Every octant, both axes and the extremes of floats.
TEST(Edges, DirectionIsTheNearestFloat) {
    std::mt19937 random(3);
    Samples dx, dy;
    const auto any = [&](int spread) {
        const float mantissa = static_cast<float>(random() % (1u << 24)) - (1 << 23);
        return std::ldexp(
            mantissa, static_cast<int>(random() % static_cast<unsigned>(2 * spread + 1)) - spread);
    };
    for (int k = 0; k < 400000; ++k) {
        const int spread = k % 3 == 0 ? 0 : k % 3 == 1 ? 6 : 110;
        dx.push_back(any(spread));
        dy.push_back(any(spread));
    }
    const float special[] = {0.0f,  -0.0f,  1.0f,     -1.0f,     1e-45f, -1e-45f,
                             3e38f, -3e38f, INFINITY, -INFINITY, NAN};
    for (const float x : special)
        for (const float y : special) {
            dx.push_back(x);
            dy.push_back(y);
        }
    const std::size_t n = dx.size();
    with_each_instruction_set([&] {
        Samples dir(n);
        vorlane::pick_edge_kernels().direction(dx.data(), dy.data(), dir.data(), n);
        for (std::size_t k = 0; k < n; ++k)
            ASSERT_TRUE(same_bits(dir[k], direction_plainly(dx[k], dy[k])))
                << std::hexfloat << dx[k] << ' ' << dy[k] << ": " << dir[k];
    });
}

TEST(Edges, PlanesAreReusedIfTheyAreLargeEnough) {
    auto image = make_random(20, 20, 0, 5);
    image->edges_mag_dir(1.0f);
    float** const mag = image->mag_plane;
    float** const dir = image->dir_plane;
    image->edges_mag_dir(2.0f);
    EXPECT_EQ(image->mag_plane, mag);
    EXPECT_EQ(image->dir_plane, dir);
    *image = *make_random(40, 50, 0, 6); // the planes stay, and are too small now
    EXPECT_EQ(image->mag_plane, mag);
    EXPECT_EQ(image->non_maximum_suppression(), nullptr);
    image->edges_mag_dir(1.0f);
    const ImagePtr thin(image->non_maximum_suppression());
    EXPECT_EQ(thin->nrows, 40);
    const Samples kept = samples_of(image->mag_plane, 40, 50);
    for (const float bad : {0.0f, -1.0f, NAN, INFINITY})
        image->edges_mag_dir(bad);
    EXPECT_EQ(samples_of(image->mag_plane, 40, 50), kept);
}

TEST(Edges, NothingToNormaliseLeavesNotANumbers) {
    CImage zeros(16, 16, 0, 1, 4);
    zeros.edges_mag_dir(1.0f);
    EXPECT_TRUE(std::isnan(zeros.mag_plane[0][0]));
    EXPECT_TRUE(std::isnan(zeros.mag_plane[8][8]));
    EXPECT_EQ(zeros.dir_plane[8][8], direction_plainly(0.0f, 0.0f));
    EXPECT_EQ(samples_of(*ImagePtr(zeros.non_maximum_suppression())), Samples(256, 0.0f));
    const auto image = make_random(16, 16, 0, 7);
    image->edges_mag_dir(1e30f); // no pixel is inside the margin
    EXPECT_TRUE(std::isnan(image->mag_plane[8][8]));
}

ImagePtr step_image(int type) {
    const auto value = [](int j) { return j < 16 ? 20.0f : 200.0f; };
    return type == 0 ? make_gray(32, 32, [&](int, int j) { return value(j); })
                     : make_colour(32, 32, [&](int, int j, int) { return value(j); });
}

TEST(Edges, WorkedStep) {
    for (const int type : {0, 1}) {
        const auto image = step_image(type);
        image->edges_mag_dir(1.0f);
        const float* const mag = image->mag_plane[16];
        const float expected[] = {0.3335f, 0.9974f, 0.9998f, 0.3359f};
        for (int j = 0; j < 32; ++j) {
            if (j >= 14 && j <= 17) {
                EXPECT_NEAR(mag[j], expected[j - 14], 0.00006);
            } else {
                EXPECT_LT(mag[j], 0.04f);
            }
        }
        for (int k = 0; k < 32; ++k)
            for (const int band : {0, 1, 30, 31}) {
                EXPECT_EQ(image->mag_plane[band][k], 0.0f);
                EXPECT_EQ(image->mag_plane[k][band], 0.0f);
            }
        EXPECT_LT(std::abs(std::remainder(image->dir_plane[16][16], 6.2831853f)), 0.01);
        const ImagePtr thin(image->non_maximum_suppression());
        EXPECT_EQ(thin->pixels[16][16], mag[16]);
        for (int j = 0; j < 32; ++j) {
            if (j != 16) {
                EXPECT_LT(thin->pixels[16][j], 0.005f);
            }
        }
        const ImagePtr edges(thin->hysteresis_thresholding(0.5f, 0.2f));
        for (int i = 0; i < 32; ++i)
            for (int j = 0; j < 32; ++j)
                EXPECT_EQ(edges->pixels[i][j], j == 16 && i >= 2 && i <= 29 ? 255.0f : 0.0f)
                    << i << ' ' << j;
    }
}

float suppressed_plainly(const CImage& image, int i, int j) {
    constexpr double b[] = {0.39269909262657166, 1.178097277879715, 1.9634954631328583,
                            2.7488936483860016,  3.534291833639145, 4.319690018892288,
                            5.1050882041454315,  5.890486389398575};
    const double d = image.dir_plane[i][j];
    int row, col;
    if (d < b[0] || (b[3] <= d && d < b[4]) || d >= b[7])
        row = 0, col = 1;
    else if ((b[0] <= d && d < b[1]) || (b[4] <= d && d < b[5]))
        row = 1, col = 1;
    else if ((b[1] <= d && d < b[2]) || (b[5] <= d && d < b[6]))
        row = 1, col = 0;
    else
        row = 1, col = -1;
    const float m = image.mag_plane[i][j];
    return m >= image.mag_plane[i + row][j + col] && m >= image.mag_plane[i - row][j - col] ? m
                                                                                            : 0.0f;
}

TEST(Edges, SuppressionComparesAcrossTheEdgeInEverySector) {
    std::mt19937 random(9);
    with_each_instruction_set([&] {
        for (int cols = 1; cols <= 70; ++cols) {
            CImage image(7, cols, 0, 1, 4);
            image.mag_plane = make_2D_float_array(7, cols);
            image.dir_plane = make_2D_float_array(7, cols);
            for (int i = 0; i < 7; ++i)
                for (int j = 0; j < cols; ++j) {
                    image.mag_plane[i][j] = static_cast<float>(random() % 4); // many ties
                    const double bound =
                        static_cast<double>(2 * (random() % 8) + 1) * (3.1415927410125732 / 8);
                    const float near = static_cast<float>(bound); // on a bound and next to it
                    const float beside[] = {std::nextafter(near, 0.0f), near,
                                            std::nextafter(near, 9.0f),
                                            static_cast<float>(random() % 6400) / 1000.0f};
                    image.dir_plane[i][j] = beside[random() % 4];
                }
            image.mag_plane[3][cols / 2] = NAN;
            const ImagePtr thin(image.non_maximum_suppression());
            for (int i = 0; i < 7; ++i)
                for (int j = 0; j < cols; ++j) {
                    const bool inside = i > 0 && i < 6 && j > 0 && j < cols - 1;
                    ASSERT_EQ(thin->pixels[i][j], inside ? suppressed_plainly(image, i, j) : 0.0f)
                        << i << ' ' << j;
                }
        }
    });
    EXPECT_EQ(CImage(5, 5, 0, 1, 4).non_maximum_suppression(), nullptr);
}

// The recursion as it is told, for images small enough for it.
void follow_plainly(const CImage& image, CImage& marks, int row, int col, float low) {
    for (int r = row - 1; r <= row + 1; ++r)
        for (int c = col - 1; c <= col + 1; ++c) {
            if (r < 0 || c < 0 || r >= image.nrows || c >= image.ncols)
                continue;
            if (image.pixels[r][c] > low && marks.pixels[r][c] == 0.0f) {
                marks.pixels[r][c] = 255.0f;
                follow_plainly(image, marks, r, c, low);
            }
        }
}

TEST(Edges, LinkingEqualsTheRecursion) {
    std::mt19937 random(21);
    for (int k = 0; k < 300; ++k) {
        const int rows = 1 + static_cast<int>(random() % 20),
                  cols = 1 + static_cast<int>(random() % 40);
        const auto image = make_gray(rows, cols, [&](int, int) {
            return random() % 3 ? 0.0f : static_cast<float>(random() % 5) / 4.0f;
        });
        const float high = 0.75f;
        const float low = k % 4 == 0 ? 0.75f : k % 4 == 1 ? 1.0f : 0.25f; // also not below high
        CImage expected(rows, cols, 0, 1, 4);
        for (int i = 1; i < rows - 1; ++i)
            for (int j = 1; j < cols - 1; ++j) {
                if (image->pixels[i][j] > high) {
                    expected.pixels[i][j] = 255.0f;
                    follow_plainly(*image, expected, i, j, low);
                }
            }
        const ImagePtr edges(image->hysteresis_thresholding(high, low));
        ASSERT_TRUE(same_bits(samples_of(*edges), samples_of(expected))) << k;

        // Marks that are there already stop the walk; the start may lie outside.
        CImage marks(rows, cols, 0, 1, 4), marks_expected(rows, cols, 0, 1, 4);
        for (int p = 0; p < rows; ++p)
            marks.pixels[p][static_cast<int>(random() % static_cast<unsigned>(cols))] = 1.0f;
        marks_expected = marks;
        const int row = static_cast<int>(random() % 24) - 2,
                  col = static_cast<int>(random() % 44) - 2;
        image->follow_edge(&marks, row, col, 0.2f);
        follow_plainly(*image, marks_expected, row, col, 0.2f);
        ASSERT_TRUE(same_bits(samples_of(marks), samples_of(marks_expected))) << k;
    }
}

TEST(Edges, ALongChainEverywhere) {
    const auto image = make_gray(3000, 3000, [](int, int) { return 1.0f; });
    const ImagePtr edges(image->hysteresis_thresholding(0.5f, 0.2f));
    for (int i = 0; i < 3000; ++i)
        ASSERT_TRUE(std::all_of(edges->pixels[i], edges->pixels[i] + 3000, [](float v) {
            return v == 255.0f;
        })) << i;
    CImage marks(3000, 3000, 0, 1, 4);
    image->follow_edge(&marks, -2147483647 - 1, 2147483647, 0.0f);
    EXPECT_EQ(marks.pixels[0][2999], 0.0f);
    CImage small(10, 10, 0, 1, 4);
    image->follow_edge(&small, 5, 5, 0.0f); // too small to be marked in
    image->follow_edge(nullptr, 5, 5, 0.0f);
    EXPECT_EQ(small.pixels[5][5], 0.0f);
}

} // namespace
