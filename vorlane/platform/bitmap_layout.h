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

// Entry k of the colour table. It stands behind 40 bytes, whatever biSize says.
inline RGBQUAD table_entry(const BITMAPINFO* info, std::int64_t k) {
    RGBQUAD entry;
    std::memcpy(&entry, reinterpret_cast<const unsigned char*>(info) + 40 + 4 * k, sizeof entry);
    return entry;
}

} // namespace vorlane
