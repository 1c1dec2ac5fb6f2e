// What hosts ask of the system about files, beyond what the library's own platform gives them. Each system has a
// folder of sources beside this one. Paths are UTF-8; failures are numbers as errno has them, 0 for none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace vorlane::host {

enum class Place { nothing, file, folder, device };

// What a path leads to, by links too.
Place place_of(const std::string& path);

// The same for two paths to one file. False if there is no such file.
using FileId = std::pair<std::uint64_t, std::uint64_t>;
bool id_of(const std::string& path, FileId& id);

// A file, a device or a pipe that is open for reading.
class InputFile {
public:
    InputFile() = default;
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // "-" is standard input. EISDIR for a folder.
    int open(const std::string& path);

    // False for what can be read only once, such as a pipe.
    bool is_plain_file() const { return is_plain_file_; }
    std::int64_t size() const { return size_; }

    // The next bytes, or those from an offset on of a plain file. Fewer than `count` at the end.
    std::size_t read(void* to, std::size_t count);
    std::size_t read_at(std::int64_t offset, void* to, std::size_t count);

private:
    std::intptr_t handle_ = -1;
    bool is_plain_file_ = false;
    std::int64_t size_ = 0;
};

// Makes an empty file whose name nobody guesses, `start` and some letters, and sets `path` to its
// path. It gets the permissions of `like`, where that is there.
int make_file(const std::string& start, const std::string& like, std::string& path);

// The same in the folder for temporary files, for this user alone.
int make_temporary_file(std::string& path);

// Writes a whole file to a device or a pipe; an empty path is standard output.
int copy_file_to(const std::string& from, const std::string& to);

// Cuts a file that is open for writing; false if that fails.
bool set_length(std::FILE* stream, std::int64_t length);

// The paths of a pattern with *, ? or [...] in its names, sorted.
std::vector<std::string> paths_like(const std::string& pattern);

} // namespace vorlane::host
