// Private: the frames of one stream as bitmaps of 24 bits, bottom row first.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <vorlane/avi/avi_reader.h>
#include <vorlane/avi/bitmap_format.h>

namespace vorlane {

class AviFrames {
public:
    // Of a track with at least the 40 bytes of a header as its format. Throws std::bad_alloc.
    AviFrames(const AviFile& file, const AviTrack& track);

    // Whether the format is one that is read here.
    bool can_decode() const;

    // The information header and, behind it, the pixels; null if the frame can't be had. Stays
    // until the second call from here that succeeds.
    unsigned char* frame(std::int64_t number);

private:
    using Palette = std::array<unsigned char[4], 256>; // blue, green, red and nothing

    bool decode_plain(const AviChunk& chunk);
    bool bring_canvas_to(std::int64_t number);
    bool decode_onto_canvas(std::int64_t number);
    bool read_chunk(const AviChunk& chunk, std::size_t count);
    void bring_palette_to(std::size_t number);
    void convert_row(const unsigned char* from, unsigned char* to) const;

    const AviFile& file_;
    const AviTrack& track_;
    BitmapFormat format_;
    std::size_t out_row_bytes_;
    std::vector<unsigned char> current_; // header and pixels
    std::vector<unsigned char> next_;
    std::vector<unsigned char> chunk_;

    Palette first_palette_ = {};
    Palette palette_ = {}; // after so many of the track's changes
    std::size_t palette_changes_ = 0;

    // Run lengths paint upon the frame before, kept here as indices, bottom row first.
    std::vector<unsigned char> canvas_;
    std::int64_t canvas_frame_ = -1;
    std::vector<unsigned char> is_complete_; // 0 not known yet, 1 paints only a part, 2 every pixel
};

} // namespace vorlane
