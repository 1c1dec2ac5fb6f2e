#include <vorlane/imagefiles/image_files.h>

#include <vorlane/bytes/input_file.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/image_parts.h>

namespace {

using namespace vorlane;

constexpr std::size_t line_size = 256; // of which 255 bytes are text

// The first line that doesn't begin with "#"; empty at the end of the file.
void read_past_comments(std::FILE* file, char* line) {
    while (read_line(file, line, line_size) && line[0] == '#') {
    }
}

float** read_portable_map(const char* path, int* nrows, int* ncols, int channels,
                          const char* cant_open) {
    const FileHandle file(open_file(path, "rb"));
    if (!file) {
        show_failure(cant_open);
        return nullptr;
    }
    char line[line_size];
    read_line(file.get(), line, sizeof line); // the magic
    read_past_comments(file.get(), line);
    int size[2] = {0, 0}; // width, height
    if (scan_ints(line, size, 2) < 2 ||
        !header_is_believable(size[1], size[0], 1, channels, 1, bytes_left(file.get())))
        return nullptr;
    PlaneHandle plane(make_plane(size[1], std::int64_t{channels} * size[0]));
    if (!plane)
        return nullptr;
    read_past_comments(file.get(), line); // the maximum
    read_sample_rows(file.get(), plane.get(), size[1], static_cast<std::size_t>(channels) * size[0],
                     1, from_bytes);
    *nrows = size[1];
    *ncols = size[0];
    return plane.release();
}

// A portable map on its way to a file.
class MapWriter {
public:
    MapWriter(const char* path, const char* magic, int nrows, int ncols)
        : file_(open_file(path, "wb")), rows_(nrows), cols_(ncols) {
        if (file_)
            std::fprintf(file_.get(), "%s\n%d %d\n255\n", magic, ncols, nrows);
    }

    bool is_open() const { return file_ != nullptr; }

    // Writes all pixels, of `channels` bytes each: encode(i, j, count, out) gives `count` of them,
    // from pixel j of row i on.
    template<class Encode>
    void write_pixels(std::size_t channels, Encode encode) {
        is_whole_ = write_unit_rows(file_.get(), rows_, cols_, channels, encode);
    }

    // False if something of the file wasn't written.
    bool close() { return close_written(file_) && is_whole_; }

private:
    FileHandle file_;
    int rows_;
    int cols_;
    bool is_whole_ = true;
};

int fail(const char* text) {
    show_failure(text);
    return 0;
}

} // namespace

float** read_pgm_image(const char* path, int* nrows, int* ncols) {
    return read_portable_map(path, nrows, ncols, 1, "read_pgm_image: Can't open file");
}

float** read_ppm_image(const char* path, int* nrows, int* ncols) {
    return read_portable_map(path, nrows, ncols, 3, "read_ppm_image: Can't open file");
}

int write_pgm_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type) {
    constexpr const char* cant_create = "write_pgm_image: Can't create file";
    const bool has_samples = image_type == 0 || image_type == 1;
    if (has_samples && !plane && nrows > 0 && ncols > 0)
        return 0;
    MapWriter file(path, "P5", nrows, ncols);
    if (!file.is_open())
        return fail(cant_create);
    if (image_type == 0) {
        file.write_pixels(1, [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
            to_bytes(plane[i] + j, out, count);
        });
    } else if (image_type == 1) {
        constexpr unsigned ok_and_cancel = 1;
        constexpr int cancel = 2;
        if (AfxMessageBox("write_pgm_file: Converting to gray level", ok_and_cancel, 0) == cancel)
            return 0;
        file.write_pixels(1, [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
            const float* pixel = plane[i] + 3 * j;
            for (std::size_t k = 0; k < count; ++k, pixel += 3) {
                const double sum = (double{pixel[2]} + double{pixel[1]}) + double{pixel[0]};
                out[k] = to_byte(sum * 0.3333333333333333);
            }
        });
    }
    return file.close() ? 1 : fail(cant_create);
}

int write_ppm_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type) {
    constexpr const char* cant_create = "write_ppm_image: Can't create file";
    if (!plane && nrows > 0 && ncols > 0)
        return 0;
    MapWriter file(path, "P6", nrows, ncols);
    if (!file.is_open())
        return fail(cant_create);
    file.write_pixels(3, [&](int i, std::size_t j, std::size_t count, unsigned char* out) {
        if (image_type != 0) {
            to_bytes(plane[i] + 3 * j, out, 3 * count);
            return;
        }
        to_bytes(plane[i] + j, out, count);
        for (std::size_t k = count;
             k-- > 0;) // from the back, so that nothing is overwritten before it is read
            out[3 * k] = out[3 * k + 1] = out[3 * k + 2] = out[k];
    });
    return file.close() ? 1 : fail(cant_create);
}
