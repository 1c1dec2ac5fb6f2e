#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <support/volumes.h>
#include <vorlane/filters/recursive_gaussian.h>

namespace {

// Slice by slice, then a gather of every line across the slices into one buffer.
VolumePtr smooth_line_by_line(const CVolume& volume, float sigma) {
    auto result = std::make_unique<CVolume>(volume.nslices, volume.nrows, volume.ncols,
                                            volume.image_type, volume.file_format, 6);
    const Plane coef = coefficients_of(ga, sigma);
    for (int k = 0; k < volume.nslices; ++k) {
        const ImagePtr along_rows(volume.slices[k].apply_IIR4_filter_x(coef.get()));
        const ImagePtr along_columns(along_rows->apply_IIR4_filter_y(coef.get()));
        result->slices[k] = *along_columns;
    }
    Line line(static_cast<std::size_t>(volume.nslices));
    for (int i = 0; i < volume.nrows; ++i) {
        for (int j = 0; j < volume.ncols; ++j) {
            for (std::size_t k = 0; k < line.size(); ++k)
                line[k] = result->slices[k].pixels[i][j];
            apply_IIR4_filter_z(coef.get(), line.data(), volume.nslices);
            for (std::size_t k = 0; k < line.size(); ++k)
                result->slices[k].pixels[i][j] = line[k];
        }
    }
    return result;
}

void expect_same_volume(const CVolume& a, const CVolume& b) {
    ASSERT_EQ(a.nslices, b.nslices);
    for (int k = 0; k < a.nslices; ++k)
        ASSERT_TRUE(same_bits(samples_of(a.slices[k]), samples_of(b.slices[k]))) << "slice " << k;
}

TEST(FilterAcrossSlices, FiltersALineAsRowsAreFiltered) {
    for (const auto fill : {ga, fdga}) {
        const Plane coef = coefficients_of(fill, 1.7f);
        with_each_instruction_set([&] {
            for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 64, 1001}) {
                const auto image = make_random(1, n, 0, static_cast<unsigned>(n));
                const ImagePtr expected(image->apply_IIR4_filter_x(coef.get()));
                Line line(image->pixels[0], image->pixels[0] + n);
                line.push_back(123.0f); // what lies behind stays
                apply_IIR4_filter_z(coef.get(), line.data(), n);
                EXPECT_EQ(line.back(), 123.0f);
                line.pop_back();
                EXPECT_TRUE(same_bits(line, samples_of(*expected))) << n;
            }
        });
    }
}

TEST(FilterAcrossSlices, ArgumentsWithoutMeaningChangeNothing) {
    const Plane coef = coefficients_of(ga, 1.0f);
    Line line = {1.0f, 2.0f, 3.0f, 4.0f};
    apply_IIR4_filter_z(nullptr, line.data(), 4);
    apply_IIR4_filter_z(coef.get(), nullptr, 4);
    apply_IIR4_filter_z(coef.get(), line.data(), 0);
    apply_IIR4_filter_z(coef.get(), line.data(), -4);
    EXPECT_EQ(line, (Line{1.0f, 2.0f, 3.0f, 4.0f}));
}

TEST(SmoothVolume, EqualsTheFilterOfSingleLines) {
    const int sizes[][3] = {{1, 1, 1},  {1, 9, 9},   {2, 5, 3},    {3, 4, 17},   {4, 4, 4},
                            {4, 2, 31}, {5, 3, 32},  {6, 33, 2},   {7, 8, 33},   {9, 16, 63},
                            {31, 7, 5}, {64, 3, 65}, {12, 40, 97}, {150, 2, 129}};
    with_each_instruction_set([&] {
        for (const auto& size : sizes) {
            const auto volume = make_random_volume(size[0], size[1], size[2], 5);
            for (const float sigma : {0.6f, 2.0f, 9.0f}) {
                const VolumePtr result(volume->smooth_volume(sigma));
                ASSERT_NE(result, nullptr);
                expect_same_volume(*result, *smooth_line_by_line(*volume, sigma));
            }
        }
    });
}

TEST(SmoothVolume, ExtremeSamplesKeepTheirBits) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const float extremes[] = {infinity, -infinity, std::nanf(""), 3e38f, 1e-45f, -0.0f};
    const auto volume = make_random_volume(11, 13, 37, 2);
    for (int k = 0; k < 6; ++k)
        volume->slices[k + 2].pixels[2 * k][6 * k] = extremes[k];
    with_each_instruction_set([&] {
        const VolumePtr result(volume->smooth_volume(1.0f));
        expect_same_volume(*result, *smooth_line_by_line(*volume, 1.0f));
    });
}

TEST(SmoothVolume, CodesAndPlanes) {
    CVolume volume(4, 4, 4, 0, 20, 7);
    volume.slices[2].file_format = 1;
    volume.slices[2].pixel_format = 4;
    volume.slices[2].image_type = 1; // a colour slice among gray ones
    free_2D_float_array(volume.slices[2].pixels);
    volume.slices[2].pixels = make_2D_float_array(4, 12);
    volume.slices[2].pixels[1][11] = 5.0f;
    volume.slices[1].mag_plane = make_2D_float_array(4, 4);
    volume.slices[1].pixels[0][0] = 1.0f;
    const VolumePtr result(volume.smooth_volume(1.0f));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->nslices, 4);
    EXPECT_EQ(result->image_type, 0);
    EXPECT_EQ(result->file_format, 20);
    EXPECT_EQ(result->pixel_format, 6);
    EXPECT_EQ(facts_of(result->slices[1]), (Facts{{4, 4, 0, 7, 4}, ""}));
    EXPECT_EQ(facts_of(result->slices[2]), (Facts{{4, 4, 1, 4, 1}, ""}));
    EXPECT_EQ(result->slices[2].pixels[1][11], 0.0f);
    expect_same_volume(*result, *smooth_line_by_line(volume, 1.0f));
    EXPECT_EQ(volume.slices[1].pixels[0][0], 1.0f);
    EXPECT_EQ(volume.slices[1].pixels[0][1], 0.0f);
}

TEST(SmoothVolume, LargerSlicesTakePartWithWhatTheVolumeCovers) {
    const auto volume = make_random_volume(6, 7, 9, 4);
    volume->slices[1] = *make_random(12, 9, 0, 1);
    volume->slices[2] = *make_random(7, 20, 1, 2);
    volume->slices[5] = *make_random(8, 10, 0, 3);
    const VolumePtr result(volume->smooth_volume(1.5f));
    ASSERT_NE(result, nullptr);
    expect_same_volume(*result, *smooth_line_by_line(*volume, 1.5f));
}

// Any array that a host puts there serves as far as it goes.
TEST(SmoothVolume, TheArrayOfAHost) {
    CVolume volume;
    volume.nrows = volume.ncols = 4;
    volume.slices = new CImage[5];
    for (int k = 0; k < 5; ++k)
        volume.slices[k] = CImage(4, 4, 0, 4, 6);
    for (const auto& [count, works] : {std::pair(50, false), {6, false}, {5, true}, {2, true}}) {
        volume.nslices = count;
        EXPECT_EQ(VolumePtr(volume.smooth_volume(1.0f)) != nullptr, works) << count;
        volume.ridges(1.0f, 0.0f, 0, 0, 0);
        EXPECT_EQ(volume.slices[0].mag_plane != nullptr, works) << count;
    }
}

TEST(SmoothVolume, EmptySlicesCountAsAbsent) {
    const auto volume = make_random_volume(7, 6, 9, 3);
    const auto with_gaps = std::make_unique<CVolume>(9, 6, 9, 0, 21, 7);
    for (int k = 0, from = 0; k < 9; ++k) {
        if (k == 3 || k == 8) {
            free_2D_float_array(with_gaps->slices[k].pixels);
            with_gaps->slices[k].pixels = nullptr;
            continue;
        }
        with_gaps->slices[k] = volume->slices[from++];
    }
    const VolumePtr expected(volume->smooth_volume(1.5f));
    const VolumePtr result(with_gaps->smooth_volume(1.5f));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->slices[3].pixels, nullptr);
    EXPECT_EQ(result->slices[8].pixels, nullptr);
    for (int k = 0, from = 0; k < 8; ++k) {
        if (k == 3)
            continue;
        EXPECT_TRUE(same_bits(samples_of(result->slices[k]), samples_of(expected->slices[from++])));
    }
}

TEST(SmoothVolume, Refuses) {
    const auto volume = make_random_volume(4, 4, 4, 1);
    for (const float sigma : {0.0f, -1.0f, std::nanf(""), std::numeric_limits<float>::infinity()})
        EXPECT_EQ(volume->smooth_volume(sigma), nullptr);
    EXPECT_EQ(CVolume().smooth_volume(1.0f), nullptr);
    EXPECT_EQ(CVolume(4, 0, 4, 0, 4, 6).smooth_volume(1.0f), nullptr);
    EXPECT_EQ(CVolume(4, 4, 4, 2, 4, 6).smooth_volume(1.0f), nullptr);
    volume->slices[2].nrows = 3;
    EXPECT_EQ(volume->smooth_volume(1.0f), nullptr);
    volume->slices[2].nrows = 4;
    volume->nslices = 5; // more than there are
    EXPECT_EQ(volume->smooth_volume(1.0f), nullptr);
}

} // namespace
