// Private to the host: what a format of pictures is to open_picture and save_picture.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "host/pictures.h"
#include "host/source.h"

namespace vorlane::host {

struct ReadRequest {
    Source& source;
    int page; // from 1
    bool allow_truncated;

    [[noreturn]] void fail(const std::string& reason) const {
        throw Error(source.name() + ": " + reason);
    }
    // For files that are shorter than they say.
    [[noreturn]] void fail_truncated() const;
    // Ends with an Error unless there is such a page.
    void check_page(int page_count) const;
    // Makes the image, or ends with an Error if the sizes make no sense for a source of this length.
    ImagePtr make_image(std::int64_t rows, std::int64_t cols, int image_type, int pixel_format,
                        int bytes_per_sample) const;
};

// An image on its way to a file, its samples within the range of the file's: rows of whole numbers
// or of floats.
class SampleRows {
public:
    // What becomes of a sample before it is rounded and clamped to low to high.
    struct Mapping {
        enum Kind { none, linear, wrapped } kind = none;
        double from = 0.0; // what becomes `low`
        double factor = 1.0;
        double low = 0.0;
        double high = 255.0;
        bool is_whole = true; // false: floats, not clamped
    };
    SampleRows(const CImage& image, Depth depth, const Mapping& mapping)
        : image_(image), depth_(depth), mapping_(mapping) {}

    int rows() const { return image_.nrows; }
    int cols() const { return image_.ncols; }
    int channels() const { return image_.image_type == ImageType::colour ? 3 : 1; }
    Depth depth() const { return depth_; }
    std::size_t row_samples() const { return std::size_t{1} * image_.ncols * channels(); }

    void bytes(int row, std::uint8_t* out) const;
    void words(int row, std::uint16_t* out) const;
    void floats(int row, float* out) const;

private:
    const CImage& image_;
    Depth depth_;
    Mapping mapping_;
};

struct WriteRequest {
    const SampleRows& samples;
    const std::string& path; // where to write
    const std::string& name; // for messages
    int quality;

    [[noreturn]] void fail(const std::string& reason) const { throw Error(name + ": " + reason); }
};

// One format. Reading and writing are null if it can't.
struct Format {
    std::string_view name;                     // as FileKind has it
    std::span<const std::string_view> endings; // of files to write
    Picture (*read)(const ReadRequest& request);
    void (*write)(const WriteRequest& request);

    // What a file of the format can hold.
    bool gray = true;
    bool colour = true;
    bool bits8 = true;
    bool bits16 = false;
    bool bits16_are_signed = false;
    bool bits32 = false;
    bool float32 = false;
    bool colour_in_bytes_only = false;
    std::string_view left_out = {}; // the package that this build lacks
};

// Those of this build, and in the table those that it could have.
std::span<const Format> formats();
std::span<const Format> own_formats();
std::span<const Format> portable_map_formats();
extern const Format png_format;
extern const Format jpeg_format;
extern const Format tiff_format;
extern const Format dicom_format;

// Whole numbers to floats, a row at a time.
template<class Number>
void widen(const Number* __restrict in, float* __restrict out, std::size_t count) {
    for (std::size_t j = 0; j < count; ++j)
        out[j] = in[j];
}

// Channels of pixels as files have them, brought to an image's own.
//
// Lays rows with an alpha channel behind their colours over white: `channels` without alpha, samples
// from 0 to `white`; the result is rounded to whole numbers.
void flatten_row(const float* with_alpha, float* out, std::size_t pixels, int channels,
                 float white);

// Turns an image the way up: orientation 1 to 8 as cameras and TIFF files state it, 1 upright.
ImagePtr upright(ImagePtr image, int orientation);

} // namespace vorlane::host
