#include "host/volumes.h"

#include <cmath>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/images.h"
#include "support/scratch_folder.h"

namespace {

using namespace vorlane;

host::VolumePtr volume_of(double unit, double lowest) {
    auto volume =
        std::make_unique<CVolume>(3, 4, 5, ImageType::gray, FileFormat::none, PixelFormat::float32);
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 5; ++j)
                volume->slices[k].pixels[i][j] =
                    static_cast<float>(lowest + unit * (20 * k + 5 * i + j));
        }
    }
    return volume;
}

void expect_same(const CVolume& a, const CVolume& b) {
    ASSERT_EQ(a.nslices, b.nslices);
    for (int k = 0; k < a.nslices; ++k)
        EXPECT_EQ(samples_of(a.slices[k]), samples_of(b.slices[k]));
}

void write(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::string message_of(const std::string& path, const host::OpenVolumeOptions& options = {}) {
    try {
        host::open_volume(path, options);
    } catch (const host::Error& error) {
        return error.what();
    }
    return "";
}

TEST(Volumes, ComeBackInEveryEncoding) {
    ScratchFolder scratch;
    const std::string folder = scratch.path("a folder with blanks " + std::string(90, 'x'));
    std::filesystem::create_directory(folder);
    const std::string path = folder + "/head.txt";
    struct {
        double unit, lowest;
        int encoding;
    } const cases[] = {{1, 0, PixelFormat::byte},
                       {3, -90, PixelFormat::int16},
                       {1000, 0, PixelFormat::int32},
                       {0.1, -2, PixelFormat::float32}};
    for (const auto& one : cases) {
        const host::VolumePtr volume = volume_of(one.unit, one.lowest);
        EXPECT_EQ(host::encoding_of_values(*volume), one.encoding);
        host::save_volume(*volume, path, {.force = true, .pixel_format = one.encoding});
        const host::Volume back = host::open_volume(path);
        EXPECT_EQ(back.volume->pixel_format, one.encoding);
        expect_same(*back.volume, *volume);
    }
    EXPECT_THROW(host::save_volume(*volume_of(1, 0), path), host::UsageError);
    // The folder may be renamed with both files in it.
    std::filesystem::rename(folder, scratch.path("new"));
    expect_same(*host::open_volume(scratch.path("new/head.txt")).volume, *volume_of(0.1, -2));
}

TEST(Volumes, TakeASeriesOfPicturesOfAnyName) {
    ScratchFolder scratch;
    std::filesystem::create_directory(scratch.path("my slices"));
    for (int n = 9; n <= 11; ++n)
        write(scratch.path("my slices/s" + std::string(n < 10 ? "00" : "0") + std::to_string(n) +
                           ".pgm"),
              "P5\n2 1\n255\n" + std::string(2, static_cast<char>(n)));
    const std::string text = scratch.path("v1.txt");
    write(text, "V1 of a phantom\r\ndirectory=my slices\r\nprefix=s\r\nstart slice=9\r\nend "
                "slice=11\r\nsuffix=.pgm\r\n");
    const host::Volume volume = host::open_volume(text);
    ASSERT_EQ(volume.volume->nslices, 3);
    EXPECT_EQ(volume.volume->slices[2].pixels[0][1], 11.0f);
    std::filesystem::remove(scratch.path("my slices/s010.pgm"));
    EXPECT_NE(message_of(text).find("s10.pgm: can't be opened"), std::string::npos)
        << message_of(text);
    const host::Volume rest = host::open_volume(text, {.leave_out = true});
    EXPECT_EQ(rest.volume->nslices, 2);
    EXPECT_EQ(rest.notes.size(), 1u);
    write(scratch.path("my slices/s010.pgm"), "P5\n1 1\n255\nx");
    EXPECT_NE(message_of(text).find("s010.pgm: has 1 rows x 1"), std::string::npos);
}

TEST(Volumes, RefuseWhatDoesNotFit) {
    ScratchFolder scratch;
    const std::string text = scratch.path("v2.txt");
    write(scratch.path("data.raw"), std::string(24, '\1'));
    const auto describe = [&](const std::string& file, const std::string& count,
                              const std::string& size) {
        write(text, "V2\nfile=" + file + "\nnbf=" + count + "\nrow=2\ncol=4\nsize=" + size + "\n");
        return message_of(text);
    };
    EXPECT_EQ(describe("data.raw", "3", "1"), "");
    EXPECT_NE(describe("data.raw", "4", "1").find("data.raw: is cut short"), std::string::npos);
    EXPECT_NE(describe("data.raw", "3", "3").find("size must be"), std::string::npos);
    EXPECT_NE(describe("data.raw", "-3", "1").find("nbf must be"), std::string::npos);
    EXPECT_NE(describe("data.raw", "99999999999", "1").find("nbf must be"), std::string::npos);
    EXPECT_NE(describe("gone.raw", "3", "1").find("gone.raw"), std::string::npos);
    write(text, "V2\nfile=data.raw\n");
    EXPECT_NE(message_of(text).find("line 3"), std::string::npos);
    write(text, "just words\n");
    EXPECT_NE(message_of(text).find("text, not a description"), std::string::npos);
    EXPECT_NE(message_of(scratch.path()).find("without DICOM files"), std::string::npos);
}

} // namespace
