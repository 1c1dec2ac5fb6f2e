// Private: bytes on file and float samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorlane {

// Truncates toward zero and keeps the low 8 bits; what doesn't fit an int64 gives 0.
inline unsigned char to_byte(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    const bool fits = value >= -limit && value < limit;
    return fits ? static_cast<unsigned char>(static_cast<std::int64_t>(value)) : 0;
}

void to_bytes(const float* samples, unsigned char* bytes, std::size_t count);
void from_bytes(const unsigned char* bytes, float* samples, std::size_t count);

} // namespace vorlane
