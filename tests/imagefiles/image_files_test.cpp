#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <filesystem>
#include <support/failing_stream.h>
#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/imagefiles/reading.h>
#include <vorlane/platform/file.h>

namespace {

using namespace std::string_literals;
using vorlane::ImageReader;

constexpr int unset = -77;

class ImageFiles : public testing::Test {
protected:
    std::string written(const CImage& image) {
        EXPECT_EQ(image.WriteImage(folder.path("out").c_str()), 1);
        return folder.read("out");
    }

    ScratchFolder folder;
    MessageCatcher messages;
};

TEST_F(ImageFiles, PrefixesAreCompared) {
    EXPECT_EQ(are_equal("P5\n", "P5"), 1);
    EXPECT_EQ(are_equal("P5", "P5\n"), 0);
    EXPECT_EQ(are_equal("P", "P5"), 0);
    EXPECT_EQ(are_equal("", ""), 1);
    EXPECT_EQ(are_equal("\xffz", "\xff"), 1);
    EXPECT_EQ(are_equal(nullptr, nullptr), 1);
}

TEST_F(ImageFiles, WithoutPixelsGoThereAndBack) {
    for (const int format : {1, 2, 4}) {
        for (const auto& [rows, cols] : {std::pair{0, 5}, {5, 0}, {0, 0}}) {
            const CImage empty(rows, cols, format == 2 ? 1 : 0, format, 4);
            CImage back(2, 2, 0, 1, 4);
            const std::string path = folder.write("empty", written(empty));
            ASSERT_EQ(back.ReadImage(path.c_str()), 1) << format;
            EXPECT_EQ(back.nrows, rows);
            EXPECT_EQ(back.ncols, cols);
        }
    }
    const std::string nothing = folder.write("nothing", "");
    EXPECT_TRUE(ImagePtr(Raw2Img(nothing.c_str(), 0, 3, 0, 0, 0, 0)));
}

TEST_F(ImageFiles, HeadersWithoutSenseAreRefused) {
    const struct {
        int file_format, image_type, pixel_format;
        std::vector<std::string> headers;
    } cases[] = {
        {1,
         0,
         4,
         {"P5\n", "P5", "P5\n#", "P5\n# only\n#comments", "P5\nx 2\n255\n", "P5\n2\n255\nabcd",
          "P5\n2 -2\n255\nabcd", "P5\n99999999999 1\n255\nab", "P5\n0 2147483647\n255\n",
          "P5\n2147483647 2147483647\n255\nab", "P5\n100000 100000\n255\nab"}},
        {4,
         unset,
         unset,
         {"TQ", "TQ\n", "TQ\n3\n4\n0\nabc", "TQ\n4 -1\n4\n0\n", "TQ\n1 1\n4\n", "TQ\n1 1\nx\n0\na",
          "TQ\n30000 30000\n4\n0\nshort", "TQ\n60000 60000\n0\n0\n" + std::string(40000, '0'),
          "TQ\n2147483647 2147483647\n6\n0\n", "TQ\n99999999999 1\n4\n0\nabc"}},
        {6, 0, 7, {"", std::string(127, 'x')}},
    };
    for (const auto& c : cases) {
        for (const std::string& header : c.headers) {
            SCOPED_TRACE(header.substr(0, 40));
            CImage image(2, 2, 1, 3, 6);
            image.image_type = image.pixel_format = unset;
            EXPECT_EQ(image.ReadImage(folder.write("in", header).c_str()), 0);
            EXPECT_EQ(messages.take_failures(), Texts{"CImage: Can't read data"});
            EXPECT_EQ(image.pixels, nullptr);
            EXPECT_EQ(image.nrows, 2); // the sizes stay
            EXPECT_EQ(image.file_format, c.file_format);
            EXPECT_EQ(image.image_type, c.image_type);
            EXPECT_EQ(image.pixel_format, c.pixel_format);
        }
    }
    // Large and honest: 2^27 samples, of which the file holds a thousandth.
    CImage honest;
    EXPECT_EQ(honest.ReadImage(
                  folder.write("in", "P5\n16384 8192\n255\n" + std::string((1 << 27) / 1000, 'z'))
                      .c_str()),
              1);
    EXPECT_EQ(honest.pixels[8191][16383], static_cast<float>('z'));
}

TEST_F(ImageFiles, WhatCantBeReadIsToldAtOnce) {
    const std::string fifo = folder.pipe("fifo");
    // The last is a plain file, of which no byte can be read.
    for (const std::string& path :
         {folder.path("missing"), folder.path(), fifo, "/dev/zero"s, "/proc/self/mem"s}) {
        SCOPED_TRACE(path);
        const char* const from = path.c_str();
        int rows = unset, type = unset;
        EXPECT_EQ(read_pgm_image(from, &rows, &rows), nullptr);
        EXPECT_EQ(read_ppm_image(from, &rows, &rows), nullptr);
        EXPECT_EQ(read_tqf_image(from, &rows, &rows, &type, &type), nullptr);
        EXPECT_EQ(messages.take_failures(),
                  (Texts{"read_pgm_image: Can't open file", "read_ppm_image: Can't open file",
                         "read_tqf_image: Can't open file"}));
        EXPECT_EQ(read_medical_image(from, &rows, &rows), nullptr);
        const bool has_length = path != "/proc/self/mem";
        EXPECT_EQ(messages.take_failures(),
                  has_length ? Texts{"read_senvoc_image: Can't open file"} : Texts{});
        EXPECT_THROW(read_bmp_image(from, &rows, &rows, &type), CFileException);
        EXPECT_EQ(Raw2Img(from, 1, 1, 0, 0, 0, 0), nullptr);
        EXPECT_EQ(rows, unset);
        EXPECT_EQ(type, unset);
        CImage image(2, 2, 0, 1, 4);
        float** const pixels = image.pixels;
        EXPECT_EQ(image.ReadImage(from), 0);
        EXPECT_EQ(image.pixels, pixels);
        EXPECT_EQ(messages.take_failures(), Texts{"CImage: Can't open file"});
    }
    EXPECT_EQ(Raw2Img(nullptr, 1, 1, 0, 0, 0, 0), nullptr);
    EXPECT_EQ(read_pgm_image(nullptr, nullptr, nullptr), nullptr);
}

TEST_F(ImageFiles, ThatFailHalfWayAreNotTakenForShort) {
    if (!failing_stream(""))
        GTEST_SKIP() << "no such streams here";
    const struct {
        const ImageReader& reader;
        std::string bytes;
    } cases[] = {{vorlane::pgm_reader, "P5\n3 2\n255\nabcdef"},
                 {vorlane::ppm_reader, "P6\n1 2\n255\nabcdef"},
                 {vorlane::tq_reader, "TQ\n3 2\n4\n0\nabcdef"}};
    for (const auto& c : cases) {
        for (std::size_t length = 0; length < c.bytes.size(); ++length) {
            SCOPED_TRACE(c.bytes.substr(0, length));
            const auto picture =
                read_opened(failing_stream(c.bytes.substr(0, length)), "path", c.reader);
            EXPECT_FALSE(picture.plane);
            EXPECT_FALSE(picture.nrows);
            EXPECT_EQ(messages.take_failures(), Texts{c.reader.cant_open});
        }
        EXPECT_TRUE(read_opened(failing_stream(c.bytes), "path", c.reader).plane);
    }
    const CImage gray(1, 1, 0, 3, 4);
    const std::string bmp = written(gray);
    for (const std::size_t length : {0u, 13u, 53u, 1077u, 1081u})
        EXPECT_THROW(
            read_opened(failing_stream(bmp.substr(0, length)), "path", vorlane::bmp_reader),
            CFileException)
            << length;
    EXPECT_TRUE(read_opened(failing_stream(bmp), "path", vorlane::bmp_reader).plane);
    EXPECT_TRUE(messages.take().empty());
}

TEST_F(ImageFiles, TheQuestionOfColourComesWhenTheFileIsThere) {
    const CImage colour(2, 2, 1, 1, 4);
    EXPECT_EQ(colour.WriteImage(folder.path("no/such").c_str()), 0);
    EXPECT_EQ(messages.take_failures(), Texts{"write_pgm_image: Can't create file"});
}

TEST_F(ImageFiles, WhatCantBeWrittenTouchesNothing) {
    const std::string kept = folder.write("kept", "kept");
    CImage image(2, 2, 0, 0, 4);
    for (const int format : {0, 5, 6, 20, -1}) {
        image.file_format = format;
        EXPECT_EQ(image.WriteImage(kept.c_str()), 0);
    }
    CImage without_pixels;
    without_pixels.nrows = without_pixels.ncols = 4;
    for (const int format : {1, 2, 3, 4, 7, 8, 9}) {
        without_pixels.file_format = format;
        EXPECT_EQ(without_pixels.WriteImage(kept.c_str()), 0);
    }
    EXPECT_EQ(write_bmp_image(image.pixels, kept.c_str(), 0, 2, 0), 0);
    EXPECT_TRUE(messages.take().empty());
    EXPECT_EQ(folder.read("kept"), "kept");
}

TEST_F(ImageFiles, ReadingKeepsTheOtherPlanes) {
    CImage image(3, 3, 0, 1, 4);
    image.mag_plane = make_2D_float_array(3, 3);
    float** const mag = image.mag_plane;
    ASSERT_EQ(image.ReadImage(folder.write("in", "P5\n1 1\n255\na").c_str()), 1);
    EXPECT_EQ(image.mag_plane, mag);
}

} // namespace
