#include <vorlane/bytes/samples.h>

#include <cstring>

#include <vorlane/bytes/sample_kernels.h>
#include <vorlane/image/codes.h>

namespace vorlane {

namespace {

std::uint32_t word_at(const unsigned char* bytes, ByteOrder order) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return order == ByteOrder::low_first
               ? word
               : word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
}

} // namespace

void to_bytes(const float* samples, unsigned char* bytes, std::size_t count) {
    pick_sample_kernels().to_bytes(samples, bytes, count);
}

void from_bytes(const unsigned char* bytes, float* samples, std::size_t count) {
    pick_sample_kernels().from_bytes(bytes, samples, count);
}

void to_int16(const float* samples, unsigned char* bytes, std::size_t count, ByteOrder order) {
    const SampleKernels& kernels = pick_sample_kernels();
    (order == ByteOrder::low_first ? kernels.to_int16 : kernels.to_int16_high_first)(samples, bytes,
                                                                                     count);
}

void from_int16(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    const SampleKernels& kernels = pick_sample_kernels();
    (order == ByteOrder::low_first ? kernels.from_int16
                                   : kernels.from_int16_high_first)(bytes, samples, count);
}

void from_int12(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    const SampleKernels& kernels = pick_sample_kernels();
    (order == ByteOrder::low_first ? kernels.from_int12
                                   : kernels.from_int12_high_first)(bytes, samples, count);
}

bool from_whole_int12(const unsigned char* bytes, float* samples, std::size_t count) {
    return pick_sample_kernels().from_int16_high_first(bytes, samples, count) < 0x1000;
}

void to_int32(const float* samples, unsigned char* bytes, std::size_t count) {
    pick_sample_kernels().to_int32(samples, bytes, count);
}

void from_int32(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    for (std::size_t k = 0; k < count; ++k)
        samples[k] = static_cast<float>(static_cast<std::int32_t>(word_at(bytes + 4 * k, order)));
}

void from_float32(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order) {
    if (order == ByteOrder::low_first) {
        std::memcpy(samples, bytes, count * sizeof(float));
        return;
    }
    for (std::size_t k = 0; k < count; ++k) {
        const std::uint32_t word = word_at(bytes + 4 * k, order);
        std::memcpy(samples + k, &word, sizeof word); // a float would lose a signalling bit
    }
}

std::size_t sample_size(int pixel_format) {
    switch (pixel_format) {
    case PixelFormat::byte:
        return 1;
    case PixelFormat::int32:
    case PixelFormat::float32:
        return 4;
    case PixelFormat::int16:
        return 2;
    default:
        return 0;
    }
}

void encode_samples(int pixel_format, const float* samples, unsigned char* bytes,
                    std::size_t count) {
    switch (pixel_format) {
    case PixelFormat::byte:
        return to_bytes(samples, bytes, count);
    case PixelFormat::int32:
        return to_int32(samples, bytes, count);
    case PixelFormat::float32:
        std::memcpy(bytes, samples, count * sizeof(float));
        return;
    case PixelFormat::int16:
        return to_int16(samples, bytes, count, ByteOrder::low_first);
    default:
        return;
    }
}

void decode_samples(int pixel_format, const unsigned char* bytes, float* samples,
                    std::size_t count) {
    switch (pixel_format) {
    case PixelFormat::byte:
        return from_bytes(bytes, samples, count);
    case PixelFormat::int32:
        return from_int32(bytes, samples, count, ByteOrder::low_first);
    case PixelFormat::float32:
        return from_float32(bytes, samples, count, ByteOrder::low_first);
    case PixelFormat::int16:
        return from_int16(bytes, samples, count, ByteOrder::low_first);
    default:
        return;
    }
}

} // namespace vorlane
