// CVideo: opening a TQ or AVI movie, stepping both ways and closing.

#include <vorlane/movie/video.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CVideo movie;
    const char* const path = input_path(data, size);
    if (movie.OpenVideo(path)) {
        movie.GetPreviousFrame(nullptr);
        movie.GetPreviousFrame(nullptr);
        movie.GetNextFrame(nullptr);
        movie.GetFrame(movie.nframes / 2, nullptr);
        movie.CloseVideo();
        volatile unsigned char last = 0;
        if (movie.dib && movie.dib->bits && movie.dib->image_size > 0)
            last = movie.dib->bits[movie.dib->image_size - 1];
        (void)last;
    }
    return 0;
}
