#include <vorlane/imagefiles/image_files.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include <vorlane/bytes/input_file.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/failure.h>

namespace {

using namespace vorlane;

constexpr const char* cant_create_velk = "write_velk_image: Can't create file";
constexpr const char* cant_create_raw = "write_raw_image: Can't create file";

std::string& halvort_template() {
    static std::string path = VORLANE_HALVORT_TEMPLATE;
    return path;
}

bool has_samples(int nrows, int ncols) {
    return nrows > 0 && ncols > 0;
}

bool write_shorts(std::FILE* file, const float* const* plane, int nrows, int ncols) {
    return write_unit_rows(file, nrows, ncols, 2,
                           [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
                               to_int16(plane[i] + j, out, count, ByteOrder::high_first);
                           });
}

// Copies the next `count` bytes; false if there aren't so many, or if they can't be written.
bool copy_bytes(std::FILE* from, std::FILE* to, std::int64_t count) {
    BlockReader reader(from);
    while (count > 0) {
        const auto bytes = reader.take(static_cast<std::size_t>(count));
        if (bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), to) < bytes.size())
            return false;
        count -= static_cast<std::int64_t>(bytes.size());
    }
    return true;
}

// Makes a file of what write(stream) puts into it; its result tells whether that was all.
template<class Write>
int write_file(const char* path, const char* cant_create, Write write) {
    FileHandle file(open_file(path, "wb"));
    const bool is_filled = file && write(file.get());
    const bool is_whole = file && close_written(file) && is_filled;
    if (!is_whole)
        show_failure(cant_create);
    return is_whole ? 1 : 0;
}

// True if the file could be made. It is left as it is.
bool could_create(const char* path) {
    const bool exists = FileHandle(open_file(path, "rb")) != nullptr;
    if (!FileHandle(open_file(path, "ab")))
        return false;
    if (!exists)
        std::remove(path);
    return true;
}

} // namespace

int write_velk_image(const float* const* plane, const char* path, int nrows, int ncols) {
    if (!plane && has_samples(nrows, ncols))
        return 0;
    return write_file(path, cant_create_velk, [&](std::FILE* file) {
        putshort(static_cast<short>(nrows), file);
        putshort(static_cast<short>(ncols), file);
        return write_shorts(file, plane, nrows, ncols);
    });
}

int write_raw_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int pixel_format) {
    const std::size_t unit = sample_size(pixel_format);
    if (!plane && unit > 0 && has_samples(nrows, ncols))
        return 0;
    return write_file(path, cant_create_raw, [&](std::FILE* file) {
        return unit == 0 ||
               write_unit_rows(file, nrows, ncols, unit,
                               [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
                                   encode_samples(pixel_format, plane[i] + j, out, count);
                               });
    });
}

void SetHalvortTemplate(const char* path) {
    halvort_template() = path ? path : VORLANE_HALVORT_TEMPLATE;
}

int write_halvort_image(const float* const* plane, const char* path, int nrows, int ncols) {
    constexpr std::int64_t template_pixels = 0x20000;
    if (!plane && has_samples(nrows, ncols))
        return 0;
    const FileHandle header(open_file(halvort_template().c_str(), "rb"));
    if (!header) {
        // The file comes first, so its failure is told first.
        if (!could_create(path))
            show_failure(cant_create_raw);
        return 0;
    }
    const std::int64_t header_size = bytes_left(header.get()) - template_pixels;
    return write_file(path, cant_create_raw, [&](std::FILE* file) {
        return copy_bytes(header.get(), file, header_size) &&
               write_shorts(file, plane, nrows, ncols);
    });
}
