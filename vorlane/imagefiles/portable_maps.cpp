#include <vorlane/imagefiles/image_files.h>

#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/bytes/text_lines.h>
#include <vorlane/image/codes.h>
#include <vorlane/imagefiles/reading.h>
#include <vorlane/imagefiles/writing.h>

namespace vorlane {

namespace {

constexpr std::size_t line_size = 256; // of which 255 bytes are text

// The first line that doesn't begin with "#"; empty at the end of the file.
void read_past_comments(std::FILE* file, char* line) {
    while (read_line(file, line, line_size) && line[0] == '#') {
    }
}

template<int channels>
void read_portable_map(FileHandle& file, const char*, Picture& picture) {
    char line[line_size];
    read_line(file.get(), line, sizeof line); // the magic
    read_past_comments(file.get(), line);
    int size[2]; // width, height
    if (scan_ints(line, size, 2) < 2 ||
        !header_is_believable(size[1], size[0], 1, channels, 1, bytes_left(file.get())))
        return;
    const std::int64_t samples = std::int64_t{channels} * size[0];
    picture.plane = Plane(size[1], samples);
    picture.nrows = size[1];
    picture.ncols = size[0];
    read_past_comments(file.get(), line); // the maximum
    read_sample_rows(file.get(), picture.plane.get(), size[1], static_cast<std::size_t>(samples), 1,
                     from_bytes);
}

float** read_sizes_and_plane(const char* path, const ImageReader& reader, int* nrows, int* ncols) {
    Picture picture = read_named(path, reader);
    store(picture.nrows, nrows);
    store(picture.ncols, ncols);
    return picture.plane.release();
}

// Writes a header, and then what write(stream) does.
template<class Write>
int write_portable_map(const char* path, const char* cant_create, const char* magic, int nrows,
                       int ncols, Write write) {
    return write_file(path, cant_create, [&](std::FILE* file) {
        std::fprintf(file, "%s\n%d %d\n255\n", magic, ncols, nrows);
        return write(file);
    });
}

bool user_cancels_gray() {
    constexpr unsigned ok_and_cancel = 1;
    constexpr int cancel = 2;
    return AfxMessageBox("write_pgm_file: Converting to gray level", ok_and_cancel, 0) == cancel;
}

// The means of `count` colour pixels.
void to_mean_bytes(const float* pixel, unsigned char* out, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k, pixel += 3) {
        const double sum = (double{pixel[2]} + double{pixel[1]}) + double{pixel[0]};
        out[k] = to_byte(sum * 0.3333333333333333);
    }
}

// Each sample as three equal bytes; from the back, so that none is overwritten before it is read.
void to_gray_pixels(const float* samples, unsigned char* out, std::size_t count) {
    to_bytes(samples, out, count);
    for (std::size_t k = count; k-- > 0;)
        out[3 * k] = out[3 * k + 1] = out[3 * k + 2] = out[k];
}

} // namespace

const ImageReader pgm_reader = {"read_pgm_image: Can't open file", read_portable_map<1>};
const ImageReader ppm_reader = {"read_ppm_image: Can't open file", read_portable_map<3>};

} // namespace vorlane

using namespace vorlane;

float** read_pgm_image(const char* path, int* nrows, int* ncols) {
    return read_sizes_and_plane(path, pgm_reader, nrows, ncols);
}

float** read_ppm_image(const char* path, int* nrows, int* ncols) {
    return read_sizes_and_plane(path, ppm_reader, nrows, ncols);
}

int write_pgm_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type) {
    const bool is_colour = image_type == ImageType::colour;
    const bool has_samples = is_colour || image_type == ImageType::gray;
    if (has_samples && lacks_samples(plane, nrows, ncols))
        return 0;
    bool is_cancelled = false;
    const int result = write_portable_map(
        path, "write_pgm_image: Can't create file", "P5", nrows, ncols, [&](std::FILE* file) {
            is_cancelled = is_colour && user_cancels_gray();
            if (is_cancelled || !has_samples)
                return true;
            return write_unit_rows(
                file, nrows, ncols, 1,
                [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
                    if (is_colour)
                        to_mean_bytes(plane[i] + 3 * j, out, count);
                    else
                        to_bytes(plane[i] + j, out, count);
                });
        });
    return is_cancelled ? 0 : result;
}

int write_ppm_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type) {
    if (lacks_samples(plane, nrows, ncols))
        return 0;
    return write_portable_map(
        path, "write_ppm_image: Can't create file", "P6", nrows, ncols, [&](std::FILE* file) {
            return write_unit_rows(
                file, nrows, ncols, 3,
                [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
                    if (image_type == ImageType::gray)
                        to_gray_pixels(plane[i] + j, out, count);
                    else
                        to_bytes(plane[i] + 3 * j, out, 3 * count);
                });
        });
}
