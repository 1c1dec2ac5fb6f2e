// Private: how the rows and colours of a bitmap lie in its blocks.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <vorlane/platform/gdi.h>

namespace vorlane {

// Bytes of a row: as many 32-bit words as its pixels take.
constexpr std::int64_t word_aligned_row(std::int64_t width, std::int64_t bit_count) {
    return (width * bit_count + 31) / 32 * 4;
}

// Bytes from one row to the next.
inline std::int64_t row_pitch(const BITMAPINFOHEADER& header) {
    const std::int64_t height = std::abs(std::int64_t{header.biHeight});
    return header.biSizeImage != 0 && height != 0
               ? std::int64_t{header.biSizeImage} / height
               : word_aligned_row(header.biWidth, header.biBitCount);
}

// The information block of a bitmap, whose owner holds it as bytes.
inline BITMAPINFO* info_of(unsigned char* block) {
    return reinterpret_cast<BITMAPINFO*>(block);
}
inline const BITMAPINFO* info_of(const unsigned char* block) {
    return reinterpret_cast<const BITMAPINFO*>(block);
}

constexpr std::int64_t plain_header = sizeof(BITMAPINFOHEADER);
constexpr std::int64_t largest_header = 124;

// Bytes of the header: 40, or more of the later ones, which begin with the same 40. What no header
// has in biSize counts as 40.
inline std::int64_t header_length(const BITMAPINFOHEADER& header) {
    for (const std::int64_t longer : {52, 56, 64, 108, 124}) {
        if (header.biSize == longer)
            return longer;
    }
    return plain_header;
}

// Where red, green and blue lie in a pixel of 16 or 32 bits may be told by masks.
struct BitMasks {
    enum : std::uint32_t { three = 3, four = 6 }; // biCompression
};

// Bytes of the masks behind a header of 40 bytes; a longer one has them inside, at the same place.
inline std::int64_t mask_length(const BITMAPINFOHEADER& header) {
    const bool may_have_masks = header.biBitCount == 16 || header.biBitCount == 32;
    if (!may_have_masks || header_length(header) > plain_header)
        return 0;
    return header.biCompression == BitMasks::three  ? 12
           : header.biCompression == BitMasks::four ? 16
                                                    : 0;
}

// Where the colour table begins in the information block: behind the header and its masks.
inline std::int64_t table_offset(const BITMAPINFOHEADER& header) {
    return header_length(header) + mask_length(header);
}

// Entry k of the colour table.
inline RGBQUAD table_entry(const BITMAPINFO* info, std::int64_t k) {
    RGBQUAD entry;
    std::memcpy(&entry,
                reinterpret_cast<const unsigned char*>(info) + table_offset(info->bmiHeader) +
                    4 * k,
                sizeof entry);
    return entry;
}

} // namespace vorlane
