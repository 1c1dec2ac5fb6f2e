#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorlane {

namespace {

bool seek(std::FILE* stream, std::int64_t offset, int origin) {
    return fseeko(stream, offset, origin) == 0;
}

// Opens a plain file for reading, or for both, without waiting for the other end of a pipe.
std::FILE* open_plain_file(const char* path, const char* mode) {
    const bool writes = std::strchr(mode, '+') != nullptr;
    const int descriptor =
        ::open(path, (writes ? O_RDWR : O_RDONLY) | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    struct stat status;
    int failure = fstat(descriptor, &status) == 0 ? 0 : errno;
    if (failure == 0 && !S_ISREG(status.st_mode))
        failure = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    std::FILE* const stream = failure == 0 ? fdopen(descriptor, mode) : nullptr;
    if (!stream) {
        failure = failure == 0 ? errno : failure;
        ::close(descriptor);
        errno = failure;
    }
    return stream;
}

// How the file of a stream was opened; -1 if there is no telling.
int access_of(std::FILE* stream) {
    const int file = fileno(stream);
    const int flags = file >= 0 ? fcntl(file, F_GETFL) : -1;
    return flags != -1 ? flags & O_ACCMODE : -1;
}

} // namespace

std::filesystem::path path_of(const std::string& utf8) {
    return utf8;
}

std::string utf8_of(const std::filesystem::path& path) {
    return path.string();
}

std::FILE* open_file(const char* path, const char* mode) {
    if (!path) {
        errno = ENOENT;
        return nullptr;
    }
    if (mode[0] == 'r')
        return open_plain_file(path, mode);
    return std::fopen(path, mode);
}

std::int64_t bytes_left(std::FILE* stream) {
    struct stat status;
    const std::int64_t position = position_of(stream);
    if (position < 0 || fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    return status.st_size > position ? status.st_size - position : 0;
}

std::int64_t position_of(std::FILE* stream) {
    return ftello(stream);
}

bool seek_to(std::FILE* stream, std::int64_t offset) {
    return offset >= 0 && seek(stream, offset, SEEK_SET);
}

bool seek_by(std::FILE* stream, std::int64_t offset) {
    return seek(stream, offset, SEEK_CUR);
}

bool seek_from_end(std::FILE* stream, std::int64_t offset) {
    return seek(stream, offset, SEEK_END);
}

void remove_file(const std::string& path) {
    std::remove(path.c_str());
}

bool replace_file(const std::string& path, const std::string& other) {
    return std::rename(path.c_str(), other.c_str()) == 0;
}

bool close_written(FileHandle& file) {
    const bool failed = std::ferror(file.get()) != 0;
    return std::fclose(file.release()) == 0 && !failed;
}

bool is_for_reading_only(std::FILE* stream) {
    return access_of(stream) == O_RDONLY;
}

bool is_for_writing_only(std::FILE* stream) {
    return access_of(stream) == O_WRONLY;
}

bool is_same_file(std::FILE* stream, const char* path) {
    struct stat open, named;
    return path && fstat(fileno(stream), &open) == 0 && stat(path, &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool may_be_written(const char* path) {
    if (!path || !*path)
        return false;
    std::error_code error;
    const std::filesystem::path file(path);
    if (std::filesystem::is_directory(file, error))
        return false;
    if (std::filesystem::is_symlink(file, error) && !std::filesystem::exists(file, error))
        return true; // where it leads isn't looked for
    if (std::filesystem::exists(file, error))
        return access(path, W_OK) == 0;
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    return access(folder.c_str(), W_OK | X_OK) == 0;
}

std::string private_folder() {
    std::error_code error;
    const std::filesystem::path shared = std::filesystem::temp_directory_path(error);
    if (error)
        return {};
    std::string folder = (shared / ("vorlane-" + std::to_string(geteuid()))).string();
    mkdir(folder.c_str(), S_IRWXU);
    struct stat status;
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        status.st_uid != geteuid())
        return {};
    const bool is_open_to_others = (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    if (is_open_to_others && chmod(folder.c_str(), S_IRWXU) != 0)
        return {};
    folder += '/';
    folder += std::to_string(getpid());
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return {};
    return folder;
}

std::string path_from_library(const char* relative) {
    static const char anchor = 0;
    Dl_info library;
    if (dladdr(&anchor, &library) == 0 || !library.dli_fname)
        return {};
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(library.dli_fname, error);
    if (error)
        return {};
    return (file.parent_path() / relative).lexically_normal().string();
}

} // namespace vorlane
