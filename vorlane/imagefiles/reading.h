// Private: how image files are read. Every reader works on a file that is open already; here alone
// a file that can't be read is told from one that ends.
#pragma once

#include <optional>

#include <vorlane/image/plane.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

// What a reader found. A number that it doesn't set leaves that of the caller as it was.
struct Picture {
    Plane plane; // none: the file is refused
    std::optional<int> nrows, ncols, image_type, pixel_format;
};

struct ImageReader {
    const char* cant_open; // the message of a file that can't be opened or read; null for none

    // Reads from the start of the file, of which only the magic is known. Throws std::bad_alloc.
    void (*read)(FileHandle& file, const char* path, Picture& picture);
};

// Of BMP files, what can't be read throws CFileException.
extern const ImageReader pgm_reader, ppm_reader, bmp_reader, tq_reader, scanner_reader;

// Reads a file that is open and stands at its start. No plane, perhaps after the reader's messages,
// if it is refused, if the system can't read it or if there is no memory.
Picture read_opened(FileHandle file, const char* path, const ImageReader& reader);

// The same by its name.
Picture read_named(const char* path, const ImageReader& reader);

// Stores a number that was found.
inline void store(const std::optional<int>& found, int* to) {
    if (found && to)
        *to = *found;
}

} // namespace vorlane
