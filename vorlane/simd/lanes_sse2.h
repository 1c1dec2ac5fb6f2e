// Private: lanes of SSE2, which every 64-bit processor of this family has. See lanes.h.
#pragma once

#include <emmintrin.h>

#define VORLANE_INTEGER_LANES

namespace {

struct M64 {
    __m128d bits;
};
struct M32 {
    __m128 bits;
};

struct F64 {
    static constexpr int count = 2;
    __m128d v;
};

struct F32 {
    static constexpr int count = 4;
    __m128 v;
};

inline F64 operator+(F64 a, F64 b) {
    return {_mm_add_pd(a.v, b.v)};
}
inline F64 operator-(F64 a, F64 b) {
    return {_mm_sub_pd(a.v, b.v)};
}
inline F64 operator*(F64 a, F64 b) {
    return {_mm_mul_pd(a.v, b.v)};
}
inline F64 operator/(F64 a, F64 b) {
    return {_mm_div_pd(a.v, b.v)};
}
inline F32 operator+(F32 a, F32 b) {
    return {_mm_add_ps(a.v, b.v)};
}
inline F32 operator-(F32 a, F32 b) {
    return {_mm_sub_ps(a.v, b.v)};
}
inline F32 operator*(F32 a, F32 b) {
    return {_mm_mul_ps(a.v, b.v)};
}
inline F32 operator/(F32 a, F32 b) {
    return {_mm_div_ps(a.v, b.v)};
}

inline F64 all_lanes(double value) {
    return {_mm_set1_pd(value)};
}
inline F32 all_lanes(float value) {
    return {_mm_set1_ps(value)};
}

inline F64 square_root(F64 a) {
    return {_mm_sqrt_pd(a.v)};
}
inline F32 square_root(F32 a) {
    return {_mm_sqrt_ps(a.v)};
}
inline F64 absolute(F64 a) {
    return {_mm_andnot_pd(_mm_set1_pd(-0.0), a.v)};
}
inline F32 absolute(F32 a) {
    return {_mm_andnot_ps(_mm_set1_ps(-0.0f), a.v)};
}

inline F64 with_sign_of(F64 a, F64 sign) {
    const __m128d bit = _mm_set1_pd(-0.0);
    return {_mm_or_pd(_mm_andnot_pd(bit, a.v), _mm_and_pd(bit, sign.v))};
}

inline F64 minimum(F64 a, F64 b) {
    return {_mm_min_pd(a.v, b.v)};
}
inline F64 maximum(F64 a, F64 b) {
    return {_mm_max_pd(a.v, b.v)};
}
inline F32 minimum(F32 a, F32 b) {
    return {_mm_min_ps(a.v, b.v)};
}
inline F32 maximum(F32 a, F32 b) {
    return {_mm_max_ps(a.v, b.v)};
}

inline M64 operator<(F64 a, F64 b) {
    return {_mm_cmplt_pd(a.v, b.v)};
}
inline M64 operator==(F64 a, F64 b) {
    return {_mm_cmpeq_pd(a.v, b.v)};
}
inline M32 operator<(F32 a, F32 b) {
    return {_mm_cmplt_ps(a.v, b.v)};
}
inline M32 operator>=(F32 a, F32 b) {
    return {_mm_cmpge_ps(a.v, b.v)};
}
inline M32 operator==(F32 a, F32 b) {
    return {_mm_cmpeq_ps(a.v, b.v)};
}
inline M64 is_negative(F64 a) {
    const __m128i sign = _mm_srai_epi32(_mm_castpd_si128(a.v), 31);
    return {_mm_castsi128_pd(_mm_shuffle_epi32(sign, _MM_SHUFFLE(3, 3, 1, 1)))};
}

inline M64 operator&(M64 a, M64 b) {
    return {_mm_and_pd(a.bits, b.bits)};
}
inline M64 operator|(M64 a, M64 b) {
    return {_mm_or_pd(a.bits, b.bits)};
}
inline M32 operator&(M32 a, M32 b) {
    return {_mm_and_ps(a.bits, b.bits)};
}
inline M32 operator|(M32 a, M32 b) {
    return {_mm_or_ps(a.bits, b.bits)};
}

inline unsigned lane_bits(M64 m) {
    return static_cast<unsigned>(_mm_movemask_pd(m.bits));
}
inline unsigned lane_bits(M32 m) {
    return static_cast<unsigned>(_mm_movemask_ps(m.bits));
}

inline F64 select(M64 m, F64 a, F64 b) {
    return {_mm_or_pd(_mm_and_pd(m.bits, a.v), _mm_andnot_pd(m.bits, b.v))};
}
inline F32 select(M32 m, F32 a, F32 b) {
    return {_mm_or_ps(_mm_and_ps(m.bits, a.v), _mm_andnot_ps(m.bits, b.v))};
}

inline F32 load(const float* p) {
    return {_mm_loadu_ps(p)};
}
inline void store(float* p, F32 a) {
    _mm_storeu_ps(p, a.v);
}
inline F64 load(const double* p) {
    return {_mm_loadu_pd(p)};
}
inline void store(double* p, F64 a) {
    _mm_storeu_pd(p, a.v);
}

inline F64 load_floats(const float* p) {
    const __m128i two = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return {_mm_cvtps_pd(_mm_castsi128_ps(two))};
}
inline void store_two(float* p, __m128 two) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_castps_si128(two));
}
inline void load_pairs(const float* p, F64& first, F64& second) {
    const __m128 pairs = _mm_loadu_ps(p);
    first = {_mm_cvtps_pd(_mm_shuffle_ps(pairs, pairs, 0x88))};
    second = {_mm_cvtps_pd(_mm_shuffle_ps(pairs, pairs, 0xDD))};
}
inline void store_floats(float* p, F64 a) {
    store_two(p, _mm_cvtpd_ps(a.v));
}
inline F64 round_and_store(float* p, F64 a) {
    const __m128 rounded = _mm_cvtpd_ps(a.v);
    store_two(p, rounded);
    return {_mm_cvtps_pd(rounded)};
}
inline F64 round_to_float(F64 a) {
    return {_mm_cvtps_pd(_mm_cvtpd_ps(a.v))};
}
inline void store_floats_times(float* p, F64 a, float factor) {
    store_two(p, _mm_mul_ps(_mm_cvtpd_ps(a.v), _mm_set1_ps(factor)));
}

inline F64 look_up_8(const double* table, F64 index) {
    const __m128i i = _mm_cvttpd_epi32(index.v);
    return {
        _mm_set_pd(table[_mm_cvtsi128_si32(_mm_shuffle_epi32(i, 1))], table[_mm_cvtsi128_si32(i)])};
}

inline F64 truncate(F64 a) {
    return {_mm_cvtepi32_pd(_mm_cvttpd_epi32(a.v))};
}
inline F32 truncate(F32 a) {
    return {_mm_cvtepi32_ps(_mm_cvttps_epi32(a.v))};
}

inline void transpose(F32 (&rows)[F32::count]) {
    _MM_TRANSPOSE4_PS(rows[0].v, rows[1].v, rows[2].v, rows[3].v);
}

inline void store_truncated(std::int32_t* p, F64 a) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_cvttpd_epi32(a.v));
}
inline void store_truncated(std::int32_t* p, F32 a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_cvttps_epi32(a.v));
}

inline void store_low_bytes(unsigned char* p, const std::int32_t (&whole)[32]) {
    const auto low_bytes = [&](int k) {
        const auto* const four = reinterpret_cast<const __m128i*>(whole + k);
        return _mm_and_si128(_mm_loadu_si128(four), _mm_set1_epi32(0xFF));
    };
    for (int k = 0; k < 32; k += 16) {
        const __m128i first = _mm_packs_epi32(low_bytes(k), low_bytes(k + 4));
        const __m128i second = _mm_packs_epi32(low_bytes(k + 8), low_bytes(k + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + k), _mm_packus_epi16(first, second));
    }
}
inline void store_low_words(unsigned char* p, const std::int32_t (&whole)[32]) {
    const auto low_words = [&](int k) { // with their own sign, so that packing keeps them
        const auto* const four = reinterpret_cast<const __m128i*>(whole + k);
        return _mm_srai_epi32(_mm_slli_epi32(_mm_loadu_si128(four), 16), 16);
    };
    for (int k = 0; k < 32; k += 8)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 2 * k),
                         _mm_packs_epi32(low_words(k), low_words(k + 4)));
}

inline std::uint32_t bits_below(const std::int16_t* p, std::int16_t bound) {
    const auto below = [&](int k) {
        const auto* const eight = reinterpret_cast<const __m128i*>(p + k);
        return _mm_cmplt_epi16(_mm_loadu_si128(eight), _mm_set1_epi16(bound));
    };
    const auto half = [&](int k) {
        return static_cast<std::uint32_t>(
            _mm_movemask_epi8(_mm_packs_epi16(below(k), below(k + 8))));
    };
    return half(0) | half(16) << 16;
}
inline std::uint64_t bits_in_square(const unsigned char* rows, const unsigned char* cols,
                                    unsigned char row, unsigned char col, unsigned char size) {
    const auto from = [](const unsigned char* p, unsigned char first) {
        return _mm_sub_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)),
                            _mm_set1_epi8(static_cast<char>(first)));
    };
    const __m128i last = _mm_set1_epi8(static_cast<char>(size - 1));
    std::uint64_t bits = 0;
    for (int k = 0; k < 64; k += 16) {
        const __m128i farther = _mm_max_epu8(from(rows + k, row), from(cols + k, col));
        const __m128i mask = _mm_cmpeq_epi8(_mm_min_epu8(farther, last), farther);
        bits |= static_cast<std::uint64_t>(_mm_movemask_epi8(mask)) << k;
    }
    return bits;
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
    const __m128i first = _mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0);
    const __m128i last = _mm_slli_si128(first, 2);
    const __m128i moved = _mm_or_si128(_mm_slli_si128(_mm_and_si128(a.v, first), 2),
                                       _mm_srli_si128(_mm_and_si128(a.v, last), 2));
    return {_mm_or_si128(_mm_andnot_si128(_mm_or_si128(first, last), a.v), moved)};
}

} // namespace
