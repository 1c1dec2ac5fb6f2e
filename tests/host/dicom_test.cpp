// DICOM images as pictures: files composed element by element, and packed by another program.

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <host/pictures.h>
#include <support/images.h>
#include <support/scratch_folder.h>

using namespace vorlane::host;
using namespace std::string_literals;

namespace {

using Line = std::vector<float>;

std::string little(unsigned value, int bytes) {
    std::string text;
    for (int k = 0; k < bytes; ++k)
        text += static_cast<char>(value >> 8 * k);
    return text;
}

std::string element(unsigned group, unsigned number, const std::string& kind, std::string value) {
    if (value.size() % 2 == 1)
        value += kind == "UI" ? '\0' : ' ';
    const std::string tag = little(group, 2).append(little(number, 2)).append(kind);
    if (kind == "OW" || kind == "OB")
        return tag + little(0, 2) + little(static_cast<unsigned>(value.size()), 4) + value;
    return tag + little(static_cast<unsigned>(value.size()), 2) + value;
}

std::string number(unsigned group, unsigned tag, unsigned value) {
    return element(group, tag, "US", little(value, 2));
}

// An image of 2 rows and 3 columns of 16-bit words.
std::string file(const std::string& photometric, unsigned sign, unsigned stored,
                 const std::string& further, const std::vector<unsigned>& words) {
    const std::string syntax = element(2, 0x10, "UI", "1.2.840.10008.1.2.1");
    std::string samples;
    for (const unsigned word : words)
        samples += little(word, 2);
    return std::string(128, '\0') + "DICM" +
           element(2, 0, "UL", little(static_cast<unsigned>(syntax.size()), 4)) + syntax +
           element(8, 0x16, "UI", "1.2.840.10008.5.1.4.1.1.2") + element(8, 0x18, "UI", "1.2.3") +
           element(8, 0x60, "CS", "CT") + number(0x28, 2, 1) + element(0x28, 4, "CS", photometric) +
           (words.size() > 6 ? element(0x28, 8, "IS", std::to_string(words.size() / 6)) : "") +
           number(0x28, 0x10, 2) + number(0x28, 0x11, 3) + element(0x28, 0x30, "DS", "0.5\\0.25") +
           number(0x28, 0x100, 16) + number(0x28, 0x101, stored) + number(0x28, 0x102, stored - 1) +
           number(0x28, 0x103, sign) + further + element(0x7FE0, 0x10, "OW", samples);
}

const std::string slope = element(0x28, 0x1052, "DS", "-1024") + element(0x28, 0x1053, "DS", "2");

class Dicom : public testing::Test {
protected:
    ScratchFolder folder;

    void SetUp() override {
        for (const PictureFormat& format : picture_formats()) {
            if (format.name == "DICOM" && !format.reads)
                GTEST_SKIP() << "this build lacks DCMTK";
        }
    }
    Picture open(const std::string& bytes, const std::string& page = "") {
        return open_picture(folder.write("a.dcm", bytes) + page);
    }
    static Line samples_of(const Picture& picture) { return ::samples_of(*picture.image); }
};

} // namespace

TEST_F(Dicom, SamplesAreTheModalitysValues) {
    const Picture signs = open(file("MONOCHROME2", 1, 12, slope, {0, 1, 0x7FF, 0x800, 0xFFF, 5}));
    EXPECT_EQ(samples_of(signs), (Line{-1024, -1022, 3070, -5120, -1026, -1014}));
    EXPECT_EQ(signs.bits, 12);
    EXPECT_EQ(signs.row_spacing, 0.5);
    EXPECT_EQ(signs.col_spacing, 0.25);
    EXPECT_EQ(signs.facts.front().second, "CT");
    const Picture plain = open(file("MONOCHROME2", 0, 16, "", {0, 1, 2, 3, 40000, 65535}));
    EXPECT_EQ(samples_of(plain), (Line{0, 1, 2, 3, 40000, 65535}));
    EXPECT_EQ(plain.image->pixel_format, vorlane::PixelFormat::int16);
}

TEST_F(Dicom, WhatIsShownWhiteAtItsSmallestIsTurnedOver) {
    EXPECT_EQ(samples_of(open(file("MONOCHROME1", 0, 12, "", {0, 1, 2, 3, 4, 4095}))),
              (Line{4095, 4094, 4093, 4092, 4091, 0}));
    EXPECT_EQ(samples_of(open(file("MONOCHROME1", 1, 8, slope, {0, 1, 127, 128, 255, 2}))),
              (Line{-1026, -1028, -1280, -770, -1024, -1030})); // 2 (-1 - stored) - 1024
}

TEST_F(Dicom, FramesArePages) {
    const std::string two = file("MONOCHROME2", 0, 16, "", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(open(two).page_count, 2);
    EXPECT_EQ(samples_of(open(two, ":2")), (Line{7, 8, 9, 10, 11, 12}));
    EXPECT_THROW(open(two, ":3"), Error);
    for (const std::string tool : {"dcmcrle", "dcmcjpls", "dcmcjpeg"}) {
        const std::string command =
            "cd '" + folder.path() + "' && " + tool + " a.dcm packed.dcm 2>/dev/null >/dev/null";
        if (std::system(command.c_str()) != 0)
            GTEST_SKIP() << tool << " isn't installed";
        EXPECT_EQ(samples_of(open_picture(folder.path("packed.dcm:2"))),
                  (Line{7, 8, 9, 10, 11, 12}))
            << tool;
    }
}

TEST_F(Dicom, BrokenFilesAreRefused) {
    const std::string whole = file("MONOCHROME2", 0, 16, "", {1, 2, 3, 4, 5, 6});
    EXPECT_THROW(open(whole.substr(0, whole.size() - 2)), Error);
    EXPECT_THROW(open(whole.substr(0, 200)), Error);
    EXPECT_THROW(open(file("MONOCHROME2", 0, 17, "", {1, 2, 3, 4, 5, 6})), Error);
    EXPECT_THROW(open(file("MONOCHROME2", 0, 16, "", {1, 2, 3})), Error);
    for (std::size_t k = 132; k < whole.size(); ++k) {
        std::string broken = whole;
        broken[k] = static_cast<char>(broken[k] ^ 0x55);
        try {
            EXPECT_GT(open(broken).image->nrows, 0);
        } catch (const Error& error) {
            EXPECT_NE(std::string(error.what()).find("a.dcm: "), std::string::npos);
        }
    }
}
