// Private: bytes on file and float samples.
//
// A float becomes a whole number of 8, 16 or 32 bits in one way: it is truncated toward zero to a
// 64-bit integer, whose low bits are kept. What doesn't fit one (magnitudes from 2^63 on,
// infinities and not-a-numbers) gives 0.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace vorlane {

// Blocks of samples and of bitmaps go to files as they stand in memory.
static_assert(std::endian::native == std::endian::little);

inline std::int64_t to_whole(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    return value >= -limit && value < limit ? static_cast<std::int64_t>(value) : 0;
}

inline unsigned char to_byte(double value) {
    return static_cast<unsigned char>(to_whole(value));
}

enum class ByteOrder { low_first, high_first };

// Rows of samples to bytes and back. What is read is exact, except that a 32-bit integer is rounded
// to the nearest float.
void to_bytes(const float* samples, unsigned char* bytes, std::size_t count);
void from_bytes(const unsigned char* bytes, float* samples, std::size_t count);
void to_int16(const float* samples, unsigned char* bytes, std::size_t count, ByteOrder order);
void from_int16(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order);
void to_int32(const float* samples, unsigned char* bytes, std::size_t count);
void from_int32(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order);
void from_float32(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order);

// The low 12 bits of 16-bit words.
void from_int12(const unsigned char* bytes, float* samples, std::size_t count, ByteOrder order);

// 16-bit words, high byte first. False, whatever the samples then are, if one has more than 12 bits.
bool from_whole_int12(const unsigned char* bytes, float* samples, std::size_t count);

// Bytes of a gray sample on file for a code of CImage::pixel_format: 4 unsigned byte, 5 signed
// 32-bit integer, 6 32-bit float, 7 signed 16-bit integer; 0 for any other code.
std::size_t sample_size(int pixel_format);

// Gray samples by that code, low byte first. Nothing happens for a code without an encoding.
void encode_samples(int pixel_format, const float* samples, unsigned char* bytes,
                    std::size_t count);
void decode_samples(int pixel_format, const unsigned char* bytes, float* samples,
                    std::size_t count);

} // namespace vorlane
