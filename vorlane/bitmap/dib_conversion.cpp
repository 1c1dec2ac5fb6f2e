#include <vorlane/bitmap/dib.h>

#include <cstdint>

#include <vorlane/bitmap/windowed_bytes.h>
#include <vorlane/bytes/colour_order.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/guard.h>
#include <vorlane/image/range.h>
#include <vorlane/image/soundness.h>
#include <vorlane/imagefiles/bmp_pixels.h>
#include <vorlane/numerics/rounding.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

BitmapView view_of(const CDib& bitmap) {
    return {bitmap.header, bitmap.bits,   bitmap.ncolors,
            bitmap.width,  bitmap.height, bitmap.row_bytes};
}

unsigned char table_byte(float value, const int* table) {
    const double rounded = half_away(value);
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(rounded > -limit && rounded < limit))
        return 0;
    return static_cast<unsigned char>(table[static_cast<std::int64_t>(rounded)]);
}

} // namespace

// The last steps of a bitmap of an image: its grays and its palette.
void CDib::finish_colours() {
    set_grays(view_of(*this));
    MakePalette();
}

void CDib::set_to_plane(int rows, int cols, int image_type, const float* const* plane,
                        int normalize, float lo, float hi) {
    const DefaultArithmetic arithmetic;
    if (!plane || !allocate(cols, rows, BitDepth::of(image_type)))
        return;
    if (image_type != ImageType::gray || normalize == 0) {
        put_samples(view_of(*this), plane, image_type);
    } else {
        const bool is_automatic = lo == 0.0f && hi == 0.0f;
        const Range window = is_automatic ? find_range(plane, rows, cols) : Range{lo, hi};
        fill_rows(view_of(*this), [&](int r, unsigned char* out) {
            to_windowed_bytes(plane[r], out, static_cast<std::size_t>(cols), window.min,
                              window.max);
        });
    }
    finish_colours();
}

void CDib::set_to_image(const CImage* image, int normalize, float lo, float hi) {
    if (image && holds_channels(*image, channels_read(image->image_type)))
        set_to_plane(image->nrows, image->ncols, image->image_type, image->pixels, normalize, lo,
                     hi);
}

CDib::CDib(const CImage* image, int normalize, float lo, float hi) : CDib() {
    set_to_image(image, normalize, lo, hi);
}

CDib::CDib(const CImage* image, const int* table) : CDib() {
    set_to_image(image, table);
}

CDib::CDib(int rows, int cols, int image_type, const float* const* plane, int normalize) : CDib() {
    set_to_plane(rows, cols, image_type, plane, normalize, 0.0f, 0.0f);
}

void CDib::set_to_image(const CImage* image, const int* table) {
    const DefaultArithmetic arithmetic;
    if (!image || !image->pixels || !holds_channels(*image, channels_read(image->image_type)) ||
        !table)
        return;
    if (!allocate(image->ncols, image->nrows, BitDepth::of(image->image_type)))
        return;
    const bool is_gray = image->image_type == ImageType::gray;
    const std::size_t samples = (is_gray ? std::size_t{1} : 3) * image->ncols;
    fill_rows(view_of(*this), [&](int r, unsigned char* out) {
        const float* const row = image->pixels[r];
        for (std::size_t k = 0; k < samples; ++k)
            out[k] = table_byte(row[k], table);
        if (!is_gray)
            swap_ends(out, out, samples / 3);
    });
    finish_colours();
}

float** CDib::MakeFloatImage(int* rows, int* cols, int* image_type) const {
    if (!header || !bits)
        return nullptr;
    *rows = height;
    *cols = width;
    return guarded([&] { return samples_of_bitmap(view_of(*this), *image_type); });
}

int CDib::MakeKnownFloatImage(float** plane, int image_type) const {
    if (header && bits && plane)
        get_samples(view_of(*this), plane, image_type);
    return 1;
}
