#include <vorlane/imagefiles/image_files.h>

#include <cstdint>

#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/guard.h>
#include <vorlane/imagefiles/reading.h>
#include <vorlane/platform/string.h>

namespace vorlane {

namespace {

constexpr std::int64_t smallest_side = 8;
constexpr std::int64_t sample_bytes = 2;

std::int64_t bytes_of_side(std::int64_t side) {
    return sample_bytes * side * side;
}

// The largest power of two, from 8 on, whose square of samples the file has room for.
std::int64_t side_of_image(std::int64_t length) {
    constexpr std::int64_t largest_side = std::int64_t{1} << 30;
    std::int64_t side = smallest_side;
    while (side < largest_side && bytes_of_side(2 * side) <= length)
        side *= 2;
    return side;
}

// Reads 12-bit samples, high byte first; false as soon as one is none, or is missing.
bool read_high_first(std::FILE* file, float* const* plane, int side) {
    BlockReader reader(file);
    const auto end =
        read_unit_rows(reader, side, static_cast<std::size_t>(side), sample_bytes,
                       [&](int i, std::size_t j, std::size_t count, const unsigned char* bytes) {
                           return from_whole_int12(bytes, plane[i] + j, count);
                       });
    return end.row == side;
}

void read_low_first(std::FILE* file, float* const* plane, int side) {
    read_sample_rows(file, plane, side, static_cast<std::size_t>(side), sample_bytes,
                     [](const unsigned char* bytes, float* samples, std::size_t count) {
                         from_int12(bytes, samples, count, ByteOrder::low_first);
                     });
}

void read_scanner_image(FileHandle& file, const char*, Picture& picture) {
    const std::int64_t length = bytes_left(file.get());
    if (length < bytes_of_side(smallest_side))
        return;
    const std::int64_t side = side_of_image(length);
    const std::int64_t header = length - bytes_of_side(side);
    if (!header_is_believable(side, side, 1, 1, sample_bytes, length) ||
        !seek_to(file.get(), header))
        return;
    const int rows = static_cast<int>(side);
    picture.plane = Plane(side, side);
    if (!read_high_first(file.get(), picture.plane.get(), rows) && !std::ferror(file.get()) &&
        seek_to(file.get(), header)) {
        picture.plane = Plane(side, side); // zeros, if the file has become shorter
        read_low_first(file.get(), picture.plane.get(), rows);
    }
    picture.nrows = picture.ncols = rows;
}

} // namespace

const ImageReader scanner_reader = {"read_senvoc_image: Can't open file", read_scanner_image};

} // namespace vorlane

using namespace vorlane;

float** read_medical_image(const char* path, int* nrows, int* ncols) {
    Picture picture = read_named(path, scanner_reader);
    store(picture.nrows, nrows);
    store(picture.ncols, ncols);
    return picture.plane.release();
}

int acr_nema(const char* text) {
    return guarded([&] {
        CString header;
        header.Format("%s", text ? text : "");
        return header.Find("ACR-NEMA") >= 0 ? 1 : 0;
    });
}
