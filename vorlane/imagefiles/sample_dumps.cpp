#include <vorlane/imagefiles/image_files.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/imagefiles/writing.h>

namespace {

using namespace vorlane;

constexpr const char* cant_create_velk = "write_velk_image: Can't create file";
constexpr const char* cant_create_raw = "write_raw_image: Can't create file";

constexpr std::int64_t template_pixels = 0x20000; // bytes at its end that aren't its header

// What a host has set; empty for the default.
std::string& halvort_template() {
    static std::string path;
    return path;
}

// The default lies in the data folder beside the library, so that an installed tree can be moved.
std::string default_template() {
    const std::string path = path_from_library(VORLANE_HALVORT_TEMPLATE_FROM_LIBRARY);
    return path.empty() ? VORLANE_HALVORT_TEMPLATE : path;
}

bool write_shorts(std::FILE* file, const float* const* plane, int nrows, int ncols) {
    return write_unit_rows(file, nrows, ncols, 2,
                           [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
                               to_int16(plane[i] + j, out, count, ByteOrder::high_first);
                           });
}

// The header of a template, if it can be read.
std::optional<std::vector<unsigned char>> read_template_header(std::FILE* file) {
    std::vector<unsigned char> header(
        static_cast<std::size_t>(std::max<std::int64_t>(bytes_left(file) - template_pixels, 0)));
    if (std::fread(header.data(), 1, header.size(), file) < header.size())
        return std::nullopt;
    return header;
}

int refuse_raw() {
    show_failure(cant_create_raw);
    return 0;
}

} // namespace

int write_velk_image(const float* const* plane, const char* path, int nrows, int ncols) {
    if (lacks_samples(plane, nrows, ncols))
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
    if (unit > 0 && lacks_samples(plane, nrows, ncols))
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
    guarded([&] { return halvort_template().assign(path ? path : ""), true; });
}

int write_halvort_image(const float* const* plane, const char* path, int nrows, int ncols) {
    if (lacks_samples(plane, nrows, ncols))
        return 0;
    return guarded([&] {
        const std::string chosen = halvort_template();
        const FileHandle source(
            open_file((chosen.empty() ? default_template() : chosen).c_str(), "rb"));
        const auto header = source ? read_template_header(source.get()) : std::nullopt;
        if (!header) // the file comes first, so its failure is told first
            return may_be_written(path) ? 0 : refuse_raw();
        if (is_same_file(source.get(), path))
            return refuse_raw();
        return write_file(path, cant_create_raw, [&](std::FILE* file) {
            return (header->empty() ||
                    std::fwrite(header->data(), 1, header->size(), file) == header->size()) &&
                   write_shorts(file, plane, nrows, ncols);
        });
    });
}
