// Private: AVI movies that are written, in colour with 24 bits.
#pragma once

#include <vorlane/image/codes.h>
#include <vorlane/movie/movie_sink.h>
#include <vorlane/movie/video.h>

namespace vorlane {

// The information header of the frames of AVI movies, in memory and in the files that are written:
// 24 bits, bottom row first.
BITMAPINFOHEADER avi_frame_format(int rows, int cols);

class AviSink final : public MovieSink {
public:
    explicit AviSink(CVideo& movie) : movie_(movie) {}

    // Makes a file with the movie's sizes. False if it can't be made.
    bool create(const char* path);

    bool is_open() const override { return movie_.avi_stream && !movie_.frame_reader; }
    int image_type() const override { return ImageType::colour; }
    bool write(const float* const* plane) override;

private:
    CVideo& movie_;
};

} // namespace vorlane
