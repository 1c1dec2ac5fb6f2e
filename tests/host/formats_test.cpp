// PNG, JPEG and TIFF files: those of another program beside what it says is in them, ours read by
// it, and broken ones. What the build or the machine lacks is skipped.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <host/pictures.h>
#include <support/images.h>
#include <support/scratch_folder.h>

using namespace vorlane::host;
using namespace std::string_literals;
using vorlane::PixelFormat;

namespace {

using Line = std::vector<float>;

bool has_format(const std::string& name) {
    const auto& all = picture_formats();
    return std::any_of(all.begin(), all.end(), [&](const PictureFormat& format) {
        return format.name == name && format.left_out.empty();
    });
}

class Formats : public testing::Test {
protected:
    ScratchFolder folder;

    void SetUp() override { collect_messages(); }
    void TearDown() override { SetMessageBoxHandler(nullptr); }

    // Another program's conversion, in the folder; false if it isn't there.
    bool convert(const std::string& arguments) {
        return std::system(("cd '" + folder.path() + "' && MAGICK_THREAD_LIMIT=1 convert " +
                            arguments + " 2>/dev/null")
                               .c_str()) == 0;
    }
    // A photo in the ways that another program can write it, as a0, a1 ..., and each again as a map
    // that it has read from there.
    bool convert_photo(const std::vector<std::string>& ways, const std::string& ending) {
        write_photo("photo.ppm", 1, 8);
        std::string writes = "-respect-parentheses photo.ppm ";
        std::string reads = "-respect-parentheses xc: ";
        for (std::size_t k = 0; k < ways.size(); ++k) {
            const std::string name = std::string("a").append(std::to_string(k));
            writes += "\\( -clone 0 " + ways[k] + " -write " + name + ending + " +delete \\) ";
            reads +=
                "\\( " + name + ending + " -colorspace sRGB -write " + name + ".pam +delete \\) ";
        }
        return convert(writes + "null:") && convert(reads + "null:");
    }
    // Compares them.
    void expect_same_photos(const std::vector<std::string>& ways, const std::string& ending,
                            double tolerance) {
        for (std::size_t k = 0; k < ways.size(); ++k) {
            const std::string name = std::string("a").append(std::to_string(k));
            const Line ours = read(name + ending);
            const Line theirs = read_theirs(name + ".pam", ours);
            ASSERT_EQ(ours.size(), theirs.size()) << ways[k];
            for (std::size_t j = 0; j < ours.size(); ++j)
                ASSERT_NEAR(ours[j], theirs[j], tolerance) << ways[k];
        }
    }
    // A picture of 67 x 45 pixels with all colours in it, without help from outside.
    void write_photo(const std::string& name, int image_type, int depth) {
        const unsigned largest = depth == 16 ? 65535 : 255;
        CImage image(45, 67, image_type, 0, depth == 16 ? PixelFormat::int16 : PixelFormat::byte);
        const int channels = image_type == 1 ? 3 : 1;
        std::mt19937 random(1);
        for (int i = 0; i < 45; ++i)
            for (int j = 0; j < 67 * channels; ++j)
                image.pixels[i][j] = static_cast<float>(random() % (largest + 1));
        save_picture(image, folder.path(name));
    }
    Line read(const std::string& name, const OpenOptions& options = {}) {
        return samples_of(*open_picture(folder.path(name), options).image);
    }
    // What another program has turned into a map, of three equal channels where ours is gray.
    Line read_theirs(const std::string& name, const Line& ours) {
        const Line theirs = read(name);
        if (theirs.size() != 3 * ours.size())
            return theirs;
        Line gray;
        for (std::size_t k = 0; k < theirs.size(); k += 3)
            gray.push_back(theirs[k]);
        return gray;
    }
    std::string why_not(const std::string& name) {
        try {
            open_picture(folder.path(name));
        } catch (const Error& error) {
            return std::string(error.what()).substr(folder.path(name).size() + 2);
        }
        return "not refused";
    }
};

#define NEEDS(format)                                                                              \
    if (!has_format(format))                                                                       \
    GTEST_SKIP() << "this build lacks " << format
#define NEEDS_CONVERT()                                                                            \
    if (!convert("-size 1x1 xc:white there.png"))                                                  \
    GTEST_SKIP() << "ImageMagick isn't installed"

} // namespace

TEST_F(Formats, EveryKindOfPngIsReadAsAnotherProgramReadsIt) {
    NEEDS("PNG");
    NEEDS_CONVERT();
    const std::vector<std::string> ways = {"",
                                           "-colorspace Gray",
                                           "-colorspace Gray -depth 1",
                                           "-colorspace Gray -depth 2",
                                           "-colorspace Gray -depth 4",
                                           "-colors 13",
                                           "-colors 200",
                                           "-depth 16",
                                           "-colorspace Gray -depth 16",
                                           "-interlace PNG",
                                           "-interlace PNG -depth 16",
                                           "-colors 2 -colorspace Gray -type Palette"};
    ASSERT_TRUE(convert_photo(ways, ".png"));
    expect_same_photos(ways, ".png", 0.0);
}

TEST_F(Formats, TransparencyIsLaidOverWhite) {
    NEEDS("PNG");
    NEEDS_CONVERT();
    ASSERT_TRUE(convert("-size 1x1 'xc:rgba(100,0,255,0.6)' -depth 8 PNG32:a.png"));
    EXPECT_EQ(read("a.png"), (Line{162, 102, 255})); // 255 * 0.6 = 153: 100 * 0.6 + 255 * 0.4
    ASSERT_TRUE(convert("-size 1x1 'xc:rgba(0,0,0,0)' -depth 8 PNG32:a.png"));
    EXPECT_EQ(read("a.png"), (Line{255, 255, 255}));
    ASSERT_TRUE(convert("-size 1x1 'xc:gray(0)' -alpha set -channel A -evaluate set 20% "
                        "-define png:bit-depth=16 -define png:color-type=4 a.png"));
    EXPECT_EQ(read("a.png"), (Line{52428}));
    ASSERT_TRUE(convert("xc:red xc:none +append -type PaletteAlpha PNG8:a.png"));
    EXPECT_EQ(read("a.png"), (Line{255, 0, 0, 255, 255, 255}));
}

TEST_F(Formats, PngAndTiffGoThereAndBackAtEveryDepth) {
    NEEDS("PNG");
    NEEDS("TIFF");
    for (const int type : {0, 1}) {
        for (const int depth : {8, 16}) {
            write_photo("photo.pam", type, depth);
            for (const char* name : {"a.png", "a.tif", "a.TIFF"}) {
                const Picture photo = open_picture(folder.path("photo.pam"));
                save_picture(*photo.image, folder.path(name));
                const Picture back = open_picture(folder.path(name));
                EXPECT_EQ(samples_of(*back.image), samples_of(*photo.image)) << name << depth;
                EXPECT_EQ(back.bits, depth);
                if (convert(name + " b.pam"s)) {
                    EXPECT_EQ(read_theirs("b.pam", samples_of(*photo.image)),
                              samples_of(*photo.image))
                        << name << depth;
                }
            }
        }
    }
    CImage real(1, 3, 1, 0, PixelFormat::float32);
    const Line values = {-1.5f, 0.25f, 1e30f, 3, 4, 5, 6, 7, 8};
    std::copy(values.begin(), values.end(), real.pixels[0]);
    save_picture(real, folder.path("a.tif"));
    EXPECT_EQ(read("a.tif"), values);
    EXPECT_TRUE(open_picture(folder.path("a.tif")).is_float);
    EXPECT_THROW(save_picture(real, folder.path("a.png"), {.depth = Depth::float32}), Error);
}

TEST_F(Formats, EveryKindOfTiffIsReadAsAnotherProgramReadsIt) {
    NEEDS("TIFF");
    NEEDS_CONVERT();
    const std::vector<std::string> ways = {
        "",
        "-depth 16",
        "-compress lzw",
        "-compress zip",
        "-compress RLE",
        "-interlace plane",
        "-define tiff:tile-geometry=32x16",
        "-interlace plane -depth 16 -define tiff:tile-geometry=16x32",
        "-colorspace Gray",
        "-colorspace Gray -depth 16 -define tiff:tile-geometry=16x16",
        "-monochrome",
        "-monochrome -compress Group4",
        "-colorspace Gray -depth 4",
        "-colorspace Gray -define quantum:polarity=min-is-white",
        "-colorspace Gray -depth 16 -define quantum:polarity=min-is-white",
        "-endian msb -depth 16"};
    ASSERT_TRUE(convert_photo(ways, ".tif"));
    expect_same_photos(ways, ".tif", 0.0);
    const std::vector<std::string> inks = {"-colorspace CMYK"}; // which multiply
    ASSERT_TRUE(convert_photo(inks, ".tif"));
    expect_same_photos(inks, ".tif", 1.0);
    ASSERT_TRUE(
        convert("photo.ppm -colors 13 -type Palette a.tif && convert a.tif -depth 8 a.pam"));
    const Line ours = read("a.tif");
    const Line theirs = read("a.pam");
    for (std::size_t k = 0; k < ours.size(); ++k)
        ASSERT_NEAR(ours[k], theirs[k], 1) << k; // colours of a palette have 16 bits
}

TEST_F(Formats, PagesOfATiffCountFromOne) {
    NEEDS("TIFF");
    NEEDS_CONVERT();
    ASSERT_TRUE(convert("-size 3x2 xc:black -size 5x4 xc:white a.tif"));
    const Picture first = open_picture(folder.path("a.tif"));
    EXPECT_EQ(first.page_count, 2);
    EXPECT_EQ(first.image->ncols, 3);
    const Picture second = open_picture(folder.path("a.tif:2"));
    EXPECT_EQ(second.page, 2);
    EXPECT_EQ(second.image->ncols, 5);
    EXPECT_EQ(why_not("a.tif:3"), "ere is no page 3; the file has 2"); // the name has no ":3"
}

// A picture of 2 rows, 1 2 3 and 4 5 6, that is stored turned in each of the eight ways.
TEST_F(Formats, TiffsAreTurnedTheWayUp) {
    NEEDS("TIFF");
    NEEDS_CONVERT();
    folder.write("a.pgm", "P5\n3 2\n255\n\1\2\3\4\5\6");
    const std::pair<const char*, Line> turned[] = {
        {"TopLeft", {1, 2, 3, 4, 5, 6}},     {"TopRight", {3, 2, 1, 6, 5, 4}},
        {"BottomRight", {6, 5, 4, 3, 2, 1}}, {"BottomLeft", {4, 5, 6, 1, 2, 3}},
        {"LeftTop", {1, 4, 2, 5, 3, 6}},     {"RightTop", {4, 1, 5, 2, 6, 3}},
        {"RightBottom", {6, 3, 5, 2, 4, 1}}, {"LeftBottom", {3, 6, 2, 5, 1, 4}},
    };
    for (const auto& [name, samples] : turned) {
        ASSERT_TRUE(convert("a.pgm -orient "s + name + " a.tif"));
        EXPECT_EQ(read("a.tif"), samples) << name;
    }
}

TEST_F(Formats, JpegsAreTurnedTheWayTheCameraWasHeld) {
    NEEDS("JPEG");
    CImage image(16, 32, 0, 0, PixelFormat::byte);
    for (int i = 0; i < 8; ++i)
        std::fill_n(image.pixels[i], 8, 200.0f); // a bright corner at the top left
    save_picture(image, folder.path("a.jpg"));
    const std::string bytes = folder.read("a.jpg");
    const std::string low = "Exif\0\0II*\0\x08\0\0\0\1\0\x12\1\3\0\1\0\0\0\6\0\0\0"s;
    const std::string high = "Exif\0\0MM\0*\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\6\0\0"s;
    for (const std::string& block : {low, high}) {
        const std::string marker = "\xFF\xE1\0"s + static_cast<char>(block.size() + 2) + block;
        folder.write("b.jpg", bytes.substr(0, 2) + marker + bytes.substr(2));
        const Picture turned = open_picture(folder.path("b.jpg"));
        ASSERT_EQ(turned.image->nrows, 32);
        ASSERT_EQ(turned.image->ncols, 16);
        EXPECT_NEAR(turned.image->pixels[4][12], 200, 20); // now at the top right
        EXPECT_NEAR(turned.image->pixels[4][4], 0, 20);
        // A directory behind the end of the block is nobody's orientation.
        for (std::size_t k = 0; k < block.size(); ++k) {
            std::string broken = marker;
            broken[4 + k] = static_cast<char>(0xF7);
            folder.write("c.jpg", bytes.substr(0, 2) + broken + bytes.substr(2));
            EXPECT_EQ(open_picture(folder.path("c.jpg")).image->nrows % 16, 0);
        }
    }
}

TEST_F(Formats, EveryKindOfJpegIsReadAsAnotherProgramReadsIt) {
    NEEDS("JPEG");
    NEEDS_CONVERT();
    const std::vector<std::string> ways = {"",
                                           "-colorspace Gray",
                                           "-interlace JPEG",
                                           "-quality 30",
                                           "-sampling-factor 4:4:4",
                                           "-colorspace CMYK"};
    ASSERT_TRUE(convert_photo(ways, ".jpg"));
    expect_same_photos(ways, ".jpg", 1.0);
    save_picture(*open_picture(folder.path("photo.ppm")).image, folder.path("fine.jpg"),
                 {.quality = 100});
    save_picture(*open_picture(folder.path("photo.ppm")).image, folder.path("coarse.jpg"),
                 {.quality = 10});
    EXPECT_LT(2 * folder.read("coarse.jpg").size(), folder.read("fine.jpg").size());
}

TEST_F(Formats, ShortAndBrokenFilesAreRefused) {
    const std::string sentence =
        "is shorter than its header says; the option allow-truncated takes what is there";
    OpenOptions allow = {.allow_truncated = true};
    for (const std::string name : {"PNG", "JPEG", "TIFF"}) {
        if (!has_format(name))
            continue;
        const std::string file = name == "PNG" ? "a.png" : name == "JPEG" ? "a.jpg" : "a.tif";
        write_photo(file, 1, 8);
        const std::string bytes = folder.read(file);
        folder.write("short", bytes.substr(0, bytes.size() / 2));
        EXPECT_EQ(why_not("short"), sentence) << name;
        if (name != "TIFF") {
            const Line whole = read(file);
            const Line part = read("short", allow);
            ASSERT_EQ(part.size(), whole.size());
            const auto first = std::mismatch(part.begin(), part.end(), whole.begin()).first;
            EXPECT_GT(first - part.begin(), 67 * 3 * 8) << name;
        }
        folder.write("stub", bytes.substr(0, 20));
        EXPECT_NE(why_not("stub"), "not refused");
        for (std::size_t k = 8; k < bytes.size(); k += bytes.size() / 97 + 1) {
            std::string broken = bytes;
            broken[k] = static_cast<char>(~broken[k]);
            folder.write("broken", broken);
            EXPECT_NE(why_not("broken"), "") << "one way or the other";
        }
    }
    if (has_format("PNG")) {
        std::string bomb = "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\1\x86\xA0\0\1\x86\xA0\x08\2\0\0\0"s;
        folder.write("bomb", bomb + "\x27\x30\x9C\x9F\0\0\0\0IDAT"s); // and its checksum
        EXPECT_EQ(why_not("bomb").substr(0, 22), "says 100000 x 100000 p");
    }
}

TEST_F(Formats, WhatTheBuildLacksIsSaid) {
    for (const PictureFormat& format : picture_formats()) {
        EXPECT_TRUE(format.left_out.empty() == (format.reads || format.writes)) << format.name;
        if (format.left_out.empty())
            continue;
        const std::string bytes = format.name == "PNG"    ? "\x89PNG\r\n\x1A\n"s
                                  : format.name == "JPEG" ? "\xFF\xD8\xFF\xE0"s
                                  : format.name == "TIFF" ? "II*\0"s
                                                          : std::string(128, '\0') + "DICM";
        folder.write("a", bytes);
        EXPECT_EQ(why_not("a"), format.name + " isn't read by this build, which lacks " +
                                    format.left_out.substr(6) + "; see vorlane --version");
    }
}
