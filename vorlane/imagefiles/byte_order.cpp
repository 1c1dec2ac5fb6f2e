#include <vorlane/imagefiles/image_files.h>

#include <cstdint>
#include <cstring>

namespace {

// The end of the file reads as EOF, whose low 8 bits are 255.
std::uint32_t next_byte(std::FILE* stream) {
    return static_cast<std::uint32_t>(std::getc(stream)) & 0xFF;
}

std::uint32_t next_four(std::FILE* stream) {
    std::uint32_t value = 0;
    for (int k = 0; k < 4; ++k)
        value = value << 8 | next_byte(stream);
    return value;
}

} // namespace

short getshort(std::FILE* stream) {
    const std::uint32_t high = next_byte(stream);
    return static_cast<short>(high << 8 | next_byte(stream));
}

int getint(std::FILE* stream) {
    return static_cast<int>(next_four(stream));
}

float getfloat(std::FILE* stream) {
    const std::uint32_t bits = next_four(stream);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void putshort(short value, std::FILE* stream) {
    const auto bits = static_cast<std::uint16_t>(value);
    std::putc(bits >> 8, stream);
    std::putc(bits & 0xFF, stream);
}
