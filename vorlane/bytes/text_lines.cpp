#include <vorlane/bytes/text_lines.h>

#include <cctype>
#include <cstdint>
#include <limits>

namespace vorlane {

bool read_line(std::FILE* stream, char* line, std::size_t size) {
    line[0] = '\0';
    return std::fgets(line, static_cast<int>(size), stream) != nullptr;
}

int scan_ints(const char* text, int* values, int count) {
    int stored = 0;
    for (; stored < count; ++stored) {
        while (std::isspace(static_cast<unsigned char>(*text)))
            ++text;
        const bool negative = *text == '-';
        if (*text == '-' || *text == '+')
            ++text;
        if (!std::isdigit(static_cast<unsigned char>(*text)))
            break;
        std::int64_t value = 0;
        constexpr std::int64_t limit = std::numeric_limits<int>::max();
        for (; std::isdigit(static_cast<unsigned char>(*text)); ++text) {
            if (value <= limit)
                value = value * 10 + (*text - '0');
        }
        value = negative ? -value : value;
        if (value > limit || value < std::numeric_limits<int>::min())
            break;
        values[stored] = static_cast<int>(value);
    }
    return stored;
}

} // namespace vorlane
