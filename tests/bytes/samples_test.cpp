#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/bytes/colour_order.h>
#include <vorlane/bytes/samples.h>

namespace {

using namespace vorlane;

// At every offset and tail of the vector loops, among numbers that fit 32 bits and ones that don't.
TEST(Samples, WholeNumbersKeepTheLowBitsOfAnyFloat) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float two_to_63 = 9223372036854775808.0f;
    const struct {
        float sample;
        std::uint32_t low_bits;
    } cases[] = {
        {0.99f, 0},
        {-0.99f, 0},
        {300.7f, 300},
        {-1.5f, 0xFFFFFFFF},
        {-32768.9f, 0xFFFF8000},
        {8388609.0f, 0x800001},
        {2147483520.0f, 0x7FFFFF80},
        {2147483648.0f, 0x80000000},
        {-2147483648.0f, 0x80000000},
        {-2147483904.0f, 0x7FFFFF00},
        {1e12f, 0xD4A50000}, // 0xE8D4A50000
        {-1e12f, 0x2B5B0000},
        {two_to_63 / 512 + 2147483648.0f, 0x80000000},
        {two_to_63, 0},
        {-two_to_63, 0},
        {1e30f, 0},
        {infinity, 0},
        {-infinity, 0},
        {std::nanf(""), 0},
    };
    std::mt19937 random(11);
    std::vector<float> samples;
    std::vector<std::uint32_t> expected;
    for (int k = 0; k < 3000; ++k) {
        const auto& c = cases[random() % (k % 300 < 150 ? 9 : std::size(cases))];
        samples.push_back(c.sample);
        expected.push_back(c.low_bits);
    }
    std::vector<unsigned char> bytes(4 * samples.size());
    for (const std::size_t first : {0, 1, 2, 3, 5, 7, 11, 13, 15, 2970, 2999}) {
        const std::size_t count = samples.size() - first;
        const float* const from = samples.data() + first;
        const auto expect = [&](std::size_t size, bool high_first) {
            for (std::size_t k = 0; k < count; ++k)
                for (std::size_t byte = 0; byte < size; ++byte)
                    ASSERT_EQ(bytes[k * size + (high_first ? 1 - byte : byte)],
                              expected[first + k] >> 8 * byte & 0xFF)
                        << from[k] << " in " << size << " bytes";
        };
        to_bytes(from, bytes.data(), count);
        expect(1, false);
        to_int16(from, bytes.data(), count, ByteOrder::low_first);
        expect(2, false);
        to_int16(from, bytes.data(), count, ByteOrder::high_first);
        expect(2, true);
        to_int32(from, bytes.data(), count);
        expect(4, false);
    }
}

TEST(Samples, AllWordsOf16BitsAreReadInBothOrders) {
    std::vector<unsigned char> words;
    for (int value = 0; value < 65536; ++value) {
        words.push_back(static_cast<unsigned char>(value));
        words.push_back(static_cast<unsigned char>(value >> 8));
    }
    std::vector<float> read(65536);
    from_int16(words.data(), read.data(), read.size(), ByteOrder::low_first);
    for (int value = 0; value < 65536; ++value)
        ASSERT_EQ(read[static_cast<std::size_t>(value)], value < 32768 ? value : value - 65536);
    from_int12(words.data(), read.data(), read.size(), ByteOrder::low_first);
    for (int value = 0; value < 65536; ++value)
        ASSERT_EQ(read[static_cast<std::size_t>(value)], value % 4096);
    from_int16(words.data(), read.data(), read.size(), ByteOrder::high_first);
    for (int value = 0; value < 65536; ++value) {
        const int swapped = value % 256 * 256 + value / 256;
        ASSERT_EQ(read[static_cast<std::size_t>(value)],
                  swapped < 32768 ? swapped : swapped - 65536);
    }
}

TEST(Samples, WordsOf32BitsAreReadInBothOrders) {
    const unsigned char bytes[] = {0x01, 0x00, 0x00, 0x81, 0x7F, 0xA0, 0x00, 0x01, 0xFE};
    float read[2];
    from_int32(bytes, read, 2, ByteOrder::low_first);
    EXPECT_EQ(read[0], -2130706432.0f); // 0x81000001 rounded to 24 bits
    EXPECT_EQ(read[1], 16818303.0f);    // 0x0100A07F, odd and above 2^24: to the nearest even
    from_int32(bytes, read, 2, ByteOrder::high_first);
    EXPECT_EQ(read[0], 16777344.0f); // 0x01000081 likewise
    EXPECT_EQ(read[1], 2141192193.0f);
    from_float32(bytes + 4, read, 1, ByteOrder::high_first);
    EXPECT_TRUE(std::isnan(read[0]));
    std::uint32_t bits;
    std::memcpy(&bits, read, sizeof bits);
    EXPECT_EQ(bits, 0x7FA00001u); // a signalling one stays as it is
}

} // namespace

TEST(ColourOrder, SwapsTheEndsOfEveryPixelAndNothingBehind) {
    std::mt19937 random(1);
    for (std::size_t pixels = 0; pixels < 40; ++pixels) {
        std::vector<unsigned char> from(3 * pixels + 20);
        for (unsigned char& byte : from)
            byte = static_cast<unsigned char>(random());
        std::vector<unsigned char> expected = from;
        for (std::size_t k = 0; k < pixels; ++k)
            std::swap(expected[3 * k], expected[3 * k + 2]);
        std::vector<unsigned char> in_place = from;
        swap_ends(in_place.data(), in_place.data(), pixels);
        EXPECT_EQ(in_place, expected) << pixels;
        std::vector<float> samples(3 * pixels);
        swap_ends(from.data(), samples.data(), pixels);
        EXPECT_TRUE(std::equal(samples.begin(), samples.end(), expected.begin())) << pixels;
    }
}
