#include <vorlane/bitmap/dib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include <vorlane/bitmap/windowed_bytes.h>
#include <vorlane/bytes/colour_order.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/colour_weights.h>
#include <vorlane/image/plane.h>
#include <vorlane/image/range.h>
#include <vorlane/platform/bitmap_layout.h>
#include <vorlane/platform/string.h>

namespace {

using namespace vorlane;

constexpr int gray_depth = 8;
constexpr int colour_depth = 24;

// A row of colour samples, `count` pixels, as bytes.
void to_colour_bytes(const float* samples, unsigned char* out, std::size_t count) {
    to_bytes(samples, out, 3 * count);
    swap_ends(out, out, count);
}

unsigned char table_byte(float value, const int* table) {
    const double rounded = value >= 0.0f ? value + 0.5 : value - 0.5;
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!(rounded > -limit && rounded < limit))
        return 0;
    return static_cast<unsigned char>(table[static_cast<std::int64_t>(rounded)]);
}

// The colours of an 8-bit bitmap as samples.
struct Table {
    float red[256];
    float green[256];
    float blue[256];

    explicit Table(const BITMAPINFO* info, int count) : red(), green(), blue() {
        for (int k = 0; k < std::min(count, 256); ++k) {
            const RGBQUAD entry = table_entry(info, k);
            red[k] = entry.rgbRed;
            green[k] = entry.rgbGreen;
            blue[k] = entry.rgbBlue;
        }
    }

    bool is_gray(int k) const { return red[k] == green[k] && green[k] == blue[k]; }
};

void expand(const Table& table, const unsigned char* row, float* out, int cols) {
    for (std::int64_t c = 0; c < cols; ++c) {
        out[3 * c] = table.red[row[c]];
        out[3 * c + 1] = table.green[row[c]];
        out[3 * c + 2] = table.blue[row[c]];
    }
}

void look_up(const float* values, const unsigned char* row, float* out, int cols) {
    for (int c = 0; c < cols; ++c)
        out[c] = values[row[c]];
}

void take_every_third(const unsigned char* row, float* out, int cols) {
    for (std::int64_t c = 0; c < cols; ++c)
        out[c] = row[3 * c];
}

bool is_gray_row(const unsigned char* row, int cols) {
    unsigned difference = 0;
    for (std::int64_t c = 0; c < cols; ++c)
        difference |= static_cast<unsigned>((row[3 * c] ^ row[3 * c + 1]) |
                                            (row[3 * c + 1] ^ row[3 * c + 2]));
    return difference == 0;
}

} // namespace

// Gives each row of the pixel block what encode(row of the picture, out) writes.
template<class Encode>
void CDib::fill_rows(Encode encode) {
    for (int r = 0; r < height; ++r)
        encode(height - 1 - r, bits + static_cast<std::size_t>(r) * row_bytes);
}

// The last steps of a bitmap of an image: its grays and its palette.
void CDib::finish_colours() {
    if (ncolors == 256) {
        for (int k = 0; k < 256; ++k) {
            const auto level = static_cast<unsigned char>(k);
            const RGBQUAD entry = {level, level, level, 0};
            std::memcpy(header + 40 + 4 * k, &entry, sizeof entry);
        }
    }
    MakePalette();
}

void CDib::set_to_plane(int rows, int cols, int image_type, const float* const* plane,
                        int normalize, float lo, float hi) {
    const bool is_gray = image_type == 0;
    if (!plane || !allocate(cols, rows, is_gray ? gray_depth : colour_depth))
        return;
    const auto pixels = static_cast<std::size_t>(cols);
    if (!is_gray) {
        fill_rows([&](int p, unsigned char* out) { to_colour_bytes(plane[p], out, pixels); });
    } else if (normalize == 0) {
        fill_rows([&](int p, unsigned char* out) { to_bytes(plane[p], out, pixels); });
    } else {
        const bool is_automatic = lo == 0.0f && hi == 0.0f;
        const Range window = is_automatic ? find_range(plane, rows, cols) : Range{lo, hi};
        fill_rows([&](int p, unsigned char* out) {
            to_windowed_bytes(plane[p], out, pixels, window.min, window.max);
        });
    }
    finish_colours();
}

void CDib::set_to_image(const CImage* image, int normalize, float lo, float hi) {
    if (image)
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
    if (!image || !image->pixels || !table)
        return;
    const bool is_gray = image->image_type == 0;
    if (!allocate(image->ncols, image->nrows, is_gray ? gray_depth : colour_depth))
        return;
    const std::size_t samples = (is_gray ? std::size_t{1} : 3) * image->ncols;
    fill_rows([&](int p, unsigned char* out) {
        const float* const row = image->pixels[p];
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
    const int depth = info_of(header)->bmiHeader.biBitCount;
    if (depth != gray_depth && depth != colour_depth)
        return nullptr;
    const auto row = [&](int r) {
        return bits + static_cast<std::size_t>(height - 1 - r) * row_bytes;
    };
    const Table table(info_of(header), depth == gray_depth ? ncolors : 0);
    bool is_gray = true;
    if (depth == colour_depth) {
        for (int r = 0; r < height && is_gray; ++r)
            is_gray = is_gray_row(row(r), width);
    } else {
        unsigned char coloured[256];
        for (int k = 0; k < 256; ++k)
            coloured[k] = !table.is_gray(k);
        const bool may_be_colour = std::any_of(coloured, coloured + 256, [](auto c) { return c; });
        for (int r = 0; may_be_colour && r < height && is_gray; ++r)
            is_gray = std::none_of(row(r), row(r) + width, [&](auto k) { return coloured[k]; });
    }

    PlaneHandle plane(make_plane(height, (is_gray ? std::int64_t{1} : 3) * width, Fill::none));
    if (!plane)
        return nullptr;
    for (int r = 0; r < height; ++r) {
        if (depth == gray_depth && is_gray)
            look_up(table.red, row(r), plane.get()[r], width);
        else if (depth == gray_depth)
            expand(table, row(r), plane.get()[r], width);
        else if (is_gray)
            take_every_third(row(r), plane.get()[r], width);
        else
            swap_ends(row(r), plane.get()[r], static_cast<std::size_t>(width));
    }
    *image_type = is_gray ? 0 : 1;
    return plane.release();
}

int CDib::MakeKnownFloatImage(float** plane, int image_type) const {
    if (!header || !bits || !plane || (image_type != 0 && image_type != 1))
        return 1;
    const int depth = info_of(header)->bmiHeader.biBitCount;
    if (depth != gray_depth && depth != colour_depth)
        return 1;
    const Table table(info_of(header), depth == gray_depth ? ncolors : 0);
    float means[256];
    for (int k = 0; k < 256; ++k)
        means[k] = (table.red[k] + table.green[k] + table.blue[k]) * one_third;
    for (int r = 0; r < height; ++r) {
        const unsigned char* const row =
            bits + static_cast<std::size_t>(height - 1 - r) * row_bytes;
        if (depth == gray_depth && image_type == 0) {
            look_up(means, row, plane[r], width);
        } else if (depth == gray_depth) {
            expand(table, row, plane[r], width);
        } else if (image_type == 0) {
            for (std::int64_t c = 0; c < width; ++c)
                plane[r][c] =
                    static_cast<float>(row[3 * c] + row[3 * c + 1] + row[3 * c + 2]) * one_third;
        } else {
            swap_ends(row, plane[r], static_cast<std::size_t>(width));
        }
    }
    return 1;
}

float** read_bmp_image(const char* path, int* nrows, int* ncols, int* image_type) {
    CDib bitmap;
    CString name;
    name.Format("%s", path ? path : "");
    CFile file(name, CFile::modeRead);
    if (!bitmap.Read(&file))
        return nullptr;
    return bitmap.MakeFloatImage(nrows, ncols, image_type);
}

int write_bmp_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type) {
    CDib bitmap(nrows, ncols, image_type, plane, 0);
    if (!bitmap.header)
        return 0;
    CString name;
    name.Format("%s", path ? path : "");
    CFile file(name, CFile::modeCreate | CFile::modeWrite);
    return bitmap.Write(&file);
}
