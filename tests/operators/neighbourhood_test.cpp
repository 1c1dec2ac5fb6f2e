#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();

const std::pair<int, int> sizes[] = {{23, 81}, {9, 16}, {40, 19}, {5, 3},
                                     {3, 37},  {2, 9},  {1, 7},   {6, 1}};

TEST(Threshold, SetsWhatIsAbove) {
    for (const int type : {0, 1}) {
        const ImagePtr image = make_random(11, 19, type, 1, true);
        const float level = image->pixels[3][4];
        image->pixels[0][0] = nan_value;
        const int n = channels_of(*image);
        const auto expected = samples_by(11, 19, 1, [&](int i, int j, int) {
            const float* const pixel = image->pixels[i] + n * j;
            return std::all_of(pixel, pixel + n, [&](float s) { return s > level; }) ? 255.0f
                                                                                     : 0.0f;
        });
        EXPECT_EQ(samples_of(*ImagePtr(image->Threshold(level))), expected);
    }
}

std::vector<float> distance_filtered(const CImage& image, int size) {
    const int n = channels_of(image);
    const int half = size / 2;
    const auto D = static_cast<float>(std::sqrt(2.0 * half * half));
    return samples_by(image.nrows, image.ncols, n, [&](int r, int c, int k) {
        double A = 0.0;
        double B = 0.0;
        for (int a = half - size + 1; a <= half; ++a) {
            for (int b = half - size + 1; b <= half; ++b) {
                const int i = std::clamp(r + a, 0, image.nrows - 1);
                const int j = std::clamp(c + b, 0, image.ncols - 1);
                const double d = std::sqrt((r - i) * (r - i) + (c - j) * (c - j));
                const double w = (D - d) / D;
                A += w * image.pixels[i][n * j + k];
                B += w;
            }
        }
        return static_cast<float>(A / B);
    });
}

TEST(DistanceFilter, EqualsThePlainLoop) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const auto& [rows, cols] : sizes) {
                const ImagePtr image = make_random(rows, cols, type, 3);
                for (const int size : {2, 3, 4, 5, 8, 25}) {
                    const ImagePtr out(image->DistanceFilter(size));
                    ASSERT_TRUE(out);
                    EXPECT_TRUE(same_bits(samples_of(*out), distance_filtered(*image, size)))
                        << rows << 'x' << cols << " size " << size;
                }
            }
        }
    });
    const ImagePtr image = make_random(4, 4, 0, 3);
    EXPECT_EQ(image->DistanceFilter(1), nullptr);
    EXPECT_EQ(image->DistanceFilter(-3), nullptr);
}

TEST(SobelFilter, EqualsThePlainLoopAndLeavesTheBorder) {
    with_each_instruction_set([] {
        for (const int type : {0, 1}) {
            for (const auto& [rows, cols] : sizes) {
                const ImagePtr image = make_random(rows, cols, type, 4);
                const ImagePtr gray(type == 1 ? image->MakeGray() : new CImage(*image));
                image->mag_plane = make_2D_float_array(rows, cols);
                float** const plane = image->mag_plane;
                for (int i = 0; i < rows; ++i)
                    std::fill_n(plane[i], cols, -7.0f);
                image->SobelFilter();
                ASSERT_EQ(image->mag_plane, plane);
                EXPECT_EQ(image->dir_plane, nullptr);
                const auto expected =
                    samples_by(rows, cols, 1, [&, rows = rows, cols = cols](int r, int c, int) {
                        if (r < 1 || r > rows - 2 || c < 1 || c > cols - 2)
                            return -7.0f;
                        const auto P = [&](int i, int j) {
                            return double{gray->pixels[r + i][c + j]};
                        };
                        const double gx = (P(-1, 1) + 2 * P(0, 1) + P(1, 1)) -
                                          (P(-1, -1) + 2 * P(0, -1) + P(1, -1));
                        const double gy = (P(-1, -1) + 2 * P(-1, 0) + P(-1, 1)) -
                                          (P(1, -1) + 2 * P(1, 0) + P(1, 1));
                        return static_cast<float>(std::sqrt(gx * gx + gy * gy));
                    });
                EXPECT_TRUE(same_bits(samples_of(plane, rows, cols), expected));
            }
        }
    });
    // A plane that is missing or too small is made, also where there is nothing to compute.
    const ImagePtr flat = make_random(2, 5, 0, 1);
    flat->mag_plane = make_2D_float_array(1, 5);
    flat->SobelFilter();
    EXPECT_EQ(samples_of(flat->mag_plane, 2, 5), std::vector<float>(10, 0.0f));
    const ImagePtr step = make_gray(3, 4, [](int, int j) { return j < 2 ? 0.0f : 10.0f; });
    step->SobelFilter();
    EXPECT_EQ(step->mag_plane[1][1], 40.0f);
}

std::vector<float> chamfer_of(const CImage& image) {
    const int n = channels_of(image);
    const int rows = image.nrows;
    const int cols = image.ncols;
    const ImagePtr D = make_gray(rows, cols, [&](int r, int c) {
        const float* const pixel = image.pixels[r] + n * c;
        return std::any_of(pixel, pixel + n, [](float s) { return s != 0; }) ? 0.0f : 1000000.0f;
    });
    const auto diagonal = std::bit_cast<float>(0x3FB504F4u);
    const auto consider = [&](int r, int c, int dr, int dc, float step) {
        if (r + dr < 0 || r + dr >= rows || c + dc < 0 || c + dc >= cols)
            return;
        const auto candidate = static_cast<float>(double{D->pixels[r + dr][c + dc]} + double{step});
        if (candidate < D->pixels[r][c])
            D->pixels[r][c] = candidate;
    };
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) {
            consider(r, c, -1, -1, diagonal);
            consider(r, c, -1, 0, 1.0f);
            consider(r, c, -1, 1, diagonal);
            consider(r, c, 0, -1, 1.0f);
        }
    for (int r = rows - 1; r >= 0; --r)
        for (int c = cols - 1; c >= 0; --c) {
            consider(r, c, 1, -1, diagonal);
            consider(r, c, 1, 0, 1.0f);
            consider(r, c, 1, 1, diagonal);
            consider(r, c, 0, 1, 1.0f);
        }
    return samples_by(rows, cols, n, [&](int r, int c, int) { return D->pixels[r][c]; });
}

TEST(Chamfer, EqualsThePlainPasses) {
    with_each_instruction_set([] {
        std::mt19937 random(5);
        for (const int type : {0, 1}) {
            for (const auto& [rows, cols] : sizes) {
                for (const unsigned rarity : {1u, 7u, 200u, 3000u}) {
                    const ImagePtr image = std::make_unique<CImage>(rows, cols, type, 3, 4);
                    for (int i = 0; i < rows; ++i)
                        for (int j = 0; j < cols * channels_of(*image); ++j)
                            image->pixels[i][j] = random() % rarity == 0 ? -0.5f : -0.0f;
                    if (rarity == 200)
                        image->pixels[rows / 2][0] = nan_value;
                    const ImagePtr out(image->Chamfer());
                    ASSERT_TRUE(out);
                    EXPECT_TRUE(same_bits(samples_of(*out), chamfer_of(*image)));
                }
            }
        }
        // Far enough for sums that round.
        const ImagePtr corner = std::make_unique<CImage>(300, 1100, 0, 3, 4);
        corner->pixels[299][1099] = 1.0f;
        EXPECT_TRUE(same_bits(samples_of(*ImagePtr(corner->Chamfer())), chamfer_of(*corner)));
    });
}

float noise_unit() {
    int drawn = 0;
    while (drawn == 0)
        drawn = std::rand() & 32767;
    return static_cast<float>(drawn * double{3.0518509e-05f});
}

// The standard generator, seeded with the clock at each call.
TEST(GNoise, EqualsThePlainLoop) {
    const ImagePtr image =
        make_gray(300, 301, [](int i, int j) { return static_cast<float>(i + j); });
    std::vector<float> expected;
    ImagePtr noisy;
    int colour_draw = 0;
    unsigned now = 0;
    do { // all within one second
        now = static_cast<unsigned>(std::time(nullptr));
        EXPECT_EQ(make_random(3, 3, 1, 1)->GNoise(1.0f), nullptr);
        colour_draw = std::rand();
        noisy.reset(image->GNoise(2.0f));
    } while (now != static_cast<unsigned>(std::time(nullptr)));
    std::srand(now);
    EXPECT_EQ(colour_draw, std::rand());
    std::srand(now);
    for (const float sample : samples_of(*image)) {
        const float u1 = noise_unit();
        const float u2 = noise_unit();
        const auto radius = static_cast<float>(std::sqrt(-2.0 * std::log(double{u1})));
        expected.push_back(
            static_cast<float>(sample + 2.0 * radius * std::sin(double{u2} * double{6.2831855f})));
    }
    EXPECT_TRUE(same_bits(samples_of(*noisy), expected));
    EXPECT_TRUE(same_bits(samples_of(*ImagePtr(image->GNoise(0.0f))), samples_of(*image)));
}

} // namespace
