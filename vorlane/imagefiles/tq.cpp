#include <vorlane/imagefiles/tq.h>

#include <algorithm>

#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/bytes/text_lines.h>
#include <vorlane/image/soundness.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/imagefiles/reading.h>
#include <vorlane/imagefiles/writing.h>

namespace vorlane {

namespace {

bool is_byte_colour(const TqHeader& header) {
    return header.image_type == ImageType::colour && header.pixel_format == PixelFormat::byte;
}

} // namespace

int scan_tq_header(std::FILE* file, TqHeader& header) {
    char line[256];
    read_line(file, line, sizeof line); // the magic
    read_line(file, line, sizeof line);
    int sizes[3] = {header.nrows, header.ncols, header.nframes};
    int found = std::min(scan_ints(line, sizes, 3), 2);
    header.nrows = sizes[0];
    header.ncols = sizes[1];
    header.nframes = sizes[2];
    read_line(file, line, sizeof line);
    found += scan_ints(line, &header.pixel_format, 1);
    read_line(file, line, sizeof line);
    return found + scan_ints(line, &header.image_type, 1);
}

void print_tq_image_header(std::FILE* file, const TqHeader& header) {
    std::fprintf(file, "TQ\n%d %d\n%d\n%d\n", header.nrows, header.ncols, header.pixel_format,
                 header.image_type);
}

void print_tq_movie_header(std::FILE* file, const TqHeader& header) {
    std::fprintf(file, "TQ\n%d %d %d\n%d\n%d\n", header.nrows, header.ncols, header.nframes,
                 header.pixel_format, header.image_type);
}

std::size_t tq_pixel_size(int image_type, int pixel_format) {
    if (image_type == ImageType::colour)
        return pixel_format == PixelFormat::byte ? 3 : 0;
    return image_type == ImageType::gray ? sample_size(pixel_format) : 0;
}

bool tq_header_is_believable(const TqHeader& header, std::int64_t available) {
    return header_is_believable(
        header.nrows, header.ncols, 1, std::max(channel_count(header.image_type), 1),
        static_cast<std::int64_t>(sample_size(header.pixel_format)), available);
}

void read_tq_frame(std::FILE* file, float* const* plane, const TqHeader& header, float last) {
    const auto pixels = static_cast<std::size_t>(std::max(header.ncols, 0));
    if (tq_pixel_size(header.image_type, header.pixel_format) == 0)
        return;
    const std::size_t samples = is_byte_colour(header) ? 3 * pixels : pixels;
    read_sample_rows(
        file, plane, header.nrows, samples, sample_size(header.pixel_format),
        [&](const unsigned char* bytes, float* out, std::size_t count) {
            decode_samples(header.pixel_format, bytes, out, count);
        },
        Missing::repeats_last, last);
}

bool write_tq_frame(std::FILE* file, const float* const* plane, const TqHeader& header) {
    const std::size_t unit = tq_pixel_size(header.image_type, header.pixel_format);
    if (unit == 0)
        return true;
    const std::size_t channels = is_byte_colour(header) ? 3 : 1;
    return write_unit_rows(file, header.nrows, header.ncols, unit,
                           [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
                               encode_samples(header.pixel_format, plane[i] + channels * j, out,
                                              channels * count);
                           });
}

namespace {

void read_tq_image(FileHandle& file, const char*, Picture& picture) {
    constexpr int numbers = 4;
    TqHeader header;
    if (scan_tq_header(file.get(), header) < numbers)
        return;
    if (header.image_type == ImageType::colour && !is_byte_colour(header)) {
        show_failure("A color image has to be in byte format");
        return;
    }
    if (const int channels = channel_count(header.image_type)) {
        if (!tq_header_is_believable(header, bytes_left(file.get())))
            return;
        picture.plane = Plane(header.nrows, std::int64_t{channels} * header.ncols);
        read_tq_frame(file.get(), picture.plane.get(), header);
    }
    picture.nrows = header.nrows;
    picture.ncols = header.ncols;
    picture.image_type = header.image_type;
    picture.pixel_format = header.pixel_format;
}

} // namespace

const ImageReader tq_reader = {"read_tqf_image: Can't open file", read_tq_image};

} // namespace vorlane

using namespace vorlane;

float** read_tqf_image(const char* path, int* nrows, int* ncols, int* image_type,
                       int* pixel_format) {
    Picture picture = read_named(path, tq_reader);
    store(picture.nrows, nrows);
    store(picture.ncols, ncols);
    store(picture.image_type, image_type);
    store(picture.pixel_format, pixel_format);
    return picture.plane.release();
}

int write_tqf_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type, int pixel_format) {
    const TqHeader header = {nrows, ncols, 1, pixel_format, image_type};
    if (image_type == ImageType::colour && !is_byte_colour(header)) {
        show_failure("write_tqf_image: A color image has to be in byte format");
        return 0;
    }
    if (tq_pixel_size(image_type, pixel_format) > 0 && lacks_samples(plane, nrows, ncols))
        return 0;
    return write_file(path, "write_tqf_image: Can't create file", [&](std::FILE* file) {
        print_tq_image_header(file, header);
        return write_tq_frame(file, plane, header);
    });
}
