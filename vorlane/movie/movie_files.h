// Private: the files of movies.
#pragma once

#include <memory>

#include <vorlane/movie/video.h>

namespace vorlane {

// Copies a path, with zeros behind it, if it fits; false, and nothing copied, if it doesn't or is
// null.
bool copy_movie_path(const char* path, char (&to)[sizeof CVideo::file_name]);

// The information header of the frames of AVI movies, in memory and in the files that are written:
// 24 bits, bottom row first.
BITMAPINFOHEADER avi_frame_format(int rows, int cols);

struct CloseMovie {
    void operator()(CVideo* movie) const {
        movie->CloseVideo();
        delete movie;
    }
};
// A movie that is closed before it goes.
using MovieHandle = std::unique_ptr<CVideo, CloseMovie>;

// Creates a movie in a temporary file. An older file of that name, which may be open as a source,
// keeps its data for those who have it open. Null if there is no memory.
MovieHandle make_temporary_movie(int rows, int cols, int frames, int file_format, int pixel_format,
                                 int image_type);

} // namespace vorlane
