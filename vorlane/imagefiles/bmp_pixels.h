// Private: the pixels of a bitmap as samples, and samples as pixels.
#pragma once

#include <cstddef>

#include <vorlane/image/plane.h>
#include <vorlane/imagefiles/bmp_blocks.h>

namespace vorlane {

// Bits a pixel of what samples become.
struct BitDepth {
    enum : int { gray = 8, colour = 24 };
    static int of(int image_type);
};

// A bitmap that someone else owns.
struct BitmapView {
    unsigned char* header;
    unsigned char* bits;
    int ncolors, width, height, row_bytes;

    // Row r of the picture from the top.
    unsigned char* row(int r) const {
        return bits + static_cast<std::size_t>(height - 1 - r) * row_bytes;
    }
};

inline BitmapView view_of(const BitmapBlocks& bitmap) {
    return {bitmap.header.get(), bitmap.bits.get(), bitmap.ncolors,
            bitmap.width,        bitmap.height,     bitmap.row_bytes};
}

// Gives each row what encode(row of the picture, out) writes, from the bottom up.
template<class Encode>
void fill_rows(const BitmapView& bitmap, Encode encode) {
    for (int r = bitmap.height - 1; r >= 0; --r)
        encode(r, bitmap.row(r));
}

// A row of colour samples, `count` pixels, as bytes: blue, green, red.
void to_colour_bytes(const float* samples, unsigned char* out, std::size_t count);

// Gives a bitmap of 256 colours the grays.
void set_grays(const BitmapView& bitmap);

// Fills a bitmap of the depth of this type from a plane of its size, sample by sample.
void put_samples(const BitmapView& bitmap, const float* const* plane, int image_type);

// The picture as a new plane, see CDib::MakeFloatImage; none for another depth than 8 and 24.
// Throws std::bad_alloc.
Plane samples_of_bitmap(const BitmapView& bitmap, int& image_type);

// The same into a plane of a picture of a known type, see CDib::MakeKnownFloatImage.
void get_samples(const BitmapView& bitmap, float* const* plane, int image_type);

} // namespace vorlane
