// Private: the files of movies.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <vorlane/movie/video.h>

namespace vorlane {

// A frame in the middle of a movie that can't be had; the one before it stands for it.
constexpr const char* cant_read_frame = "CVideo: Can't read frame";

// What was written isn't whole in the file.
constexpr const char* cant_write_movie = "CVideo: Can't write file";

// Copies a path, with zeros behind it, if it fits; false, and nothing copied, if it doesn't or is
// null.
bool copy_movie_path(const char* path, char (&to)[sizeof CVideo::file_name]);

// Whether two paths lead to one file. Throws std::bad_alloc, since "no" would let a file be written
// over.
bool are_one_file(const char* a, const char* b);

// Whether a path leads to a file that has an end and can be gone about in.
bool is_regular_file(const char* path);

struct CloseMovie {
    void operator()(CVideo* movie) const {
        movie->CloseVideo();
        delete movie;
    }
};
// A movie that is closed before it goes.
using MovieHandle = std::unique_ptr<CVideo, CloseMovie>;

// Closes a movie that others own when the work on it ends.
class ClosesBehind {
public:
    explicit ClosesBehind(CVideo& movie) : movie_(movie) {}
    ~ClosesBehind() { movie_.CloseVideo(); }
    ClosesBehind(const ClosesBehind&) = delete;
    ClosesBehind& operator=(const ClosesBehind&) = delete;

private:
    CVideo& movie_;
};

// Creates a movie in a temporary file. An older file of that name, which may be open as a source,
// keeps its data for those who have it open. Null if there is no memory.
MovieHandle make_temporary_movie(int rows, int cols, int frames, int file_format, int pixel_format,
                                 int image_type);

// A new file that is to take the place of an existing one, beside which it is written. A link to
// the old one then leads to the new one, which has its permissions. Goes again if it doesn't get
// there.
class Successor {
public:
    Successor() = default;
    ~Successor();
    Successor(const Successor&) = delete;
    Successor& operator=(const Successor&) = delete;

    // Makes an empty file beside that at `path`; not if that one mayn't be written.
    void make(const char* path);

    // Null if none was made.
    const char* path() const { return path_.empty() ? nullptr : path_.c_str(); }

    // False if it can't take the place.
    bool take_place();

private:
    std::filesystem::path old_;
    std::string path_;
};

} // namespace vorlane
