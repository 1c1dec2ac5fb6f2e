// Private: the TQ format, shared by images and movies. A text header of four lines, then frames:
//
//   TQ
//   nrows ncols            a movie has nframes behind them
//   pixel_format
//   image_type
//
// A frame holds rows from the top, with nothing between them: gray samples by their pixel_format
// (see sample_size), or three bytes a pixel, red, green, blue, where image_type is 1 and
// pixel_format 4.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vorlane {

struct TqHeader {
    int nrows = 0;
    int ncols = 0;
    int nframes = 0;
    int pixel_format = 0;
    int image_type = 0;
};

// Reads the four lines, the first unseen. A number that isn't there leaves its field as it was.
// Returns how many of the numbers other than nframes were there: 4 in a whole header.
int scan_tq_header(std::FILE* file, TqHeader& header);

// Writes the header of an image, or of a movie.
void print_tq_image_header(std::FILE* file, const TqHeader& header);
void print_tq_movie_header(std::FILE* file, const TqHeader& header);

// Bytes of a pixel in a frame; 0 if the format has no encoding for these codes.
std::size_t tq_pixel_size(int image_type, int pixel_format);

// True if the header's sizes, for one frame, may be believed of a file that has `available` bytes
// left. Also where a frame holds no samples.
bool tq_header_is_believable(const TqHeader& header, std::int64_t available);

// Reads one frame into a plane of nrows x ncols samples, or nrows x 3 ncols for colour, that comes
// in as zeros. What is missing repeats the last sample, and `last` where none is there. Without an
// encoding, nothing is read.
void read_tq_frame(std::FILE* file, float* const* plane, const TqHeader& header, float last = 0.0f);

// Writes one frame; false if it isn't written whole. Without an encoding, nothing is written.
bool write_tq_frame(std::FILE* file, const float* const* plane, const TqHeader& header);

} // namespace vorlane
