// Private: what an AVI file has, and where.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <vorlane/platform/system_files.h>

namespace vorlane {

struct AviChunk {
    std::int64_t offset; // of its first byte behind name and size
    std::uint32_t size;
};

// A change of some colours of the palette, from a frame on.
struct AviPaletteChange {
    std::size_t frame;
    std::size_t first; // colour
    std::size_t count; // of colours
    std::size_t begin; // of their bytes in `palette_bytes` of the track
};

struct AviTrack {
    std::uint32_t type = 0;
    std::uint32_t handler = 0;
    std::uint32_t flags = 0;
    std::uint32_t scale = 0;
    std::uint32_t rate = 0;
    std::uint32_t start = 0;
    std::vector<unsigned char> format; // of video: a BITMAPINFOHEADER and what follows it

    // Of video. A chunk of no bytes stands for the frame before it, or, where there is none, for
    // the first one, and has the place of that here.
    std::vector<AviChunk> frames;
    std::vector<AviPaletteChange> palette_changes;
    std::vector<unsigned char> palette_bytes; // four a colour: red, green, blue and another
};

// The streams of a file and where their frames lie. Found by a walk from chunk to chunk and not in
// an index, so that a file without one, or with a wrong one, is read all the same. Where the file
// is cut or makes no sense the walk ends; a frame that is cut isn't counted.
class AviFile {
public:
    enum class Parsed { whole, not_riff, unreadable };

    explicit AviFile(FileHandle file) : file_(std::move(file)) {}

    Parsed parse();

    const std::vector<AviTrack>& tracks() const { return tracks_; }
    const AviTrack* first_video() const;
    std::uint32_t header_word(std::size_t index) const { return header_[index]; }
    std::int64_t size() const { return size_; }

    bool read(std::int64_t offset, unsigned char* bytes, std::size_t count) const;

private:
    void parse_chunk(const unsigned char* name, const AviChunk& chunk);
    void parse_main_header(const AviChunk& chunk);
    void parse_stream_header(const AviChunk& chunk);
    void parse_format(const AviChunk& chunk);
    void parse_movie_chunk(const unsigned char* name, const AviChunk& chunk);
    void parse_palette_change(AviTrack& track, const AviChunk& chunk);

    FileHandle file_;
    std::int64_t size_ = 0;
    std::uint32_t header_[14] = {}; // the words of the main header
    std::vector<AviTrack> tracks_;
};

} // namespace vorlane
