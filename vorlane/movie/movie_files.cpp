#include <vorlane/movie/movie_files.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <new>
#include <string>
#include <utility>

#include <vorlane/image/guard.h>
#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

namespace vorlane {

namespace {

constexpr auto private_file =
    std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;

} // namespace

bool copy_movie_path(const char* path, char (&to)[sizeof CVideo::file_name]) {
    if (!path || std::strlen(path) >= sizeof to)
        return false;
    const std::size_t length = std::strlen(path);
    std::memmove(to, path, length);
    std::memset(to + length, 0, sizeof to - length);
    return true;
}

bool are_one_file(const char* a, const char* b) {
    std::error_code error;
    return std::filesystem::equivalent(path_of(a), path_of(b), error) && !error;
}

bool is_regular_file(const char* path) {
    return guarded([&] {
        std::error_code error;
        return std::filesystem::is_regular_file(path_of(path), error);
    });
}

MovieHandle make_temporary_movie(int rows, int cols, int frames, int file_format, int pixel_format,
                                 int image_type) {
    std::string path = private_folder();
    if (!path.empty()) {
        path += "/temp" + std::to_string(static_cast<long>(std::time(nullptr))) + ".avi";
        remove_file(path);
    }
    return MovieHandle(new (std::nothrow) CVideo(path.c_str(), rows, cols, frames, file_format,
                                                 pixel_format, image_type));
}

void Successor::make(const char* path) {
    std::error_code error;
    old_ = std::filesystem::canonical(path_of(path), error);
    if (error || !FileHandle(open_file(utf8_of(old_).c_str(), "r+b")))
        return;
    constexpr int most_tries = 10000;
    for (int k = 0; k < most_tries && path_.empty(); ++k) {
        std::string name = utf8_of(old_.parent_path() / (".vorlane-" + std::to_string(k)));
        if (FileHandle(open_file(name.c_str(), "wbx")))
            path_ = std::move(name);
        else if (errno != EEXIST)
            return;
    }
    std::filesystem::permissions(path_of(path_), private_file, error);
}

Successor::~Successor() {
    if (!path_.empty())
        remove_file(path_);
}

bool Successor::take_place() {
    std::error_code error;
    std::filesystem::permissions(path_of(path_), std::filesystem::status(old_, error).permissions(),
                                 error);
    if (error || !replace_file(path_, utf8_of(old_)))
        return false;
    path_.clear();
    return true;
}

} // namespace vorlane
