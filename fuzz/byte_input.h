// The bytes of one input as choices: numbers, factors and samples, the telling ones among them. Zeros
// behind the end.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

class ByteInput {
public:
    ByteInput(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    bool is_empty() const { return at_ == end_; }

    unsigned byte() { return at_ < end_ ? *at_++ : 0u; }

    // From 0 to n - 1.
    int below(int n) { return static_cast<int>(byte()) % n; }

    // Mostly small; now and then one that an int just holds.
    int whole() {
        constexpr int telling[] = {std::numeric_limits<int>::min(),
                                   std::numeric_limits<int>::max(),
                                   -1000000,
                                   1000000,
                                   65536,
                                   -1};
        const auto value = static_cast<std::int8_t>(byte());
        return value == -128 ? telling[static_cast<std::size_t>(below(std::size(telling)))] : value;
    }

    // Whole numbers of a byte, mostly; any 32 bits; what arithmetic stumbles over.
    float sample() {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        constexpr float telling[] = {
            0.0f,    -0.0f,   infinity, -infinity,     1e-45f,
            -1e-40f, 3.4e38f, -3.4e38f, 1e12f,         0.5f,
            255.5f,  -1.0f,   300.0f,   2147483648.0f, std::numeric_limits<float>::quiet_NaN()};
        const unsigned kind = byte();
        if (kind < 200)
            return static_cast<float>(kind);
        if (kind < 230)
            return telling[(kind - 200) % std::size(telling)];
        if (kind < 245)
            return static_cast<float>(byte()) / 7.0f - 9.0f;
        std::uint32_t bits = 0;
        for (int k = 0; k < 4; ++k)
            bits = bits << 8 | byte();
        return std::bit_cast<float>(bits);
    }

    // Of the size of a sigma.
    float sigma() {
        const unsigned kind = byte();
        return kind < 240 ? 0.05f * static_cast<float>(kind % 120) : sample();
    }

private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};
