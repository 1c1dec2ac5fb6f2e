#include <vorlane/imagefiles/samples.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vorlane {

void to_bytes(const float* samples, unsigned char* bytes, std::size_t count) {
    std::size_t k = 0;
#if defined(__SSE2__)
    // A float from 2^31 on is a multiple of 256, so its low byte is 0; that is also what the
    // conversion to 32-bit integers gives for all that doesn't fit.
    const __m128i low = _mm_set1_epi32(0xFF);
    const auto four = [&](std::size_t at) {
        return _mm_and_si128(_mm_cvttps_epi32(_mm_loadu_ps(samples + at)), low);
    };
    for (; k + 16 <= count; k += 16) {
        const __m128i first = _mm_packs_epi32(four(k), four(k + 4));
        const __m128i second = _mm_packs_epi32(four(k + 8), four(k + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + k), _mm_packus_epi16(first, second));
    }
#endif
    for (; k < count; ++k)
        bytes[k] = to_byte(samples[k]);
}

void from_bytes(const unsigned char* bytes, float* samples, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k)
        samples[k] = bytes[k];
}

} // namespace vorlane
