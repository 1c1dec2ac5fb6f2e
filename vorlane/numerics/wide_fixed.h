// Private: signed fixed-point numbers with 64 bits before the point and 192 behind it, for the rare
// arguments whose result lies too near the middle between two doubles.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace vorlane::numerics {

// Two limbs of 64 bits. Not every compiler has integers of 128.
struct LimbPair {
    std::uint64_t high, low;
};

// a b + c + d, which two limbs always hold.
constexpr LimbPair multiply_add(std::uint64_t a, std::uint64_t b, std::uint64_t c,
                                std::uint64_t d) {
    constexpr std::uint64_t half = 0xFFFFFFFF;
    const std::uint64_t low = (a & half) * (b & half) + (c & half);
    const std::uint64_t first = (a >> 32) * (b & half) + (low >> 32) + (c >> 32);
    const std::uint64_t second = (a & half) * (b >> 32) + (first & half);
    const std::uint64_t sum = (second << 32 | (low & half)) + d;
    return {(a >> 32) * (b >> 32) + (first >> 32) + (second >> 32) + (sum < d), sum};
}

class WideFixed {
public:
    constexpr WideFixed() = default;

    // Limbs with the highest first; the first one is the whole part.
    constexpr explicit WideFixed(const std::uint64_t (&limbs)[4])
        : limbs_{limbs[3], limbs[2], limbs[1], limbs[0]} {}

    // Of magnitude below 2^64; bits below 2^-192 are cut off.
    explicit WideFixed(double value) : is_negative_(std::signbit(value)) {
        int exponent = 0;
        const auto mantissa =
            static_cast<std::uint64_t>(std::ldexp(std::frexp(std::fabs(value), &exponent), 53));
        limbs_[0] = mantissa;
        shift(exponent - 53 + 192);
    }

    friend WideFixed operator-(WideFixed a) {
        a.is_negative_ = !a.is_negative_;
        return a;
    }

    friend WideFixed operator+(const WideFixed& a, const WideFixed& b) {
        WideFixed result;
        const bool a_is_larger = !is_below(a, b);
        const WideFixed& large = a_is_larger ? a : b;
        const WideFixed& small = a_is_larger ? b : a;
        const bool subtracts = a.is_negative_ != b.is_negative_;
        std::uint64_t carry = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::uint64_t x = large.limbs_[k];
            const std::uint64_t y = small.limbs_[k];
            const std::uint64_t sum = subtracts ? x - y : x + y;
            result.limbs_[k] = subtracts ? sum - carry : sum + carry;
            carry = subtracts ? (x < y) + (sum < carry) : (sum < x) + (result.limbs_[k] < sum);
        }
        result.is_negative_ = large.is_negative_;
        return result;
    }

    friend WideFixed operator-(const WideFixed& a, const WideFixed& b) { return a + -b; }

    friend WideFixed operator*(const WideFixed& a, const WideFixed& b) {
        std::array<std::uint64_t, 8> product = {};
        for (std::size_t i = 0; i < 4; ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < 4; ++j) {
                const LimbPair sum = multiply_add(a.limbs_[i], b.limbs_[j], product[i + j], carry);
                product[i + j] = sum.low;
                carry = sum.high;
            }
            product[i + 4] = carry;
        }
        WideFixed result;
        for (std::size_t k = 0; k < 4; ++k)
            result.limbs_[k] = product[k + 3];
        result.is_negative_ = a.is_negative_ != b.is_negative_;
        return result;
    }

    friend WideFixed operator/(WideFixed a, std::uint32_t divisor) {
        std::uint64_t rest = 0;
        for (std::size_t k = 4; k-- > 0;) {
            const std::uint64_t high = rest << 32 | a.limbs_[k] >> 32;
            const std::uint64_t low = (high % divisor) << 32 | (a.limbs_[k] & 0xFFFFFFFF);
            a.limbs_[k] = (high / divisor) << 32 | low / divisor;
            rest = low % divisor;
        }
        return a;
    }

    bool is_zero() const { return (limbs_[0] | limbs_[1] | limbs_[2] | limbs_[3]) == 0; }

    // Times 2^scale, rounded to the nearest double.
    double rounded(int scale = 0) const {
        int top = 255;
        while (top >= 0 && !bit(top))
            --top;
        const int exponent = top - 192 + scale;
        const int bits = exponent < -1022 ? 53 - (-1022 - exponent) : 53;
        if (top < 0 || bits < 0)
            return is_negative_ ? -0.0 : 0.0;
        WideFixed whole = *this;
        const int below = top - bits + 1;
        whole.shift(-below);
        std::uint64_t mantissa = whole.limbs_[0];
        if (below > 0 && bit(below - 1)) {
            WideFixed cut = whole;
            cut.shift(below);
            const WideFixed rest = (is_negative_ ? -*this : *this) - (is_negative_ ? -cut : cut);
            WideFixed half;
            half.limbs_[0] = 1;
            half.shift(below - 1);
            mantissa += (mantissa & 1) != 0 || is_below(half, rest);
        }
        const double result = std::ldexp(static_cast<double>(mantissa), below - 192 + scale);
        return is_negative_ ? -result : result;
    }

private:
    bool bit(int k) const { return limbs_[static_cast<std::size_t>(k / 64)] >> (k % 64) & 1; }

    static bool is_below(const WideFixed& a, const WideFixed& b) { // in magnitude
        for (std::size_t k = 4; k-- > 0;) {
            if (a.limbs_[k] != b.limbs_[k])
                return a.limbs_[k] < b.limbs_[k];
        }
        return false;
    }

    // To the left, or with a negative count to the right.
    void shift(int count) {
        std::array<std::uint64_t, 4> result = {};
        for (int k = 0; k < 256; ++k) {
            const int from = k - count;
            if (from >= 0 && from < 256 && bit(from))
                result[static_cast<std::size_t>(k / 64)] |= std::uint64_t{1} << (k % 64);
        }
        limbs_ = result;
    }

    std::array<std::uint64_t, 4> limbs_ = {}; // the lowest first
    bool is_negative_ = false;
};

} // namespace vorlane::numerics
