// Private: how image files are written. Here alone a file becomes whole, or its failure is told.
#pragma once

#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

// Makes a file of what write(stream) puts into it; its result tells whether that was all. 1, or 0
// after the message if the file can't be made, doesn't take everything, or there is no memory.
template<class Write>
int write_file(const char* path, const char* cant_create, Write write) {
    FileHandle file(open_file(path, "wb"));
    const bool is_filled = file && guarded([&] { return write(file.get()); });
    const bool is_whole = file && close_written(file) && is_filled;
    if (!is_whole)
        show_failure(cant_create);
    return is_whole ? 1 : 0;
}

// True if a plane of these sizes isn't there although it has samples.
inline bool lacks_samples(const float* const* plane, int nrows, int ncols) {
    return !plane && nrows > 0 && ncols > 0;
}

} // namespace vorlane
