#include <vorlane/imagefiles/image_files.h>

#include <utility>

#include <vorlane/bitmap/dib.h>
#include <vorlane/bytes/input_file.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/image.h>

namespace {

using namespace vorlane;

constexpr int set_by_reader = -1;

// A format that ReadImage recognises, and the codes that it sets before the reader runs.
struct ReadableFormat {
    const char* magic;
    int image_type;
    int file_format;
    int pixel_format;
    float** (*read)(const char* path, CImage& image);
};

// In the order of the test. The last one takes every file.
constexpr ReadableFormat readable_formats[] = {
    {"P5", 0, 1, 4,
     [](const char* path, CImage& image) {
         return read_pgm_image(path, &image.nrows, &image.ncols);
     }},
    {"P6", 1, 2, 4,
     [](const char* path, CImage& image) {
         return read_ppm_image(path, &image.nrows, &image.ncols);
     }},
    {"BM", set_by_reader, 3, 4,
     [](const char* path, CImage& image) {
         return read_bmp_image(path, &image.nrows, &image.ncols, &image.image_type);
     }},
    {"TQ", set_by_reader, 4, set_by_reader,
     [](const char* path, CImage& image) {
         return read_tqf_image(path, &image.nrows, &image.ncols, &image.image_type,
                               &image.pixel_format);
     }},
    {"", 0, 6, 7,
     [](const char* path, CImage& image) {
         return read_medical_image(path, &image.nrows, &image.ncols);
     }},
};

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
    {
        const FileHandle file(open_file(path, "rb"));
        if (!file) {
            show_failure("CImage: Can't open file");
            return 0;
        }
        read_line(file.get(), line, sizeof line);
    }
    free_2D_float_array(std::exchange(pixels, nullptr));
    for (const ReadableFormat& format : readable_formats) {
        if (!are_equal(line, format.magic))
            continue;
        if (format.image_type != set_by_reader)
            image_type = format.image_type;
        file_format = format.file_format;
        if (format.pixel_format != set_by_reader)
            pixel_format = format.pixel_format;
        pixels = format.read(path, *this);
        break;
    }
    if (!pixels) {
        show_failure("CImage: Can't read data");
        return 0;
    }
    return 1;
}

int CImage::WriteImage(const char* path) const {
    switch (file_format) {
    case 1:
        return write_pgm_image(pixels, path, nrows, ncols, image_type);
    case 2:
        return write_ppm_image(pixels, path, nrows, ncols, image_type);
    case 3:
        return write_bmp_image(pixels, path, nrows, ncols, image_type);
    case 4:
        return write_tqf_image(pixels, path, nrows, ncols, image_type, pixel_format);
    case 7:
        return write_velk_image(pixels, path, nrows, ncols);
    case 8:
        return write_raw_image(pixels, path, nrows, ncols, pixel_format);
    case 9:
        return write_halvort_image(pixels, path, nrows, ncols);
    default:
        return 0;
    }
}
