// Private: a bitmap as the two blocks of a BMP file, and the file.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <vorlane/platform/bitmap_layout.h>
#include <vorlane/platform/file.h>

namespace vorlane {

struct FreeBytes {
    void operator()(void* block) const { std::free(block); }
};
using Bytes = std::unique_ptr<unsigned char, FreeBytes>;

// The fields of CDib. Without blocks the bitmap is empty.
struct BitmapBlocks {
    Bytes header; // with room for 256 colours whatever the file has; the others are black
    Bytes bits;
    std::uint32_t image_size = 0;
    int ncolors = 0;
    int width = 0;
    int height = 0;
    int row_bytes = 0;
    int pixel_bytes = 0;
};

// A bitmap of zeros, with 256 colours if it has 8 bits a pixel. Empty if a size or the depth isn't
// positive, or if 32 bits don't count its bytes. Throws std::bad_alloc. `bits` may bring a block of
// `size_before` bytes to use again, as it is, if that is the right size.
BitmapBlocks make_bitmap(int width, int height, int bit_count, Bytes bits = nullptr,
                         std::uint32_t size_before = 0);

// Reads a BMP from where the file stands; empty after a message if it is refused. The header then
// is true of what was read: biSize and biClrUsed say what the block holds. Throws what CFile does,
// and std::bad_alloc.
BitmapBlocks read_bitmap(CFile& file);

// Writes the header as it is, with its masks and its colours, and the pixel block.
void write_bitmap(CFile& file, const unsigned char* header, const unsigned char* bits,
                  std::uint32_t image_size, int ncolors);

} // namespace vorlane
