// Private: lanes of AVX2 with FMA. See lanes.h.
#pragma once

#include <immintrin.h>

#define VORLANE_FUSED_LANES
#define VORLANE_INTEGER_LANES

namespace {

struct M64 {
    __m256d bits;
};
struct M32 {
    __m256 bits;
};

struct F64 {
    static constexpr int count = 4;
    __m256d v;
};

struct F32 {
    static constexpr int count = 8;
    __m256 v;
};

inline F64 operator+(F64 a, F64 b) {
    return {_mm256_add_pd(a.v, b.v)};
}
inline F64 operator-(F64 a, F64 b) {
    return {_mm256_sub_pd(a.v, b.v)};
}
inline F64 operator*(F64 a, F64 b) {
    return {_mm256_mul_pd(a.v, b.v)};
}
inline F64 operator/(F64 a, F64 b) {
    return {_mm256_div_pd(a.v, b.v)};
}
inline F32 operator+(F32 a, F32 b) {
    return {_mm256_add_ps(a.v, b.v)};
}
inline F32 operator-(F32 a, F32 b) {
    return {_mm256_sub_ps(a.v, b.v)};
}
inline F32 operator*(F32 a, F32 b) {
    return {_mm256_mul_ps(a.v, b.v)};
}
inline F32 operator/(F32 a, F32 b) {
    return {_mm256_div_ps(a.v, b.v)};
}

inline F64 all_lanes(double value) {
    return {_mm256_set1_pd(value)};
}
inline F32 all_lanes(float value) {
    return {_mm256_set1_ps(value)};
}

inline F64 fused_add(F64 c, F64 a, F64 b) {
    return {_mm256_fmadd_pd(a.v, b.v, c.v)};
}
inline F64 fused_subtract(F64 c, F64 a, F64 b) {
    return {_mm256_fnmadd_pd(a.v, b.v, c.v)};
}

inline F64 square_root(F64 a) {
    return {_mm256_sqrt_pd(a.v)};
}
inline F32 square_root(F32 a) {
    return {_mm256_sqrt_ps(a.v)};
}
inline F64 absolute(F64 a) {
    return {_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.v)};
}
inline F32 absolute(F32 a) {
    return {_mm256_andnot_ps(_mm256_set1_ps(-0.0f), a.v)};
}

inline F64 with_sign_of(F64 a, F64 sign) {
    const __m256d bit = _mm256_set1_pd(-0.0);
    return {_mm256_or_pd(_mm256_andnot_pd(bit, a.v), _mm256_and_pd(bit, sign.v))};
}

inline F64 minimum(F64 a, F64 b) {
    return {_mm256_min_pd(a.v, b.v)};
}
inline F64 maximum(F64 a, F64 b) {
    return {_mm256_max_pd(a.v, b.v)};
}
inline F32 minimum(F32 a, F32 b) {
    return {_mm256_min_ps(a.v, b.v)};
}
inline F32 maximum(F32 a, F32 b) {
    return {_mm256_max_ps(a.v, b.v)};
}

inline M64 operator<(F64 a, F64 b) {
    return {_mm256_cmp_pd(a.v, b.v, _CMP_LT_OQ)};
}
inline M64 operator==(F64 a, F64 b) {
    return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)};
}
inline M32 operator<(F32 a, F32 b) {
    return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)};
}
inline M32 operator>=(F32 a, F32 b) {
    return {_mm256_cmp_ps(a.v, b.v, _CMP_GE_OQ)};
}
inline M32 operator==(F32 a, F32 b) {
    return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)};
}
inline M64 is_nonzero_number(F64 a) {
    return {_mm256_cmp_pd(a.v, _mm256_setzero_pd(), _CMP_NEQ_OQ)};
}
inline M64 is_negative(F64 a) {
    return {
        _mm256_castsi256_pd(_mm256_cmpgt_epi64(_mm256_setzero_si256(), _mm256_castpd_si256(a.v)))};
}

inline M64 operator&(M64 a, M64 b) {
    return {_mm256_and_pd(a.bits, b.bits)};
}
inline M64 operator|(M64 a, M64 b) {
    return {_mm256_or_pd(a.bits, b.bits)};
}
inline M32 operator&(M32 a, M32 b) {
    return {_mm256_and_ps(a.bits, b.bits)};
}
inline M32 operator|(M32 a, M32 b) {
    return {_mm256_or_ps(a.bits, b.bits)};
}

inline unsigned lane_bits(M64 m) {
    return static_cast<unsigned>(_mm256_movemask_pd(m.bits));
}
inline unsigned lane_bits(M32 m) {
    return static_cast<unsigned>(_mm256_movemask_ps(m.bits));
}

inline F64 select(M64 m, F64 a, F64 b) {
    return {_mm256_blendv_pd(b.v, a.v, m.bits)};
}
inline F32 select(M32 m, F32 a, F32 b) {
    return {_mm256_blendv_ps(b.v, a.v, m.bits)};
}

inline F32 load(const float* p) {
    return {_mm256_loadu_ps(p)};
}
inline void store(float* p, F32 a) {
    _mm256_storeu_ps(p, a.v);
}
inline F64 load(const double* p) {
    return {_mm256_loadu_pd(p)};
}
inline void store(double* p, F64 a) {
    _mm256_storeu_pd(p, a.v);
}

inline F64 load_floats(const float* p) {
    return {_mm256_cvtps_pd(_mm_loadu_ps(p))};
}
inline void load_pairs(const float* p, F64& first, F64& second) {
    const __m128 low = _mm_loadu_ps(p);
    const __m128 high = _mm_loadu_ps(p + 4);
    first = {_mm256_cvtps_pd(_mm_shuffle_ps(low, high, 0x88))};
    second = {_mm256_cvtps_pd(_mm_shuffle_ps(low, high, 0xDD))};
}
inline void store_floats(float* p, F64 a) {
    _mm_storeu_ps(p, _mm256_cvtpd_ps(a.v));
}
inline F64 round_and_store(float* p, F64 a) {
    const __m128 rounded = _mm256_cvtpd_ps(a.v);
    _mm_storeu_ps(p, rounded);
    return {_mm256_cvtps_pd(rounded)};
}
inline F64 round_to_float(F64 a) {
    return {_mm256_cvtps_pd(_mm256_cvtpd_ps(a.v))};
}
inline void store_floats_times(float* p, F64 a, float factor) {
    _mm_storeu_ps(p, _mm_mul_ps(_mm256_cvtpd_ps(a.v), _mm_set1_ps(factor)));
}

inline F64 look_up_8(const double* table, F64 index) {
    return {_mm256_i32gather_pd(table, _mm256_cvttpd_epi32(index.v), 8)};
}

inline F64 truncate(F64 a) {
    return {_mm256_round_pd(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}
inline F32 truncate(F32 a) {
    return {_mm256_round_ps(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}

inline void transpose(F32 (&rows)[F32::count]) {
    __m256 a[8];
    __m256 b[8];
    for (int k = 0; k < 8; k += 2) { // pairs of rows
        a[k] = _mm256_unpacklo_ps(rows[k].v, rows[k + 1].v);
        a[k + 1] = _mm256_unpackhi_ps(rows[k].v, rows[k + 1].v);
    }
    for (int k = 0; k < 8; k += 4) { // fours of rows
        for (int h = 0; h < 2; ++h) {
            b[k + 2 * h] = _mm256_shuffle_ps(a[k + h], a[k + 2 + h], _MM_SHUFFLE(1, 0, 1, 0));
            b[k + 2 * h + 1] = _mm256_shuffle_ps(a[k + h], a[k + 2 + h], _MM_SHUFFLE(3, 2, 3, 2));
        }
    }
    for (int k = 0; k < 4; ++k) { // halves
        rows[k].v = _mm256_permute2f128_ps(b[k], b[k + 4], 0x20);
        rows[k + 4].v = _mm256_permute2f128_ps(b[k], b[k + 4], 0x31);
    }
}

inline void store_truncated(std::int32_t* p, F64 a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_cvttpd_epi32(a.v));
}
inline void store_truncated(std::int32_t* p, F32 a) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_cvttps_epi32(a.v));
}

inline void store_low_bytes(unsigned char* p, const std::int32_t (&whole)[32]) {
    const auto low_bytes = [&](int k) {
        const auto* const eight = reinterpret_cast<const __m256i*>(whole + k);
        return _mm256_and_si256(_mm256_loadu_si256(eight), _mm256_set1_epi32(0xFF));
    };
    const __m256i first = _mm256_packs_epi32(low_bytes(0), low_bytes(8));
    const __m256i second = _mm256_packs_epi32(low_bytes(16), low_bytes(24));
    const __m256i in_order = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second),
                                                         _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), in_order);
}
inline void store_low_words(unsigned char* p, const std::int32_t (&whole)[32]) {
    const auto low_words = [&](int k) {
        const auto* const eight = reinterpret_cast<const __m256i*>(whole + k);
        return _mm256_and_si256(_mm256_loadu_si256(eight), _mm256_set1_epi32(0xFFFF));
    };
    for (int k = 0; k < 32; k += 16) {
        const __m256i halves = _mm256_packus_epi32(low_words(k), low_words(k + 8));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 2 * k),
                            _mm256_permute4x64_epi64(halves, 0xD8));
    }
}

inline std::uint32_t bits_below(const std::int16_t* p, std::int16_t bound) {
    const auto below = [&](int k) {
        const auto* const sixteen = reinterpret_cast<const __m256i*>(p + k);
        return _mm256_cmpgt_epi16(_mm256_set1_epi16(bound), _mm256_loadu_si256(sixteen));
    };
    return static_cast<std::uint32_t>(
        _mm256_movemask_epi8(_mm256_packs_epi16(below(0), below(16))));
}
inline std::uint64_t bits_in_square(const unsigned char* rows, const unsigned char* cols,
                                    unsigned char row, unsigned char col, unsigned char size) {
    const auto from = [](const unsigned char* p, unsigned char first) {
        return _mm256_sub_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)),
                               _mm256_set1_epi8(static_cast<char>(first)));
    };
    const __m256i last = _mm256_set1_epi8(static_cast<char>(size - 1));
    const auto inside = [&](int k) {
        const __m256i farther = _mm256_max_epu8(from(rows + k, row), from(cols + k, col));
        const __m256i mask = _mm256_cmpeq_epi8(_mm256_min_epu8(farther, last), farther);
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(mask));
    };
    return inside(0) | std::uint64_t{inside(32)} << 32;
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
