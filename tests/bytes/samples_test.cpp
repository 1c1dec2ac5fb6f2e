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

// The low 64 bits of a number truncated toward zero, bit by bit from its mantissa.
std::uint64_t whole_bits(float value) {
    if (!(std::fabs(value) < 9223372036854775808.0f) && value != -9223372036854775808.0f)
        return 0;
    std::uint64_t magnitude = 0;
    double rest = std::fabs(double{value});
    for (int bit = 63; bit >= 0; --bit) {
        if (rest >= std::ldexp(1.0, bit)) {
            magnitude |= std::uint64_t{1} << bit;
            rest -= std::ldexp(1.0, bit);
        }
    }
    return value < 0.0f ? 0 - magnitude : magnitude;
}

// Numbers of every magnitude and sign, with the ones around each limit among them.
std::vector<float> telling_floats() {
    const float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> floats = {0.0f,   -0.0f,    0.99f,     -0.99f,    255.9f,        256.0f,
                                 300.7f, -1.0f,    -1.5f,     70000.7f,  32767.5f,      32768.0f,
                                 1e30f,  infinity, -infinity, -32768.9f, -2147483648.0f};
    floats.push_back(std::numeric_limits<float>::quiet_NaN());
    for (int exponent = 7; exponent < 66; ++exponent) {
        for (const float side : {0.0f, 1.0f, 2.0f}) {
            const float value = std::nextafter(std::ldexp(1.0f, exponent), side * 1e38f);
            floats.push_back(value);
            floats.push_back(-value);
        }
    }
    std::mt19937 random(11);
    for (int k = 0; k < 3000; ++k) {
        const std::uint32_t bits = static_cast<std::uint32_t>(random());
        float value;
        std::memcpy(&value, &bits, sizeof value);
        floats.push_back(k % 2 ? value : static_cast<float>(static_cast<int>(bits % 200000)) / 3);
    }
    return floats;
}

std::uint64_t low_first(const unsigned char* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t k = 0; k < count; ++k)
        value |= std::uint64_t{bytes[k]} << (8 * k);
    return value;
}

TEST(Samples, WholeNumbersKeepTheLowBitsOfAnyFloat) {
    const std::vector<float> floats = telling_floats();
    std::vector<unsigned char> bytes(4 * floats.size());
    // Every offset and tail of the vector loops.
    for (const std::size_t first : {0, 1, 2, 3, 5, 7, 11, 13, 15}) {
        const std::size_t count = floats.size() - first;
        const float* const samples = floats.data() + first;
        const auto expect = [&](std::size_t size, bool high_first) {
            for (std::size_t k = 0; k < count; ++k) {
                unsigned char word[4];
                std::memcpy(word, &bytes[k * size], size);
                if (high_first)
                    std::swap(word[0], word[1]);
                const std::uint64_t mask = (std::uint64_t{1} << 8 * size) - 1;
                ASSERT_EQ(low_first(word, size), whole_bits(samples[k]) & mask)
                    << samples[k] << " in " << size << " bytes";
            }
        };
        to_bytes(samples, bytes.data(), count);
        expect(1, false);
        to_int16(samples, bytes.data(), count, ByteOrder::low_first);
        expect(2, false);
        to_int16(samples, bytes.data(), count, ByteOrder::high_first);
        expect(2, true);
        to_int32(samples, bytes.data(), count);
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
