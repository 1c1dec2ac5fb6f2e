// Movies of any kind in and out of files, one frame at a time: memory doesn't grow with their
// length.
//
// A movie is told by its first bytes. TQ and AVI files are read by the library where it knows their
// codec; everything else goes through FFmpeg's libraries where this build has them. What isn't
// understood is an Error of one line.
//
// Frames are gray or colour images in levels from 0 to 255. Gray movies of more than 8 bits keep
// their values and carry the pixel_format int16 (10 bits give 0 to 1023), and TQ movies keep what
// they hold; colour of more than 8 bits is brought to 8. Colour that a file keeps as luma and
// chroma is converted by the matrix and the range that the file states (ITU-R BT.601 for small and
// BT.709 for large frames if it states none). Transparency is left out. Frames are turned the way up
// that the file states.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/error.h"
#include "host/messages.h"
#include "host/pictures.h"

namespace vorlane::host {

struct MovieInfo {
    std::string format; // "AVI"
    std::string codec;  // "uncompressed", "h264"
    int rows = 0;
    int cols = 0;
    int image_type = ImageType::gray;
    int pixel_format = PixelFormat::byte; // of the frames
    std::int64_t frame_count = -1;        // -1: the file doesn't say
    double rate = 0.0;                    // frames a second; 0: the file doesn't say
    std::vector<std::pair<std::string, std::string>> facts; // whatever else is worth telling
};

class MovieReader {
public:
    virtual ~MovieReader() = default;
    const MovieInfo& info() const { return info_; }

    // The next frame, or null behind the last one. It belongs to the reader and stays until the
    // next call. A frame that can't be read, or is missing at the end, is an Error. In a movie that
    // began gray a frame in colour comes as a colour image.
    virtual const CImage* next() = 0;

    // The frame that comes next, from 0. Throws UsageError if there is no such frame.
    virtual void seek(std::int64_t frame) = 0;

    // The number of frames, found by going through the file if it doesn't say.
    virtual std::int64_t count_frames() { return info_.frame_count; }

protected:
    MovieInfo info_;
};

struct OpenMovieOptions {
    bool allow_truncated = false; // take the frames that are there of a file that is cut short
};

// "-" is standard input.
std::unique_ptr<MovieReader> open_movie(const std::string& path,
                                        const OpenMovieOptions& options = {});

constexpr double default_rate = 25.0; // of movies that nothing gives a rate

struct MovieSettings {
    int rows = 0;
    int cols = 0;
    int image_type = ImageType::gray;
    int pixel_format = PixelFormat::byte;
    double rate = 0.0;             // frames a second, up to 1000; 0: default_rate
    std::int64_t frame_count = -1; // if it is known; not more may come then
    // What becomes of values that bytes don't hold. `stretch` has to be resolved before, by
    // range_of_frames: a writer sees a frame at a time.
    RangeRule range{RangeRule::clamp};
};

// By the ending: .tq, .avi (uncompressed, 24 bits), .gif (256 colours a frame), .mp4 .m4v .mov
// (H.264, visually the same), .mkv (FFV1, without loss, gray also in 16 bits). A TQ movie takes the
// pixel_format; .mkv takes int16 of gray movies; all else is bytes, rounded to whole numbers.
class MovieWriter {
public:
    virtual ~MovieWriter() = default;

    // A frame of the size of the movie, gray or colour. A gray movie refuses colour.
    virtual void add(const CImage& frame) = 0;

    // Completes the file and gives it its name. Without it nothing is left behind.
    virtual void finish() = 0;
};
std::unique_ptr<MovieWriter> create_movie(const std::string& path, const MovieSettings& settings);

// The endings that create_movie knows in this build, ".tq .avi ...", and whether a path has one.
std::string movie_endings();
bool is_movie_path(const std::string& path);

// True if movies of this ending hold bytes only, so that other values need a rule.
bool movie_holds_bytes(const std::string& path, const MovieSettings& settings);

// The smallest and the largest finite level of frames that are added to it, for one range that fits
// a whole movie.
class RangeOfFrames {
public:
    void add(const CImage& frame);
    // The rule that a movie of these frames needs: `stretch` becomes LO:HI if bytes don't hold the
    // values, and nothing (clamp) if they do.
    RangeRule resolve(const RangeRule& rule) const;
    double low() const { return low_; }
    double high() const { return high_; }

private:
    double low_ = 0.0, high_ = 0.0;
    bool is_empty_ = true;
};

} // namespace vorlane::host
