#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/volume/volume.h>

namespace {

const Texts cant_open = {"Can't open file"};

std::string raw_description(const std::string& file, int slices, int rows, int cols, int size) {
    return "V2\nfile=" + file + "\nnbf=" + std::to_string(slices) +
           "\nrow=" + std::to_string(rows) + "\ncol=" + std::to_string(cols) +
           "\nsize=" + std::to_string(size) + "\n";
}

std::string series_description(const std::string& directory, const std::string& prefix, int start,
                               int end, const std::string& suffix) {
    return "V1\ndirectory=" + directory + "\nprefix=" + prefix +
           "\nstart slice=" + std::to_string(start) + "\nend slice=" + std::to_string(end) +
           "\nsuffix=" + suffix + "\n";
}

std::string pgm(int rows, int cols, unsigned char value) {
    return "P5\n" + std::to_string(cols) + " " + std::to_string(rows) + "\n255\n" +
           std::string(static_cast<std::size_t>(rows) * cols, static_cast<char>(value));
}

template<class Sample>
std::string bytes_of(std::initializer_list<Sample> samples) {
    std::string bytes(samples.size() * sizeof(Sample), '\0');
    std::memcpy(bytes.data(), samples.begin(), bytes.size());
    return bytes;
}

std::vector<float> all_samples(const CVolume& volume) {
    std::vector<float> all;
    for (int k = 0; k < volume.nslices; ++k) {
        const auto slice = samples_of(volume.slices[k]);
        all.insert(all.end(), slice.begin(), slice.end());
    }
    return all;
}

// Slices, rows, columns, image type, pixel format, file format.
std::vector<int> fields_of(const CVolume& v) {
    return {v.nslices, v.nrows, v.ncols, v.image_type, v.pixel_format, v.file_format};
}
using Fields = std::vector<int>;

TEST(Volume, FieldsOfNewObjects) {
    CVolume empty;
    EXPECT_EQ(fields_of(empty), (Fields{0, 0, 0, 0, 6, 4}));
    EXPECT_EQ(empty.slices, nullptr);

    const CVolume colour(3, 4, 5, 1, 21, 7);
    EXPECT_EQ(fields_of(colour), (Fields{3, 4, 5, 1, 7, 21}));
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(facts_of(colour.slices[k]), (Facts{{4, 5, 1, 7, 4}, ""}));
        EXPECT_EQ(samples_of(colour.slices[k]), std::vector<float>(60, 0.0f));
    }
    EXPECT_EQ(CVolume(0, 4, 5, 0, 4, 6).slices, nullptr);
    EXPECT_EQ(CVolume(-2, 4, 5, 0, 4, 6).slices, nullptr);
    EXPECT_EQ(CVolume(1, -4, 5, 0, 4, 6).slices[0].pixels, nullptr);
}

struct Encoding {
    int size;
    int pixel_format;
    std::string bytes; // of 2 slices of 1 x 2 samples
    std::vector<float> samples;
};

TEST(ReadVolume, EverySampleSize) {
    const ScratchFolder folder;
    const Encoding encodings[] = {
        {1, 4, "\xFF\x01\x80\x7F", {255.0f, 1.0f, 128.0f, 127.0f}},
        {2, 7, std::string("\xFF\xFF\x01\x00\x00\x80\xFF\x7F", 8), {-1, 1, -32768, 32767}},
        {4,
         5,
         bytes_of<int>({-1, 65536, 16777217, -2147483647 - 1}),
         {-1.0f, 65536.0f, 16777216.0f, -2147483648.0f}},
        {40, 6, bytes_of({0.1f, -3e38f, 1e-45f, -0.0f}), {0.1f, -3e38f, 1e-45f, -0.0f}},
        {3, 6, bytes_of({1.5f, 2.5f, 3.5f, 4.5f}), {1.5f, 2.5f, 3.5f, 4.5f}},
    };
    for (const Encoding& encoding : encodings) {
        const std::string data = folder.write("data", encoding.bytes);
        const std::string path =
            folder.write("volume", raw_description(data, 2, 1, 2, encoding.size));
        CVolume volume;
        ASSERT_EQ(volume.ReadVolume(path.c_str()), 1) << encoding.size;
        EXPECT_EQ(fields_of(volume), (Fields{2, 1, 2, 0, encoding.pixel_format, 21}));
        EXPECT_EQ(facts_of(volume.slices[1]), (Facts{{1, 2, 0, encoding.pixel_format, 8}, ""}));
        EXPECT_TRUE(same_bits(all_samples(volume), encoding.samples)) << encoding.size;
    }
}

// Blocks of the reader end in the middle of rows and of slices.
TEST(ReadVolume, SamplesStandWhereTheyBelong) {
    const ScratchFolder folder;
    constexpr int slices = 3, rows = 211, cols = 307;
    std::string bytes;
    std::vector<float> expected;
    for (int k = 0; k < slices * rows * cols; ++k) {
        const auto value = static_cast<short>(k * 7919);
        bytes.append(reinterpret_cast<const char*>(&value), 2);
        expected.push_back(value);
    }
    const std::string data = folder.write("data", bytes);
    CVolume volume;
    const std::string path = folder.write("v", raw_description(data, slices, rows, cols, 2));
    ASSERT_EQ(volume.ReadVolume(path.c_str()), 1);
    EXPECT_EQ(all_samples(volume), expected);

    // Without its last 1001 bytes: half a sample counts as missing.
    folder.write("data", bytes.substr(0, bytes.size() - 1001));
    ASSERT_EQ(volume.ReadVolume(path.c_str()), 1);
    std::fill(expected.end() - 501, expected.end(), 0.0f);
    EXPECT_EQ(all_samples(volume), expected);
}

TEST(ReadVolume, DescriptionLinesAreScanFormats) {
    const ScratchFolder folder;
    const std::string data = folder.write("data", "abcdef");
    const std::string texts[] = {
        "V2 and whatever else\r\nfile=  " + data +
            " trailing\r\nnbf= +2\r\nrow=\t1\r\ncol=3x\r\nsize=1\r\n",
        "V2\nfile=" + data + "\nnbf=2\nrow=1\ncol=3\nsize=1", // no newline at the end
    };
    for (const std::string& text : texts) {
        CVolume volume;
        ASSERT_EQ(volume.ReadVolume(folder.write("v", text).c_str()), 1) << text;
        EXPECT_EQ(all_samples(volume), (std::vector<float>{'a', 'b', 'c', 'd', 'e', 'f'}));
    }
    // Keys are matched as they stand, one a line: what doesn't fit leaves its field alone.
    const std::string misfits[] = {"Row=9\n",           " row=9\n", "row 9\n", "row=x9\n",
                                   "row=99999999999\n", "col=9\n",  "\n",      "size=9\n"};
    for (const std::string& line : misfits) {
        CVolume volume;
        volume.nrows = 2;
        const std::string text = "V2\nfile=" + data + "\nnbf=1\n" + line + "col=3\nsize=1\n";
        ASSERT_EQ(volume.ReadVolume(folder.write("v", text).c_str()), 1) << line;
        EXPECT_EQ(volume.nrows, 2) << line;
        EXPECT_EQ(all_samples(volume), (std::vector<float>{'a', 'b', 'c', 'd', 'e', 'f'}));
    }
}

TEST(ReadVolume, SizeThatSaysNothingKeepsThePixelFormat) {
    const ScratchFolder folder;
    const std::string data = folder.write("data", std::string(16, '\1'));
    const std::string path = folder.write("v", raw_description(data, 1, 2, 2, 8));
    CVolume volume;
    volume.pixel_format = 0;
    ASSERT_EQ(volume.ReadV2Volume(path.c_str()), 1);
    EXPECT_EQ(volume.pixel_format, 0);
    EXPECT_EQ(all_samples(volume), std::vector<float>(4, 0.0f));
    volume.pixel_format = 7;
    ASSERT_EQ(volume.ReadV2Volume(path.c_str()), 1);
    EXPECT_EQ(all_samples(volume), std::vector<float>(4, 257.0f));
}

TEST(ReadVolume, WhatCannotBeOpened) {
    const ScratchFolder folder;
    MessageCatcher messages;
    CVolume volume;
    const std::string missing = folder.path("missing");
    EXPECT_EQ(volume.ReadVolume(missing.c_str()), 0);
    EXPECT_EQ(messages.take_failures(), cant_open);
    EXPECT_EQ(volume.ReadVolume(nullptr), 0);
    EXPECT_EQ(volume.ReadVolume(folder.path().c_str()), 0);
    EXPECT_EQ(messages.take_failures().size(), 2u);
    EXPECT_EQ(volume.ReadV1Volume(missing.c_str()), 0);
    EXPECT_EQ(volume.ReadV2Volume(missing.c_str()), 0);
    for (const char* text : {"", "V", "V3\n", " V1\n", "v2\n"})
        EXPECT_EQ(volume.ReadVolume(folder.write("v", text).c_str()), 0) << text;
    EXPECT_TRUE(messages.take_failures().empty());
    EXPECT_EQ(volume.file_format, 4);

    const std::string good =
        folder.write("good", raw_description(folder.write("data", "12"), 2, 1, 1, 1));
    ASSERT_EQ(volume.ReadVolume(good.c_str()), 1);
    const CImage* const slices = volume.slices;
    for (const std::string& data : {missing, folder.path(), std::string()}) {
        const std::string path = folder.write("v", raw_description(data, 7, 1, 1, 4));
        EXPECT_EQ(volume.ReadVolume(path.c_str()), 0);
        EXPECT_EQ(messages.take_failures(), cant_open);
        EXPECT_EQ(volume.nslices, 7);
        EXPECT_EQ(volume.pixel_format, 5);
        EXPECT_EQ(volume.file_format, 21);
        EXPECT_EQ(volume.slices, slices);
    }
    // The seven slices aren't there.
    EXPECT_EQ(volume.smooth_volume(1.0f), nullptr);
}

TEST(ReadVolume, SizesWithoutSense) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const std::string data = folder.write("data", std::string(64, 'x'));
    constexpr int big = std::numeric_limits<int>::max();
    const int sizes[][3] = {{0, 2, 2},           {2, 0, 2},       {2, 2, 0},
                            {-1, 2, 2},          {2, -2, 2},      {2, 2, -big},
                            {big, big, big},     {big, 1, 1},     {1, big, 1},
                            {10000, 1000, 1000}, {1 << 21, 1, 1}, {1 << 10, 1 << 14, 1}};
    for (const auto& size : sizes) {
        for (const int bytes : {1, 40}) {
            CVolume volume;
            const std::string text = raw_description(data, size[0], size[1], size[2], bytes);
            EXPECT_EQ(volume.ReadVolume(folder.write("v", text).c_str()), 0) << text;
            EXPECT_EQ(messages.take_failures(), cant_open);
            EXPECT_EQ(volume.slices, nullptr);
        }
    }
    // An honest size with few samples is read, and so is a long file of narrow slices.
    CVolume volume;
    ASSERT_EQ(
        volume.ReadVolume(folder.write("v", raw_description(data, 64, 1024, 1024, 1)).c_str()), 1);
    EXPECT_EQ(volume.slices[0].pixels[0][63], 'x');
    EXPECT_EQ(volume.slices[0].pixels[0][64], 0.0f);
    EXPECT_EQ(volume.slices[63].pixels[1023][1023], 0.0f);
    folder.write("data", std::string(1 << 21, 'y'));
    ASSERT_EQ(volume.ReadVolume(folder.write("v", raw_description(data, 1 << 21, 1, 1, 1)).c_str()),
              1);
    EXPECT_EQ(volume.slices[(1 << 21) - 1].pixels[0][0], 'y');
}

TEST(ReadSeries, OneSliceAFile) {
    const ScratchFolder folder;
    folder.write("s8.pgm", pgm(2, 3, 80));
    folder.write("s9.pgm", pgm(2, 3, 90));
    folder.write("s10.pgm", pgm(2, 3, 100));
    CVolume volume;
    const std::string path =
        folder.write("v", series_description(folder.path("."), "s", 8, 10, ".pgm"));
    ASSERT_EQ(volume.ReadVolume(path.c_str()), 1);
    EXPECT_EQ(fields_of(volume), (Fields{3, 2, 3, 0, 4, 20}));
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(volume.slices[k].file_format, 1);
        EXPECT_EQ(volume.slices[k].pixels[1][2], 80.0f + 10.0f * static_cast<float>(k));
    }
    // Another series releases the first.
    const std::string single =
        folder.write("v", series_description(folder.path("."), "s", 10, 10, ".pgm"));
    ASSERT_EQ(volume.ReadV1Volume(single.c_str()), 1);
    EXPECT_EQ(volume.nslices, 1);
    EXPECT_EQ(volume.slices[0].pixels[0][0], 100.0f);
}

TEST(ReadSeries, MissingImagesLeaveEmptySlices) {
    const ScratchFolder folder;
    MessageCatcher messages;
    folder.write("s-1.pgm", pgm(5, 5, 1));
    folder.write("s1.pgm", pgm(5, 5, 3));
    CVolume volume;
    const std::string path =
        folder.write("v", series_description(folder.path("."), "s", -1, 1, ".pgm"));
    ASSERT_EQ(volume.ReadVolume(path.c_str()), 1);
    EXPECT_EQ(messages.take_failures(), Texts{"CImage: Can't open file"});
    EXPECT_EQ(volume.nslices, 3);
    EXPECT_EQ(volume.slices[1].pixels, nullptr);
    EXPECT_EQ(volume.slices[2].pixels[4][4], 3.0f);

    const std::string none = folder.write(
        "v", series_description(folder.path("."), "n", std::numeric_limits<int>::max() - 1,
                                std::numeric_limits<int>::max(), ""));
    ASSERT_EQ(volume.ReadVolume(none.c_str()), 1);
    EXPECT_EQ(messages.take_failures().size(), 2u);
    EXPECT_EQ(volume.nrows, 0);
    EXPECT_EQ(volume.pixel_format, 6);
    EXPECT_EQ(volume.file_format, 20);
    EXPECT_EQ(volume.smooth_volume(1.0f), nullptr);
}

TEST(ReadSeries, NumbersWithoutSenseChangeNothing) {
    const ScratchFolder folder;
    MessageCatcher messages;
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    const int ranges[][2] = {{5, 4}, {0, most}, {least, most}, {most, least}, {1, 1 << 21}};
    for (const auto& range : ranges) {
        CVolume volume(1, 1, 1, 0, 4, 6);
        const std::string text = series_description(".", "s", range[0], range[1], "");
        EXPECT_EQ(volume.ReadVolume(folder.write("v", text).c_str()), 0) << text;
        EXPECT_EQ(messages.take_failures(), cant_open);
        EXPECT_EQ(volume.nslices, 1);
        EXPECT_EQ(volume.file_format, 4);
        EXPECT_NE(volume.slices, nullptr);
    }
}

// A name that is too long, in one of its parts or as a whole, is no name: its beginning may be that
// of another file.
TEST(ReadSeries, LongNamesAreNotRead) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const std::string directory = folder.path(".");
    ASSERT_LT(directory.size(), 80u);
    const std::string prefix(99 - directory.size() - 2, 'p'); // leaves room for one digit
    folder.write(prefix + "1", pgm(1, 1, 11));
    CVolume volume;
    const std::string text = series_description(directory, prefix, 1, 12, "");
    ASSERT_EQ(volume.ReadVolume(folder.write("v", text).c_str()), 1);
    EXPECT_EQ(volume.slices[0].pixels[0][0], 11.0f);
    EXPECT_EQ(volume.slices[9].pixels, nullptr); // 10, cut to 1
    EXPECT_EQ(messages.take_failures(), Texts(11, "CImage: Can't open file"));
    const std::string tail =
        series_description(directory, prefix, 1, 1, std::string(240, 's')) + "tail\n";
    ASSERT_EQ(volume.ReadVolume(folder.write("v", tail).c_str()), 1);
    EXPECT_EQ(messages.take_failures(), Texts{"CImage: Can't open file"});

    const std::string data = folder.path(std::string(99 - folder.path("").size(), 'd'));
    ASSERT_EQ(data.size(), 99u);
    folder.write(data.substr(folder.path("").size()), "12");
    EXPECT_EQ(volume.ReadVolume(folder.write("v", raw_description(data, 2, 1, 1, 1)).c_str()), 1);
    EXPECT_EQ(volume.ReadVolume(folder.write("v", raw_description(data + "x", 2, 1, 1, 1)).c_str()),
              0);
    EXPECT_EQ(messages.take_failures(), cant_open);

    // A line ends after 255 bytes. What is left of it counts as the next one, so that no further
    // key is where it belongs.
    folder.write("0", pgm(1, 1, 22));
    const std::string blanks(245 - directory.size(), ' ');
    const std::string shifted = "V1\ndirectory=" + directory + blanks +
                                "\nprefix=p\nstart slice=1\nend slice=1\nsuffix=s\n";
    ASSERT_EQ(volume.ReadVolume(folder.write("v", shifted).c_str()), 1);
    EXPECT_EQ(volume.slices[0].pixels[0][0], 22.0f);
    EXPECT_TRUE(messages.take_failures().empty());
}

} // namespace
