// Whole numbers of samples over lanes, where what doesn't fit 32 bits is rare and goes one by one; and
// samples of whole numbers, which are plain loops that the compiler knows how to put into lanes.

#include <vorlane/bytes/sample_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::int16_t;
using std::int32_t;
using std::int64_t;
using std::size_t;
using std::uint16_t;

constexpr size_t block = 32; // samples; a multiple of every number of lanes
static_assert(block % most_float_lanes == 0);

int64_t to_whole(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    return value >= -limit && value < limit ? static_cast<int64_t>(value) : 0;
}

struct Sample {
    using Lanes = F32;
    F32 lanes_at(const float* p) const { return load(p); }
    double value_of(float sample) const { return sample; }
    static M32 fits(F32 a) { return absolute(a) < all_lanes(2147483648.0f); }
};

struct Windowed {
    using Lanes = F64;
    double lo, width;
    F64 lanes_at(const float* p) const {
        return (load_floats(p) - all_lanes(lo)) * all_lanes(255.0) / all_lanes(width);
    }
    double value_of(float sample) const { return (sample - lo) * 255 / width; }
    static M64 fits(F64 a) { return absolute(a) < all_lanes(2147483648.0); }
};

// The whole numbers of a block, if all of them fit 32 bits.
template<class Value>
inline bool truncate_block(const Value& value, const float* samples, int32_t* whole) {
    constexpr size_t lanes = Value::Lanes::count;
    const auto first = value.lanes_at(samples);
    auto fit = Value::fits(first);
    store_truncated(whole, first);
    for (size_t k = lanes; k < block; k += lanes) {
        const auto numbers = value.lanes_at(samples + k);
        fit = fit & Value::fits(numbers);
        store_truncated(whole + k, numbers);
    }
    return all_set(fit);
}

// Writes `size` bytes for each sample: write(to, whole) for the whole numbers of a block; the last
// block overlaps the one before.
template<size_t size, class Value, class Write>
inline void convert(const Value& value, const float* samples, size_t n, unsigned char* bytes,
                    const Write& write) {
    const auto one_by_one = [&](const float* from, size_t count, int32_t* whole) {
        for (size_t k = 0; k < count; ++k)
            whole[k] = static_cast<int32_t>(to_whole(value.value_of(from[k])));
    };
    if (n < block) {
        int32_t whole[block] = {};
        unsigned char written[size * block];
        one_by_one(samples, n, whole);
        write(written, whole);
        __builtin_memcpy(bytes, written, size * n);
        return;
    }
    for (size_t begin = 0; begin < n; begin += block) {
        const size_t k = begin + block <= n ? begin : n - block;
        int32_t whole[block];
        if (!truncate_block(value, samples + k, whole))
            one_by_one(samples + k, block, whole);
        write(bytes + size * k, whole);
    }
}

void to_bytes(const float* samples, unsigned char* bytes, size_t n) {
    convert<1>(Sample{}, samples, n, bytes,
               [](unsigned char* to, auto& whole) { store_low_bytes(to, whole); });
}

void to_int16(const float* samples, unsigned char* bytes, size_t n) {
    convert<2>(Sample{}, samples, n, bytes,
               [](unsigned char* to, auto& whole) { store_low_words(to, whole); });
}

void to_int16_high_first(const float* samples, unsigned char* bytes, size_t n) {
    convert<2>(Sample{}, samples, n, bytes, [](unsigned char* to, auto& whole) {
        for (size_t k = 0; k < block; ++k) {
            const auto low = static_cast<uint16_t>(whole[k]);
            const auto word = static_cast<uint16_t>(low << 8 | low >> 8);
            __builtin_memcpy(to + 2 * k, &word, 2);
        }
    });
}

void to_int32(const float* samples, unsigned char* bytes, size_t n) {
    convert<4>(Sample{}, samples, n, bytes,
               [](unsigned char* to, auto& whole) { __builtin_memcpy(to, whole, sizeof whole); });
}

void to_windowed_bytes(const float* samples, unsigned char* bytes, size_t n, double lo,
                       double width) {
    convert<1>(Windowed{lo, width}, samples, n, bytes,
               [](unsigned char* to, auto& whole) { store_low_bytes(to, whole); });
}

void from_bytes(const unsigned char* bytes, float* samples, size_t n) {
    for (size_t k = 0; k < n; ++k)
        samples[k] = bytes[k];
}

template<bool high_first>
inline uint16_t word_at(const unsigned char* bytes) {
    uint16_t word;
    __builtin_memcpy(&word, bytes, sizeof word);
    return high_first ? static_cast<uint16_t>(word << 8 | word >> 8) : word;
}

template<bool high_first>
unsigned from_words(const unsigned char* bytes, float* samples, size_t n) {
    uint16_t bits = 0;
    for (size_t k = 0; k < n; ++k) {
        const uint16_t word = word_at<high_first>(bytes + 2 * k);
        samples[k] = static_cast<int16_t>(word);
        bits |= word;
    }
    return bits;
}

template<bool high_first>
void from_low_12_bits(const unsigned char* bytes, float* samples, size_t n) {
    for (size_t k = 0; k < n; ++k)
        samples[k] = static_cast<float>(word_at<high_first>(bytes + 2 * k) & 0xFFF);
}

// Five pixels and a byte of the sixth at once. The next are loaded before these are stored: in place, a
// load of bytes of two stores would wait for both.
void swap_ends(const unsigned char* from, unsigned char* to, size_t pixels) {
    constexpr size_t at_once = 5;
    B16 next = {};
    if (pixels > at_once)
        next = load_16(from);
    for (; pixels > at_once; pixels -= at_once, from += 3 * at_once, to += 3 * at_once) {
        const B16 now = next;
        if (pixels > 2 * at_once)
            next = load_16(from + 3 * at_once);
        store_16(to, swap_ends_of_threes(now));
    }
    for (; pixels > 0; --pixels, from += 3, to += 3) {
        const unsigned char swapped[] = {from[2], from[1], from[0]};
        __builtin_memcpy(to, swapped, sizeof swapped);
    }
}

} // namespace

extern const SampleKernels sample_kernels;
const SampleKernels sample_kernels = {to_bytes,
                                      to_int16,
                                      to_int16_high_first,
                                      to_int32,
                                      to_windowed_bytes,
                                      from_bytes,
                                      from_words<false>,
                                      from_words<true>,
                                      from_low_12_bits<false>,
                                      from_low_12_bits<true>,
                                      swap_ends};

} // namespace vorlane::VORLANE_LANES
