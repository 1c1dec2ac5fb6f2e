#include <vorlane/platform/system_files.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

#if defined(__unix__) || defined(__APPLE__)
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#define VORLANE_POSIX 1
#else
#define VORLANE_POSIX 0
#endif

namespace vorlane {

namespace {

bool seek(std::FILE* stream, std::int64_t offset, int origin) {
#if VORLANE_POSIX
    return fseeko(stream, offset, origin) == 0;
#else
    return offset <= std::numeric_limits<long>::max() &&
           offset >= std::numeric_limits<long>::min() &&
           std::fseek(stream, static_cast<long>(offset), origin) == 0;
#endif
}

#if VORLANE_POSIX
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
#endif

} // namespace

std::FILE* open_file(const char* path, const char* mode) {
    if (!path) {
        errno = ENOENT;
        return nullptr;
    }
#if VORLANE_POSIX
    if (mode[0] == 'r')
        return open_plain_file(path, mode);
#endif
    return std::fopen(path, mode);
}

std::int64_t bytes_left(std::FILE* stream) {
#if VORLANE_POSIX
    struct stat status;
    const std::int64_t position = position_of(stream);
    if (position < 0 || fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    return status.st_size > position ? status.st_size - position : 0;
#else
    const long position = std::ftell(stream);
    if (position < 0 || std::fseek(stream, 0, SEEK_END) != 0)
        return 0;
    const long end = std::ftell(stream);
    std::fseek(stream, position, SEEK_SET);
    return end - position;
#endif
}

std::int64_t position_of(std::FILE* stream) {
#if VORLANE_POSIX
    return ftello(stream);
#else
    return std::ftell(stream);
#endif
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

bool close_written(FileHandle& file) {
    const bool failed = std::ferror(file.get()) != 0;
    return std::fclose(file.release()) == 0 && !failed;
}

bool is_for_reading_only(std::FILE* stream) {
#if VORLANE_POSIX
    return access_of(stream) == O_RDONLY;
#else
    static_cast<void>(stream);
    return false;
#endif
}

bool is_for_writing_only(std::FILE* stream) {
#if VORLANE_POSIX
    return access_of(stream) == O_WRONLY;
#else
    static_cast<void>(stream);
    return false;
#endif
}

bool is_same_file(std::FILE* stream, const char* path) {
#if VORLANE_POSIX
    struct stat open, named;
    return path && fstat(fileno(stream), &open) == 0 && stat(path, &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
#else
    static_cast<void>(stream);
    static_cast<void>(path);
    return false;
#endif
}

bool may_be_written(const char* path) {
    if (!path || !*path)
        return false;
    std::error_code error;
    const std::filesystem::path file(path);
    if (std::filesystem::is_directory(file, error))
        return false;
#if VORLANE_POSIX
    if (std::filesystem::is_symlink(file, error) && !std::filesystem::exists(file, error))
        return true; // where it leads isn't looked for
    if (std::filesystem::exists(file, error))
        return access(path, W_OK) == 0;
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    return access(folder.c_str(), W_OK | X_OK) == 0;
#else
    return true;
#endif
}

std::string private_folder() {
    std::error_code error;
    const std::filesystem::path shared = std::filesystem::temp_directory_path(error);
    if (error)
        return {};
#if VORLANE_POSIX
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

std::string path_from_library(const char* relative) {
#if VORLANE_POSIX
    static const char anchor = 0;
    Dl_info library;
    if (dladdr(&anchor, &library) == 0 || !library.dli_fname)
        return {};
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(library.dli_fname, error);
    if (error)
        return {};
    return (file.parent_path() / relative).lexically_normal().string();
#else
    static_cast<void>(relative);
    return {};
#endif
}

} // namespace vorlane
