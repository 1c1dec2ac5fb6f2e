// Private to the host: what the readers and writers of movies share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/movies.h"
#include "host/source.h"

namespace vorlane::host {

// Null if the library doesn't read this file, but another reader might.
std::unique_ptr<MovieReader> open_tq_movie(const std::string& path, Source& source,
                                           const OpenMovieOptions& options);
std::unique_ptr<MovieReader> open_avi_movie(const std::string& path, Source& source,
                                            const OpenMovieOptions& options);
std::unique_ptr<MovieReader> open_coded_movie(std::unique_ptr<Source> source,
                                              const OpenMovieOptions& options);

std::unique_ptr<MovieWriter> create_tq_movie(const std::string& path,
                                             const MovieSettings& settings);
std::unique_ptr<MovieWriter> create_avi_movie(const std::string& path,
                                              const MovieSettings& settings);
std::unique_ptr<MovieWriter> create_coded_movie(const std::string& path,
                                                const MovieSettings& settings);

// True if the file says that it is longer than it is.
bool is_cut_short(Source& source);

struct Fraction {
    int numerator, denominator;
};
// 25 / 1, 30000 / 1001 ...
Fraction fraction_of(double rate);

// Brings frames to what a movie takes.
class FrameMapper {
public:
    FrameMapper(const std::string& name, const MovieSettings& settings);

    // Throws Error for a frame of another size, and for colour in a gray movie.
    void check(const CImage& frame);

    // Row i as bytes, gray or red, green, blue as the movie is.
    void bytes(const CImage& frame, int row, std::uint8_t* out) const;
    // Row i of a gray frame as whole numbers from low to high.
    void numbers(const CImage& frame, int row, double low, double high, double* out) const;

private:
    double mapped(float level) const;
    std::string name_;
    const MovieSettings settings_;
    std::int64_t frames_ = 0;
};

// Colours of a frame in 256 or fewer: a palette of red, green, blue (up to 256 x 3 bytes), and an
// index for each pixel. Exact if the frame has no more colours; otherwise by median cuts
// (P. Heckbert, "Color image quantization for frame buffer display", 1982).
struct Palette {
    std::vector<std::uint8_t> colours;
    std::vector<std::uint8_t> indices;
};
Palette palette_of(const std::vector<std::uint8_t>& rgb);

} // namespace vorlane::host
