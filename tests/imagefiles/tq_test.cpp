#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/imagefiles/image_files.h>

namespace {

using namespace std::string_literals;

class TqFiles : public testing::Test {
protected:
    // The file of an image with these codes, after a check that it was written.
    std::string written(const CImage& image, int pixel_format) {
        CImage copy(image);
        copy.file_format = 4;
        copy.pixel_format = pixel_format;
        EXPECT_EQ(copy.WriteImage(folder.path("image.tq").c_str()), 1);
        return folder.read("image.tq");
    }

    // Reads a file of these bytes; the image is null if that fails.
    ImagePtr read(const std::string& bytes) {
        auto image = std::make_unique<CImage>();
        const int result = image->ReadImage(folder.write("in.tq", bytes).c_str());
        EXPECT_EQ(result == 1, image->pixels != nullptr);
        return result ? std::move(image) : nullptr;
    }

    ScratchFolder folder;
    MessageCatcher messages;
};

TEST_F(TqFiles, EveryEncodingIsWrittenByteForByte) {
    const ImagePtr gray = make_gray(2, 2, [](int i, int j) {
        const float values[] = {70000.7f, -1.5f, 300.7f, 1.0f};
        return values[2 * i + j];
    });
    EXPECT_EQ(written(*gray, 4), "TQ\n2 2\n4\n0\n\x70\xFF\x2C\x01"s);
    EXPECT_EQ(written(*gray, 7), "TQ\n2 2\n7\n0\n\x70\x11\xFF\xFF\x2C\x01\x01\x00"s);
    EXPECT_EQ(written(*gray, 5),
              "TQ\n2 2\n5\n0\n"
              "\x70\x11\x01\x00\xFF\xFF\xFF\xFF\x2C\x01\x00\x00\x01\x00\x00\x00"s);
    EXPECT_EQ(written(*gray, 6),
              "TQ\n2 2\n6\n0\n"
              "\x5A\xB8\x88\x47\x00\x00\xC0\xBF\x9A\x59\x96\x43\x00\x00\x80\x3F"s);
    EXPECT_EQ(written(*gray, 0), "TQ\n2 2\n0\n0\n");
    const ImagePtr colour = make_colour(
        1, 2, [](int, int j, int k) { return static_cast<float>(256 * k + 10 * j + k) + 0.9f; });
    EXPECT_EQ(written(*colour, 4), "TQ\n1 2\n4\n1\n\x00\x01\x02\x0A\x0B\x0C"s);
}

TEST_F(TqFiles, RoundTripsOfAllEncodings) {
    // Wide enough that rows cross the blocks in which files move.
    const int rows = 3, cols = 100001;
    const auto wild = [](int i, int j) {
        return static_cast<float>((j % 977 - 400) * 13 * (i + 1)) * 1.37f;
    };
    const ImagePtr gray = make_gray(rows, cols, wild);
    for (const int format : {4, 5, 6, 7}) {
        SCOPED_TRACE(format);
        const ImagePtr back = read(written(*gray, format));
        ASSERT_TRUE(back);
        EXPECT_EQ(facts_of(*back), (Facts{{rows, cols, 0, format, 4}, ""}));
        const ImagePtr expected = make_gray(rows, cols, [&](int i, int j) -> float {
            const float value = wild(i, j);
            const int whole = static_cast<int>(value);
            return format == 4   ? static_cast<float>(whole & 0xFF)
                   : format == 5 ? static_cast<float>(whole)
                   : format == 6 ? value
                                 : static_cast<float>(static_cast<short>(whole));
        });
        EXPECT_TRUE(same_bits(samples_of(*back), samples_of(*expected)));
    }
    const ImagePtr colour = make_random(rows, cols, 1, 7, true);
    const ImagePtr back = read(written(*colour, 4));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->image_type, 1);
    EXPECT_TRUE(same_bits(samples_of(*back), samples_of(*colour)));
}

TEST_F(TqFiles, ShortFilesRepeatTheLastSample) {
    ImagePtr image = read("TQ\n2 3\n7\n0\n\x05\x00\xFE\xFF\x09"s);
    ASSERT_TRUE(image);
    EXPECT_EQ(samples_of(*image), (std::vector<float>{5, -2, -2, -2, -2, -2}));
    image = read("TQ\n1 3\n4\n1\nabcde");
    ASSERT_TRUE(image);
    EXPECT_EQ(samples_of(*image), (std::vector<float>{97, 98, 99, 100, 101, 101, 101, 101, 101}));
    image = read("TQ\n1 2\n6\n0\n");
    ASSERT_TRUE(image);
    EXPECT_EQ(samples_of(*image), (std::vector<float>{0, 0}));
}

TEST_F(TqFiles, MoviesReadAsTheirFirstFrameAndUnknownCodesAsZeros) {
    ImagePtr image = read("TQ of any kind\n1 2 3\n4\n0\nabcdef");
    ASSERT_TRUE(image);
    EXPECT_EQ(samples_of(*image), (std::vector<float>{97, 98}));
    image = read("TQ\n1 2\n9\n0\nabcdef");
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel_format, 9);
    EXPECT_EQ(samples_of(*image), (std::vector<float>{0, 0}));
    // A type that has no plane still tells its codes.
    int rows = 0, cols = 0, type = 0, format = 0;
    const std::string path = folder.write("third.tq", "TQ\n5 6\n4\n2\n");
    EXPECT_EQ(read_tqf_image(path.c_str(), &rows, &cols, &type, &format), nullptr);
    EXPECT_EQ(std::vector({rows, cols, type, format}), (std::vector{5, 6, 2, 4}));
    EXPECT_TRUE(messages.take().empty());
}

TEST_F(TqFiles, ColourIsInBytes) {
    EXPECT_FALSE(read("TQ\n1 1\n7\n1\nabcdef"));
    EXPECT_EQ(messages.take_failures(),
              (Texts{"A color image has to be in byte format", "CImage: Can't read data"}));
    const std::string kept = folder.write("kept.tq", "kept");
    const ImagePtr colour = make_random(1, 1, 1, 1);
    EXPECT_EQ(write_tqf_image(colour->pixels, kept.c_str(), 1, 1, 1, 6), 0);
    EXPECT_EQ(messages.take_failures(),
              (Texts{"write_tqf_image: A color image has to be in byte format"}));
    EXPECT_EQ(folder.read("kept.tq"), "kept");
}

} // namespace
