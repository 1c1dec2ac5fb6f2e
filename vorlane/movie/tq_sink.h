// Private: TQ movies that are written.
#pragma once

#include <vorlane/movie/movie_sink.h>
#include <vorlane/movie/video.h>

namespace vorlane {

class TqSink final : public MovieSink {
public:
    explicit TqSink(CVideo& movie) : movie_(movie) {}

    // Makes a file with the movie's numbers in its header. False if it can't be made.
    bool create(const char* path);

    bool is_open() const override;
    int image_type() const override { return movie_.image_type; }
    bool write(const float* const* plane) override;

private:
    CVideo& movie_;
};

} // namespace vorlane
