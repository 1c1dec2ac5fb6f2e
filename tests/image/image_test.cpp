#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>

namespace {

TEST(Image, DefaultIsEmpty) {
    const CImage image;
    EXPECT_EQ(facts_of(image), (Facts{{0, 0, 0, 6, 4}, ""}));
    EXPECT_EQ(image.pixels, nullptr);
}

TEST(Image, ConstructorsTakeFileFormatBeforePixelFormat) {
    const CImage gray(2, 3, 0, 1, 4);
    EXPECT_EQ(facts_of(gray), (Facts{{2, 3, 0, 4, 1}, ""}));
    EXPECT_EQ(samples_of(gray), std::vector<float>(6, 0.0f));
    const CImage colour(2, 3, 1, 2, 7);
    EXPECT_EQ(facts_of(colour), (Facts{{2, 3, 1, 7, 2}, ""}));
    EXPECT_EQ(samples_of(colour), std::vector<float>(18, 0.0f));
    EXPECT_EQ(CImage(2, 3, 2, 4, 6).pixels, nullptr);
    EXPECT_EQ(CImage(-2, 3, 0, 4, 6).pixels, nullptr);

    const auto source = make_random(4, 5, 1, 1);
    const CImage copy(4, 5, 1, source->pixels, 3, 4);
    EXPECT_TRUE(same_bits(samples_of(copy), samples_of(*source)));
    EXPECT_NE(copy.pixels[0], source->pixels[0]);
}

TEST(Image, CopyIsDeepAndLacksWhatTheSourceLacks) {
    const auto source = make_random(6, 7, 1, 2);
    source->mag_plane = make_2D_float_array(6, 7);
    source->mag_plane[5][6] = 3.0f;
    const CImage copy = source.get();
    EXPECT_TRUE(same_bits(samples_of(copy), samples_of(*source)));
    EXPECT_EQ(copy.mag_plane[5][6], 3.0f);
    EXPECT_NE(copy.mag_plane, source->mag_plane);
    EXPECT_EQ(copy.dir_plane, nullptr);
    const CImage empty(static_cast<const CImage*>(nullptr));
    EXPECT_EQ(facts_of(empty), facts_of(CImage()));
    EXPECT_EQ(empty.pixels, nullptr);
}

TEST(Image, AssignmentKeepsPlanesThatTheSourceLacks) {
    CImage target(2, 2, 0, 1, 4);
    target.dir_plane = make_2D_float_array(2, 2);
    target.dir_plane[1][1] = 9.0f;
    float** const kept = target.dir_plane;
    const auto source = make_random(50, 60, 0, 3);
    source->mag_plane = make_2D_float_array(50, 60);
    target = *source;
    EXPECT_EQ(target.nrows, 50);
    EXPECT_TRUE(same_bits(samples_of(target), samples_of(*source)));
    EXPECT_NE(target.mag_plane, nullptr);
    EXPECT_EQ(target.dir_plane, kept);
    EXPECT_EQ(kept[1][1], 9.0f);

    // The kept plane is smaller than the image by now; a copy takes what there is of it.
    const CImage copy(target);
    EXPECT_EQ(copy.dir_plane[1][1], 9.0f);
    EXPECT_EQ(copy.dir_plane[49][59], 0.0f);

    float** const pixels = target.pixels;
    target = CImage(5, 5, 3, 8, 5);
    EXPECT_EQ(target.image_type, 3);
    EXPECT_EQ(target.nrows, 5);
    EXPECT_EQ(target.pixels, pixels);

    CImage& same = target;
    target.image_type = 0;
    target = same;
    EXPECT_EQ(target.pixels, pixels);
}

TEST(Image, SetPixel) {
    CImage gray(2, 2, 0, 1, 4);
    CImage colour(2, 2, 1, 1, 4);
    gray.SetPixel(1, 0, 2.5f);
    colour.SetPixel(1, 1, 2.5f);
    EXPECT_EQ(samples_of(gray), (std::vector<float>{0, 0, 2.5f, 0}));
    EXPECT_EQ(samples_of(colour),
              (std::vector<float>{0, 0, 0, 0, 0, 0, 0, 0, 0, 2.5f, 2.5f, 2.5f}));
    colour.SetPixel(0, 0, 0xAB332211UL);
    EXPECT_EQ(colour.pixels[0][0], 0x11);
    EXPECT_EQ(colour.pixels[0][1], 0x22);
    EXPECT_EQ(colour.pixels[0][2], 0x33);
    gray.SetPixel(0, 0, 0xFF0000UL);
    EXPECT_EQ(gray.pixels[0][0], 85.0f);
    gray.SetPixel(0, 0, 0x020100UL);
    EXPECT_EQ(gray.pixels[0][0], static_cast<float>(3 * double{0.33333334f}));
}

TEST(Image, NormalizeAtItsLimits) {
    CImage image(1, 2, 0, 1, 6);
    image.Normalize(0.0f, 1.0f);
    EXPECT_EQ(image.pixel_format, 4);
    EXPECT_TRUE(std::isnan(image.pixels[0][0])); // equal samples

    image.pixels[0][0] = 2000000.0f; // both above the start of the search for the smallest
    image.pixels[0][1] = 3000000.0f;
    image.Normalize(0.0f, 1.0f);
    EXPECT_EQ(image.pixels[0][0], 0.5f);

    CImage empty;
    empty.Normalize(0.0f, 255.0f);
    EXPECT_EQ(empty.pixel_format, 4);
}

TEST(Image, WindowCenterTruncatesAndKeepsToTheFirstColumns) {
    const auto image =
        make_colour(1, 2, [](int, int j, int k) { return static_cast<float>(3 * j + k) + 0.9f; });
    image->pixels[0][1] = -0.9f;
    const int table[] = {10, 11, 12};
    image->WindowCenter(table);
    EXPECT_EQ(samples_of(*image), (std::vector<float>{10, 10, 2.9f, 3.9f, 4.9f, 5.9f}));
}

} // namespace
