// Private: lanes of one double and two floats in plain C++, for processors without lanes of their
// own here. See lanes.h.
#pragma once

#include <cmath>

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

static inline F64 operator+(F64 a, F64 b) {
    return {a.v + b.v};
}
static inline F64 operator-(F64 a, F64 b) {
    return {a.v - b.v};
}
static inline F64 operator*(F64 a, F64 b) {
    return {a.v * b.v};
}
static inline F64 operator/(F64 a, F64 b) {
    return {a.v / b.v};
}
static inline F32 operator+(F32 a, F32 b) {
    return {a.low + b.low, a.high + b.high};
}
static inline F32 operator-(F32 a, F32 b) {
    return {a.low - b.low, a.high - b.high};
}
static inline F32 operator*(F32 a, F32 b) {
    return {a.low * b.low, a.high * b.high};
}
static inline F32 operator/(F32 a, F32 b) {
    return {a.low / b.low, a.high / b.high};
}

static inline F64 all_lanes(double value) {
    return {value};
}
static inline F32 all_lanes(float value) {
    return {value, value};
}

static inline F64 square_root(F64 a) {
    return {__builtin_sqrt(a.v)};
}
static inline F32 square_root(F32 a) {
    return {__builtin_sqrtf(a.low), __builtin_sqrtf(a.high)};
}
static inline F64 absolute(F64 a) {
    return {__builtin_fabs(a.v)};
}
static inline F32 absolute(F32 a) {
    return {__builtin_fabsf(a.low), __builtin_fabsf(a.high)};
}

// The magnitude of `a` with the sign bit of `sign`.
static inline F64 with_sign_of(F64 a, F64 sign) {
    return {__builtin_copysign(a.v, sign.v)};
}

static inline F64 minimum(F64 a, F64 b) {
    return a.v < b.v ? a : b;
}
static inline F64 maximum(F64 a, F64 b) {
    return a.v > b.v ? a : b;
}
static inline F32 minimum(F32 a, F32 b) {
    return {a.low < b.low ? a.low : b.low, a.high < b.high ? a.high : b.high};
}
static inline F32 maximum(F32 a, F32 b) {
    return {a.low > b.low ? a.low : b.low, a.high > b.high ? a.high : b.high};
}

static inline M64 operator<(F64 a, F64 b) {
    return {a.v < b.v};
}
static inline M64 operator==(F64 a, F64 b) {
    return {a.v == b.v};
}
static inline M32 operator<(F32 a, F32 b) {
    return {a.low < b.low, a.high < b.high};
}
static inline M32 operator>=(F32 a, F32 b) {
    return {a.low >= b.low, a.high >= b.high};
}
static inline M32 operator==(F32 a, F32 b) {
    return {a.low == b.low, a.high == b.high};
}
static inline M64 is_negative(F64 a) {
    return {__builtin_signbit(a.v) != 0};
}

static inline M64 operator&(M64 a, M64 b) {
    return {a.bits && b.bits};
}
static inline M64 operator|(M64 a, M64 b) {
    return {a.bits || b.bits};
}
static inline M32 operator&(M32 a, M32 b) {
    return {a.low && b.low, a.high && b.high};
}
static inline M32 operator|(M32 a, M32 b) {
    return {a.low || b.low, a.high || b.high};
}

// One bit a lane, the first lane lowest.
static inline unsigned lane_bits(M64 m) {
    return m.bits ? 1u : 0u;
}
static inline unsigned lane_bits(M32 m) {
    return (m.low ? 1u : 0u) | (m.high ? 2u : 0u);
}

// a where the mask is set, else b.
static inline F64 select(M64 m, F64 a, F64 b) {
    return m.bits ? a : b;
}
static inline F32 select(M32 m, F32 a, F32 b) {
    return {m.low ? a.low : b.low, m.high ? a.high : b.high};
}

static inline F32 load(const float* p) {
    return {p[0], p[1]};
}
static inline void store(float* p, F32 a) {
    p[0] = a.low;
    p[1] = a.high;
}
static inline F64 load(const double* p) {
    return {*p};
}
static inline void store(double* p, F64 a) {
    *p = a.v;
}

// F64::count floats as doubles, and back with rounding. round_and_store gives what it has stored.
static inline F64 load_floats(const float* p) {
    return {*p};
}
static inline void store_floats(float* p, F64 a) {
    *p = static_cast<float>(a.v);
}
static inline F64 round_and_store(float* p, F64 a) {
    *p = static_cast<float>(a.v);
    return {*p};
}
static inline F64 round_to_float(F64 a) {
    return {static_cast<float>(a.v)};
}
// Rounds to floats, multiplies them as floats, and stores.
static inline void store_floats_times(float* p, F64 a, float factor) {
    *p = static_cast<float>(a.v) * factor;
}

// table[index] for the 8 entries of a table and indices that are whole numbers from 0 to 7.
static inline F64 look_up_8(const double* table, F64 index) {
    return {table[static_cast<int>(index.v)]};
}

// Truncates toward zero; for numbers of a magnitude below 2^31.
static inline F64 truncate(F64 a) {
    return {static_cast<double>(static_cast<int>(a.v))};
}
static inline F32 truncate(F32 a) {
    return {__builtin_truncf(a.low), __builtin_truncf(a.high)};
}

// Rows become columns: lane k of row r goes to lane r of row k.
static inline void transpose(F32 (&rows)[F32::count]) {
    const F32 a = rows[0];
    const F32 b = rows[1];
    rows[0] = {a.low, b.low};
    rows[1] = {a.high, b.high};
}

// Truncates toward zero, likewise, and stores whole numbers.
static inline void store_truncated(std::int32_t* p, F64 a) {
    *p = static_cast<std::int32_t>(a.v);
}

} // namespace
