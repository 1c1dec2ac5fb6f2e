#include <vorlane/bitmap/windowed_bytes.h>

#include <vorlane/bytes/samples.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vorlane {

void to_windowed_bytes(const float* samples, unsigned char* bytes, std::size_t count, double lo,
                       double hi) {
    const double width = hi - lo;
    const auto one_by_one = [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            bytes[k] = to_byte((samples[k] - lo) * 255 / width);
    };
    std::size_t k = 0;
#if defined(__SSE2__)
    const auto two = [&](__m128 floats) {
        const __m128d offset = _mm_sub_pd(_mm_cvtps_pd(floats), _mm_set1_pd(lo));
        return _mm_cvttpd_epi32(
            _mm_div_pd(_mm_mul_pd(offset, _mm_set1_pd(255.0)), _mm_set1_pd(width)));
    };
    const auto four = [&](std::size_t at) {
        const __m128 floats = _mm_loadu_ps(samples + at);
        return _mm_unpacklo_epi64(two(floats), two(_mm_movehl_ps(floats, floats)));
    };
    const __m128i low = _mm_set1_epi32(0xFF);
    const __m128i misfit = _mm_set1_epi32(static_cast<int>(0x80000000u));
    for (; k + 8 <= count; k += 8) {
        const __m128i first = four(k);
        const __m128i second = four(k + 4);
        // What doesn't fit 32 bits: its low byte may be set all the same.
        const __m128i misfits =
            _mm_or_si128(_mm_cmpeq_epi32(first, misfit), _mm_cmpeq_epi32(second, misfit));
        if (_mm_movemask_epi8(misfits) != 0) {
            one_by_one(k, k + 8);
            continue;
        }
        const __m128i words =
            _mm_packs_epi32(_mm_and_si128(first, low), _mm_and_si128(second, low));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + k), _mm_packus_epi16(words, words));
    }
#endif
    one_by_one(k, count);
}

} // namespace vorlane
