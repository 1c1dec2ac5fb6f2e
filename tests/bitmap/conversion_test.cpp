#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <bitmap/bmp_bytes.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/bitmap/dib.h>

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

int byte_at(const CDib& bitmap, int row, int k) {
    return bitmap.bits[(bitmap.height - 1 - row) * bitmap.row_bytes + k];
}

// The bytes of a gray image of one row.
std::vector<int> bytes_of(const std::vector<float>& values, int normalize, float lo, float hi) {
    const CDib bitmap(row_of(values).get(), normalize, lo, hi);
    std::vector<int> bytes;
    for (int j = 0; j < bitmap.width; ++j)
        bytes.push_back(byte_at(bitmap, 0, j));
    return bytes;
}

using Bytes = std::vector<int>;

TEST(BitmapOfImage, KeepsTheLowByteOfEachSample) {
    EXPECT_EQ(bytes_of({127.9f, 256.5f, 300.7f, -1.5f, nan, infinity, -infinity, 1e20f}, 0, 0, 0),
              (Bytes{127, 0, 44, 255, 0, 0, 0, 0}));
    const ImagePtr colour = make_colour(3, 5, [](int i, int j, int k) {
        return static_cast<float>(60 * i + 10 * j + k) + (k == 1 ? 300.7f : 0.0f);
    });
    for (const int normalize : {0, 1}) {
        const CDib bitmap(colour.get(), normalize, 0.0f, 10.0f);
        ASSERT_EQ(bitmap.row_bytes, 16);
        EXPECT_EQ(bitmap.ncolors, 0);
        EXPECT_EQ(bitmap.palette, nullptr);
        EXPECT_EQ(bitmap.header[14], 24);
        const unsigned char last[] = {162, 205, 160, 0}; // blue, green, red, padding
        EXPECT_TRUE(std::equal(last, last + 4, bitmap.bits + 12));
    }
}

TEST(BitmapOfImage, WindowsStretchAndWrap) {
    EXPECT_EQ(bytes_of({10, 20}, 1, 0, 0), (Bytes{0, 255}));
    EXPECT_EQ(bytes_of({5, 5, 5}, 1, 0, 0), (Bytes{0, 0, 0}));
    EXPECT_EQ(bytes_of({0, 1, 2, -1, nan}, 1, 0, 1), (Bytes{0, 255, 254, 1, 0}));
    EXPECT_EQ(bytes_of({1, 2, 3}, 1, 7, 7), (Bytes{0, 0, 0}));
    // The search starts at a million.
    EXPECT_EQ(bytes_of({2000000, 3000000}, 1, 0, 0), (Bytes{127, 255}));
    EXPECT_EQ(bytes_of({-3000000, -2000000}, 1, 0, 0), (Bytes{0, 127}));
    EXPECT_EQ(bytes_of({nan, nan}, 1, 0, 0), (Bytes{0, 0}));

    // An image's own range is that of its plane.
    const ImagePtr image = make_random(2, 39, 0, 3);
    const CDib plane(2, 39, 0, image->pixels, 1), automatic(image.get(), 1, 0.0f, 0.0f);
    EXPECT_TRUE(std::equal(plane.bits, plane.bits + 80, automatic.bits));
}

TEST(BitmapOfImage, GoesThroughATable) {
    std::vector<int> table(600);
    for (int k = 0; k < 600; ++k)
        table[static_cast<std::size_t>(k)] = 3 * (k - 300) + 1;
    const int* const middle = table.data() + 300;
    const std::vector<float> values = {127.9f, -0.4f, -0.5f, -0.49999997f,
                                       2.5f,   -2.5f, nan,   299.0f};
    const CDib gray(row_of(values).get(), middle);
    const int picked[] = {128, 0, -1, 0, 3, -3};
    for (int j = 0; j < 6; ++j)
        EXPECT_EQ(byte_at(gray, 0, j), (3 * picked[j] + 1) & 0xFF) << values[j];
    EXPECT_EQ(byte_at(gray, 0, 6), 0);
    EXPECT_TRUE(gray.palette);
}

TEST(BitmapOfImage, WithoutPixelsIsEmpty) {
    const CImage empty;
    const CImage no_type(2, 2, 2, 4, 4);
    EXPECT_EQ(CDib(&empty, 0, 0.0f, 0.0f).header, nullptr);
    EXPECT_EQ(CDib(&no_type, 1, 0.0f, 0.0f).header, nullptr);
    EXPECT_EQ(CDib(static_cast<const CImage*>(nullptr), 0, 0.0f, 0.0f).header, nullptr);
    EXPECT_EQ(CDib(row_of({1}).get(), nullptr).header, nullptr);
    const int table[] = {0};
    EXPECT_EQ(CDib(static_cast<const CImage*>(nullptr), table).header, nullptr);
    EXPECT_EQ(CDib(0, 3, 0, empty.pixels, 0).header, nullptr);
}

class ImageOfBitmap : public testing::Test {
protected:
    // Makes `made` of a bitmap of these bytes, and returns its samples.
    std::vector<float> floats(const BmpBytes& bytes) {
        const auto bitmap = read(bytes);
        rows = cols = type = -1;
        float** const plane = bitmap->MakeFloatImage(&rows, &cols, &type);
        if (!plane)
            return {};
        const auto samples = samples_of(plane, rows, cols * (type == 1 ? 3 : 1));
        free_2D_float_array(plane);
        return samples;
    }

    std::vector<float> known(const BmpBytes& bytes, int image_type) {
        const auto bitmap = read(bytes);
        const CImage image(bitmap->height, bitmap->width, image_type == 1, 3, 4);
        EXPECT_EQ(bitmap->MakeKnownFloatImage(image.pixels, image_type), 1);
        return samples_of(image);
    }

    std::unique_ptr<CDib> read(const BmpBytes& bytes) {
        auto bitmap = std::make_unique<CDib>();
        CFile file(folder.write("in.bmp", bytes.text()).c_str(), CFile::modeRead);
        EXPECT_EQ(bitmap->Read(&file), 1);
        return bitmap;
    }

    ScratchFolder folder;
    int rows, cols, type;
};

TEST_F(ImageOfBitmap, PixelsDecideWhatIsGray) {
    BmpBytes file = {2, 2, 24};
    file.pixels = "aaabbb--cccddd--";
    EXPECT_EQ(floats(file), (std::vector<float>{'c', 'd', 'a', 'b'}));
    EXPECT_EQ(type, 0);
    file.pixels = "aaabbb--cccdde--";
    EXPECT_EQ(floats(file),
              (std::vector<float>{'c', 'c', 'c', 'e', 'd', 'd', 'a', 'a', 'a', 'b', 'b', 'b'}));
    EXPECT_EQ(type, 1);

    file = {3, 1, 8, 0, 3};
    file.table = "111-222-345-";
    file.pixels = std::string("\0\1\x09-", 4);
    EXPECT_EQ(floats(file), (std::vector<float>{'1', '2', 0})); // beyond the table: black
    EXPECT_EQ(type, 0);
    file.pixels = std::string("\0\2\x09-", 4);
    EXPECT_EQ(floats(file), (std::vector<float>{'1', '1', '1', '5', '4', '3', 0, 0, 0}));
    EXPECT_EQ(type, 1);
    EXPECT_EQ(known(file, 1), floats(file));
    const float mean = static_cast<float>(('3' + '4' + '5') * double{0.33333334f});
    EXPECT_EQ(known(file, 0), (std::vector<float>{'1', mean, 0}));
}

TEST_F(ImageOfBitmap, GrayIsAThirdOfTheSum) {
    BmpBytes file = {256, 1, 24};
    std::vector<float> expected;
    for (int k = 0; k < 256; ++k) {
        const int blue = k, green = 255 - k / 3, red = k * 7 % 256;
        file.pixels += {static_cast<char>(blue), static_cast<char>(green), static_cast<char>(red)};
        expected.push_back(static_cast<float>((blue + green + red) * double{0.33333334f}));
    }
    EXPECT_TRUE(same_bits(known(file, 0), expected));
    file = {2, 1, 24};
    file.pixels = "\xFF\xFF\xFF\1\1\1--";
    EXPECT_EQ(known(file, 0), (std::vector<float>{255, 1}));
    EXPECT_EQ(known(file, 2), (std::vector<float>{0, 0})); // no such type: nothing is written
}

TEST_F(ImageOfBitmap, FilesGoThereAndBack) {
    const std::string path = folder.path("image.bmp");
    for (const int width : {1, 2, 3, 4, 5, 301}) {
        for (const int image_type : {0, 1}) {
            const ImagePtr image = make_random(7, width, image_type, 3, true);
            image->file_format = 3;
            ASSERT_EQ(image->WriteImage(path.c_str()), 1);
            CImage back;
            ASSERT_EQ(back.ReadImage(path.c_str()), 1);
            EXPECT_EQ(facts_of(back), (Facts{{7, width, image_type, 4, 3}, ""}));
            EXPECT_TRUE(same_bits(samples_of(back), samples_of(*image)));
        }
    }
    const ImagePtr gray = row_of({300.7f, -1.5f});
    EXPECT_EQ(write_bmp_image(gray->pixels, path.c_str(), 1, 2, 0), 1);
    EXPECT_EQ(folder.read("image.bmp").substr(1078), std::string("\x2C\xFF\0\0", 4));

    // Three equal channels come back as gray.
    const ImagePtr equal =
        make_colour(2, 3, [](int i, int j, int) { return static_cast<float>(9 * i + j); });
    EXPECT_EQ(write_bmp_image(equal->pixels, path.c_str(), 2, 3, 1), 1);
    CImage back;
    ASSERT_EQ(back.ReadImage(path.c_str()), 1);
    EXPECT_EQ(back.image_type, 0);
    EXPECT_EQ(samples_of(back), (std::vector<float>{0, 1, 2, 9, 10, 11}));
}

} // namespace
