// Private: lanes of AArch64's vectors of 128 bits. See lanes.h.
#pragma once

#include <arm_neon.h>

#define VORLANE_FUSED_LANES
#define VORLANE_INTEGER_LANES

namespace {

struct M64 {
    uint64x2_t bits;
};
struct M32 {
    uint32x4_t bits;
};

struct F64 {
    static constexpr int count = 2;
    float64x2_t v;
};

struct F32 {
    static constexpr int count = 4;
    float32x4_t v;
};

inline F64 operator+(F64 a, F64 b) {
    return {vaddq_f64(a.v, b.v)};
}
inline F64 operator-(F64 a, F64 b) {
    return {vsubq_f64(a.v, b.v)};
}
inline F64 operator*(F64 a, F64 b) {
    return {vmulq_f64(a.v, b.v)};
}
inline F64 operator/(F64 a, F64 b) {
    return {vdivq_f64(a.v, b.v)};
}
inline F32 operator+(F32 a, F32 b) {
    return {vaddq_f32(a.v, b.v)};
}
inline F32 operator-(F32 a, F32 b) {
    return {vsubq_f32(a.v, b.v)};
}
inline F32 operator*(F32 a, F32 b) {
    return {vmulq_f32(a.v, b.v)};
}
inline F32 operator/(F32 a, F32 b) {
    return {vdivq_f32(a.v, b.v)};
}

inline F64 all_lanes(double value) {
    return {vdupq_n_f64(value)};
}
inline F32 all_lanes(float value) {
    return {vdupq_n_f32(value)};
}

inline F64 fused_add(F64 c, F64 a, F64 b) {
    return {vfmaq_f64(c.v, a.v, b.v)};
}
inline F64 fused_subtract(F64 c, F64 a, F64 b) {
    return {vfmsq_f64(c.v, a.v, b.v)};
}

inline F64 square_root(F64 a) {
    return {vsqrtq_f64(a.v)};
}
inline F32 square_root(F32 a) {
    return {vsqrtq_f32(a.v)};
}
inline F64 absolute(F64 a) {
    return {vabsq_f64(a.v)};
}
inline F32 absolute(F32 a) {
    return {vabsq_f32(a.v)};
}

inline F64 with_sign_of(F64 a, F64 sign) {
    return {vbslq_f64(vdupq_n_u64(std::uint64_t{1} << 63), sign.v, a.v)};
}

// The instructions for minima and maxima prefer not-a-numbers.
inline F64 minimum(F64 a, F64 b) {
    return {vbslq_f64(vcltq_f64(a.v, b.v), a.v, b.v)};
}
inline F64 maximum(F64 a, F64 b) {
    return {vbslq_f64(vcgtq_f64(a.v, b.v), a.v, b.v)};
}
inline F32 minimum(F32 a, F32 b) {
    return {vbslq_f32(vcltq_f32(a.v, b.v), a.v, b.v)};
}
inline F32 maximum(F32 a, F32 b) {
    return {vbslq_f32(vcgtq_f32(a.v, b.v), a.v, b.v)};
}

inline M64 operator<(F64 a, F64 b) {
    return {vcltq_f64(a.v, b.v)};
}
inline M64 operator==(F64 a, F64 b) {
    return {vceqq_f64(a.v, b.v)};
}
inline M32 operator<(F32 a, F32 b) {
    return {vcltq_f32(a.v, b.v)};
}
inline M32 operator>=(F32 a, F32 b) {
    return {vcgeq_f32(a.v, b.v)};
}
inline M32 operator==(F32 a, F32 b) {
    return {vceqq_f32(a.v, b.v)};
}
inline M64 is_nonzero_number(F64 a) {
    return {vcgtq_f64(vabsq_f64(a.v), vdupq_n_f64(0.0))};
}
inline M64 is_negative(F64 a) {
    return {vcltzq_s64(vreinterpretq_s64_f64(a.v))};
}

inline M64 operator&(M64 a, M64 b) {
    return {vandq_u64(a.bits, b.bits)};
}
inline M64 operator|(M64 a, M64 b) {
    return {vorrq_u64(a.bits, b.bits)};
}
inline M32 operator&(M32 a, M32 b) {
    return {vandq_u32(a.bits, b.bits)};
}
inline M32 operator|(M32 a, M32 b) {
    return {vorrq_u32(a.bits, b.bits)};
}

inline unsigned lane_bits(M64 m) {
    return static_cast<unsigned>((vgetq_lane_u64(m.bits, 0) & 1) | (vgetq_lane_u64(m.bits, 1) & 2));
}
inline unsigned lane_bits(M32 m) {
    const uint32x4_t weights = {1, 2, 4, 8};
    return vaddvq_u32(vandq_u32(m.bits, weights));
}

inline F64 select(M64 m, F64 a, F64 b) {
    return {vbslq_f64(m.bits, a.v, b.v)};
}
inline F32 select(M32 m, F32 a, F32 b) {
    return {vbslq_f32(m.bits, a.v, b.v)};
}

inline F32 load(const float* p) {
    return {vld1q_f32(p)};
}
inline void store(float* p, F32 a) {
    vst1q_f32(p, a.v);
}
inline F64 load(const double* p) {
    return {vld1q_f64(p)};
}
inline void store(double* p, F64 a) {
    vst1q_f64(p, a.v);
}

inline F64 load_floats(const float* p) {
    return {vcvt_f64_f32(vld1_f32(p))};
}
inline void load_pairs(const float* p, F64& first, F64& second) {
    const float32x2x2_t pairs = vld2_f32(p);
    first = {vcvt_f64_f32(pairs.val[0])};
    second = {vcvt_f64_f32(pairs.val[1])};
}
inline void store_floats(float* p, F64 a) {
    vst1_f32(p, vcvt_f32_f64(a.v));
}
inline F64 round_and_store(float* p, F64 a) {
    const float32x2_t rounded = vcvt_f32_f64(a.v);
    vst1_f32(p, rounded);
    return {vcvt_f64_f32(rounded)};
}
inline F64 round_to_float(F64 a) {
    return {vcvt_f64_f32(vcvt_f32_f64(a.v))};
}
inline void store_floats_times(float* p, F64 a, float factor) {
    vst1_f32(p, vmul_n_f32(vcvt_f32_f64(a.v), factor));
}

inline F64 look_up_8(const double* table, F64 index) {
    const int64x2_t i = vcvtq_s64_f64(index.v);
    const float64x2_t first = vdupq_n_f64(table[vgetq_lane_s64(i, 0)]);
    return {vsetq_lane_f64(table[vgetq_lane_s64(i, 1)], first, 1)};
}

inline F64 truncate(F64 a) {
    return {vrndq_f64(a.v)};
}
inline F32 truncate(F32 a) {
    return {vrndq_f32(a.v)};
}

inline void transpose(F32 (&rows)[F32::count]) {
    const float32x4x2_t upper = vzipq_f32(rows[0].v, rows[2].v);
    const float32x4x2_t lower = vzipq_f32(rows[1].v, rows[3].v);
    const float32x4x2_t left = vzipq_f32(upper.val[0], lower.val[0]);
    const float32x4x2_t right = vzipq_f32(upper.val[1], lower.val[1]);
    rows[0].v = left.val[0];
    rows[1].v = left.val[1];
    rows[2].v = right.val[0];
    rows[3].v = right.val[1];
}

inline void store_truncated(std::int32_t* p, F64 a) {
    vst1_s32(p, vmovn_s64(vcvtq_s64_f64(a.v)));
}
inline void store_truncated(std::int32_t* p, F32 a) {
    vst1q_s32(p, vcvtq_s32_f32(a.v));
}

inline void store_low_bytes(unsigned char* p, const std::int32_t (&whole)[32]) {
    const auto low_words = [&](int k) { return vmovn_s32(vld1q_s32(whole + k)); };
    for (int k = 0; k < 32; k += 8) {
        const int16x8_t words = vcombine_s16(low_words(k), low_words(k + 4));
        vst1_u8(p + k, vreinterpret_u8_s8(vmovn_s16(words)));
    }
}
inline void store_low_words(unsigned char* p, const std::int32_t (&whole)[32]) {
    for (int k = 0; k < 32; k += 4)
        vst1_u8(p + 2 * k, vreinterpret_u8_s16(vmovn_s32(vld1q_s32(whole + k))));
}

// The highest bit of each of 16 bytes.
inline std::uint32_t byte_bits(uint8x16_t mask) {
    constexpr std::uint8_t places[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const uint8x16_t bits = vandq_u8(mask, vld1q_u8(places));
    return vaddv_u8(vget_low_u8(bits)) | std::uint32_t{vaddv_u8(vget_high_u8(bits))} << 8;
}
inline std::uint32_t bits_below(const std::int16_t* p, std::int16_t bound) {
    const auto half = [&](int k) {
        const uint16x8_t first = vcltq_s16(vld1q_s16(p + k), vdupq_n_s16(bound));
        const uint16x8_t second = vcltq_s16(vld1q_s16(p + k + 8), vdupq_n_s16(bound));
        return byte_bits(vcombine_u8(vmovn_u16(first), vmovn_u16(second)));
    };
    return half(0) | half(16) << 16;
}
inline std::uint64_t bits_in_square(const unsigned char* rows, const unsigned char* cols,
                                    unsigned char row, unsigned char col, unsigned char size) {
    std::uint64_t bits = 0;
    for (int k = 0; k < 64; k += 16) {
        const uint8x16_t farther = vmaxq_u8(vsubq_u8(vld1q_u8(rows + k), vdupq_n_u8(row)),
                                            vsubq_u8(vld1q_u8(cols + k), vdupq_n_u8(col)));
        bits |= std::uint64_t{byte_bits(vcltq_u8(farther, vdupq_n_u8(size)))} << k;
    }
    return bits;
}

struct B16 {
    uint8x16_t v;
};
inline B16 load_16(const unsigned char* p) {
    return {vld1q_u8(p)};
}
inline void store_16(unsigned char* p, B16 a) {
    vst1q_u8(p, a.v);
}
inline B16 swap_ends_of_threes(B16 a) {
    constexpr unsigned char from[] = {2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15};
    return {vqtbl1q_u8(a.v, vld1q_u8(from))};
}

} // namespace
