#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>
#include <vorlane/imagefiles/image_files.h>

namespace {

class ScannerFiles : public testing::Test {
protected:
    // A file of 16-bit words behind a header of `header` bytes, each with its high byte first.
    static std::string words(std::size_t header, std::size_t count,
                             const std::function<int(std::size_t)>& value) {
        std::string bytes(header, 'h');
        for (std::size_t k = 0; k < count; ++k) {
            bytes += static_cast<char>(value(k) >> 8);
            bytes += static_cast<char>(value(k));
        }
        return bytes;
    }

    ImagePtr read(const std::string& bytes) {
        auto image = std::make_unique<CImage>();
        return image->ReadImage(folder.write("scan", bytes).c_str()) ? std::move(image) : nullptr;
    }

    ScratchFolder folder;
    MessageCatcher messages;
};

TEST_F(ScannerFiles, AreSquaresAtTheEnd) {
    const std::vector<std::array<std::size_t, 3>> cases = {
        {128, 8, 0},          {129, 8, 1},      {511, 8, 383},       {512, 16, 0},
        {513, 16, 1},         {2047, 16, 1535}, {2048, 32, 0},       {2049, 32, 1},
        {131071, 128, 98303}, {131072, 256, 0}, {137216, 256, 6144}, {524288, 512, 0}};
    for (const auto& [length, side, header] : cases) {
        SCOPED_TRACE(length);
        const auto value = [](std::size_t k) { return static_cast<int>(k * 31 % 4096); };
        const ImagePtr image = read(words(header, side * side, value));
        ASSERT_TRUE(image);
        const int n = static_cast<int>(side);
        EXPECT_EQ(facts_of(*image), (Facts{{n, n, 0, 7, 6}, ""}));
        for (std::size_t k = 0; k < side * side; ++k)
            ASSERT_EQ(image->pixels[k / side][k % side], static_cast<float>(value(k)));
    }
}

TEST_F(ScannerFiles, OneWordDecidesTheByteOrderOfAll) {
    // 300 x 300 words, of which 256 x 256 count, span more than one block of the reader.
    const std::size_t header = 2 * (300 * 300 - 256 * 256) + 1, count = 256 * 256;
    const auto fine = [](std::size_t k) { return static_cast<int>(k % 4096); };
    for (const std::size_t odd : {std::size_t{0}, count / 2 + 3, count - 1}) {
        for (const int outlier : {4095, 4096, 0xFFFF, 0x8001}) {
            const auto value = [&](std::size_t k) { return k == odd ? outlier : fine(k); };
            const ImagePtr image = read(words(header, count, value));
            ASSERT_TRUE(image);
            ASSERT_EQ(image->nrows, 256);
            for (std::size_t k = 0; k < count; ++k) {
                const int word = value(k);
                const int masked = ((word & 0xFF) << 8 | word >> 8) & 0xFFF;
                ASSERT_EQ(image->pixels[k / 256][k % 256],
                          static_cast<float>(outlier == 4095 ? word : masked));
            }
        }
    }
}

TEST_F(ScannerFiles, AnyUnknownFileIsOne) {
    const ImagePtr text = read("P2\n16 16\n" + std::string(300, '7'));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->nrows, 8);
    EXPECT_EQ(text->pixels[0][0], static_cast<float>(0x737));
    // It can't be written until it gets another format.
    EXPECT_EQ(text->WriteImage(folder.path("out").c_str()), 0);
    EXPECT_FALSE(folder.has("out"));
    EXPECT_TRUE(messages.take().empty());
}

TEST_F(ScannerFiles, HeadersOfAStandard) {
    EXPECT_EQ(acr_nema("xx ACR-NEMA 2.0"), 1);
    EXPECT_EQ(acr_nema("ACR-NEMA"), 1);
    EXPECT_EQ(acr_nema("ACR-NEM%s"), 0);
    EXPECT_EQ(acr_nema("acr-nema"), 0);
    EXPECT_EQ(acr_nema(""), 0);
    EXPECT_EQ(acr_nema(nullptr), 0);
}

} // namespace
