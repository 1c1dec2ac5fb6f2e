#include <vorlane/imagefiles/image_files.h>

#include <optional>
#include <utility>

#include <vorlane/bytes/text_lines.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/image.h>
#include <vorlane/image/soundness.h>
#include <vorlane/imagefiles/reading.h>

namespace {

using namespace vorlane;

// All that the library knows of a format: how a first line tells it and the codes that are set
// before its reader runs, and how it is written.
struct ImageFormat {
    int file_format;
    const char* magic; // null: no first line tells it
    std::optional<int> image_type, pixel_format;
    const ImageReader* reader;
    int (*write)(const CImage& image, const char* path); // null: it can't be written
};

// A plane that holds less than the fields say can't be written: it counts as none.
const float* const* plane_of(const CImage& image) {
    const int channels = image.image_type == ImageType::colour ? 3 : 1;
    return holds_channels(image, channels) ? image.pixels : nullptr;
}

// In the order in which magics are tried. The empty one takes every file.
constexpr ImageFormat image_formats[] = {
    {FileFormat::pgm, "P5", ImageType::gray, PixelFormat::byte, &pgm_reader,
     [](const CImage& image, const char* path) {
         return write_pgm_image(plane_of(image), path, image.nrows, image.ncols, image.image_type);
     }},
    {FileFormat::ppm, "P6", ImageType::colour, PixelFormat::byte, &ppm_reader,
     [](const CImage& image, const char* path) {
         return write_ppm_image(plane_of(image), path, image.nrows, image.ncols, image.image_type);
     }},
    {FileFormat::bmp,
     "BM",
     {},
     PixelFormat::byte,
     &bmp_reader,
     [](const CImage& image, const char* path) {
         return write_bmp_image(plane_of(image), path, image.nrows, image.ncols, image.image_type);
     }},
    {FileFormat::tq,
     "TQ",
     {},
     {},
     &tq_reader,
     [](const CImage& image, const char* path) {
         return write_tqf_image(plane_of(image), path, image.nrows, image.ncols, image.image_type,
                                image.pixel_format);
     }},
    {FileFormat::velk,
     nullptr,
     {},
     {},
     nullptr,
     [](const CImage& image, const char* path) {
         return write_velk_image(plane_of(image), path, image.nrows, image.ncols);
     }},
    {FileFormat::raw,
     nullptr,
     {},
     {},
     nullptr,
     [](const CImage& image, const char* path) {
         return write_raw_image(plane_of(image), path, image.nrows, image.ncols,
                                image.pixel_format);
     }},
    {FileFormat::halvort,
     nullptr,
     {},
     {},
     nullptr,
     [](const CImage& image, const char* path) {
         return write_halvort_image(plane_of(image), path, image.nrows, image.ncols);
     }},
    {FileFormat::senvoc, "", ImageType::gray, PixelFormat::int16, &scanner_reader, nullptr},
};

const ImageFormat& format_of(const char* first_line) {
    const ImageFormat* format = image_formats;
    while (!format->magic || !are_equal(first_line, format->magic))
        ++format;
    return *format;
}

} // namespace

int are_equal(const char* text, const char* prefix) {
    if (!text)
        text = "";
    if (!prefix)
        prefix = "";
    for (; *prefix; ++text, ++prefix) {
        if (*text != *prefix)
            return 0;
    }
    return 1;
}

int CImage::ReadImage(const char* path) {
    char line[256];
    FileHandle file(open_file(path, "rb"));
    if (file)
        read_line(file.get(), line, sizeof line);
    if (!file || std::ferror(file.get()) || !seek_to(file.get(), 0)) {
        show_failure("CImage: Can't open file");
        return 0;
    }
    free_2D_float_array(std::exchange(pixels, nullptr));
    const ImageFormat& format = format_of(line);
    file_format = format.file_format;
    store(format.image_type, &image_type);
    store(format.pixel_format, &pixel_format);
    Picture picture = read_opened(std::move(file), path, *format.reader);
    store(picture.nrows, &nrows);
    store(picture.ncols, &ncols);
    store(picture.image_type, &image_type);
    store(picture.pixel_format, &pixel_format);
    picture.plane.hand_to(pixels);
    if (!pixels) {
        show_failure("CImage: Can't read data");
        return 0;
    }
    return 1;
}

int CImage::WriteImage(const char* path) const {
    for (const ImageFormat& format : image_formats) {
        if (format.file_format == file_format && format.write)
            return format.write(*this, path);
    }
    return 0;
}
