// Readers, writers and bitmaps where memory runs short at any of their requests.

#include <memory>

#include <gtest/gtest.h>

#include <support/failing_memory.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/bitmap/dib.h>
#include <vorlane/platform/message_box.h>

namespace {

// Boxes that take no memory.
class ShortMemoryOfFiles : public testing::Test {
protected:
    ShortMemoryOfFiles()
        : former_(SetMessageBoxHandler([](const char*, unsigned, unsigned) { return 1; })) {
        SetHalvortTemplate(folder.write("template", "header").c_str());
    }
    ~ShortMemoryOfFiles() override {
        SetHalvortTemplate(nullptr);
        SetMessageBoxHandler(former_);
    }

    // What a file that can't be opened throws is in the headers of BMP.
    template<class Call>
    static void unless_thrown(Call call) {
        try {
            call();
        } catch (const CFileException&) {
        }
    }

    ScratchFolder folder;

private:
    MessageBoxHandler former_;
};

TEST_F(ShortMemoryOfFiles, ImagesAreWrittenAndReadOrNot) {
    const std::string path = folder.path("image");
    for (const int format : {1, 2, 3, 4, 7, 8, 9}) {
        SCOPED_TRACE(format);
        const ImagePtr source = make_random(20, 30, 0, 1, true);
        source->file_format = format;
        with_each_request_failing(
            [] { return std::make_unique<CImage>(); },
            [&](CImage&) { unless_thrown([&] { source->WriteImage(path.c_str()); }); });
        ASSERT_EQ(source->WriteImage(path.c_str()), 1);
        with_each_request_failing(
            [] { return std::make_unique<CImage>(2, 2, 0, 1, 4); },
            [&](CImage& image) { unless_thrown([&] { image.ReadImage(path.c_str()); }); });
        with_each_request_failing(
            [] { return std::make_unique<CImage>(); },
            [&](CImage&) { delete Raw2Img(path.c_str(), 20, 10, format % 2, 1, 1, 0); });
    }
    with_each_request_failing([] { return std::make_unique<CImage>(); },
                              [](CImage&) { acr_nema("a text that is longer than a few bytes"); });
}

TEST_F(ShortMemoryOfFiles, BitmapsAreWholeOrEmpty) {
    const ImagePtr gray = make_random(20, 30, 0, 1), colour = make_random(20, 30, 1, 1);
    const std::string path = folder.path("image.bmp");
    ASSERT_EQ(write_bmp_image(gray->pixels, path.c_str(), 20, 30, 0), 1);
    std::vector<int> table(300);
    with_each_request_failing(
        [] { return std::make_unique<CMemoryDC>(9, 9, CMemoryDC::palette_256); },
        [&](CMemoryDC& device) {
            CDib bitmaps[] = {CDib(gray.get(), 1, 0.0f, 0.0f), CDib(gray.get(), table.data()),
                              CDib(20, 30, 1, colour->pixels, 0), CDib(30, 20, 24)};
            for (CDib& bitmap : bitmaps) {
                EXPECT_EQ(bitmap.header == nullptr, bitmap.bits == nullptr);
                int rows, cols, type;
                free_2D_float_array(bitmap.MakeFloatImage(&rows, &cols, &type));
                bitmap.MakePalette();
                bitmap.Draw(&device, 0, 0, 9, 9);
                device.SelectPalette(nullptr, 0);
            }
            CMemoryDC other(5, 5, CMemoryDC::true_colour);
        });
    with_each_request_failing(
        [&] { return std::make_unique<CFile>(path.c_str(), CFile::modeRead); },
        [&](CFile& file) {
            CDib bitmap;
            if (bitmap.Read(&file))
                EXPECT_EQ(bitmap.width, 30);
            else
                EXPECT_EQ(bitmap.header, nullptr);
        });
}

} // namespace
