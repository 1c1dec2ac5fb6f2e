#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <support/volumes.h>
#include <vorlane/numerics/solvers.h>
#include <vorlane/volume/hessian_kernels.h>

namespace {

struct Eigenvalues {
    float low, middle, high;
};

// By the general solver.
Eigenvalues absolute_eigenvalues(const float (&a)[3][3]) {
    const Plane matrix(make_2D_float_array(3, 3));
    for (int i = 0; i < 3; ++i)
        std::copy(a[i], a[i] + 3, matrix.get()[i]);
    float values[3];
    EXPECT_EQ(VNeumannEigens(matrix.get(), 3, values, nullptr), 1);
    for (float& value : values)
        value = std::abs(value);
    std::sort(values, values + 3);
    return {values[0], values[1], values[2]};
}

void expect_near(const Eigenvalues& found, const Eigenvalues& exact) {
    const float tolerance = 1e-6f * exact.high;
    ASSERT_NEAR(found.low, exact.low, tolerance);
    ASSERT_NEAR(found.middle, exact.middle, tolerance);
    ASSERT_NEAR(found.high, exact.high, tolerance);
    ASSERT_LE(0.0f, found.low);
    ASSERT_LE(found.low, found.middle);
    ASSERT_LE(found.middle, found.high);
}

struct Matrix {
    float h00, h11, h22, h01, h02, h12;
};

// Of a voxel of 0 whose neighbours give it the second differences of the matrix.
Eigenvalues kernel_result(const Matrix& m) {
    float voxels[3][3][3] = {};
    const auto at = [&](int slice, int row, int col) -> float& {
        return voxels[1 + slice][1 + row][1 + col];
    };
    at(0, -1, 0) = 4.0f * m.h00;
    at(0, 0, -1) = 4.0f * m.h11;
    at(-1, 0, 0) = 4.0f * m.h22;
    at(0, -1, -1) = 4.0f * m.h01;
    at(-1, -1, 0) = 4.0f * m.h02;
    at(-1, 0, -1) = 4.0f * m.h12;
    const float* rows[3][3];
    for (int s = 0; s < 3; ++s)
        for (int r = 0; r < 3; ++r)
            rows[s][r] = voxels[s][r];
    float result[3][3] = {};
    vorlane::pick_hessian_kernels().eigenvalues(rows, result[0], result[1], result[2], 3);
    return {result[0][1], result[1][1], result[2][1]};
}

void expect_accurate(const Matrix& m) {
    expect_near(kernel_result(m),
                absolute_eigenvalues(
                    {{m.h00, m.h01, m.h02}, {m.h01, m.h11, m.h12}, {m.h02, m.h12, m.h22}}));
}

TEST(VolumeRidges, EigenvaluesOfDegenerateMatrices) {
    const Matrix matrices[] = {{0, 0, 0, 0, 0, 0},
                               {3, 3, 3, 0, 0, 0},
                               {-0.1f, -0.1f, -0.1f, 0, 0, 0},
                               {1, 1, 0, 0, 0, 0},
                               {0, 0, 1, 0, 0, 0},
                               {1, 1, 1, 1, 1, 1},
                               {0, 0, 0, 1, 1, 1},
                               {0, 0, 0, -1, 1, 1},
                               {1, -1, 0, 0, 0, 0},
                               {0, 0, 0, 1, 0, 0},
                               {2, 2, 1, 0, 0, 1e-4f},
                               {1e-45f, 1e-45f, 0, 1e-45f, 0, 0},
                               {8e37f, -8e37f, 8e37f, 8e37f, 8e37f, 8e37f}};
    with_each_instruction_set([&] {
        for (const Matrix& matrix : matrices)
            expect_accurate(matrix);
        const Eigenvalues equal = kernel_result({0.1f, 0.1f, 0.1f, 0, 0, 0});
        EXPECT_EQ(equal.low, 0.1f);
        EXPECT_EQ(equal.middle, 0.1f);
        EXPECT_EQ(equal.high, 0.1f);
    });
}

// Random matrices, and rotated ones of which two eigenvalues differ by very little.
TEST(VolumeRidges, EigenvaluesAreAccurate) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
    with_each_instruction_set([&] {
        for (int round = 0; round < 20000; ++round) {
            expect_accurate({uniform(random), uniform(random), uniform(random), uniform(random),
                             uniform(random), uniform(random)});
            float x[3] = {uniform(random), uniform(random), uniform(random)};
            const float base = uniform(random);
            const float gap = std::ldexp(uniform(random), -static_cast<int>(random() % 30));
            expect_accurate({base + x[0] * x[0] + gap, base + x[1] * x[1], base + x[2] * x[2],
                             x[0] * x[1], x[0] * x[2], x[1] * x[2]});
        }
    });
}

TEST(VolumeRidges, LineSheetAndBall) {
    constexpr int n = 31;
    const auto values_at_centre = [&](const CVolume& volume) {
        const CImage& slice = volume.slices[15];
        return Eigenvalues{slice.mag_plane[15][15], slice.dir_plane[15][15],
                           slice.scale_plane[15][15]};
    };
    for (const float brightness : {100.0f, -100.0f}) {
        const auto line = make_volume(
            n, n, n, [&](int, int i, int j) { return i == 15 && j == 15 ? brightness : 0.0f; });
        line->ridges(2.0f, 0.0f, 0, 0, 0);
        const Eigenvalues l = values_at_centre(*line);
        EXPECT_LT(l.low, 0.01f * l.high);
        EXPECT_NEAR(l.middle, l.high, 1e-4f * l.high);

        const auto sheet =
            make_volume(n, n, n, [&](int, int i, int) { return i == 15 ? brightness : 0.0f; });
        sheet->ridges(2.0f, 0.0f, 0, 0, 0);
        const Eigenvalues s = values_at_centre(*sheet);
        EXPECT_LT(s.middle, 0.01f * s.high);

        const auto ball = make_volume(n, n, n, [&](int k, int i, int j) {
            const int distance = (k - 15) * (k - 15) + (i - 15) * (i - 15) + (j - 15) * (j - 15);
            return distance <= 9 ? brightness : 0.0f;
        });
        ball->ridges(2.0f, 0.0f, 0, 0, 0);
        const Eigenvalues b = values_at_centre(*ball);
        EXPECT_GT(b.low, 0.9f * b.high);
        EXPECT_GT(b.low, 0.1f);
        EXPECT_EQ(ball->slices[15].pixels[15][15], brightness);
    }
}

TEST(VolumeRidges, ThinVolumesAreAllShell) {
    const int sizes[][3] = {{1, 5, 5}, {2, 5, 5}, {5, 2, 5}, {5, 5, 1}};
    for (const auto& size : sizes) {
        const auto volume = make_random_volume(size[0], size[1], size[2], 1);
        volume->ridges(1.0f, 0.0f, 0, 0, 0);
        for (int k = 0; k < size[0]; ++k)
            for (float** const plane : {volume->slices[k].mag_plane, volume->slices[k].dir_plane,
                                        volume->slices[k].scale_plane})
                EXPECT_EQ(samples_of(plane, size[1], size[2]),
                          Line(static_cast<std::size_t>(size[1] * size[2]), 0.0f));
    }
}

TEST(VolumeRidges, EmptySlicesAndRefusals) {
    const auto volume = make_random_volume(6, 5, 5, 1);
    for (const float sigma : {0.0f, -2.0f, std::nanf("")})
        volume->ridges(sigma, 0.0f, 0, 0, 0);
    volume->slices[1].ncols = 4;
    volume->ridges(1.0f, 0.0f, 0, 0, 0);
    EXPECT_EQ(volume->slices[0].mag_plane, nullptr);
    CVolume().ridges(1.0f, 0.0f, 0, 0, 0);

    volume->slices[1].ncols = 5;
    free_2D_float_array(std::exchange(volume->slices[3].pixels, nullptr));
    volume->slices[2].mag_plane = make_2D_float_array(2, 2); // too small to serve
    volume->slices[4].dir_plane = make_2D_float_array(9, 9); // and large enough
    volume->slices[4].dir_plane[0][0] = 5.0f;
    volume->ridges(1.0f, 0.0f, 0, 0, 0);
    EXPECT_EQ(volume->slices[3].mag_plane, nullptr);
    EXPECT_GT(volume->slices[2].mag_plane[2][2], 0.0f);
    EXPECT_GT(volume->slices[4].dir_plane[2][2], 0.0f);
    EXPECT_EQ(volume->slices[4].dir_plane[0][0], 0.0f);
    EXPECT_EQ(volume->slices[5].scale_plane[2][2], 0.0f);
}

// What lies outside the volume is 0, whatever stood there.
TEST(VolumeRidges, LargerSlices) {
    const auto volume = make_random_volume(5, 6, 7, 2);
    volume->slices[2] = *make_random(9, 12, 0, 1);
    volume->slices[2].dir_plane = make_2D_float_array(9, 12);
    for (const auto& [i, j] : {std::pair(0, 0), {3, 6}, {3, 9}, {5, 3}, {8, 11}})
        volume->slices[2].dir_plane[i][j] = -1.0f;
    volume->ridges(1.0f, 0.0f, 0, 0, 0);
    for (const auto plane : {&CImage::mag_plane, &CImage::dir_plane, &CImage::scale_plane}) {
        for (int i = 0; i < 9; ++i)
            for (int j = 0; j < 12; ++j) {
                const bool inside = i > 0 && i < 5 && j > 0 && j < 6;
                EXPECT_EQ((volume->slices[2].*plane)[i][j] > 0.0f, inside) << i << ' ' << j;
            }
    }
}

} // namespace
