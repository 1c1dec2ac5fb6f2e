// Private: the files of movies.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <vorlane/movie/video.h>

namespace vorlane {

// A frame in the middle of a movie that can't be had; the one before it stands for it.
constexpr const char* cant_read_frame = "CVideo: Can't read frame";

// Copies a path, with zeros behind it, if it fits; false, and nothing copied, if it doesn't or is
// null.
bool copy_movie_path(const char* path, char (&to)[sizeof CVideo::file_name]);

// Whether two paths lead to one file.
bool are_one_file(const char* a, const char* b);

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

// A new file that is to take the place of an existing one, beside which it is written. A link to
// the old one then leads to the new one, which has its permissions. Goes again if it doesn't get
// there.
class Successor {
public:
    explicit Successor(const char* path);
    ~Successor();
    Successor(const Successor&) = delete;
    Successor& operator=(const Successor&) = delete;

    // Null if it can't be made, as for a file that mayn't be written.
    const char* path() const { return path_.empty() ? nullptr : path_.c_str(); }

    // False if it can't take the place.
    bool take_place();

private:
    std::filesystem::path old_;
    std::string path_;
};

} // namespace vorlane
