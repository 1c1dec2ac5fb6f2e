// Files that are shorter than they say, by the lengths in their outermost structure.
#include <string_view>

#include "host/movies/parts.h"

namespace vorlane::host {

namespace {

std::uint64_t number_at(Source& source, std::int64_t offset, int bytes, bool low_first) {
    unsigned char digits[8] = {};
    source.read(offset, digits, static_cast<std::size_t>(bytes));
    std::uint64_t number = 0;
    for (int n = 0; n < bytes; ++n)
        number = number << 8 | digits[low_first ? bytes - 1 - n : n];
    return number;
}

bool ends_before(Source& source, std::int64_t offset, std::uint64_t length) {
    return offset > source.size() || length > static_cast<std::uint64_t>(source.size() - offset);
}

// Boxes follow each other up to the end.
bool is_cut_short_mp4(Source& source) {
    std::int64_t offset = 0;
    constexpr int most_boxes = 100000; // a hostile file may have one every 8 bytes
    for (int n = 0; n < most_boxes && offset < source.size(); ++n) {
        if (ends_before(source, offset, 8))
            return true;
        std::uint64_t length = number_at(source, offset, 4, false);
        if (length == 0) // up to the end
            return false;
        if (length == 1)
            length = number_at(source, offset + 8, 8, false);
        if (length < 8)
            return false; // no box; the reader will tell
        if (ends_before(source, offset, length))
            return true;
        offset += static_cast<std::int64_t>(length);
    }
    return false;
}

// An element's length has as many bytes as its first one has leading zeros, and one.
struct Length {
    int bytes;
    std::uint64_t value;
    bool is_open;
};

Length ebml_length(Source& source, std::int64_t offset) {
    const auto first = number_at(source, offset, 1, false);
    int bytes = 1;
    while (bytes <= 8 && (first & (0x100u >> bytes)) == 0)
        ++bytes;
    if (bytes > 8)
        return {1, 0, true};
    const std::uint64_t mask = (std::uint64_t{1} << (7 * bytes)) - 1;
    const std::uint64_t value = number_at(source, offset, bytes, false) & mask;
    return {bytes, value, value == mask};
}

bool is_cut_short_matroska(Source& source) {
    const Length header = ebml_length(source, 4);
    if (header.is_open || ends_before(source, 4 + header.bytes, header.value))
        return true;
    const std::int64_t segment = 4 + header.bytes + static_cast<std::int64_t>(header.value);
    if (ends_before(source, segment, 12))
        return true;
    const Length length = ebml_length(source, segment + 4);
    return !length.is_open && ends_before(source, segment + 4 + length.bytes, length.value);
}

// The last byte is a semicolon; some programs leave zeros behind it.
bool is_cut_short_gif(Source& source) {
    constexpr std::int64_t most_zeros = 4096;
    const std::int64_t end = source.size();
    for (std::int64_t at = end - 1; at >= 0 && at >= end - most_zeros; --at) {
        const auto byte = number_at(source, at, 1, true);
        if (byte != 0)
            return byte != ';';
    }
    return true;
}

} // namespace

bool is_cut_short(Source& source) {
    const std::string_view head(reinterpret_cast<const char*>(source.head().data()),
                                source.head().size());
    if (head.starts_with("RIFF")) // what else follows it may be there or not
        return head.size() < 12 || ends_before(source, 8, number_at(source, 4, 4, true));
    if (head.starts_with("GIF8"))
        return is_cut_short_gif(source);
    if (head.starts_with("\x1A\x45\xDF\xA3"))
        return is_cut_short_matroska(source);
    if (head.size() >= 8 && head.substr(4, 4) == "ftyp")
        return is_cut_short_mp4(source);
    return false;
}

} // namespace vorlane::host
