// Private: what an AVI file has, and its frames as bitmaps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <vorlane/bytes/input_file.h>

namespace vorlane {

struct AviChunk {
    std::int64_t offset; // of its first byte behind name and size
    std::uint32_t size;
};

struct AviTrack {
    std::uint32_t type = 0;
    std::uint32_t handler = 0;
    std::uint32_t flags = 0;
    std::uint32_t scale = 0;
    std::uint32_t rate = 0;
    std::uint32_t start = 0;
    std::vector<unsigned char> format; // at least 40 bytes for video
    std::vector<AviChunk> frames;      // of video
};

// The streams of a file and where their frames lie. Found by a walk from chunk to chunk and not in
// an index, so that a file without one, or with a wrong one, is read all the same. Where the file
// is cut or makes no sense the walk ends.
class AviFile {
public:
    explicit AviFile(FileHandle file) : file_(std::move(file)) {}

    // False if the file is no RIFF file.
    bool parse();

    const std::vector<AviTrack>& tracks() const { return tracks_; }
    const AviTrack* first_video() const;
    std::uint32_t header_word(std::size_t index) const { return header_[index]; }
    std::int64_t size() const { return size_; }

    bool read(std::int64_t offset, unsigned char* bytes, std::size_t count) const;

private:
    void parse_stream_header(std::int64_t offset, std::uint32_t size);
    void parse_format(std::int64_t offset, std::uint32_t size);
    void add_frame(const unsigned char* name, const AviChunk& chunk);

    FileHandle file_;
    std::int64_t size_ = 0;
    std::uint32_t header_[14] = {}; // the words of the main header
    std::vector<AviTrack> tracks_;
};

// The fields of a BITMAPINFOHEADER that a reader needs.
struct BitmapFormat {
    std::int64_t width = 0;
    std::int64_t height = 0; // positive
    bool is_top_down = false;
    int bit_count = 0;
    std::uint32_t compression = 0;

    explicit BitmapFormat(const unsigned char* header);

    // Bytes of a row, a multiple of 4 when rows are `padded`.
    std::int64_t row_bytes(bool padded) const;
};

// Turns the frames of one stream into bitmaps of 24 bits, bottom row first.
class AviFrames {
public:
    AviFrames(const AviFile& file, const AviTrack& track);

    // Whether the format is one that is read here.
    bool can_decode() const;

    // The information header and, behind it, the pixels; null if the frame can't be had. Stays
    // until the second call from here that succeeds.
    unsigned char* frame(std::int64_t number);

private:
    bool decode_plain(const AviChunk& chunk);
    bool bring_canvas_to(std::int64_t number);
    bool decode_onto_canvas(std::int64_t number);
    bool read_chunk(const AviChunk& chunk, std::size_t count);
    void convert_row(const unsigned char* from, unsigned char* to) const;

    static constexpr std::size_t header_bytes = 40;

    const AviFile& file_;
    const AviTrack& track_;
    BitmapFormat format_;
    std::size_t out_row_bytes_;
    unsigned char palette_[256][4] = {}; // blue, green, red
    std::vector<unsigned char> current_; // header and pixels
    std::vector<unsigned char> next_;
    std::vector<unsigned char> chunk_;

    // Run lengths paint upon the frame before, kept here as indices, bottom row first.
    std::vector<unsigned char> canvas_;
    std::int64_t canvas_frame_ = -1;
    std::vector<unsigned char> is_complete_; // 0 not known yet, 1 paints only a part, 2 every pixel
};

} // namespace vorlane
