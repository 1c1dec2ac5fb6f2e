// Private: AVI movies that are read.
#pragma once

#include <vorlane/movie/movie_source.h>
#include <vorlane/movie/video.h>

namespace vorlane {

class AviSource final : public MovieSource {
public:
    explicit AviSource(CVideo& movie) : movie_(movie) {}

    // Makes the movie one on this file, with its first frame current. False, mostly after a
    // message, at the first stage that fails; CVideo::OpenVideo says what each leaves.
    bool open(const char* path);

    bool is_open() const override;
    bool takes_number(int frame) const override;

    // If the frame can't be had, `image` and `dib` stay.
    bool fetch(int frame, Approach approach, const int* table) override;

private:
    void lend_bits(void* frame);

    CVideo& movie_;
};

} // namespace vorlane
