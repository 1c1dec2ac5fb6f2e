#include <vorlane/bytes/samples.h>

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vorlane {

namespace {

template<class Word>
Word load_word(const unsigned char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

template<class Word>
void store_word(unsigned char* bytes, Word word) {
    std::memcpy(bytes, &word, sizeof word);
}

std::uint16_t reversed(std::uint16_t word) {
    return static_cast<std::uint16_t>(word << 8 | word >> 8);
}

std::uint32_t reversed(std::uint32_t word) {
    return word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
}

// samples[k] = convert(word k), for words of either byte order.
template<class Word, class Convert>
void from_words(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order,
                Convert convert) {
    if (order == ByteOrder::low_first) {
        for (std::size_t k = 0; k < count; ++k)
            samples[k] = convert(load_word<Word>(bytes + k * sizeof(Word)));
    } else {
        for (std::size_t k = 0; k < count; ++k)
            samples[k] = convert(reversed(load_word<Word>(bytes + k * sizeof(Word))));
    }
}

#if defined(__SSE2__)
// The conversion of four floats to 32-bit integers gives this where a number doesn't fit; then some
// of their low bits are set in the 64-bit integer all the same.
bool any_misfit(__m128i four) {
    const __m128i misfit = _mm_set1_epi32(static_cast<int>(0x80000000u));
    return _mm_movemask_epi8(_mm_cmpeq_epi32(four, misfit)) != 0;
}
#endif

} // namespace

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

void to_int16(const float* samples, unsigned char* bytes, std::size_t count, ByteOrder order) {
    const bool high_first = order == ByteOrder::high_first;
    const auto one_by_one = [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k) {
            const auto word = static_cast<std::uint16_t>(to_whole(samples[k]));
            store_word(bytes + 2 * k, high_first ? reversed(word) : word);
        }
    };
    std::size_t k = 0;
#if defined(__SSE2__)
    for (; k + 8 <= count; k += 8) {
        const __m128i first = _mm_cvttps_epi32(_mm_loadu_ps(samples + k));
        const __m128i second = _mm_cvttps_epi32(_mm_loadu_ps(samples + k + 4));
        if (any_misfit(first) || any_misfit(second)) {
            one_by_one(k, k + 8);
            continue;
        }
        const auto low_half = [](__m128i four) {
            return _mm_srai_epi32(_mm_slli_epi32(four, 16), 16);
        };
        __m128i words = _mm_packs_epi32(low_half(first), low_half(second));
        if (high_first)
            words = _mm_or_si128(_mm_slli_epi16(words, 8), _mm_srli_epi16(words, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + 2 * k), words);
    }
#endif
    one_by_one(k, count);
}

void from_int16(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    from_words<std::uint16_t>(bytes, samples, count, order, [](std::uint16_t word) {
        return static_cast<float>(static_cast<std::int16_t>(word));
    });
}

void from_int12(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    from_words<std::uint16_t>(bytes, samples, count, order,
                              [](std::uint16_t word) { return static_cast<float>(word & 0xFFF); });
}

void to_int32(const float* samples, unsigned char* bytes, std::size_t count) {
    const auto one_by_one = [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            store_word(bytes + 4 * k, static_cast<std::uint32_t>(to_whole(samples[k])));
    };
    std::size_t k = 0;
#if defined(__SSE2__)
    for (; k + 4 <= count; k += 4) {
        const __m128i four = _mm_cvttps_epi32(_mm_loadu_ps(samples + k));
        if (any_misfit(four))
            one_by_one(k, k + 4);
        else
            _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + 4 * k), four);
    }
#endif
    one_by_one(k, count);
}

void from_int32(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    from_words<std::uint32_t>(bytes, samples, count, order, [](std::uint32_t word) {
        return static_cast<float>(static_cast<std::int32_t>(word));
    });
}

void from_float32(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    if (order == ByteOrder::low_first) {
        std::memcpy(samples, bytes, count * sizeof(float));
        return;
    }
    for (std::size_t k = 0; k < count; ++k) {
        const std::uint32_t word = reversed(load_word<std::uint32_t>(bytes + 4 * k));
        std::memcpy(samples + k, &word, sizeof word); // a float would lose a signalling bit
    }
}

std::size_t sample_size(int pixel_format) {
    switch (pixel_format) {
    case 4:
        return 1;
    case 5:
    case 6:
        return 4;
    case 7:
        return 2;
    default:
        return 0;
    }
}

void encode_samples(int pixel_format, const float* samples, unsigned char* bytes,
                    std::size_t count) {
    switch (pixel_format) {
    case 4:
        return to_bytes(samples, bytes, count);
    case 5:
        return to_int32(samples, bytes, count);
    case 6:
        std::memcpy(bytes, samples, count * sizeof(float));
        return;
    case 7:
        return to_int16(samples, bytes, count, ByteOrder::low_first);
    default:
        return;
    }
}

void decode_samples(int pixel_format, const unsigned char* bytes, float* samples,
                    std::size_t count) {
    switch (pixel_format) {
    case 4:
        return from_bytes(bytes, samples, count);
    case 5:
        return from_int32(bytes, samples, count, ByteOrder::low_first);
    case 6:
        return from_float32(bytes, samples, count, ByteOrder::low_first);
    case 7:
        return from_int16(bytes, samples, count, ByteOrder::low_first);
    default:
        return;
    }
}

} // namespace vorlane
