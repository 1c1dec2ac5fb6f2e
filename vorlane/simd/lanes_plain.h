// Private: lanes of one double and two floats in plain C++. See lanes.h.
#pragma once

namespace {

struct M64 {
    bool bits;
};
struct M32 {
    bool low, high;
};

struct F64 {
    static constexpr int count = 1;
    double v;
};

struct F32 {
    static constexpr int count = 2;
    float low, high;
};

inline F64 operator+(F64 a, F64 b) {
    return {a.v + b.v};
}
inline F64 operator-(F64 a, F64 b) {
    return {a.v - b.v};
}
inline F64 operator*(F64 a, F64 b) {
    return {a.v * b.v};
}
inline F64 operator/(F64 a, F64 b) {
    return {a.v / b.v};
}
inline F32 operator+(F32 a, F32 b) {
    return {a.low + b.low, a.high + b.high};
}
inline F32 operator-(F32 a, F32 b) {
    return {a.low - b.low, a.high - b.high};
}
inline F32 operator*(F32 a, F32 b) {
    return {a.low * b.low, a.high * b.high};
}
inline F32 operator/(F32 a, F32 b) {
    return {a.low / b.low, a.high / b.high};
}

inline F64 all_lanes(double value) {
    return {value};
}
inline F32 all_lanes(float value) {
    return {value, value};
}

inline F64 square_root(F64 a) {
    return {__builtin_sqrt(a.v)};
}
inline F32 square_root(F32 a) {
    return {__builtin_sqrtf(a.low), __builtin_sqrtf(a.high)};
}
inline F64 absolute(F64 a) {
    return {__builtin_fabs(a.v)};
}
inline F32 absolute(F32 a) {
    return {__builtin_fabsf(a.low), __builtin_fabsf(a.high)};
}

inline F64 with_sign_of(F64 a, F64 sign) {
    return {__builtin_copysign(a.v, sign.v)};
}

inline F64 minimum(F64 a, F64 b) {
    return a.v < b.v ? a : b;
}
inline F64 maximum(F64 a, F64 b) {
    return a.v > b.v ? a : b;
}
inline F32 minimum(F32 a, F32 b) {
    return {a.low < b.low ? a.low : b.low, a.high < b.high ? a.high : b.high};
}
inline F32 maximum(F32 a, F32 b) {
    return {a.low > b.low ? a.low : b.low, a.high > b.high ? a.high : b.high};
}

inline M64 operator<(F64 a, F64 b) {
    return {a.v < b.v};
}
inline M64 operator==(F64 a, F64 b) {
    return {a.v == b.v};
}
inline M32 operator<(F32 a, F32 b) {
    return {a.low < b.low, a.high < b.high};
}
inline M32 operator>=(F32 a, F32 b) {
    return {a.low >= b.low, a.high >= b.high};
}
inline M32 operator==(F32 a, F32 b) {
    return {a.low == b.low, a.high == b.high};
}
inline M64 is_negative(F64 a) {
    return {__builtin_signbit(a.v) != 0};
}

inline M64 operator&(M64 a, M64 b) {
    return {a.bits && b.bits};
}
inline M64 operator|(M64 a, M64 b) {
    return {a.bits || b.bits};
}
inline M32 operator&(M32 a, M32 b) {
    return {a.low && b.low, a.high && b.high};
}
inline M32 operator|(M32 a, M32 b) {
    return {a.low || b.low, a.high || b.high};
}

inline unsigned lane_bits(M64 m) {
    return m.bits ? 1u : 0u;
}
inline unsigned lane_bits(M32 m) {
    return (m.low ? 1u : 0u) | (m.high ? 2u : 0u);
}

inline F64 select(M64 m, F64 a, F64 b) {
    return m.bits ? a : b;
}
inline F32 select(M32 m, F32 a, F32 b) {
    return {m.low ? a.low : b.low, m.high ? a.high : b.high};
}

inline F32 load(const float* p) {
    return {p[0], p[1]};
}
inline void store(float* p, F32 a) {
    p[0] = a.low;
    p[1] = a.high;
}
inline F64 load(const double* p) {
    return {*p};
}
inline void store(double* p, F64 a) {
    *p = a.v;
}

inline F64 load_floats(const float* p) {
    return {*p};
}
inline void load_pairs(const float* p, F64& first, F64& second) {
    first = {p[0]};
    second = {p[1]};
}
inline void store_floats(float* p, F64 a) {
    *p = static_cast<float>(a.v);
}
inline F64 round_and_store(float* p, F64 a) {
    *p = static_cast<float>(a.v);
    return {*p};
}
inline F64 round_to_float(F64 a) {
    return {static_cast<float>(a.v)};
}
inline void store_floats_times(float* p, F64 a, float factor) {
    *p = static_cast<float>(a.v) * factor;
}

inline F64 look_up_8(const double* table, F64 index) {
    return {table[static_cast<int>(index.v)]};
}

// The smallest integer where it doesn't fit, as processors give it.
inline std::int32_t truncated(double v) {
    return v > -2147483649.0 && v < 2147483648.0 ? static_cast<std::int32_t>(v)
                                                 : std::int32_t{-2147483647} - 1;
}
inline F64 truncate(F64 a) {
    return {static_cast<double>(truncated(a.v))};
}
inline F32 truncate(F32 a) {
    return {__builtin_truncf(a.low), __builtin_truncf(a.high)};
}

inline void transpose(F32 (&rows)[F32::count]) {
    const F32 a = rows[0];
    const F32 b = rows[1];
    rows[0] = {a.low, b.low};
    rows[1] = {a.high, b.high};
}

inline void store_truncated(std::int32_t* p, F64 a) {
    *p = truncated(a.v);
}
inline void store_truncated(std::int32_t* p, F32 a) {
    p[0] = truncated(a.low);
    p[1] = truncated(a.high);
}

inline void store_low_bytes(unsigned char* p, const std::int32_t (&whole)[32]) {
    for (int k = 0; k < 32; ++k)
        p[k] = static_cast<unsigned char>(whole[k]);
}
inline void store_low_words(unsigned char* p, const std::int32_t (&whole)[32]) {
    for (int k = 0; k < 32; ++k) {
        const auto word = static_cast<std::uint16_t>(whole[k]);
        __builtin_memcpy(p + 2 * k, &word, 2);
    }
}

struct B16 {
    unsigned char v[16];
};
inline B16 load_16(const unsigned char* p) {
    B16 a;
    __builtin_memcpy(a.v, p, sizeof a.v);
    return a;
}
inline void store_16(unsigned char* p, B16 a) {
    __builtin_memcpy(p, a.v, sizeof a.v);
}
inline B16 swap_ends_of_threes(B16 a) {
    for (int k = 0; k < 15; k += 3) {
        const unsigned char first = a.v[k];
        a.v[k] = a.v[k + 2];
        a.v[k + 2] = first;
    }
    return a;
}

} // namespace
