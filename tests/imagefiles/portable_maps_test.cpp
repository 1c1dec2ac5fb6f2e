#include <climits>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/platform/system_files.h>

namespace {

class PortableMaps : public testing::Test {
protected:
    const ScratchFolder folder_;
    MessageCatcher messages_;

    ImagePtr read(const std::string& bytes) {
        auto image = std::make_unique<CImage>();
        const std::string path = folder_.write("in", bytes);
        const int result = image->ReadImage(path.c_str());
        EXPECT_EQ(result, image->pixels != nullptr);
        return image;
    }
};

TEST_F(PortableMaps, ReadsGrayAndColour) {
    const auto gray = read("P5 anything\n# one\n#two\n3 2 ignored\n#three\n65535\n#ab\x01\xff\x80");
    EXPECT_EQ(facts_of(*gray), (Facts{{2, 3, 0, 4, 1}, ""}));
    EXPECT_EQ(samples_of(*gray), (Samples{'#', 'a', 'b', 1, 255, 128}));

    const auto colour = read(std::string("P6\n1 2\n255\n\x01\x02\x03\x04\x05\x06", 17));
    EXPECT_EQ(facts_of(*colour), (Facts{{2, 1, 1, 4, 2}, ""}));
    EXPECT_EQ(samples_of(*colour), (Samples{1, 2, 3, 4, 5, 6}));
}

TEST_F(PortableMaps, ALineEndsAfter255Bytes) {
    // The rest of a long comment is a line of its own: here, the size line.
    EXPECT_EQ(read("P5\n#" + std::string(254, 'x') + "2 1\n255\nab")->ncols, 2);
    // Behind the maximum, the rest of a long line is pixel data.
    EXPECT_EQ(samples_of(*read("P5\n2 1\n" + std::string(255, '9') + "ab")), (Samples{'a', 'b'}));
}

TEST_F(PortableMaps, ShortFilesRepeatTheLastByte) {
    EXPECT_EQ(samples_of(*read("P5\n3 2\n255\nab")), (Samples{'a', 'b', 'b', 'b', 'b', 'b'}));
    EXPECT_EQ(samples_of(*read("P6\n2 1\n255\nab")), (Samples{'a', 'b', 'b', 'b', 'b', 'b'}));
    EXPECT_EQ(samples_of(*read("P5\n3 1\n255\n")), (Samples{0, 0, 0}));
    EXPECT_EQ(samples_of(*read("P5\n2 1\n#")), (Samples{0, 0}));
    EXPECT_TRUE(messages_.take().empty());
    const auto large = read("P5\n300 1000\n255\n" + std::string(262144 + 7, 'c'));
    EXPECT_EQ(large->pixels[999][299], static_cast<float>('c'));
}

TEST_F(PortableMaps, BytesAreTruncatedAndKeepTheirLowBits) {
    const Samples values = {255.9f,    256.0f,  300.7f, -1.0f,     -0.9f,  1e10f,  -1e30f,
                            INFINITY,  NAN,     0.0f,   4e9f,      127.5f, 128.0f, -255.f,
                            2147483.f, 65535.f, 3e18f,  8388609.f, 1.f,    77.f};
    const std::string expected(
        "\xff\x00\x2c\xff\x00\x00\x00\x00\x00\x00\x00\x7f\x80\x01\x9b\xff\x00\x01\x01\x4d", 20);
    const auto image =
        make_gray(1, 20, [&](int, int j) { return values[static_cast<std::size_t>(j)]; });
    EXPECT_EQ(image->WriteImage(folder_.path("out").c_str()), 1);
    EXPECT_EQ(folder_.read("out"), "P5\n20 1\n255\n" + expected);
    image->file_format = 2;
    EXPECT_EQ(image->WriteImage(folder_.path("out").c_str()), 1);
    const std::string bytes = folder_.read("out");
    EXPECT_EQ(bytes.substr(0, 12), "P6\n20 1\n255\n");
    for (std::size_t j = 0; j < 20; ++j)
        EXPECT_EQ(bytes.substr(12 + 3 * j, 3), std::string(3, expected[j])) << j;
}

TEST_F(PortableMaps, ColourToGrayAsks) {
    const auto image =
        make_colour(1, 2, [](int, int j, int k) { return static_cast<float>(100 * j + 10 * k); });
    image->file_format = 1;
    EXPECT_EQ(image->WriteImage(folder_.path("out").c_str()), 1);
    const auto questions = messages_.take();
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0].text, "write_pgm_file: Converting to gray level");
    EXPECT_EQ(questions[0].type, 1u);
    EXPECT_EQ(questions[0].help_id, 0u);
    const auto byte = [](double sum) {
        return static_cast<char>(static_cast<int>(sum * 0.3333333333333333));
    };
    EXPECT_EQ(folder_.read("out"), std::string("P5\n2 1\n255\n") + byte(30) + byte(330));

    MessageCatcher cancel(2);
    EXPECT_EQ(image->WriteImage(folder_.path("out").c_str()), 0);
    EXPECT_EQ(folder_.read("out"), "P5\n2 1\n255\n");
    EXPECT_EQ(write_pgm_image(nullptr, folder_.path("out").c_str(), 4, 9, 2), 1); // a header alone
    EXPECT_EQ(folder_.read("out"), "P5\n9 4\n255\n");
}

TEST_F(PortableMaps, BigEndianNumbers) {
    const std::string path = folder_.write(
        "numbers", std::string("\xff\xfe\x01\x02\x80\x00\x00\x01\xc0\x49\x0f\xdb\x12", 13));
    {
        const vorlane::FileHandle file(vorlane::open_file(path.c_str(), "rb"));
        EXPECT_EQ(getshort(file.get()), -2);
        EXPECT_EQ(getshort(file.get()), 258);
        EXPECT_EQ(getint(file.get()), INT_MIN + 1);
        EXPECT_EQ(getfloat(file.get()), -3.14159274f);
        EXPECT_EQ(getshort(file.get()), 0x12ff); // the end counts as 255
        EXPECT_EQ(getint(file.get()), -1);
    }
    {
        const vorlane::FileHandle file(vorlane::open_file(path.c_str(), "wb"));
        putshort(-2, file.get());
        putshort(0x1234, file.get());
    }
    EXPECT_EQ(folder_.read("numbers"), "\xff\xfe\x12\x34");
}

} // namespace
