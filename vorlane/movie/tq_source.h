// Private: TQ movies that are read.
#pragma once

#include <cstdint>

#include <vorlane/movie/movie_source.h>
#include <vorlane/movie/video.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

class TqSource final : public MovieSource {
public:
    explicit TqSource(CVideo& movie) : movie_(movie) {}

    // Makes the movie one on this file, which stands at its begin, with its first frame current.
    // False, and nothing changed, if the file has no whole and believable header or can't be read.
    bool open(FileHandle file);

    bool is_open() const override;
    bool takes_number(int) const override { return true; }
    bool fetch(int frame, Approach approach, const int* table) override;

    // Reads a frame from where the file stands into a plane, and leaves the file right behind it,
    // which may be behind its end. What the file lacks repeats the last sample that was read. False
    // if the system can't read the file.
    bool read(CImage* target);

private:
    bool seek_frames_from_end(std::int64_t frames);
    bool has_fitting_bytes() const;
    bool fetch_bytes();
    void make_room();
    void show(const int* table);

    CVideo& movie_;
};

} // namespace vorlane
