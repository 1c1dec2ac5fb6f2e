// Private: lanes of AVX-512 (F, DQ, BW, VL). See lanes.h.
#pragma once

#include <immintrin.h>

#define VORLANE_FUSED_LANES
#define VORLANE_INTEGER_LANES

namespace {

struct M64 {
    __mmask8 bits;
};
struct M32 {
    __mmask16 bits;
};

struct F64 {
    static constexpr int count = 8;
    __m512d v;
};

struct F32 {
    static constexpr int count = 16;
    __m512 v;
};

inline F64 operator+(F64 a, F64 b) {
    return {_mm512_add_pd(a.v, b.v)};
}
inline F64 operator-(F64 a, F64 b) {
    return {_mm512_sub_pd(a.v, b.v)};
}
inline F64 operator*(F64 a, F64 b) {
    return {_mm512_mul_pd(a.v, b.v)};
}
inline F64 operator/(F64 a, F64 b) {
    return {_mm512_div_pd(a.v, b.v)};
}
inline F32 operator+(F32 a, F32 b) {
    return {_mm512_add_ps(a.v, b.v)};
}
inline F32 operator-(F32 a, F32 b) {
    return {_mm512_sub_ps(a.v, b.v)};
}
inline F32 operator*(F32 a, F32 b) {
    return {_mm512_mul_ps(a.v, b.v)};
}
inline F32 operator/(F32 a, F32 b) {
    return {_mm512_div_ps(a.v, b.v)};
}

inline F64 all_lanes(double value) {
    return {_mm512_set1_pd(value)};
}
inline F32 all_lanes(float value) {
    return {_mm512_set1_ps(value)};
}

inline F64 fused_add(F64 c, F64 a, F64 b) {
    return {_mm512_fmadd_pd(a.v, b.v, c.v)};
}
inline F64 fused_subtract(F64 c, F64 a, F64 b) {
    return {_mm512_fnmadd_pd(a.v, b.v, c.v)};
}

inline F64 square_root(F64 a) {
    return {_mm512_sqrt_pd(a.v)};
}
inline F32 square_root(F32 a) {
    return {_mm512_sqrt_ps(a.v)};
}
inline F64 absolute(F64 a) {
    return {_mm512_abs_pd(a.v)};
}
inline F32 absolute(F32 a) {
    return {_mm512_abs_ps(a.v)};
}

inline F64 with_sign_of(F64 a, F64 sign) {
    const __m512d bit = _mm512_set1_pd(-0.0);
    return {_mm512_or_pd(_mm512_andnot_pd(bit, a.v), _mm512_and_pd(bit, sign.v))};
}

inline F64 minimum(F64 a, F64 b) {
    return {_mm512_min_pd(a.v, b.v)};
}
inline F64 maximum(F64 a, F64 b) {
    return {_mm512_max_pd(a.v, b.v)};
}
inline F32 minimum(F32 a, F32 b) {
    return {_mm512_min_ps(a.v, b.v)};
}
inline F32 maximum(F32 a, F32 b) {
    return {_mm512_max_ps(a.v, b.v)};
}

inline M64 operator<(F64 a, F64 b) {
    return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LT_OQ)};
}
inline M64 operator==(F64 a, F64 b) {
    return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ)};
}
inline M32 operator<(F32 a, F32 b) {
    return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OQ)};
}
inline M32 operator>=(F32 a, F32 b) {
    return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_GE_OQ)};
}
inline M32 operator==(F32 a, F32 b) {
    return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_EQ_OQ)};
}
inline M64 is_nonzero_number(F64 a) {
    return {_mm512_cmp_pd_mask(a.v, _mm512_setzero_pd(), _CMP_NEQ_OQ)};
}
inline M64 is_negative(F64 a) {
    return {_mm512_movepi64_mask(_mm512_castpd_si512(a.v))};
}

inline M64 operator&(M64 a, M64 b) {
    return {static_cast<__mmask8>(a.bits & b.bits)};
}
inline M64 operator|(M64 a, M64 b) {
    return {static_cast<__mmask8>(a.bits | b.bits)};
}
inline M32 operator&(M32 a, M32 b) {
    return {static_cast<__mmask16>(a.bits & b.bits)};
}
inline M32 operator|(M32 a, M32 b) {
    return {static_cast<__mmask16>(a.bits | b.bits)};
}

inline unsigned lane_bits(M64 m) {
    return m.bits;
}
inline unsigned lane_bits(M32 m) {
    return m.bits;
}

inline F64 select(M64 m, F64 a, F64 b) {
    return {_mm512_mask_blend_pd(m.bits, b.v, a.v)};
}
inline F32 select(M32 m, F32 a, F32 b) {
    return {_mm512_mask_blend_ps(m.bits, b.v, a.v)};
}

inline F32 load(const float* p) {
    return {_mm512_loadu_ps(p)};
}
inline void store(float* p, F32 a) {
    _mm512_storeu_ps(p, a.v);
}
inline F64 load(const double* p) {
    return {_mm512_loadu_pd(p)};
}
inline void store(double* p, F64 a) {
    _mm512_storeu_pd(p, a.v);
}

inline F64 load_floats(const float* p) {
    return {_mm512_cvtps_pd(_mm256_loadu_ps(p))};
}
inline void load_pairs(const float* p, F64& first, F64& second) {
    const __m256 low = _mm256_loadu_ps(p);
    const __m256 high = _mm256_loadu_ps(p + 8);
    const auto in_order = [](__m256 a) { // its quarters are those of low, high, low, high
        return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(a), 0xD8));
    };
    first = {_mm512_cvtps_pd(in_order(_mm256_shuffle_ps(low, high, 0x88)))};
    second = {_mm512_cvtps_pd(in_order(_mm256_shuffle_ps(low, high, 0xDD)))};
}
inline void store_floats(float* p, F64 a) {
    _mm256_storeu_ps(p, _mm512_cvtpd_ps(a.v));
}
inline F64 round_and_store(float* p, F64 a) {
    const __m256 rounded = _mm512_cvtpd_ps(a.v);
    _mm256_storeu_ps(p, rounded);
    return {_mm512_cvtps_pd(rounded)};
}
inline F64 round_to_float(F64 a) {
    return {_mm512_cvtps_pd(_mm512_cvtpd_ps(a.v))};
}
inline void store_floats_times(float* p, F64 a, float factor) {
    _mm256_storeu_ps(p, _mm256_mul_ps(_mm512_cvtpd_ps(a.v), _mm256_set1_ps(factor)));
}

inline F64 look_up_8(const double* table, F64 index) {
    return {_mm512_permutexvar_pd(_mm512_cvttpd_epi64(index.v), _mm512_loadu_pd(table))};
}

inline F64 truncate(F64 a) {
    return {_mm512_roundscale_pd(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}
inline F32 truncate(F32 a) {
    return {_mm512_roundscale_ps(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}

inline void transpose(F32 (&rows)[F32::count]) {
    __m512 a[16];
    __m512 b[16];
    for (int k = 0; k < 16; k += 2) { // pairs of rows
        a[k] = _mm512_unpacklo_ps(rows[k].v, rows[k + 1].v);
        a[k + 1] = _mm512_unpackhi_ps(rows[k].v, rows[k + 1].v);
    }
    for (int k = 0; k < 16; k += 4) { // fours of rows: b[k + c] holds column c of each quarter
        for (int h = 0; h < 2; ++h) {
            b[k + 2 * h] = _mm512_shuffle_ps(a[k + h], a[k + 2 + h], _MM_SHUFFLE(1, 0, 1, 0));
            b[k + 2 * h + 1] = _mm512_shuffle_ps(a[k + h], a[k + 2 + h], _MM_SHUFFLE(3, 2, 3, 2));
        }
    }
    for (int c = 0; c < 4; ++c) { // quarters
        const __m512 even_low = _mm512_shuffle_f32x4(b[c], b[c + 4], 0x88);
        const __m512 odd_low = _mm512_shuffle_f32x4(b[c], b[c + 4], 0xDD);
        const __m512 even_high = _mm512_shuffle_f32x4(b[c + 8], b[c + 12], 0x88);
        const __m512 odd_high = _mm512_shuffle_f32x4(b[c + 8], b[c + 12], 0xDD);
        rows[c].v = _mm512_shuffle_f32x4(even_low, even_high, 0x88);
        rows[c + 8].v = _mm512_shuffle_f32x4(even_low, even_high, 0xDD);
        rows[c + 4].v = _mm512_shuffle_f32x4(odd_low, odd_high, 0x88);
        rows[c + 12].v = _mm512_shuffle_f32x4(odd_low, odd_high, 0xDD);
    }
}

inline void store_truncated(std::int32_t* p, F64 a) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvttpd_epi32(a.v));
}
inline void store_truncated(std::int32_t* p, F32 a) {
    _mm512_storeu_si512(p, _mm512_cvttps_epi32(a.v));
}

inline void store_low_bytes(unsigned char* p, const std::int32_t (&whole)[32]) {
    for (int k = 0; k < 32; k += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + k),
                         _mm512_cvtepi32_epi8(_mm512_loadu_si512(whole + k)));
}
inline void store_low_words(unsigned char* p, const std::int32_t (&whole)[32]) {
    for (int k = 0; k < 32; k += 16)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 2 * k),
                            _mm512_cvtepi32_epi16(_mm512_loadu_si512(whole + k)));
}

inline std::uint32_t bits_below(const std::int16_t* p, std::int16_t bound) {
    return _mm512_cmplt_epi16_mask(_mm512_loadu_si512(p), _mm512_set1_epi16(bound));
}
inline std::uint64_t bits_in_square(const unsigned char* rows, const unsigned char* cols,
                                    unsigned char row, unsigned char col, unsigned char size) {
    const auto from = [](const unsigned char* p, unsigned char first) {
        return _mm512_sub_epi8(_mm512_loadu_si512(p), _mm512_set1_epi8(static_cast<char>(first)));
    };
    return _mm512_cmplt_epu8_mask(_mm512_max_epu8(from(rows, row), from(cols, col)),
                                  _mm512_set1_epi8(static_cast<char>(size)));
}

struct B16 {
    __m128i v;
};
inline B16 load_16(const unsigned char* p) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))};
}
inline void store_16(unsigned char* p, B16 a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.v);
}
inline B16 swap_ends_of_threes(B16 a) {
    return {
        _mm_shuffle_epi8(a.v, _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15))};
}

} // namespace
