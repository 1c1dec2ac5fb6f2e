#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <bitmap/bmp_bytes.h>
#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/bitmap/dib.h>

namespace {

using namespace std::string_literals;

class Bitmaps : public testing::Test {
protected:
    int read(CDib& bitmap, const std::string& bytes) {
        CFile file(folder.write("in.bmp", bytes).c_str(), CFile::modeRead);
        return bitmap.Read(&file);
    }

    // A file of these bytes as it is written: it states its length.
    static std::string with_length(const BmpBytes& bytes) {
        std::string text = bytes.text();
        const auto size = static_cast<std::uint32_t>(text.size());
        std::memcpy(text.data() + 2, &size, 4);
        return text;
    }

    std::string written(CDib& bitmap) {
        CFile file(folder.path("out.bmp").c_str(), CFile::modeCreate | CFile::modeWrite);
        EXPECT_EQ(bitmap.Write(&file), 1);
        EXPECT_THROW(file.Write("x", 1), CFileException); // it is closed
        return folder.read("out.bmp");
    }

    // The samples of its float image, in rows of `count`.
    static std::vector<float> floats(const CDib& bitmap, int count) {
        int rows, cols, type;
        float** const plane = bitmap.MakeFloatImage(&rows, &cols, &type);
        const auto samples = samples_of(plane, rows, count);
        free_2D_float_array(plane);
        return samples;
    }

    static std::string block(const CDib& bitmap) {
        return std::string(reinterpret_cast<const char*>(bitmap.bits), bitmap.image_size);
    }

    ScratchFolder folder;
    MessageCatcher messages;
};

TEST_F(Bitmaps, OfEachDepthAreLaidOutInWords) {
    const struct {
        int width, height, depth, row, pixel, colours;
    } cases[] = {{3, 2, 8, 4, 1, 256}, {3, 2, 24, 12, 3, 0}, {2, 1, 24, 8, 3, 0},
                 {33, 5, 1, 8, 0, 0},  {9, 4, 4, 8, 0, 0},   {5, 3, 32, 20, 4, 0}};
    for (const auto& c : cases) {
        CDib bitmap(c.width, c.height, c.depth);
        ASSERT_TRUE(bitmap.header && bitmap.bits);
        EXPECT_EQ(bitmap.row_bytes, c.row);
        EXPECT_EQ(bitmap.image_size, static_cast<unsigned>(c.row * c.height));
        EXPECT_EQ(bitmap.pixel_bytes, c.pixel);
        EXPECT_EQ(bitmap.ncolors, c.colours);
        EXPECT_EQ(bitmap.palette, nullptr);
        BmpBytes expected = {c.width, c.height, c.depth};
        expected.table.assign(4u * c.colours, '\0');
        expected.pixels.assign(bitmap.image_size, '\0');
        std::string text = with_length(expected);
        text.replace(46, 8, c.colours ? "\0\1\0\0\0\1\0\0"s : std::string(8, '\0'));
        text.replace(38, 8, 8, '\0'); // no pixels per metre
        EXPECT_EQ(written(bitmap), text);
    }
}

TEST_F(Bitmaps, WithoutSenseAreEmpty) {
    for (const auto& [width, height, depth] :
         std::vector<std::array<int, 3>>{{0, 1, 8},
                                         {1, 0, 24},
                                         {-1, 1, 8},
                                         {1, -5, 8},
                                         {1, 1, 0},
                                         {1, 1, -8},
                                         {1, 1, 1 << 20},
                                         {2000000000, 2000000000, 24},
                                         {2000000000, 1, 24}}) {
        CDib bitmap(width, height, depth);
        EXPECT_EQ(bitmap.header, nullptr);
        EXPECT_EQ(bitmap.bits, nullptr);
        CFile file(folder.path("out.bmp").c_str(), CFile::modeCreate | CFile::modeWrite);
        EXPECT_EQ(bitmap.Write(&file), 0);
        int unset = 7;
        EXPECT_EQ(bitmap.MakeFloatImage(&unset, &unset, &unset), nullptr);
        EXPECT_EQ(bitmap.MakePalette(), 0);
    }
}

TEST_F(Bitmaps, AreReadAndWrittenAgain) {
    BmpBytes file = {3, 2, 8};
    for (int k = 0; k < 1024; ++k)
        file.table += static_cast<char>(k * 7);
    file.pixels = "abcdefgh";
    CDib bitmap;
    ASSERT_EQ(read(bitmap, file.text() + "behind"), 1);
    EXPECT_EQ(bitmap.ncolors, 256);
    EXPECT_EQ(bitmap.width, 3);
    EXPECT_EQ(bitmap.height, 2);
    EXPECT_EQ(bitmap.row_bytes, 4);
    EXPECT_EQ(bitmap.pixel_bytes, 1);
    EXPECT_EQ(bitmap.palette, nullptr);
    EXPECT_EQ(block(bitmap), "abcdefgh");
    EXPECT_EQ(written(bitmap), with_length(file));
}

TEST_F(Bitmaps, CountTheirColoursAndDropGaps) {
    // Two colours, and a gap of 8 bytes before the pixels.
    BmpBytes file = {2, 1, 8, 0, 2};
    file.table = "\x01\x02\x03\x04\x05\x06\x07\x08gapgapga";
    file.pixels = "\x00\x01xx"s;
    CDib bitmap;
    ASSERT_EQ(read(bitmap, file.text()), 1);
    EXPECT_EQ(bitmap.ncolors, 2);
    BmpBytes without_gap = file;
    without_gap.table.resize(8);
    EXPECT_EQ(written(bitmap), with_length(without_gap));

    // A depth above 8 without a count has no table, with one it has.
    BmpBytes deep = {1, 1, 24};
    deep.pixels = "abcd";
    CDib without_table;
    ASSERT_EQ(read(without_table, deep.text()), 1);
    EXPECT_EQ(without_table.ncolors, 16777216);
    EXPECT_EQ(written(without_table), with_length(deep));
    deep.colours_used = 300;
    deep.table.assign(1200, 'c');
    CDib with_table;
    ASSERT_EQ(read(with_table, deep.text()), 1);
    EXPECT_EQ(with_table.ncolors, 300);
    EXPECT_EQ(written(with_table), with_length(deep));

    // Counts and depths past every shift and block.
    for (const auto& [depth, used] : std::vector<std::pair<int, std::uint32_t>>{
             {24, 0x80000000u}, {8, 0xFFFFFFFFu}, {32, 0}, {8, 0x40000001u}}) {
        BmpBytes wild = {1, 1, depth, 0, used};
        wild.pixels = "abcd";
        CDib counted;
        ASSERT_EQ(read(counted, wild.text()), 1) << depth << " " << used;
        EXPECT_GT(counted.ncolors, 256);
        EXPECT_EQ(counted.MakePalette(), 0);
        CDib again;
        ASSERT_EQ(read(again, written(counted)), 1);
        EXPECT_EQ(block(again), block(counted));
    }
}

TEST_F(Bitmaps, FindTheirRowsByTheSizeOfTheBlock) {
    BmpBytes file = {1, 2, 24, 16};
    file.pixels = "abcdEFGHijklMNOP";
    CDib bitmap;
    ASSERT_EQ(read(bitmap, file.text()), 1);
    EXPECT_EQ(bitmap.image_size, 16u);
    EXPECT_EQ(bitmap.row_bytes, 8);
    EXPECT_EQ(floats(bitmap, 3), (std::vector<float>{'k', 'j', 'i', 'c', 'b', 'a'}));

    // Too short for the rows: what lies outside the block is 0.
    file = {3, 2, 24, 10};
    file.pixels = "abcdefghijkl";
    CDib small;
    ASSERT_EQ(read(small, file.text()), 1);
    EXPECT_EQ(small.row_bytes, 5);
    EXPECT_EQ(floats(small, 9), (std::vector<float>{'h', 'g', 'f', 0, 'j', 'i', 0, 0, 0, 'c', 'b',
                                                    'a', 'f', 'e', 'd', 'i', 'h', 'g'}));
    CMemoryDC device(6, 4, CMemoryDC::true_colour);
    EXPECT_EQ(small.Draw(&device, 0, 0, 6, 4), 1);
    for (const std::uint32_t size : {1u, 2u}) { // rows of no bytes
        file.size_image = size;
        for (const int height : {100000, -100000}) {
            file.height = height;
            CDib none;
            ASSERT_EQ(read(none, file.text()), 1);
            EXPECT_EQ(none.row_bytes, 0);
            EXPECT_EQ(none.Draw(&device, 0, 0, 6, 4), 1);
        }
    }
}

TEST_F(Bitmaps, WithTheTopRowFirstAreTurnedOver) {
    BmpBytes file = {1, -3, 24};
    file.pixels = "abc-def-ghi-";
    CDib bitmap;
    ASSERT_EQ(read(bitmap, file.text()), 1);
    EXPECT_EQ(bitmap.height, 3);
    EXPECT_EQ(bitmap.header[8], 3);
    EXPECT_EQ(block(bitmap), "ghi-def-abc-");
    file.pixels = "abc-de"; // short
    CDib cut;
    ASSERT_EQ(read(cut, file.text()), 1);
    EXPECT_EQ(block(cut), "\0\0\0\0de\0\0abc-"s);
    file.pixels = "abcd*efgh*ijkl*z"; // rows of 5 bytes, and one byte more
    file.size_image = 16;
    CDib wide;
    ASSERT_EQ(read(wide, file.text()), 1);
    EXPECT_EQ(block(wide), "ijkl*efgh*abcd*z");
}

TEST_F(Bitmaps, StandBehindEachOtherInOneFile) {
    BmpBytes first = {1, 1, 24};
    first.table = "a gap";
    first.pixels = "abc-";
    BmpBytes second = {1, 1, 24};
    second.info_size = 124; // the table is looked for at 40 all the same
    second.pixels = "def-";
    const std::string path = folder.write("two.bmp", first.text() + second.text());
    CFile file(path.c_str(), CFile::modeRead);
    CDib one, two, three;
    EXPECT_EQ(one.Read(&file), 1);
    EXPECT_EQ(two.Read(&file), 1);
    EXPECT_EQ(block(one), "abc-");
    EXPECT_EQ(block(two), "def-");
    EXPECT_EQ(three.Read(&file), 0);
    EXPECT_EQ(messages.take_failures(), (Texts{"Read error 1"}));
}

TEST_F(Bitmaps, ShortOnesAreFilledWithZeros) {
    BmpBytes file = {2, 2, 24};
    file.pixels = "abcdef--g";
    CDib bitmap;
    ASSERT_EQ(read(bitmap, file.text()), 1);
    EXPECT_EQ(block(bitmap), "abcdef--g\0\0\0\0\0\0\0"s);
    CDib without_pixels;
    file = {2, 2, 8};
    ASSERT_EQ(read(without_pixels, file.text()), 1);
    EXPECT_EQ(block(without_pixels), std::string(8, '\0'));
    EXPECT_TRUE(messages.take().empty());
}

TEST_F(Bitmaps, OfAnyDepthAreReadButOnlyTwoGiveImages) {
    for (const int depth : {0, 1, 2, 3, 4, 12, 16, 31, 32, 33, 64, 0xFFFF}) {
        BmpBytes file = {3, 2, depth};
        file.pixels = "abcd";
        CDib bitmap;
        ASSERT_EQ(read(bitmap, file.text()), 1) << depth;
        EXPECT_EQ(bitmap.pixel_bytes, depth >> 3);
        EXPECT_EQ(bitmap.ncolors, depth < 31 ? 1 << depth : INT32_MAX);
        int rows = -7, cols = -7, type = -7;
        EXPECT_EQ(read_bmp_image(folder.path("in.bmp").c_str(), &rows, &cols, &type), nullptr);
        EXPECT_EQ(std::vector({rows, cols, type}), (std::vector{2, 3, -7}));
        EXPECT_EQ(bitmap.MakeFloatImage(&rows, &cols, &type), nullptr);
        const CImage untouched(2, 3, 0, 3, 4);
        EXPECT_EQ(bitmap.MakeKnownFloatImage(untouched.pixels, 0), 1);
        EXPECT_EQ(samples_of(untouched), std::vector<float>(6, 0.0f));
        CDib again;
        ASSERT_EQ(read(again, written(bitmap)), 1);
        EXPECT_EQ(block(again), block(bitmap));
    }
    EXPECT_TRUE(messages.take().empty());
}

// A file with more in front of its table than 40 bytes.
TEST_F(Bitmaps, WithLongHeadersAndMasksAreWrittenAsTheyWere) {
    const std::string five_levels = "\0\x7C\0\0\xE0\3\0\0\x1F\0\0\0"s;
    const auto described = [](int depth, std::uint32_t size, std::uint32_t compression,
                              const std::string& before_pixels) {
        BmpBytes file = {2, 1, depth};
        file.info_size = size;
        file.compression = compression;
        file.table = before_pixels;
        file.pixels = "abcdefgh";
        file.pixels.resize((std::size_t{2} * depth + 31) / 32 * 4);
        return file;
    };
    std::string table;
    for (int k = 0; k < 256; ++k)
        table += {static_cast<char>(k), static_cast<char>(k + 1), static_cast<char>(k + 2), '\0'};
    const std::string v4(68, '\7'), v5 = std::string(72, '\7') + std::string(12, '\0');
    for (const BmpBytes& file :
         {described(24, 108, 0, v4), described(24, 124, 0, v5), described(8, 124, 0, v5 + table),
          described(16, 40, 3, five_levels), described(32, 40, 6, five_levels + "\0\0\0\0"s),
          described(16, 52, 3, five_levels), described(16, 40, 0, "")}) {
        SCOPED_TRACE(testing::Message() << file.depth << " bits, " << file.info_size);
        CDib bitmap;
        ASSERT_EQ(read(bitmap, file.text()), 1);
        EXPECT_EQ(written(bitmap), with_length(file));
        if (file.depth == 8) {
            EXPECT_EQ(floats(bitmap, 6), (std::vector<float>{99, 98, 97, 100, 99, 98}));
        }
    }
    // What the file has no room for isn't written either: a biSize, masks, an own profile.
    for (const BmpBytes& file : {described(24, 124, 0, ""), described(8, 12345, 0, table),
                                 described(16, 40, 3, ""), described(8, 108, 0, table)}) {
        CDib bitmap;
        ASSERT_EQ(read(bitmap, file.text()), 1);
        BmpBytes plain = file;
        plain.info_size = 40;
        plain.compression = 0;
        EXPECT_EQ(written(bitmap).substr(10), plain.text().substr(10));
    }
    std::string profile = v5;
    profile.replace(16, 4, "DEBM"); // "embedded"
    CDib bitmap;
    ASSERT_EQ(read(bitmap, described(24, 124, 0, profile).text()), 1);
    EXPECT_EQ(written(bitmap).substr(14 + 56, 4), "BGRs");
    EXPECT_EQ(written(bitmap).substr(14 + 112, 8), std::string(8, '\0'));
}

TEST_F(Bitmaps, TheirPublicFieldsDecide) {
    CDib bitmap(2, 1, 24);
    const CDib source(2, 1, 8);
    std::free(bitmap.header);
    std::free(bitmap.bits);
    bitmap.header = static_cast<unsigned char*>(std::malloc(40 + 4 * 256));
    std::memcpy(bitmap.header, source.header, 40);
    for (int k = 0; k < 1024; ++k)
        bitmap.header[40 + k] = static_cast<unsigned char>(k % 251);
    bitmap.bits = static_cast<unsigned char*>(std::calloc(4, 1));
    bitmap.ncolors = 256;
    bitmap.image_size = 4;
    bitmap.row_bytes = 4;
    bitmap.pixel_bytes = 1;
    ASSERT_EQ(bitmap.MakePalette(), 1);
    PALETTEENTRY entry;
    EXPECT_EQ(bitmap.palette->GetPaletteEntries(10, 1, &entry), 1u);
    EXPECT_EQ(entry.peRed, 42);
    const std::string bytes = written(bitmap);
    EXPECT_EQ(bytes.size(), 1082u);
    EXPECT_EQ(bytes.substr(54, 1024),
              std::string(reinterpret_cast<const char*>(bitmap.header) + 40, 1024));
}

TEST_F(Bitmaps, HostileFilesAreRefused) {
    const auto refused = [&](const std::string& bytes, const char* message) {
        CDib bitmap;
        EXPECT_EQ(read(bitmap, bytes), 0);
        EXPECT_EQ(messages.take_failures(), (Texts{message}));
        EXPECT_EQ(bitmap.header, nullptr);
        EXPECT_EQ(bitmap.bits, nullptr);
    };
    refused("", "Read error 1");
    refused("BM34567890123", "Read error 1");
    refused("MB" + std::string(100, '\0'), "Invalid bitmap file");
    const std::string whole = BmpBytes{}.text();
    refused(whole.substr(0, 53), "Invalid bitmap file");
    refused(whole.substr(0, 14), "Invalid bitmap file");
    std::vector<BmpBytes> files = {{0, 1},
                                   {1, 0},
                                   {-1, 1},
                                   {1, INT32_MIN},
                                   {20000, 20000},
                                   {INT32_MAX, INT32_MAX, 32},
                                   {INT32_MAX, -INT32_MAX, 8},
                                   {1, 1, 24, 0xF0000000u},
                                   {1, 1, 24, 0x80000000u}};
    for (const std::int64_t offset : {0LL, 13LL, 14LL, 53LL, 0x7FFFFFFFLL, 0xFFFFFFFFLL}) {
        BmpBytes file;
        file.pixels_at = offset;
        files.push_back(file);
    }
    for (BmpBytes& file : files) {
        SCOPED_TRACE(testing::Message() << file.width << " x " << file.height << ", " << file.depth
                                        << " bits at " << file.pixels_at);
        file.pixels = "abcd";
        refused(file.text(), "Invalid bitmap file");
    }
}

} // namespace
