#include <vorlane/movie/movie_files.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <new>
#include <string>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vorlane {

namespace {

// A folder for this user alone: others can neither read a movie nor put a file of theirs under its
// name. Empty if it can't be had.
std::string private_folder() {
    std::error_code error;
    const std::filesystem::path shared = std::filesystem::temp_directory_path(error);
    if (error)
        return {};
#if defined(__unix__) || defined(__APPLE__)
    std::string folder = (shared / ("vorlane-" + std::to_string(geteuid()))).string();
    mkdir(folder.c_str(), S_IRWXU);
    struct stat status;
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        status.st_uid != geteuid())
        return {};
    const bool is_open_to_others = (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    if (is_open_to_others && chmod(folder.c_str(), S_IRWXU) != 0)
        return {};
    return folder;
#else
    const std::filesystem::path folder = shared / "vorlane";
    std::filesystem::create_directory(folder, error);
    return error ? std::string() : folder.string();
#endif
}

} // namespace

bool copy_movie_path(const char* path, char (&to)[sizeof CVideo::file_name]) {
    if (!path || std::strlen(path) >= sizeof to)
        return false;
    const std::size_t length = std::strlen(path);
    std::memmove(to, path, length);
    std::memset(to + length, 0, sizeof to - length);
    return true;
}

BITMAPINFOHEADER avi_frame_format(int rows, int cols) {
    BITMAPINFOHEADER format = {};
    format.biSize = sizeof format;
    format.biWidth = cols;
    format.biHeight = rows;
    format.biPlanes = 1;
    format.biBitCount = 24;
    return format;
}

MovieHandle make_temporary_movie(int rows, int cols, int frames, int file_format, int pixel_format,
                                 int image_type) {
    std::string path = private_folder();
    if (!path.empty()) {
        path += "/temp" + std::to_string(static_cast<long>(std::time(nullptr))) + ".avi";
        std::remove(path.c_str());
    }
    return MovieHandle(new (std::nothrow) CVideo(path.c_str(), rows, cols, frames, file_format,
                                                 pixel_format, image_type));
}

} // namespace vorlane
