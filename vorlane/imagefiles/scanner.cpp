#include <vorlane/imagefiles/image_files.h>

#include <cstdint>
#include <cstring>

#include <vorlane/bytes/input_file.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/plane.h>
#include <vorlane/platform/string.h>

namespace {

using namespace vorlane;

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

// True if all are 12-bit samples, high byte first.
bool are_high_first(const unsigned char* bytes, std::size_t count) {
    std::uint16_t bits = 0;
    for (std::size_t k = 0; k < count; ++k) {
        std::uint16_t word;
        std::memcpy(&word, bytes + 2 * k, sizeof word);
        bits |= word;
    }
    return (bits & 0x00F0) == 0; // the upper four bits, in the byte that comes first
}

// Reads 12-bit samples, high byte first; false as soon as one is none, or is missing.
bool read_high_first(std::FILE* file, float* const* plane, int side) {
    BlockReader reader(file);
    for (int i = 0; i < side; ++i) {
        float* out = plane[i];
        while (out < plane[i] + side) {
            const auto wanted = static_cast<std::size_t>(plane[i] + side - out);
            const auto bytes = reader.take(sample_bytes * wanted, sample_bytes);
            const std::size_t count = bytes.size() / sample_bytes;
            if (count == 0 || !are_high_first(bytes.data(), count))
                return false;
            from_int16(bytes.data(), out, count, ByteOrder::high_first);
            out += count;
        }
    }
    return true;
}

} // namespace

float** read_medical_image(const char* path, int* nrows, int* ncols) {
    const FileHandle file(open_file(path, "rb"));
    if (!file) {
        show_failure("read_senvoc_image: Can't open file");
        return nullptr;
    }
    const std::int64_t length = bytes_left(file.get());
    if (length < bytes_of_side(smallest_side))
        return nullptr;
    const std::int64_t side = side_of_image(length);
    const std::int64_t header = length - bytes_of_side(side);
    if (!header_is_believable(side, side, 1, 1, sample_bytes, length))
        return nullptr;
    PlaneHandle plane(make_plane(side, side));
    if (!plane)
        return nullptr;
    const int rows = static_cast<int>(side);
    seek_to(file.get(), header);
    if (!read_high_first(file.get(), plane.get(), rows)) {
        seek_to(file.get(), header);
        read_sample_rows(file.get(), plane.get(), rows, static_cast<std::size_t>(side),
                         sample_bytes,
                         [](const unsigned char* bytes, float* samples, std::size_t count) {
                             from_int12(bytes, samples, count, ByteOrder::low_first);
                         });
    }
    *nrows = *ncols = rows;
    return plane.release();
}

int acr_nema(const char* text) {
    CString header;
    header.Format("%s", text ? text : "");
    return header.Find("ACR-NEMA") >= 0 ? 1 : 0;
}
