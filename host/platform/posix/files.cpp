#include "host/platform/files.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorlane::host {

namespace {

// The mask can be read only by setting it, which isn't for several threads at once.
mode_t usual_permissions() {
    static const mode_t mask = [] {
        const mode_t found = umask(0);
        umask(found);
        return found;
    }();
    return 0666 & ~mask;
}

int make(std::string& pattern, const mode_t* permissions) {
    const int file = mkstemp(pattern.data());
    if (file < 0)
        return errno;
    if (permissions)
        fchmod(file, *permissions);
    close(file);
    return 0;
}

int descriptor(std::intptr_t handle) {
    return static_cast<int>(handle);
}

// Calls until all is done, there is no more, or an error other than an interruption.
template<class Call>
std::size_t repeat(std::size_t count, Call call) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = call(done);
        if (got > 0)
            done += static_cast<std::size_t>(got);
        else if (got == 0 || errno != EINTR)
            break;
    }
    return done;
}

} // namespace

Place place_of(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return Place::nothing;
    return S_ISREG(status.st_mode)   ? Place::file
           : S_ISDIR(status.st_mode) ? Place::folder
                                     : Place::device;
}

bool id_of(const std::string& path, FileId& id) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    id = {status.st_dev, status.st_ino};
    return true;
}

InputFile::~InputFile() {
    if (handle_ >= 0)
        close(descriptor(handle_));
}

int InputFile::open(const std::string& path) {
    // Not to wait for a pipe without a writer is impossible without losing one that has one.
    handle_ = path == "-" ? dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (handle_ < 0 || fstat(descriptor(handle_), &status) != 0)
        return errno;
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    // Standard input that was read from already counts as a stream.
    is_plain_file_ = S_ISREG(status.st_mode) && path != "-";
    size_ = is_plain_file_ ? status.st_size : 0;
    return 0;
}

std::size_t InputFile::read(void* to, std::size_t count) {
    return repeat(count, [&](std::size_t done) {
        return ::read(descriptor(handle_), static_cast<unsigned char*>(to) + done, count - done);
    });
}

std::size_t InputFile::read_at(std::int64_t offset, void* to, std::size_t count) {
    return repeat(count, [&](std::size_t done) {
        return pread(descriptor(handle_), static_cast<unsigned char*>(to) + done, count - done,
                     offset + static_cast<std::int64_t>(done));
    });
}

int make_file(const std::string& start, const std::string& like, std::string& path) {
    struct stat status;
    const mode_t permissions =
        stat(like.c_str(), &status) == 0 ? status.st_mode & 0777 : usual_permissions();
    path = start + ".XXXXXX";
    return make(path, &permissions);
}

int make_temporary_file(std::string& path) {
    std::error_code error;
    const auto folder = std::filesystem::temp_directory_path(error);
    path = (error ? std::filesystem::path("/tmp") : folder) / "vorlane-XXXXXX";
    return make(path, nullptr);
}

int copy_file_to(const std::string& from, const std::string& to) {
    InputFile source;
    if (const int failure = source.open(from))
        return failure;
    const int file = to.empty() ? dup(STDOUT_FILENO) : open(to.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return errno;
    constexpr std::size_t block_size = 1 << 16;
    const auto block = std::make_unique_for_overwrite<char[]>(block_size);
    int failure = 0;
    while (failure == 0) {
        const std::size_t count = source.read(block.get(), block_size);
        if (count == 0)
            break;
        if (repeat(count, [&](std::size_t done) {
                return write(file, block.get() + done, count - done);
            }) < count)
            failure = errno;
    }
    if (close(file) != 0 && failure == 0)
        failure = errno;
    return failure;
}

bool set_length(std::FILE* stream, std::int64_t length) {
    return ftruncate(fileno(stream), length) == 0;
}

std::vector<std::string> paths_like(const std::string& pattern) {
    glob_t found{};
    std::vector<std::string> paths;
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0)
        paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    return paths;
}

} // namespace vorlane::host
