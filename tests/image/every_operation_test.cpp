// What holds of every operation on images.

#include <gtest/gtest.h>

#include <support/image_operations.h>
#include <support/pictures.h>

namespace {

using vorlane::form_of;
using vorlane::set_form;

// Sizes without a pixel, with and without a plane of them.
std::vector<ImagePtr> empty_images(int type) {
    std::vector<ImagePtr> images;
    for (const auto& [rows, cols] : {std::pair(0, 0), {0, 5}, {5, 0}}) {
        images.push_back(std::make_unique<CImage>(rows, cols, type, 7, 5));
        images.push_back(std::make_unique<CImage>());
        set_form(*images.back(), {rows, cols, type, 5, 7});
    }
    return images;
}

// Images whose fields promise more than their planes hold, as after a read that failed.
std::vector<ImagePtr> hollow_images() {
    std::vector<ImagePtr> images;
    for (const auto& [rows, cols, type] : {std::tuple(50, 3, 0), {4, 60, 0}, {4, 3, 1}}) {
        images.push_back(make_random(4, 3, 0, 1));
        set_form(*images.back(), {rows, cols + (type == 1), type, 4, 1});
    }
    images.push_back(std::make_unique<CImage>());
    set_form(*images.back(), {4, 3, 0, 4, 1}); // no plane at all
    images.push_back(make_random(4, 3, 0, 1));
    images.back()->nrows = -1;
    return images;
}

TEST(EveryOperation, GivesItsForm) {
    for (const ImageOperation& operation : image_operations()) {
        SCOPED_TRACE(operation.name);
        for (const int type : {0, 1}) {
            const ImagePtr image = make_random(12, 15, type, 1);
            image->file_format = 7;
            image->pixel_format = 5;
            image->edges_mag_dir(1.0f);
            image->scale_plane = make_2D_float_array(12, 15);
            const std::vector<float> before = samples_of(*image);
            const ImagePtr out(operation.run(*image));
            if (!(type == 0 ? operation.takes_gray : operation.takes_colour)) {
                EXPECT_EQ(out, nullptr);
                continue;
            }
            ASSERT_NE(out, nullptr);
            Facts expected{operation.form(form_of(*image)), ""};
            if (operation.name == "copy")
                expected.planes = "mds";
            if (operation.name == "Extract" || operation.name.starts_with("Reduce"))
                expected.planes = "md";
            EXPECT_EQ(facts_of(*out), expected);
            EXPECT_TRUE(same_bits(samples_of(*image), before));
        }
    }
}

TEST(EveryOperation, GivesAnEmptyImageOfAnEmptyOne) {
    for (const int type : {0, 1}) {
        for (const ImageOperation& operation : image_operations()) {
            SCOPED_TRACE(operation.name);
            for (const ImagePtr& image : empty_images(type)) {
                const ImagePtr out(operation.run(*image));
                if (!(type == 0 ? operation.takes_gray : operation.takes_colour)) {
                    EXPECT_EQ(out, nullptr);
                    continue;
                }
                ASSERT_NE(out, nullptr);
                EXPECT_EQ(facts_of(*out), (Facts{operation.form(form_of(*image)), ""}));
            }
        }
        for (const ImageChange& change : image_changes()) {
            SCOPED_TRACE(change.name);
            for (const ImagePtr& image : empty_images(type)) {
                change.run(*image);
                EXPECT_EQ(facts_of(*image).planes, change.planes);
            }
        }
    }
}

TEST(EveryOperation, ReadsNoMoreThanAPlaneHolds) {
    for (const ImageOperation& operation : image_operations()) {
        SCOPED_TRACE(operation.name);
        for (const ImagePtr& image : hollow_images()) {
            const ImagePtr out(operation.run(*image));
            if (operation.name != "copy") {
                EXPECT_EQ(out, nullptr);
            }
        }
    }
    for (const ImageChange& change : image_changes()) {
        SCOPED_TRACE(change.name);
        for (const ImagePtr& image : hollow_images()) {
            const float* const* const pixels = image->pixels;
            const auto before = pixels ? samples_of(pixels, 4, 3) : std::vector<float>();
            change.run(*image);
            EXPECT_EQ(facts_of(*image).planes, "");
            if (pixels && change.name != "assignment") {
                EXPECT_TRUE(same_bits(samples_of(pixels, 4, 3), before));
            }
        }
    }
}

// A type other than 0 and 1 that a host has given pixels is colour where the result allows it.
TEST(EveryOperation, TakesOtherTypesForColour) {
    const ImagePtr colour = make_random(20, 24, 1, 3);
    const ImagePtr other = make_random(20, 24, 1, 3);
    other->image_type = 2;
    colour->edges_mag_dir(1.0f);
    other->edges_mag_dir(1.0f);
    const auto same_planes = [&](float** CImage::*plane) {
        return same_bits(samples_of((*other).*plane, 20, 24), samples_of((*colour).*plane, 20, 24));
    };
    EXPECT_TRUE(same_planes(&CImage::mag_plane));
    EXPECT_TRUE(same_planes(&CImage::dir_plane));
    const CImage copy(*other);
    EXPECT_EQ(facts_of(copy), (Facts{form_of(*other), "md"}));
    EXPECT_EQ(copy.pixels, nullptr);
    EXPECT_EQ(copy.mag_plane[9][9], other->mag_plane[9][9]);
    colour->SobelFilter();
    other->SobelFilter();
    EXPECT_TRUE(same_planes(&CImage::mag_plane));
    for (const auto& run : {+[](const CImage& a) { return a.Threshold(99.0f); },
                            +[](const CImage& a) { return a.MakeGray(); }})
        EXPECT_TRUE(
            same_bits(samples_of(*ImagePtr(run(*other))), samples_of(*ImagePtr(run(*colour)))));
    EXPECT_EQ(other->Invert(), nullptr);

    CImage narrow(4, 3, 0, 1, 4);
    narrow.image_type = 2;
    narrow.edges_mag_dir(1.0f);
    EXPECT_EQ(narrow.mag_plane, nullptr);
}

} // namespace
