#include <vorlane/imagefiles/image_files.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>

#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/results.h>
#include <vorlane/platform/system_files.h>

namespace {

using namespace vorlane;

using Decode = void (*)(const unsigned char* bytes, float* samples, std::size_t count);

// How gray samples stand in a file.
struct GrayFormat {
    std::size_t unit; // bytes
    int pixel_format;
    Decode low_first;
    Decode high_first;
};

// A conversion with its byte order chosen.
template<void (*convert)(const unsigned char*, float*, std::size_t, ByteOrder), ByteOrder order>
void decode(const unsigned char* bytes, float* samples, std::size_t count) {
    convert(bytes, samples, count, order);
}

constexpr ByteOrder low = ByteOrder::low_first;
constexpr ByteOrder high = ByteOrder::high_first;

constexpr GrayFormat gray_formats[] = {
    {1, PixelFormat::byte, from_bytes, from_bytes},
    {2, PixelFormat::int16, decode<from_int12, low>, decode<from_int12, high>},
    {2, PixelFormat::int16, decode<from_int16, low>, decode<from_int16, high>},
    {4, PixelFormat::int32, decode<from_int32, low>, decode<from_int32, high>},
    {4, PixelFormat::float32, decode<from_float32, low>, decode<from_float32, high>},
};

constexpr int pixels_together = 0;
constexpr int planes_apart = 1;

void read_gray(std::FILE* file, const CImage& image, const GrayFormat& format, bool swap) {
    // Swapped words come a byte at a time, where the end of the file reads as 255.
    const bool by_bytes = swap && format.unit > 1;
    read_sample_rows(file, image.pixels, image.nrows, static_cast<std::size_t>(image.ncols),
                     format.unit, swap ? format.high_first : format.low_first,
                     by_bytes ? Missing::is_255 : Missing::repeats_last);
}

// Three planes of bytes, red, green, blue. What is missing repeats the last byte.
void read_planes(std::FILE* file, const CImage& image) {
    BlockReader reader(file);
    unsigned char last = 0;
    for (int channel = 0; channel < 3; ++channel) {
        const auto put = [&](int i, std::size_t j, unsigned char byte) {
            image.pixels[i][3 * j + static_cast<std::size_t>(channel)] = byte;
        };
        const auto cols = static_cast<std::size_t>(image.ncols);
        auto [row, at] = read_unit_rows(
            reader, image.nrows, cols, 1,
            [&](int i, std::size_t j, std::size_t count, const unsigned char* bytes) {
                for (std::size_t k = 0; k < count; ++k)
                    put(i, j + k, bytes[k]);
                last = bytes[count - 1];
                return true;
            });
        for (; row < image.nrows; ++row, at = 0) {
            for (; at < cols; ++at)
                put(row, at, last);
        }
    }
}

std::unique_ptr<CImage> read_raw(const char* path, const Form& form, int format, bool swap,
                                 int offset) {
    const bool is_gray = form.image_type == ImageType::gray;
    const GrayFormat& encoding = gray_formats[is_gray ? format : 0];
    const FileHandle file(open_file(path, "rb"));
    if (!file || !seek_to(file.get(), offset) ||
        !header_is_believable(form.nrows, form.ncols, 1, channel_count(form.image_type),
                              static_cast<std::int64_t>(encoding.unit), bytes_left(file.get())))
        return nullptr;
    auto image = make_image(form.as(encoding.pixel_format));
    if (is_gray)
        read_gray(file.get(), *image, encoding, swap);
    else if (format == pixels_together)
        read_sample_rows(file.get(), image->pixels, form.nrows, std::size_t{3} * form.ncols, 1,
                         from_bytes);
    else if (format == planes_apart)
        read_planes(file.get(), *image);
    return std::ferror(file.get()) ? nullptr : std::move(image);
}

} // namespace

CImage* Raw2Img(const char* path, int nrows, int ncols, int image_type, int format, int swap,
                int offset) {
    const bool is_gray = image_type == ImageType::gray;
    if (channel_count(image_type) == 0 ||
        (is_gray && (format < 0 || format >= static_cast<int>(std::size(gray_formats)))))
        return nullptr;
    const Form form = {nrows, ncols, image_type, PixelFormat::none, FileFormat::tq};
    return guarded([&] { return read_raw(path, form, format, swap != 0, offset); });
}
