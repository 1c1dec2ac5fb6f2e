#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/imagefiles/image_files.h>

namespace {

using namespace std::string_literals;

class SampleDumps : public testing::Test {
protected:
    ~SampleDumps() override { SetHalvortTemplate(nullptr); }

    std::string written(CImage& source, int file_format, int pixel_format = 4) {
        source.file_format = file_format;
        source.pixel_format = pixel_format;
        EXPECT_EQ(source.WriteImage(folder.path("out").c_str()), 1);
        return folder.read("out");
    }

    ScratchFolder folder;
    MessageCatcher messages;
    ImagePtr image = make_gray(2, 2, [](int i, int j) {
        const float values[] = {70000.7f, -1.5f, 300.7f, 1.0f};
        return values[2 * i + j];
    });
};

TEST_F(SampleDumps, AreWrittenByteForByte) {
    EXPECT_EQ(written(*image, 7), "\0\2\0\2\x11\x70\xFF\xFF\x01\x2C\0\1"s);
    EXPECT_EQ(written(*image, 8, 4), "\x70\xFF\x2C\x01"s);
    EXPECT_EQ(written(*image, 8, 7), "\x70\x11\xFF\xFF\x2C\x01\x01\x00"s);
    EXPECT_EQ(written(*image, 8, 5), "\x70\x11\x01\0\xFF\xFF\xFF\xFF\x2C\x01\0\0\x01\0\0\0"s);
    EXPECT_EQ(written(*image, 8, 6), "\x5A\xB8\x88\x47\0\0\xC0\xBF\x9A\x59\x96\x43\0\0\x80\x3F"s);
    EXPECT_EQ(written(*image, 8, 0), "");
    // Of colour, the first third of each row.
    const ImagePtr colour = make_colour(
        2, 3, [](int i, int j, int k) { return static_cast<float>('a' + 9 * i + 3 * j + k); });
    EXPECT_EQ(written(*colour, 8, 4), "abcjkl");
    EXPECT_EQ(written(*colour, 7), "\0\2\0\3\0a\0b\0c\0j\0k\0l"s);
    const ImagePtr long_one = make_gray(65537, 1, [](int, int) { return 0.0f; });
    EXPECT_EQ(written(*long_one, 7).substr(0, 4), "\0\1\0\1"s);
}

TEST_F(SampleDumps, HalvortFilesTakeTheHeaderOfATemplate) {
    const std::string header = std::string(300000, 'h') + "end";
    SetHalvortTemplate(folder.write("template", header + std::string(0x20000, 'p')).c_str());
    EXPECT_EQ(written(*image, 9), header + "\x11\x70\xFF\xFF\x01\x2C\0\1"s);
    ImagePtr square = make_random(256, 256, 0, 3);
    EXPECT_EQ(written(*square, 9).size(), header.size() + 0x20000);
    SetHalvortTemplate(folder.write("short", std::string(0x20000, 'p')).c_str());
    EXPECT_EQ(written(*image, 9), "\x11\x70\xFF\xFF\x01\x2C\0\1"s);
    EXPECT_TRUE(messages.take().empty());
}

TEST_F(SampleDumps, WithoutATemplateNothingIsTouched) {
    const auto write = [&](const std::string& name) {
        return write_halvort_image(image->pixels, folder.path(name).c_str(), 2, 2);
    };
    folder.write("kept", "kept");
    folder.write("write-only", "kept");
    std::filesystem::permissions(folder.path("write-only"), std::filesystem::perms::owner_write);
    std::error_code no_links; // where the system has none
    std::filesystem::create_symlink("nowhere", folder.path("link"), no_links);
    for (const std::string& path : {folder.path("none"), folder.path()}) {
        SetHalvortTemplate(path.c_str());
        for (const char* const name : {"kept", "write-only", "link", "new"})
            EXPECT_EQ(write(name), 0) << name;
        EXPECT_TRUE(messages.take().empty());
        EXPECT_EQ(folder.read("kept"), "kept");
        EXPECT_TRUE(folder.has("write-only"));
        EXPECT_TRUE(no_links || std::filesystem::is_symlink(folder.path("link")));
        EXPECT_FALSE(folder.has("nowhere"));
        EXPECT_FALSE(folder.has("new"));
        EXPECT_EQ(write("no/new"), 0);
        EXPECT_EQ(messages.take_failures(), (Texts{"write_raw_image: Can't create file"}));
    }
}

TEST_F(SampleDumps, DontDestroyTheirTemplate) {
    const std::string bytes = "header" + std::string(0x20000, 'p');
    SetHalvortTemplate(folder.write("template", bytes).c_str());
    std::filesystem::create_hard_link(folder.path("template"), folder.path("link"));
    for (const char* const name : {"template", "link"}) {
        EXPECT_EQ(write_halvort_image(image->pixels, folder.path(name).c_str(), 2, 2), 0);
        EXPECT_EQ(messages.take_failures(), (Texts{"write_raw_image: Can't create file"}));
        EXPECT_EQ(folder.read("template"), bytes);
    }
}

class HeaderlessData : public testing::Test {
protected:
    std::vector<float> read(const std::string& bytes, int cols, int image_type, int format,
                            int swap, int offset = 0) {
        const ImagePtr image(
            Raw2Img(folder.write("raw", bytes).c_str(), 2, cols, image_type, format, swap, offset));
        if (!image)
            return {};
        EXPECT_EQ(image->file_format, 4);
        EXPECT_EQ(image->image_type, image_type);
        pixel_format = image->pixel_format;
        return samples_of(*image);
    }

    ScratchFolder folder;
    MessageCatcher messages;
    int pixel_format = -1;
};

using Floats = std::vector<float>;

TEST_F(HeaderlessData, EveryGrayFormatInBothOrders) {
    const std::string bytes = "\x01\xF2\x03\x84"s;
    for (const int swap : {0, 1, -1}) {
        EXPECT_EQ(read("xy" + bytes, 2, 0, 0, swap, 2), (Floats{1, 0xF2, 3, 0x84}));
        EXPECT_EQ(pixel_format, 4);
    }
    EXPECT_EQ(read(bytes, 1, 0, 1, 0), (Floats{0x201, 0x403}));
    EXPECT_EQ(pixel_format, 7);
    EXPECT_EQ(read(bytes, 1, 0, 1, 1), (Floats{0x1F2, 0x384}));
    EXPECT_EQ(read(bytes, 1, 0, 2, 0), (Floats{0xF201 - 65536, 0x8403 - 65536}));
    EXPECT_EQ(read(bytes, 1, 0, 2, 1), (Floats{0x1F2, 0x384}));
    EXPECT_EQ(pixel_format, 7);
    const std::string words = "\x01\0\0\x80\x42\x28\0\0"s;
    EXPECT_EQ(read(words, 1, 0, 3, 0), (Floats{-2147483647.0f, 0x2842}));
    EXPECT_EQ(read(words, 1, 0, 3, 1), (Floats{16777344, 0x42280000}));
    EXPECT_EQ(pixel_format, 5);
    EXPECT_EQ(read(words, 1, 0, 4, 1)[1], 42.0f);
    EXPECT_EQ(read("\0\0\x28\x42\0\0\x80\xBF"s, 1, 0, 4, 0), (Floats{42, -1}));
    EXPECT_EQ(pixel_format, 6);
}

TEST_F(HeaderlessData, ColourTogetherOrInPlanes) {
    const std::string bytes = "abcdefghijkl";
    EXPECT_EQ(read("-" + bytes, 2, 1, 0, 1, 1),
              (Floats{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'}));
    EXPECT_EQ(pixel_format, 4);
    EXPECT_EQ(read(bytes, 2, 1, 1, 0),
              (Floats{'a', 'e', 'i', 'b', 'f', 'j', 'c', 'g', 'k', 'd', 'h', 'l'}));
    EXPECT_EQ(read(bytes, 2, 1, 2, 0), Floats(12, 0.0f));
    EXPECT_EQ(read(bytes, 2, 1, -1, 0), Floats(12, 0.0f));
}

TEST_F(HeaderlessData, WhatIsMissing) {
    EXPECT_EQ(read("ab", 2, 0, 0, 1), (Floats{'a', 'b', 'b', 'b'}));
    EXPECT_EQ(read("\1\0\2"s, 2, 0, 2, 0), (Floats{1, 1, 1, 1}));
    EXPECT_EQ(read("\0\1\2"s, 2, 0, 2, 1), (Floats{1, 0x2FF, -1, -1}));
    EXPECT_EQ(read("\0\1\2"s, 2, 0, 1, 1), (Floats{1, 0x2FF, 4095, 4095}));
    EXPECT_EQ(read("\0\0\0\7\1"s, 2, 0, 3, 1), (Floats{7, 33554432, -1, -1}));
    const Floats floats = read("\x42\x28"s, 1, 0, 4, 1);
    EXPECT_EQ(floats[0], 42.249996185302734375f); // 0x4228FFFF
    EXPECT_NE(floats[1], floats[1]);
    EXPECT_EQ(read("abc", 2, 1, 0, 0),
              (Floats{'a', 'b', 'c', 'c', 'c', 'c', 'c', 'c', 'c', 'c', 'c', 'c'}));
    EXPECT_EQ(read("abcdef", 2, 1, 1, 0),
              (Floats{'a', 'e', 'f', 'b', 'f', 'f', 'c', 'f', 'f', 'd', 'f', 'f'}));
    EXPECT_EQ(read("ab", 2, 0, 0, 0, 100), Floats(4, 0.0f));
}

TEST_F(HeaderlessData, WithoutSenseGivesNull) {
    EXPECT_EQ(read("abcd", 2, 0, 5, 0), Floats{});
    EXPECT_EQ(read("abcd", 2, 0, -1, 0), Floats{});
    EXPECT_EQ(read("abcd", 2, 2, 0, 0), Floats{});
    EXPECT_EQ(read("abcd", 2, -1, 0, 0), Floats{});
    EXPECT_EQ(read("abcd", 2, 0, 0, 0, -1), Floats{});
    EXPECT_EQ(read("abcd", -2, 0, 0, 0), Floats{});
    EXPECT_EQ(read("abcd", 2000000000, 1, 9, 0), Floats{});
    EXPECT_TRUE(messages.take().empty());
}

} // namespace
