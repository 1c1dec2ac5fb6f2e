// Operations on images where memory runs short at any of their requests.

#include <cmath>

#include <gtest/gtest.h>

#include <support/failing_memory.h>
#include <support/image_operations.h>
#include <support/pictures.h>
#include <vorlane/filters/recursive_gaussian.h>

namespace {

// With planes, so that operations carry or reuse them.
ImagePtr make_subject(int type) {
    ImagePtr image = std::make_unique<CImage>(18, 21, type, 1, 4);
    for (int i = 0; i < 18; ++i)
        for (int j = 0; j < 21 * channels_of(*image); ++j)
            image->pixels[i][j] = static_cast<float>((i * 7 + j * 13) % 31);
    image->pixels[3][3] = NAN;
    image->mag_plane = make_2D_float_array(18, 21);
    image->dir_plane = make_2D_float_array(18, 21);
    return image;
}

TEST(ShortMemory, OperationsGiveNull) {
    for (const ImageOperation& operation : image_operations()) {
        SCOPED_TRACE(operation.name);
        for (const int type : {0, 1}) {
            const ImagePtr first(operation.run(*make_subject(type))); // tables are made once
            with_each_request_failing([&] { return make_subject(type); },
                                      [&](CImage& image) { delete operation.run(image); });
        }
    }
}

TEST(ShortMemory, ChangesKeepThePlanesAndTheForm) {
    for (const ImageChange& change : image_changes()) {
        SCOPED_TRACE(change.name);
        for (const int type : {0, 1}) {
            for (const bool has_planes : {true, false}) {
                Facts before{};
                with_each_request_failing(
                    [&] {
                        ImagePtr image = make_subject(type);
                        if (!has_planes) {
                            free_2D_float_array(std::exchange(image->mag_plane, nullptr));
                            free_2D_float_array(std::exchange(image->dir_plane, nullptr));
                        }
                        before = facts_of(*image);
                        return image;
                    },
                    [&](CImage& image) { change.run(image); },
                    [&](const CImage& image) { EXPECT_EQ(facts_of(image), before); });
            }
        }
    }
}

TEST(ShortMemory, ImagesThatCannotBeMade) {
    with_each_request_failing([] { return make_subject(1); },
                              [](const CImage& source) {
                                  const CImage sized(30, 40, 1, 1, 4);
                                  const CImage of_plane(18, 21, 1, source.pixels, 1, 4);
                                  delete CImage::CreateObject();
                                  free_2D_float_array(make_2D_float_array(5, 5));
                                  free_2D_float_array(
                                      make_2D_float_view(source.pixels[0], 5, 5, 5));
                                  free_1D_float_array(make_1D_float_array(7));
                                  free_1D_int_array(make_1D_int_array(7));
                              });
}

// A copy, whole or not at all.
TEST(ShortMemory, AssignmentKeepsTheOldPixels) {
    const CImage other(2, 2, 1, 2, 6);
    with_each_request_failing([] { return make_subject(0); }, [&](CImage& image) { image = other; },
                              [](const CImage& image) {
                                  EXPECT_EQ(image.nrows, 18);
                                  EXPECT_EQ(image.pixels[17][20],
                                            static_cast<float>((17 * 7 + 20 * 13) % 31));
                              });
}

// Lanes that stand empty take no memory of the size of an image.
TEST(ShortMemory, ThinImagesTakeNoMoreThanTheirPlanes) {
    vorlane::Plane coef(5, 5);
    ga(2.0f, coef.get());
    for (const int thickness : {1, 3, 9, 20}) {
        constexpr int length = 300000;
        const CImage wide(thickness, length, 0, 1, 4);
        const CImage tall(length, thickness, 0, 1, 4);
        const auto two_planes = 2 * sizeof(float) * length * static_cast<std::size_t>(thickness);
        const auto largest_request = [&](const CImage& image, auto filter) {
            FailingMemory memory;
            delete (image.*filter)(coef.get());
            return memory.largest_request();
        };
        EXPECT_LE(largest_request(wide, &CImage::apply_IIR4_filter_x), two_planes);
        // Each row of a tall plane takes a cache line and a pointer, more than its samples.
        EXPECT_LE(largest_request(tall, &CImage::apply_IIR4_filter_y),
                  std::max<std::size_t>(two_planes, 73 * length));
    }
}

} // namespace
