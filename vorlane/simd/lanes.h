// Private: lanes, the vector types that kernels are written with. A kernel file is compiled once
// for each instruction set, in a namespace of its own (VORLANE_LANES), and sees the lanes of that
// set:
//
//   F64, F32     vectors of doubles and floats; F64::count, F32::count lanes, F32::count == 2
//   F64::count M64, M32     what a comparison of them gives
//
// Operators work lane by lane and round as scalar code does; `minimum(a, b)` is a < b ? a : b and
// `maximum(a, b)` a > b ? a : b, so b where one is not-a-number.
//
// Everything here is static or a member of a type in an unnamed namespace. A kernel file includes
// no other code: an inline function that the linker may take from a file compiled for AVX-512 would
// end an older machine's program.
#pragma once

#include <cstddef>
#include <cstdint>

#if !defined(VORLANE_LANES)
#error "lanes belong to kernel files, which are compiled once for each instruction set"
#endif

#if defined(__AVX512F__)
#include <vorlane/simd/lanes_avx512.h>
#elif defined(__AVX2__)
#include <vorlane/simd/lanes_avx2.h>
#elif defined(__SSE2__)
#include <vorlane/simd/lanes_sse2.h>
#else
#include <vorlane/simd/lanes_plain.h>
#endif

namespace {

// c + a b and c - a b where a and b are floats held in doubles: their product is exact in a double,
// so a fused operation gives the bits of the separate ones.
static inline F64 add_product(F64 c, F64 a, F64 b) {
#if defined(__FMA__)
    return fused_add(c, a, b);
#else
    return c + a * b;
#endif
}
static inline F64 subtract_product(F64 c, F64 a, F64 b) {
#if defined(__FMA__)
    return fused_subtract(c, a, b);
#else
    return c - a * b;
#endif
}

// The quotient of `s` by `k`, correctly rounded, for a k that is a float; `reciprocal` is 1.0 / k
// rounded.
//
// With q = s * reciprocal, at most 2 units off, the residual s - q k is exact in a fused operation:
// k has 24 bits, so the residual is a few units of q's last place times k, fewer than 53 bits. Then
// q + residual * reciprocal is within 2^-52 units of s / k before its rounding, while a quotient of
// 53 by 24 bits stays 2^-24 units away from every midpoint between doubles. Where the residual is
// 0, q is exact; where it is not-a-number, s or q is infinite or not-a-number, and q is right too.
static inline F64 quotient(F64 s, [[maybe_unused]] F64 k, [[maybe_unused]] F64 reciprocal) {
#if defined(__FMA__)
    const F64 q = s * reciprocal;
    const F64 residual = fused_subtract(s, q, k);
    return select(is_nonzero_number(residual), fused_add(q, residual, reciprocal), q);
#else
    return s / k;
#endif
}

} // namespace
