// Whole numbers of samples over lanes. What doesn't fit 32 bits is rare, and goes one by one.

#include <vorlane/bytes/sample_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

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

// Calls put(k, low 32 bits of the whole number of sample k).
template<class Value, class Put>
inline void convert(const Value& value, const float* samples, size_t n, const Put& put) {
    constexpr size_t lanes = Value::Lanes::count;
    const auto one_by_one = [&](size_t from, size_t to) {
        for (size_t k = from; k < to; ++k)
            put(k, static_cast<int32_t>(to_whole(value.value_of(samples[k]))));
    };
    size_t k = 0;
    for (; k + block <= n; k += block) {
        int32_t whole[block];
        auto fit = Value::fits(value.lanes_at(samples + k));
        for (size_t b = 0; b < block; b += lanes) {
            const auto numbers = value.lanes_at(samples + k + b);
            fit = fit & Value::fits(numbers);
            store_truncated(whole + b, numbers);
        }
        if (!all_set(fit)) {
            one_by_one(k, k + block);
            continue;
        }
        for (size_t b = 0; b < block; ++b)
            put(k + b, whole[b]);
    }
    one_by_one(k, n);
}

inline uint16_t reversed(uint16_t word) {
    return static_cast<uint16_t>(word << 8 | word >> 8);
}

void to_bytes(const float* samples, unsigned char* bytes, size_t n) {
    convert(Sample{}, samples, n,
            [=](size_t k, int32_t whole) { bytes[k] = static_cast<unsigned char>(whole); });
}

void to_int16(const float* samples, unsigned char* bytes, size_t n) {
    convert(Sample{}, samples, n,
            [=](size_t k, int32_t whole) { __builtin_memcpy(bytes + 2 * k, &whole, 2); });
}

void to_int16_high_first(const float* samples, unsigned char* bytes, size_t n) {
    convert(Sample{}, samples, n, [=](size_t k, int32_t whole) {
        const uint16_t word = reversed(static_cast<uint16_t>(whole));
        __builtin_memcpy(bytes + 2 * k, &word, 2);
    });
}

void to_int32(const float* samples, unsigned char* bytes, size_t n) {
    convert(Sample{}, samples, n,
            [=](size_t k, int32_t whole) { __builtin_memcpy(bytes + 4 * k, &whole, 4); });
}

void to_windowed_bytes(const float* samples, unsigned char* bytes, size_t n, double lo,
                       double width) {
    convert(Windowed{lo, width}, samples, n,
            [=](size_t k, int32_t whole) { bytes[k] = static_cast<unsigned char>(whole); });
}

} // namespace

extern const SampleKernels sample_kernels;
const SampleKernels sample_kernels = {to_bytes, to_int16, to_int16_high_first, to_int32,
                                      to_windowed_bytes};

} // namespace vorlane::VORLANE_LANES
