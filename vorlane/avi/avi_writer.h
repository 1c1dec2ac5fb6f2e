// Private: an AVI file on its way to the disk, with one stream of uncompressed frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <vorlane/platform/avifile.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

// A file is a row of segments, each a RIFF chunk: the first of the form AVI, with the headers and
// an idx1 index, the others of the form AVIX. Each segment has an index of its own as well, and the
// header lists these, so that a reader needn't walk through the file.
class AviWriter {
public:
    static constexpr std::int64_t usual_segment = std::int64_t{1} << 30;

    // `segment_bytes` is the length that a segment keeps to, unless a single frame is longer.
    explicit AviWriter(FileHandle file, std::int64_t segment_bytes = usual_segment);

    // Numerator and denominator of the frames a second.
    void set_rate(std::uint32_t rate, std::uint32_t scale);

    int set_format(const unsigned char* format, std::size_t size);
    int write_frame(const void* bytes, std::int64_t count, bool is_key);
    std::int64_t frame_count() const { return frames_; }
    const std::vector<unsigned char>& format() const { return format_; }

    // Writes what is still missing, sets all sizes and closes the file. AVIERR_FILEWRITE if
    // anything couldn't be written.
    int finish();

private:
    struct Frame {
        std::int64_t offset; // of the chunk, in the file
        std::uint32_t size;
        bool is_key;
    };
    struct Segment {
        std::int64_t begin;
        std::int64_t movi; // of the four letters
        std::int64_t index;
        std::uint32_t index_size;
        std::int64_t frames;
    };

    std::vector<unsigned char> header() const;
    void begin_segment();
    void end_segment();
    void write_segment_index();
    void write_old_index();
    void append(const void* bytes, std::size_t count);
    void patch32(std::int64_t at, std::uint32_t value);

    FileHandle file_;
    std::int64_t segment_bytes_;
    std::int64_t position_ = 0;
    bool failed_ = false;
    std::uint32_t rate_ = 1;
    std::uint32_t scale_ = 1;
    std::vector<unsigned char> format_;
    std::int64_t frames_ = 0;
    std::uint32_t largest_frame_ = 0;
    std::uint32_t first_riff_size_ = 0;
    std::uint32_t first_movi_size_ = 0;
    std::vector<Segment> segments_;
    std::vector<Frame> segment_frames_; // of the last segment
};

} // namespace vorlane
