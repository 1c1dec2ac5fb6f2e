// Private: files as the system has them. What isn't the same everywhere about them stands in the sources of
// this header, one in the folder of each system. Paths are UTF-8.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace vorlane {

struct CloseFile {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

// fopen, with these refusals, which errno tells: a null path, a folder in any mode, and for reading
// all that isn't a plain file. A pipe or a device may keep its reader waiting for ever, has no
// length, and can't be read twice.
std::FILE* open_file(const char* path, const char* mode);

// Bytes from the current position to the end of the file; 0 if it isn't a plain file.
std::int64_t bytes_left(std::FILE* stream);

// The place of the next byte from the start of the file; negative if it has none.
std::int64_t position_of(std::FILE* stream);

// 64-bit seek from the start of the file; false if that fails.
bool seek_to(std::FILE* stream, std::int64_t offset);

// The same from the current position, and from the end. A target before the start of the file fails
// and leaves the position as it was.
bool seek_by(std::FILE* stream, std::int64_t offset);
bool seek_from_end(std::FILE* stream, std::int64_t offset);

// Takes a file away; its name is free then, also while somebody has the file open.
void remove_file(const std::string& path);

// Gives a file the name of another, whose place it takes, also while somebody has that one open.
bool replace_file(const std::string& path, const std::string& other);

// Closes a file that was written. False if something didn't reach it.
bool close_written(FileHandle& file);

// How the stream was opened; false if there is no telling.
bool is_for_reading_only(std::FILE* stream);
bool is_for_writing_only(std::FILE* stream);

// True if `path` leads to the file that is open.
bool is_same_file(std::FILE* stream, const char* path);

// True if a file could be made at `path`, or opened for writing if it is there. Touches nothing.
bool may_be_written(const char* path);

// A folder for temporary files of this process alone: other users can neither read a file in it nor
// put one of theirs under its name, and programs of the same user have folders of their own. Empty
// if it can't be had.
std::string private_folder();

// The absolute path of a file that is named relative to the folder of this library, or of the
// program that the library is part of; empty if the system doesn't tell that folder.
std::string path_from_library(const char* relative);

} // namespace vorlane
