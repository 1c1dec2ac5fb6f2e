#include <vorlane/imagefiles/image_files.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>

#include <vorlane/bytes/input_file.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/image_parts.h>

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
    {1, 4, from_bytes, from_bytes},
    {2, 7, decode<from_int12, low>, decode<from_int12, high>},
    {2, 7, decode<from_int16, low>, decode<from_int16, high>},
    {4, 5, decode<from_int32, low>, decode<from_int32, high>},
    {4, 6, decode<from_float32, low>, decode<from_float32, high>},
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
        for (int i = 0; i < image.nrows; ++i) {
            float* out = image.pixels[i] + channel;
            float* const end = out + std::int64_t{3} * image.ncols;
            while (out < end) {
                const auto bytes = reader.take(static_cast<std::size_t>(end - out) / 3);
                if (bytes.empty())
                    break;
                for (const unsigned char byte : bytes) {
                    *out = byte;
                    out += 3;
                }
                last = bytes.back();
            }
            for (; out < end; out += 3)
                *out = last;
        }
    }
}

} // namespace

CImage* Raw2Img(const char* path, int nrows, int ncols, int image_type, int format, int swap,
                int offset) {
    const bool is_gray = image_type == 0;
    if (image_type != 0 && image_type != 1)
        return nullptr;
    if (is_gray && (format < 0 || format >= static_cast<int>(std::size(gray_formats))))
        return nullptr;
    const FileHandle file(open_file(path, "rb"));
    if (!file || !seek_to(file.get(), offset))
        return nullptr;
    constexpr GrayFormat bytes = gray_formats[0];
    const GrayFormat& encoding = is_gray ? gray_formats[format] : bytes;
    if (!header_is_believable(nrows, ncols, 1, channel_count(image_type),
                              static_cast<std::int64_t>(encoding.unit), bytes_left(file.get())))
        return nullptr;
    std::unique_ptr<CImage> image =
        make_zero_image(nrows, ncols, image_type, 4, encoding.pixel_format);
    if (!image)
        return nullptr;
    if (is_gray)
        read_gray(file.get(), *image, encoding, swap != 0);
    else if (format == pixels_together)
        read_sample_rows(file.get(), image->pixels, nrows, std::size_t{3} * ncols, 1, from_bytes);
    else if (format == planes_apart)
        read_planes(file.get(), *image);
    return image.release();
}
