// VideoFromYUV: the first bytes of the input choose its arguments.

#include <cstdio>

#include <vorlane/movie/movie_files.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t arguments = 5;
    if (size < arguments)
        return 0;
    const char* const path = input_path(data + arguments, size - arguments);
    const auto argument = [&](std::size_t k) { return static_cast<signed char>(data[k]); };
    const vorlane::MovieHandle movie(VideoFromYUV(path, argument(0), argument(1), argument(2) % 8,
                                                  argument(3) % 3, argument(4) % 2));
    if (!movie)
        return 0;
    if (movie->nframes != 0 && movie->OpenVideo(std::string(movie->file_name).c_str()))
        touch_last(*movie->image);
    std::remove(movie->file_name);
    return 0;
}
