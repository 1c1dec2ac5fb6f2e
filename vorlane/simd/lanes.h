// Private: lanes, the vector types that kernels are written with. A kernel file is compiled once
// for each instruction set, in a namespace of its own (VORLANE_LANES), and sees the lanes of that
// set, from the header of its name:
//
//   F64, F32     vectors of doubles and floats; F64::count, F32::count lanes, F32::count == 2 F64::count
//   M64, M32     what a comparison of them gives
//
// Every set gives the bits of the plain one. Lane by lane, with the rounding of scalar code:
//
//   + - * /                     of F64 and of F32
//   < ==, and >= of F32         false where one is not-a-number
//   & |                         of masks
//   all_lanes(value)            the value in every lane
//   square_root(a)
//   absolute(a)
//   minimum(a, b)               a < b ? a : b, so b where one is not-a-number
//   maximum(a, b)               a > b ? a : b, likewise
//   select(mask, a, b)          mask ? a : b
//   truncate(a)                 toward zero, for magnitudes below 2^31; a zero may lose its sign
//
//   of F64 alone:
//   with_sign_of(a, sign)       the magnitude of a with the sign bit of `sign`
//   is_negative(a)              the sign bit, also of zeros and not-a-numbers
//   round_to_float(a)           the nearest float, as a double
//   look_up_8(table, index)     table[index], for indices that are whole numbers from 0 to 7
//
// Between lanes:
//
//   lane_bits(mask)             one bit a lane, the first lane lowest
//   all_set(mask)
//   transpose(rows)             lane k of row r goes to lane r of row k, for F32::count rows
//
// From and to memory, of any alignment, F64::count or F32::count numbers:
//
//   load(p), store(p, a)        doubles as F64, floats as F32
//   load_floats(p)              floats as F64
//   load_pairs(p, a, b)         the floats p[0], p[2], p[4] ... as F64 a, and p[1], p[3] ... as b
//   store_floats(p, a)          F64 rounded to floats
//   round_and_store(p, a)       the same; gives what it has stored, as doubles
//   store_floats_times(p, a, f) F64 rounded to floats, which are multiplied as floats by f
//   store_truncated(p, a)       F64 or F32 as 32-bit integers, truncated; any integer where it doesn't fit
//   store_low_bytes(p, whole)   the low 8 bits of 32 integers, whatever the number of lanes
//   store_low_words(p, whole)   the low 16 bits of them, the low byte first
//
// Of 16 bytes, B16: load_16(p), store_16(p, a), and swap_ends_of_threes(a), which swaps the first and the
// last of each three and leaves the last byte.
//
// Names stand in an unnamed namespace: every kernel file has its own. It includes no other code: an
// inline function that the linker may take from a file compiled for AVX-512 would end an older
// machine's program.
#pragma once

#include <cstddef>
#include <cstdint>

#include <vorlane/simd/widest_lanes.h>

#if !defined(VORLANE_LANES)
#error "lanes belong to kernel files, which are compiled once for each instruction set"
#endif

// A header that has fused_add(c, a, b) = c + a b and fused_subtract(c, a, b) = c - a b with one
// rounding, and is_nonzero_number(a), defines VORLANE_FUSED_LANES.
//
// A header that compares many small integers at once defines VORLANE_INTEGER_LANES, and has
//
//   bits_below(p, bound)        of 32 16-bit integers, p[k] < bound; bits in an order of the set's own
//   bits_in_square(rows, cols, row, col, size)
//                               of 64 pairs of bytes, whether rows[k] - row and cols[k] - col, modulo
//                               256, are both below size; the first pair's bit lowest
#define VORLANE_QUOTED(path) #path
// clang-format off
#define VORLANE_LANES_PATH(set) VORLANE_QUOTED(vorlane/simd/lanes_##set.h)
// clang-format on
#define VORLANE_LANES_OF(set) VORLANE_LANES_PATH(set)
#include VORLANE_LANES_OF(VORLANE_LANES)

namespace {

static_assert(F64::count <= vorlane::most_double_lanes && F32::count == 2 * F64::count);

inline bool all_set(M64 m) {
    return lane_bits(m) == (1u << F64::count) - 1;
}
inline bool all_set(M32 m) {
    return lane_bits(m) == (1u << F32::count) - 1;
}

// c + a b and c - a b where a and b are floats held in doubles: their product is exact in a double,
// so a fused operation gives the bits of the separate ones.
inline F64 add_product(F64 c, F64 a, F64 b) {
#if defined(VORLANE_FUSED_LANES)
    return fused_add(c, a, b);
#else
    return c + a * b;
#endif
}
inline F64 subtract_product(F64 c, F64 a, F64 b) {
#if defined(VORLANE_FUSED_LANES)
    return fused_subtract(c, a, b);
#else
    return c - a * b;
#endif
}

// The quotient of `s` by `k`, correctly rounded, for a k of at most 46 bits, as floats are and areas in
// pixels; `reciprocal` is 1.0 / k rounded. With
//
//   q        = s * reciprocal             at most 2 units of its last place off
//   residual = s - q k                    fused
//   result   = q + residual * reciprocal  fused
//
// the residual is exact: it is a few units of q's last place times k, fewer than 53 bits. The result
// is within 2^-52 units of s / k before its rounding, while a quotient of 53 by 46 bits stays 2^-47
// units away from every midpoint between doubles. Where the residual is 0, q is
// exact; where it is not-a-number, s or q is infinite or not-a-number, and q is right too.
inline F64 quotient(F64 s, [[maybe_unused]] F64 k, [[maybe_unused]] F64 reciprocal) {
#if defined(VORLANE_FUSED_LANES)
    const F64 q = s * reciprocal;
    const F64 residual = fused_subtract(s, q, k);
    return select(is_nonzero_number(residual), fused_add(q, residual, reciprocal), q);
#else
    return s / k;
#endif
}

// Where the k-th of the bits that are set stands, from the lowest, which is number 0.
inline int place_of_set_bit(std::uint64_t bits, int k) {
#if defined(__BMI2__) && defined(__x86_64__)
    bits = _pdep_u64(std::uint64_t{1} << k, bits);
#else
    for (; k > 0; --k)
        bits &= bits - 1;
#endif
    return __builtin_ctzll(bits);
}

} // namespace
