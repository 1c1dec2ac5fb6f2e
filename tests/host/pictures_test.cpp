// Pictures in and out of files: what is understood, what is refused and how, and what becomes of
// values.

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <host/pictures.h>
#include <support/images.h>
#include <support/scratch_folder.h>

using namespace vorlane::host;
using vorlane::PixelFormat;
using namespace std::string_literals;
using Line = std::vector<float>;

namespace {

ImagePtr gray(int rows, int cols, const Line& samples, int pixel_format = 4) {
    return image_of(rows, cols, 0, samples, pixel_format);
}

ImagePtr colour(int rows, int cols, const Line& samples) {
    return image_of(rows, cols, 1, samples);
}

template<class Kind, class Work>
std::string refusal(Work work) {
    try {
        work();
    } catch (const Kind& error) {
        return error.what();
    }
    return "not refused";
}

class Pictures : public testing::Test {
protected:
    ScratchFolder folder;
    std::vector<std::string> notes;

    void SetUp() override { collect_messages(); }
    void TearDown() override { SetMessageBoxHandler(nullptr); }

    Picture open(const std::string& bytes, const OpenOptions& options = {}) {
        return open_picture(folder.write("picture", bytes), options);
    }
    Line read(const std::string& bytes, const OpenOptions& options = {}) {
        return samples_of(*open(bytes, options).image);
    }
    std::string why_not(const std::string& bytes, const OpenOptions& options = {}) {
        const std::string path = folder.write("wrong", bytes);
        std::string text = refusal<Error>([&] { open_picture(path, options); });
        const std::string name = path + ": ";
        return text.starts_with(name) ? text.substr(name.size()) : "no name in: " + text;
    }
    std::string save(const CImage& image, const std::string& name,
                     const SaveOptions& options = {}) {
        notes.clear();
        save_picture(image, folder.path(name), options,
                     [&](const std::string& text) { notes.push_back(text); });
        return folder.read(name);
    }
    Line there_and_back(const CImage& image, const std::string& name,
                        const SaveOptions& options = {}) {
        save(image, name, options);
        return samples_of(*open_picture(folder.path(name)).image);
    }
    std::string note() const {
        if (notes.size() != 1)
            return std::to_string(notes.size()) + " notes";
        return notes[0].substr(notes[0].find(": ") + 2);
    }
};

RangeRule rule(const std::string& text) {
    return RangeRule::parse(text);
}

} // namespace

TEST_F(Pictures, PortableMapsOfEveryKind) {
    const Line bits = {255, 0, 255, 0, 255, 255};
    EXPECT_EQ(read("P1\n# a comment\n3 2\n010\n1 0 0\n"), bits);
    EXPECT_EQ(read("P4\n3 2\n\x40\x80"), bits);
    EXPECT_EQ(read("P2 3 #width\n1\n7\n0 7\n3"), (Line{0, 255, 109}));
    EXPECT_EQ(read("P5\n3 1\n255\n\x01\x02\xFF"), (Line{1, 2, 255}));
    EXPECT_EQ(read("P5 3 1 15 \x00\x0F\x07"s), (Line{0, 255, 119}));
    const std::string wide = "P5\n2 1\n4095\n\x0F\xFF\x01\x02"s;
    EXPECT_EQ(read(wide), (Line{4095, 258}));
    EXPECT_EQ(open(wide).bits, 16);
    EXPECT_EQ(read("P3\n1 2\n255\n1 2 3 4 5 6"), (Line{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(read("P6\n1 1\n65535\n\x00\x01\xFF\xFF\x10\x00"s), (Line{1, 65535, 4096}));
    EXPECT_EQ(read("P7\nWIDTH 2\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\n"
                   "ENDHDR\n\x0A\xFF\x0A\x00"s),
              (Line{10, 255}));
    EXPECT_EQ(read("P7\nWIDTH 1\nHEIGHT 1\n# x\nDEPTH 3\nMAXVAL 3\nENDHDR\n\x00\x01\x03"s),
              (Line{0, 85, 255}));
    // Floats, with the bottom row first; the same value in both byte orders.
    EXPECT_EQ(read("Pf\n1 2\n-1.0\n\x00\x00\x80\x3F\x00\x00\x20\xC1"s), (Line{-10, 1}));
    EXPECT_EQ(read("Pf\n1 2\n1.0\n\x3F\x80\x00\x00\xC1\x20\x00\x00"s), (Line{-10, 1}));
    EXPECT_TRUE(open("PF\n1 1\n1\n123412341234").is_float);
}

TEST_F(Pictures, ALongMapIsReadAcrossBlocks) {
    std::string pixels;
    Line expected;
    for (int k = 0; k < 300 * 301; ++k) {
        pixels += static_cast<char>(k * 7 >> 8);
        pixels += static_cast<char>(k * 7);
        expected.push_back(static_cast<float>(k * 7 & 0xFFFF));
    }
    EXPECT_EQ(read("P5\n# an odd header\n300 301\n65535\n" + pixels), expected);
}

TEST_F(Pictures, ShortFilesAreRefusedUnlessAllowed) {
    const std::string sentence =
        "is shorter than its header says; the option allow-truncated takes what is there";
    const auto tq = [](const std::string& codes, const std::string& samples) {
        return "TQ\n2 2\n" + codes + samples;
    };
    std::string bmp(54 + 1024 + 8, '\0');
    bmp.replace(0, 2, "BM");
    bmp.replace(10, 4, "\x36\x04\x00\x00"s);
    bmp.replace(14, 16, "\x28\x00\x00\x00\x03\x00\x00\x00\x02\x00\x00\x00\x01\x00\x08\x00"s);
    EXPECT_EQ(open(bmp).image->nrows, 2);
    EXPECT_EQ(open(bmp.substr(0, bmp.size() - 1)).image->nrows, 2) << "padding may be missing";
    EXPECT_EQ(why_not(bmp.substr(0, bmp.size() - 2)), sentence);
    const std::string shortened[] = {
        "P5\n2 2\n255\nabc",   "P6\n2 2\n255\nabcabcabcab", "P4\n9 2\n\x01\x01\x01",
        "P1\n2 2\n101",        "P2\n2 2\n9\n1 2 3 ",        "P3\n1 1\n9\n1 23456789",
        "Pf\n2 2\n1\n1234123", tq("4\n0\n", "abc"),         tq("7\n0\n", "1234567"),
        tq("6\n0\n", "123"),   tq("4\n1\n", "abcdefghijk"),
    };
    for (const std::string& bytes : shortened) {
        EXPECT_EQ(why_not(bytes), sentence) << bytes;
        EXPECT_GT(open(bytes, {.allow_truncated = true}).image->nrows, 0) << bytes;
    }
    EXPECT_EQ(read("P5\n2 2\n255\nab", {.allow_truncated = true}), (Line{'a', 'b', 'b', 'b'}));
}

TEST_F(Pictures, WhatIsNoPictureIsNamedAndRefused) {
    const std::pair<std::string, std::string> wrong[] = {
        {"\0\0\0\x18"s + "ftypheic", "HEIC isn't read by this build; see vorlane --version"},
        {"\0\0\0\x18"s + "ftypavif", "AVIF isn't read by this build; see vorlane --version"},
        {"\0\0\0\x18"s + "ftypisom", "is a movie (MP4 or QuickTime); use vorlane movie"},
        {"RIFF1234WEBP", "WebP isn't read by this build; see vorlane --version"},
        {"RIFF1234AVI LIST", "is a movie (AVI); use vorlane movie"},
        {"GIF89a", "is a movie (GIF); use vorlane movie"},
        {"\xFF\x0A more", "JPEG XL isn't read by this build; see vorlane --version"},
        {"<?xml version=\"1.0\"?>\n<svg>", "SVG isn't read by this build; see vorlane --version"},
        {"V1\ndirectory=x\n", "is a volume (volume description); use vorlane volume"},
        {"%PDF-1.7\n\x80", "is no picture (PDF); see vorlane --version for what is read"},
        {"PK\3\4....", "is no picture (ZIP archive); see vorlane --version for what is read"},
        {"\x7F"
         "ELF\2\1",
         "is no picture (program); see vorlane --version for what is read"},
        {"\x1F\x8B\x08", "is no picture (gzip); see vorlane --version for what is read"},
        {"plain text\n", "is no picture (text); see vorlane --version for what is read"},
        {"P5 is a kind of file\n", "is a portable map with something else where a number belongs"},
        {"", "is no picture (an empty file); see vorlane --version for what is read"},
        {std::string(600, '\x01'), "isn't a picture of a known kind; see vorlane --version for "
                                   "what is read"},
    };
    for (const auto& [bytes, sentence] : wrong)
        EXPECT_EQ(why_not(bytes), sentence);
    EXPECT_EQ(refusal<Error>([&] { open_picture(folder.path()); }),
              folder.path() + ": is a folder; name a file in it");
    EXPECT_EQ(refusal<Error>([&] { open_picture("missing"); }),
              "missing: can't be opened: No such file or directory");
}

TEST_F(Pictures, HeadersWithoutAMeaningAreRefused) {
    EXPECT_EQ(why_not("P5\n0 4\n255\n"), "has no pixels");
    EXPECT_EQ(why_not("P5\n4 4\n65536\n" + std::string(99, 'x')),
              "is a portable map whose maximum isn't from 1 to 65535");
    EXPECT_EQ(why_not("P1\n2 1\n02"),
              "is a portable map with something else where a 0 or 1 belongs");
    EXPECT_EQ(why_not("P7\nWIDTH 2\nHEIGHT 1\nDEPTH 7\nMAXVAL 255\nENDHDR\n12345678901234"),
              "is a PAM file of 7 channels, which isn't read; gray and red, green, blue are");
    EXPECT_EQ(why_not("TQ\n2 2\n4\n"), "is a TQ file with a broken header");
    EXPECT_EQ(why_not("TQ\n2 2\n0\n0\n"), "is a TQ file without samples");
    EXPECT_EQ(why_not("TQ\n99999999999 2\n4\n0\n"), "is shorter than its header says; the option "
                                                    "allow-truncated takes what is there");
    EXPECT_EQ(why_not("P5\n100000 100000\n255\n", {.allow_truncated = true}),
              "says 100000 x 100000 pixels, which a file of its length can't hold");
    EXPECT_EQ(why_not("BM" + std::string(8, '\0') +
                      "\x36\0\0\0\x28\0\0\0\1\0\0\0\1\0\0\0\1\0\x20\0"s + std::string(40, '\0')),
              "is a BMP file of 32 bits a pixel; only 8 and 24 are read");
}

TEST_F(Pictures, AScannersFileNeedsItsHeaderOrTheOption) {
    std::string samples;
    for (int k = 0; k < 64; ++k)
        samples += "\x01"s + static_cast<char>(k);
    Line expected;
    for (int k = 0; k < 64; ++k)
        expected.push_back(static_cast<float>(256 + k));
    const std::string header = "\x08\0\0\0\x04\0\0\0"s + "ACR-NEMA 2.0";
    EXPECT_EQ(read(header + samples), expected);
    EXPECT_EQ(open(header + samples).format, "senvoc scanner file");
    EXPECT_EQ(why_not(samples).substr(0, 40), "isn't a picture of a known kind; see vor");
    EXPECT_EQ(why_not("a text on ACR-NEMA\n" + std::string(200, 'x')).substr(0, 20),
              "is no picture (text)");
    const OpenOptions scanner = {.scanner = true};
    EXPECT_EQ(read(samples, scanner), expected);
    EXPECT_EQ(why_not("short", scanner), "is too short for a scanner's image");
}

TEST_F(Pictures, PagesAreNamedBehindAColon) {
    const std::string path = folder.write("one.pgm", "P5\n1 1\n255\nx");
    EXPECT_EQ(open_picture(path + ":1").image->pixels[0][0], 'x');
    EXPECT_EQ(refusal<Error>([&] { open_picture(path + ":2"); }),
              path + ": there is no page 2; the file has one");
    EXPECT_EQ(refusal<Error>([&] { open_picture(path + ":0"); }), path + ":0: pages count from 1");
}

TEST_F(Pictures, EveryFormatGoesThereAndBack) {
    const auto picture = gray(2, 3, {0, 1, 128, 254, 255, 77});
    const auto photo = colour(2, 1, {0, 10, 255, 3, 4, 5});
    for (const char* name : {"a.pgm", "a.PGM", "a.pnm", "a.pam", "a.bmp", "a.tq"}) {
        EXPECT_EQ(there_and_back(*picture, name), samples_of(*picture)) << name;
        EXPECT_TRUE(notes.empty());
    }
    for (const char* name : {"a.ppm", "a.pnm", "a.pam", "a.bmp", "a.tq", "a.pfm"})
        EXPECT_EQ(there_and_back(*photo, name), samples_of(*photo)) << name;
    EXPECT_EQ(there_and_back(*gray(1, 9, {0, 255, 255, 0, 0, 0, 255, 0, 255}), "a.pbm"),
              (Line{0, 255, 255, 0, 0, 0, 255, 0, 255}));
    EXPECT_EQ(save(*gray(1, 2, {1, 2}), "a.ppm"), "P6\n2 1\n255\n\1\1\1\2\2\2");
    EXPECT_EQ(save(*gray(1, 2, {1, 258}, 7), "a.raw"), "\1\0\2\1"s);
    EXPECT_EQ(save(*gray(1, 2, {1, 258}, 4), "a.velk"), "\0\1\0\2\0\1\1\2"s);
}

TEST_F(Pictures, DepthFollowsTheImageAndLosesNothing) {
    const auto wide = gray(1, 2, {3, 40000}, PixelFormat::int16);
    EXPECT_EQ(save(*wide, "a.pgm"), "P5\n2 1\n65535\n\0\3\x9C\x40"s);
    EXPECT_EQ(there_and_back(*wide, "a.tq"), (Line{3, 40000})) << "as floats";
    const auto dark = gray(1, 2, {3, 4}, PixelFormat::int16);
    EXPECT_EQ(save(*dark, "a.pgm"), "P5\n2 1\n65535\n\0\3\0\4"s);
    SaveOptions bytes = {.depth = Depth::bits8};
    EXPECT_EQ(save(*dark, "a.pgm", bytes), "P5\n2 1\n255\n\3\4");
    const auto real = gray(1, 3, {-1.5f, 0.25f, NAN}, PixelFormat::float32);
    const Line back = there_and_back(*real, "a.pfm");
    EXPECT_EQ(back[0], -1.5f);
    EXPECT_EQ(back[1], 0.25f);
    EXPECT_TRUE(std::isnan(back[2]));
    EXPECT_EQ(there_and_back(*gray(1, 2, {-7, 2000}, PixelFormat::byte), "a.tq"), (Line{-7, 2000}));
    const auto result = gray(1, 2, {3, 300.25f}, PixelFormat::float32);
    EXPECT_EQ(there_and_back(*result, "a.pgm"), (Line{0, 255}));
    EXPECT_EQ(there_and_back(*result, "a.pgm", {.source_bits = 16}), (Line{3, 300}));
    EXPECT_EQ(save(*gray(1, 2, {255, 1}), "a.pgm", {.depth = Depth::bits16}),
              "P5\n2 1\n65535\n\0\xFF\0\1"s);
}

TEST_F(Pictures, ValuesThatFitAreRounded) {
    EXPECT_EQ(there_and_back(*gray(1, 5, {-0.4f, 0.5f, 1.5f, 12.6f, 255.4f}), "a.pgm"),
              (Line{0, 0, 2, 13, 255}));
    EXPECT_TRUE(notes.empty());
    there_and_back(*gray(1, 2, {0.1f, 0.75f}, PixelFormat::float32), "a.pgm");
    EXPECT_EQ(note(), "values 0.1 to 0.75 rounded to whole numbers; a range of 0:1 shows them in "
                      "full");
}

TEST_F(Pictures, ValuesThatDontFitFollowTheRule) {
    const auto values = gray(1, 3, {-100, 155, 410});
    EXPECT_EQ(there_and_back(*values, "a.pgm"), (Line{0, 128, 255}));
    EXPECT_EQ(note(), "values -100 to 410 stretched to 0 to 255");
    SaveOptions options = {.range = rule("clamp")};
    EXPECT_EQ(there_and_back(*values, "a.bmp", options), (Line{0, 155, 255}));
    EXPECT_EQ(note(), "values -100 to 410 clamped to 0 to 255");
    options.range = rule("wrap");
    EXPECT_EQ(there_and_back(*values, "a.pgm", options), (Line{156, 155, 154}));
    EXPECT_EQ(note(), "values -100 to 410 wrapped to 0 to 255");
    EXPECT_EQ(there_and_back(*values, "a.bmp", options), (Line{156, 155, 154}));
    options.range = rule("0:310");
    EXPECT_EQ(there_and_back(*values, "a.pgm", options), (Line{0, 128, 255}));
    EXPECT_TRUE(notes.empty());
    EXPECT_EQ(there_and_back(*values, "a.pfm", options), (Line{0, 127.5f, 255}));
    options.range = rule("100:0");
    EXPECT_EQ(there_and_back(*gray(1, 2, {0, 100}), "a.pgm", options), (Line{255, 0}));
    EXPECT_EQ(there_and_back(*gray(1, 2, {300, 300}), "a.pgm"), (Line{255, 255}));
    EXPECT_EQ(note(), "values of 300 clamped to 0 to 255");
    EXPECT_EQ(there_and_back(*gray(1, 2, {-5000, 70000}, PixelFormat::int16), "a.pgm"),
              (Line{0, 65535}));
    EXPECT_EQ(note(), "values -5000 to 70000 stretched to 0 to 65535");
    EXPECT_EQ(there_and_back(*colour(1, 1, {0, 255, 510}), "a.ppm"), (Line{0, 128, 255}));
}

TEST_F(Pictures, NotANumberAndInfinityAreToldOf) {
    EXPECT_EQ(there_and_back(*gray(1, 3, {NAN, 7, 9}), "a.pgm"), (Line{0, 7, 9}));
    EXPECT_EQ(note(), "1 not-a-numbers written as 0");
    EXPECT_EQ(there_and_back(*gray(1, 4, {INFINITY, 0, 10, -INFINITY}), "a.pgm"),
              (Line{255, 0, 255, 0}));
    EXPECT_EQ(note(), "values 0 to 10 stretched to 0 to 255");
    EXPECT_EQ(there_and_back(*gray(1, 2, {NAN, NAN}), "a.pgm"), (Line{0, 0}));
}

TEST_F(Pictures, WhatAFormatCantHoldIsRefusedAndNothingIsLeft) {
    const auto photo = colour(1, 1, {1, 2, 6});
    const auto why = [&](const CImage& image, const std::string& name, const SaveOptions& options) {
        const std::string path = folder.path(name);
        const std::string text = refusal<Error>([&] { save_picture(image, path, options); });
        EXPECT_FALSE(folder.has(name)) << name;
        return text.starts_with(path) ? text.substr(path.size() + 2) : text;
    };
    SaveOptions floats = {.depth = Depth::float32};
    EXPECT_EQ(why(*photo, "a.pgm", {}),
              "PGM holds no colour; the option gray takes its luminance, or write .ppm");
    EXPECT_EQ(why(*photo, "a.raw", {}),
              "raw holds no colour; the option gray takes its luminance, or write .png or .tif");
    EXPECT_EQ(why(*photo, "a.ppm", floats), "PPM holds no floats; write .tif or .pfm, or another "
                                            "depth");
    EXPECT_EQ(why(*photo, "a.tq", floats),
              "TQ holds no floats in colour; write .tif or .pfm, or another depth");
    EXPECT_EQ(why(*gray(1, 1, {7}), "a.pbm", {}),
              "PBM holds black and white only, 0 and 255; apply a threshold before, or write .pgm");
    EXPECT_EQ(why(CImage(), "a.pgm", {}), "the picture has no pixels, so nothing is written");
    EXPECT_EQ(why(*photo, "a.docx", {}).substr(0, 41), "the format of its ending isn't known; end");
    EXPECT_EQ(why(*photo, "none/a.ppm", {}), "can't be written: No such file or directory");
    EXPECT_EQ(there_and_back(*photo, "a.pgm", {.gray = true}), (Line{3}));
    EXPECT_THROW(rule("5:5"), UsageError);
    EXPECT_THROW(rule("1:2x"), UsageError);
    EXPECT_THROW(parse_depth("9"), UsageError);
    EXPECT_THROW(save_picture(*photo, "-"), UsageError);
}
