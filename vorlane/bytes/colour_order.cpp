#include <vorlane/bytes/colour_order.h>

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <vorlane/bytes/samples.h>

namespace vorlane {

void swap_ends(const unsigned char* from, unsigned char* to, std::size_t pixels) {
#if defined(__SSE2__)
    // Five pixels and a byte that stays. The next five are loaded before these are stored: in place,
    // a load of bytes of two stores would wait for both.
    constexpr std::size_t at_once = 5;
    const auto load = [](const unsigned char* bytes) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    };
    const __m128i first = _mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0);
    const __m128i last = _mm_slli_si128(first, 2);
    const __m128i others = _mm_or_si128(first, last);
    __m128i next = pixels > at_once ? load(from) : _mm_setzero_si128();
    for (; pixels > at_once; pixels -= at_once, from += 3 * at_once, to += 3 * at_once) {
        const __m128i now = next;
        if (pixels > 2 * at_once)
            next = load(from + 3 * at_once);
        const __m128i moved = _mm_or_si128(_mm_slli_si128(_mm_and_si128(now, first), 2),
                                           _mm_srli_si128(_mm_and_si128(now, last), 2));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                         _mm_or_si128(_mm_andnot_si128(others, now), moved));
    }
#endif
    for (; pixels > 0; --pixels, from += 3, to += 3) {
        const unsigned char swapped[] = {from[2], from[1], from[0]};
        std::memcpy(to, swapped, sizeof swapped);
    }
}

void swap_ends(const unsigned char* from, float* to, std::size_t pixels) {
    unsigned char swapped[3 * 256];
    while (pixels > 0) {
        const std::size_t count = std::min<std::size_t>(pixels, sizeof swapped / 3);
        swap_ends(from, swapped, count);
        from_bytes(swapped, to, 3 * count);
        from += 3 * count;
        to += 3 * count;
        pixels -= count;
    }
}

} // namespace vorlane
