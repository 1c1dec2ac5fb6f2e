// Private: the fields of a BITMAPINFOHEADER that readers and writers of frames need.
#pragma once

#include <cstdint>
#include <limits>

#include <vorlane/avi/riff.h>

namespace vorlane {

struct BitmapFormat {
    static constexpr std::size_t header_bytes = 40;
    static constexpr std::uint32_t uncompressed = 0;
    static constexpr std::uint32_t rle8 = 1;
    static constexpr std::uint32_t gray_levels = chunk_name("Y800"); // the top row comes first

    std::int64_t width;
    std::int64_t height; // of rows, whichever comes first
    bool is_top_down;
    int bit_count;
    std::uint32_t compression;

    explicit BitmapFormat(const unsigned char* header)
        : width(get_int(header + 4)), height(get_int(header + 8)), is_top_down(height < 0),
          bit_count(get16(header + 14)), compression(get32(header + 16)) {
        height = is_top_down ? -height : height;
        is_top_down = is_top_down || compression == gray_levels;
    }

    // Sizes that a host's ints can hold.
    bool has_sound_sizes() const {
        return width >= 0 && height <= std::numeric_limits<std::int32_t>::max();
    }
    bool has_pixels() const { return width > 0 && height > 0; }

    // Bytes of a row, a multiple of 4 when rows are `padded`.
    std::int64_t row_bytes(bool padded) const {
        const std::int64_t bits = width * bit_count;
        return padded ? (bits + 31) / 32 * 4 : (bits + 7) / 8;
    }
};

} // namespace vorlane
