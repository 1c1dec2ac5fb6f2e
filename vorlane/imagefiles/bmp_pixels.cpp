#include <vorlane/imagefiles/bmp_pixels.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <vorlane/bytes/colour_order.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/colour_weights.h>

namespace vorlane {

namespace {

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

// Black for a bitmap without a table of its own.
Table table_of(const BitmapView& bitmap, int depth) {
    return Table(info_of(bitmap.header), depth == BitDepth::gray ? bitmap.ncolors : 0);
}

int depth_of(const BitmapView& bitmap) {
    return info_of(bitmap.header)->bmiHeader.biBitCount;
}

// True if red, green and blue are equal in every pixel.
bool is_gray_picture(const BitmapView& bitmap, const Table& table) {
    if (depth_of(bitmap) == BitDepth::colour) {
        for (int r = 0; r < bitmap.height; ++r) {
            if (!is_gray_row(bitmap.row(r), bitmap.width))
                return false;
        }
        return true;
    }
    bool is_coloured[256];
    for (int k = 0; k < 256; ++k)
        is_coloured[k] = !table.is_gray(k);
    if (std::none_of(is_coloured, is_coloured + 256, [](bool c) { return c; }))
        return true;
    for (int r = 0; r < bitmap.height; ++r) {
        const unsigned char* const row = bitmap.row(r);
        if (std::any_of(row, row + bitmap.width, [&](auto k) { return is_coloured[k]; }))
            return false;
    }
    return true;
}

} // namespace

int BitDepth::of(int image_type) {
    return image_type == ImageType::gray ? gray : colour;
}

void to_colour_bytes(const float* samples, unsigned char* out, std::size_t count) {
    to_bytes(samples, out, 3 * count);
    swap_ends(out, out, count);
}

void set_grays(const BitmapView& bitmap) {
    if (bitmap.ncolors != 256)
        return;
    unsigned char* entry = bitmap.header + table_offset(info_of(bitmap.header)->bmiHeader);
    for (int k = 0; k < 256; ++k, entry += sizeof(RGBQUAD)) {
        const auto level = static_cast<unsigned char>(k);
        const RGBQUAD colour = {level, level, level, 0};
        std::memcpy(entry, &colour, sizeof colour);
    }
}

void put_samples(const BitmapView& bitmap, const float* const* plane, int image_type) {
    const auto pixels = static_cast<std::size_t>(bitmap.width);
    const auto encode = image_type == ImageType::gray ? to_bytes : to_colour_bytes;
    fill_rows(bitmap, [&](int r, unsigned char* out) { encode(plane[r], out, pixels); });
}

Plane samples_of_bitmap(const BitmapView& bitmap, int& image_type) {
    const int depth = depth_of(bitmap);
    if (depth != BitDepth::gray && depth != BitDepth::colour)
        return {};
    const Table table = table_of(bitmap, depth);
    const bool is_gray = is_gray_picture(bitmap, table);
    const int width = bitmap.width;
    Plane plane(bitmap.height, (is_gray ? std::int64_t{1} : 3) * width, Fill::none);
    for (int r = 0; r < bitmap.height; ++r) {
        const unsigned char* const row = bitmap.row(r);
        if (depth == BitDepth::gray && is_gray)
            look_up(table.red, row, plane[r], width);
        else if (depth == BitDepth::gray)
            expand(table, row, plane[r], width);
        else if (is_gray)
            take_every_third(row, plane[r], width);
        else
            swap_ends(row, plane[r], static_cast<std::size_t>(width));
    }
    image_type = is_gray ? ImageType::gray : ImageType::colour;
    return plane;
}

void get_samples(const BitmapView& bitmap, float* const* plane, int image_type) {
    const int depth = depth_of(bitmap);
    const bool is_gray = image_type == ImageType::gray;
    if ((depth != BitDepth::gray && depth != BitDepth::colour) ||
        (!is_gray && image_type != ImageType::colour))
        return;
    const Table table = table_of(bitmap, depth);
    float means[256];
    for (int k = 0; k < 256; ++k)
        means[k] = (table.red[k] + table.green[k] + table.blue[k]) * one_third;
    for (int r = 0; r < bitmap.height; ++r) {
        const unsigned char* const row = bitmap.row(r);
        if (depth == BitDepth::gray && is_gray) {
            look_up(means, row, plane[r], bitmap.width);
        } else if (depth == BitDepth::gray) {
            expand(table, row, plane[r], bitmap.width);
        } else if (is_gray) {
            for (std::int64_t c = 0; c < bitmap.width; ++c)
                plane[r][c] =
                    static_cast<float>(row[3 * c] + row[3 * c + 1] + row[3 * c + 2]) * one_third;
        } else {
            swap_ends(row, plane[r], static_cast<std::size_t>(bitmap.width));
        }
    }
}

} // namespace vorlane
