// The library's own readers and writers: BMP, TQ, a scanner's images, and dumps of samples. They
// take short files as they come, so lengths are checked before.

#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "host/formats/format.h"

namespace vorlane::host {

namespace {

Picture read_by_library(const ReadRequest& request) {
    Picture picture;
    picture.image = std::make_unique<CImage>();
    take_message("");
    int is_read = 0;
    try {
        is_read = picture.image->ReadImage(request.source.path_on_disk().c_str());
    } catch (const CFileException& error) {
        request.fail(error.what());
    }
    if (!is_read || !picture.image->pixels)
        request.fail(take_message("can't be read"));
    if (picture.image->nrows < 1 || picture.image->ncols < 1)
        request.fail("has no pixels");
    return picture;
}

template<class Number>
Number number_at(std::span<const unsigned char> bytes, std::size_t offset) {
    Number value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

Picture read_bmp(const ReadRequest& request) {
    request.check_page(1);
    const auto head = request.source.head();
    constexpr std::size_t headers = 14 + 40;
    if (head.size() < headers)
        request.fail("is a BMP file without a whole header");
    const auto pixels_at = number_at<std::uint32_t>(head, 10);
    const auto info_size = number_at<std::uint32_t>(head, 14);
    const auto width = number_at<std::int32_t>(head, 18);
    const auto height = number_at<std::int32_t>(head, 22);
    const auto bits = number_at<std::uint16_t>(head, 28);
    const auto compression = number_at<std::uint32_t>(head, 30);
    const auto stated_size = number_at<std::uint32_t>(head, 34);
    if (info_size < 40)
        request.fail("is a BMP file with an old kind of header, which isn't read; save it anew");
    if (compression != 0)
        request.fail("is a compressed BMP file, which isn't read; save it without compression");
    if (bits != 8 && bits != 24)
        request.fail("is a BMP file of " + std::to_string(bits) +
                     " bits a pixel; only 8 and 24 are read");
    const std::int64_t rows = std::abs(std::int64_t{height});
    if (width < 1 || rows < 1)
        request.fail("has no pixels");
    const std::int64_t row_bytes = (std::int64_t{width} * bits + 31) / 32 * 4;
    if (rows > std::numeric_limits<std::int64_t>::max() / row_bytes)
        request.fail("says " + std::to_string(rows) + " x " + std::to_string(width) +
                     " pixels, which no file can hold");
    const std::int64_t size = stated_size != 0 ? std::int64_t{stated_size} : rows * row_bytes;
    if (size / rows < std::int64_t{width} * bits / 8)
        request.fail("is a BMP file whose sizes contradict each other");
    // The padding of the last row doesn't matter.
    const std::int64_t needed =
        pixels_at + (rows - 1) * (size / rows) + std::int64_t{width} * bits / 8;
    if (request.source.size() < needed && !request.allow_truncated)
        request.fail_truncated();
    return read_by_library(request);
}

std::string read_line(SourceStream& stream) {
    std::string line;
    for (int c = 0; line.size() < 255 && c != '\n' && (c = stream.next()) >= 0;)
        line += static_cast<char>(c);
    return line;
}

Picture read_tq(const ReadRequest& request) {
    SourceStream stream(request.source);
    read_line(stream);
    int rows = 0, cols = 0, frames = 1, pixel_format = 0, image_type = 0;
    const int sizes = std::sscanf(read_line(stream).c_str(), "%9d %9d %9d", &rows, &cols, &frames);
    const bool has_codes = std::sscanf(read_line(stream).c_str(), "%9d", &pixel_format) == 1 &&
                           std::sscanf(read_line(stream).c_str(), "%9d", &image_type) == 1;
    if (sizes < 2 || !has_codes ||
        (image_type != ImageType::gray && image_type != ImageType::colour))
        request.fail("is a TQ file with a broken header");
    const bool colour = image_type == ImageType::colour;
    std::int64_t unit = 0;
    switch (pixel_format) {
    case PixelFormat::byte:
        unit = colour ? 3 : 1;
        break;
    case PixelFormat::int16:
        unit = 2;
        break;
    case PixelFormat::int32:
    case PixelFormat::float32:
        unit = 4;
        break;
    default:
        break;
    }
    if (unit == 0 || (colour && unit != 3))
        request.fail("is a TQ file without samples");
    if (rows < 1 || cols < 1)
        request.fail("has no pixels");
    if (stream.left() / unit / rows < cols && !request.allow_truncated)
        request.fail_truncated();
    request.check_page(1);
    Picture picture = read_by_library(request);
    picture.is_float = pixel_format == PixelFormat::float32;
    picture.bits = static_cast<int>(colour ? 8 : 8 * unit);
    if (sizes == 3 && frames > 1)
        picture.facts.emplace_back("movie", "the first of " + std::to_string(frames) + " frames");
    return picture;
}

Picture read_scanner(const ReadRequest& request) {
    request.check_page(1);
    constexpr std::int64_t smallest = 128;
    if (request.source.size() < smallest)
        request.fail("is too short for a scanner's image");
    Picture picture;
    picture.image = std::make_unique<CImage>();
    CImage& image = *picture.image;
    take_message("");
    image.pixels =
        read_medical_image(request.source.path_on_disk().c_str(), &image.nrows, &image.ncols);
    if (!image.pixels)
        request.fail(take_message("can't be read as a scanner's image"));
    image.file_format = FileFormat::senvoc;
    image.pixel_format = PixelFormat::int16;
    picture.format = "senvoc scanner file";
    picture.bits = 16;
    return picture;
}

int pixel_format_of(Depth depth) {
    switch (depth) {
    case Depth::bits8:
        return PixelFormat::byte;
    case Depth::bits16:
        return PixelFormat::int16;
    case Depth::bits32:
        return PixelFormat::int32;
    default:
        return PixelFormat::float32;
    }
}

template<int file_format>
void write_by_library(const WriteRequest& request) {
    const SampleRows& samples = request.samples;
    CImage copy(samples.rows(), samples.cols(), samples.channels() == 3 ? 1 : 0, file_format,
                pixel_format_of(samples.depth()));
    if (!copy.pixels)
        request.fail("there isn't enough memory to write it");
    for (int i = 0; i < samples.rows(); ++i)
        samples.floats(i, copy.pixels[i]);
    take_message("");
    int is_written = 0;
    try {
        is_written = copy.WriteImage(request.path.c_str());
    } catch (const CFileException& error) {
        request.fail(error.what());
    }
    if (!is_written)
        request.fail(take_message(file_format == FileFormat::halvort
                                      ? "can't be written without its template"
                                      : "can't be written"));
}

constexpr std::string_view bmp_endings[] = {".bmp"};
constexpr std::string_view tq_endings[] = {".tq"};
constexpr std::string_view velk_endings[] = {".velk"};
constexpr std::string_view raw_endings[] = {".raw"};
constexpr std::string_view halvort_endings[] = {".halvort"};

constexpr Format table[] = {
    {.name = "BMP",
     .endings = bmp_endings,
     .read = read_bmp,
     .write = write_by_library<FileFormat::bmp>},
    {.name = "TQ",
     .endings = tq_endings,
     .read = read_tq,
     .write = write_by_library<FileFormat::tq>,
     .bits16 = true,
     .bits16_are_signed = true,
     .bits32 = true,
     .float32 = true,
     .colour_in_bytes_only = true},
    {.name = "scanner", .endings = {}, .read = read_scanner, .write = nullptr},
    {.name = "velk",
     .endings = velk_endings,
     .read = nullptr,
     .write = write_by_library<FileFormat::velk>,
     .colour = false,
     .bits8 = false,
     .bits16 = true,
     .bits16_are_signed = true},
    {.name = "raw",
     .endings = raw_endings,
     .read = nullptr,
     .write = write_by_library<FileFormat::raw>,
     .colour = false,
     .bits16 = true,
     .bits16_are_signed = true,
     .bits32 = true,
     .float32 = true},
    {.name = "halvort",
     .endings = halvort_endings,
     .read = nullptr,
     .write = write_by_library<FileFormat::halvort>,
     .colour = false,
     .bits8 = false,
     .bits16 = true,
     .bits16_are_signed = true},
};

} // namespace

std::span<const Format> own_formats() {
    return table;
}

} // namespace vorlane::host
