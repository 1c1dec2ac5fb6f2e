#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>

#include <vorlane/platform/bitmap_layout.h>
#include <vorlane/platform/gdi_device.h>

namespace {

using namespace vorlane;

struct Colour {
    unsigned char red, green, blue;
};

// One direction of a stretch: where the pixels of the device that are to be drawn lie, and which
// source pixel each of them takes.
class Axis {
public:
    // `length` device pixels from `start` on, to the left if it is negative, take `source_length`
    // source pixels from `source_start` on; only pixels from 0 to `device_size` - 1 and source
    // pixels from 0 to `source_size` - 1 are drawn.
    Axis(std::int64_t start, std::int64_t length, std::int64_t device_size,
         std::int64_t source_start, std::int64_t source_length, std::int64_t source_size)
        : low_(std::min(start, start + length)), count_(std::abs(length)), mirrored_(length < 0),
          source_start_(source_start), source_length_(source_length) {
        begin_ = std::max<std::int64_t>(low_, 0);
        end_ = std::min(low_ + count_, device_size);
        const auto is_inside = [&](std::int64_t pixel) {
            const std::int64_t source = source_of(pixel);
            return source >= 0 && source < source_size;
        };
        while (begin_ < end_ && !is_inside(begin_))
            ++begin_;
        while (begin_ < end_ && !is_inside(end_ - 1))
            --end_;
    }

    std::int64_t begin() const { return begin_; }
    std::int64_t end() const { return end_; }

    // The source pixel whose middle is nearest to that of the device pixel.
    std::int64_t source_of(std::int64_t pixel) const {
        const std::int64_t k = mirrored_ ? low_ + count_ - 1 - pixel : pixel - low_;
        return source_start_ + (2 * k + 1) * source_length_ / (2 * count_);
    }

private:
    std::int64_t low_, count_;
    bool mirrored_;
    std::int64_t source_start_, source_length_;
    std::int64_t begin_, end_;
};

// The index of the nearest hardware colour, the first of equals; remembers what it has found.
class NearestColour {
public:
    explicit NearestColour(const std::array<PALETTEENTRY, 256>& hardware) : hardware_(hardware) {}

    unsigned char operator()(Colour colour) {
        const std::uint32_t key = std::uint32_t{1} << 24 | std::uint32_t{colour.red} << 16 |
                                  std::uint32_t{colour.green} << 8 | colour.blue;
        Known& known = known_[key * 0x9E3779B1u >> 22];
        if (known.key != key)
            known = {key, search(colour)};
        return known.index;
    }

private:
    struct Known {
        std::uint32_t key;
        unsigned char index;
    };

    unsigned char search(Colour colour) const {
        int least = std::numeric_limits<int>::max();
        std::size_t nearest = 0;
        for (std::size_t k = 0; k < hardware_.size(); ++k) {
            const int red = hardware_[k].peRed - colour.red;
            const int green = hardware_[k].peGreen - colour.green;
            const int blue = hardware_[k].peBlue - colour.blue;
            const int distance = red * red + green * green + blue * blue;
            if (distance < least) {
                least = distance;
                nearest = k;
            }
        }
        return static_cast<unsigned char>(nearest);
    }

    const std::array<PALETTEENTRY, 256>& hardware_;
    std::array<Known, 1024> known_{};
};

// The colours of a bitmap of indices; black beyond its table.
std::array<Colour, 256> colours_of(const BITMAPINFO* info) {
    std::array<Colour, 256> colours{};
    const std::uint32_t used = info->bmiHeader.biClrUsed;
    const std::uint32_t most = 1u << info->bmiHeader.biBitCount;
    const std::size_t count = used == 0 ? most : std::min(used, most);
    for (std::size_t k = 0; k < count; ++k) {
        const RGBQUAD entry = table_entry(info, static_cast<std::int64_t>(k));
        colours[k] = {entry.rgbRed, entry.rgbGreen, entry.rgbBlue};
    }
    return colours;
}

// What finds pixels is a type of its own, not a function, so that its calls are compiled in place.
//
// The index at a column; the first pixel of a byte has its highest bits.
template<int depth>
struct IndexAt {
    unsigned char operator()(const unsigned char* source, int column) const {
        constexpr int in_byte = 8 / depth;
        const int shift = 8 - depth - column % in_byte * depth;
        return static_cast<unsigned char>(source[column / in_byte] >> shift & ((1 << depth) - 1));
    }
};

// One channel of a pixel of 16 or 32 bits.
class Channel {
public:
    explicit Channel(std::uint32_t mask)
        : shift_(mask == 0 ? 0 : std::countr_zero(mask)), largest_(mask >> shift_) {}

    // As a byte, rounded to the nearest.
    unsigned char of(std::uint32_t pixel) const {
        if (largest_ == 0)
            return 0;
        const std::uint64_t value = pixel >> shift_ & largest_;
        return static_cast<unsigned char>((value * 255 + largest_ / 2) / largest_);
    }

private:
    int shift_;
    std::uint32_t largest_;
};

// Where red, green and blue lie in a pixel of `Pixel`: where the masks say, or else in 5 bits each
// of 16 or in 8 of 32, blue lowest.
template<class Pixel>
class PackedColours {
public:
    explicit PackedColours(const BITMAPINFO* info) : PackedColours(masks_of(info)) {}

    Colour operator()(const unsigned char* source, int column) const {
        Pixel pixel;
        std::memcpy(&pixel, source + sizeof pixel * static_cast<std::size_t>(column), sizeof pixel);
        return {red_.of(pixel), green_.of(pixel), blue_.of(pixel)};
    }

private:
    explicit PackedColours(const std::array<std::uint32_t, 3>& masks)
        : red_(masks[0]), green_(masks[1]), blue_(masks[2]) {}

    static std::array<std::uint32_t, 3> masks_of(const BITMAPINFO* info) {
        std::array<std::uint32_t, 3> masks{};
        if (info->bmiHeader.biCompression != 0)
            std::memcpy(masks.data(), reinterpret_cast<const unsigned char*>(info) + plain_header,
                        sizeof masks);
        if (masks == std::array<std::uint32_t, 3>{})
            masks = sizeof(Pixel) == 2 ? std::array<std::uint32_t, 3>{0x7C00, 0x3E0, 0x1F}
                                       : std::array<std::uint32_t, 3>{0xFF0000, 0xFF00, 0xFF};
        return masks;
    }

    Channel red_, green_, blue_;
};

// Draws one row of the device: put(out, source row, source column) sets a pixel.
template<class Put>
void draw_rows(const GdiDevice& device, const Axis& across, const Axis& down, bool bottom_up,
               std::int64_t height, const unsigned char* bits, std::int64_t pitch,
               const int* columns, Put put) {
    const auto first = static_cast<std::size_t>(across.begin()) * device.pixel_size;
    const auto length = static_cast<std::size_t>(across.end() - across.begin());
    std::int64_t drawn_source = -1;
    for (std::int64_t y = down.begin(); y < down.end(); ++y) {
        const std::int64_t picture_row = down.source_of(y);
        unsigned char* out = device.row(static_cast<int>(y)) + first;
        if (picture_row == drawn_source) {
            std::memcpy(out, device.row(static_cast<int>(y) - 1) + first,
                        length * device.pixel_size);
            continue;
        }
        drawn_source = picture_row;
        const unsigned char* const source =
            bits + (bottom_up ? height - 1 - picture_row : picture_row) * pitch;
        for (std::size_t k = 0; k < length; ++k, out += device.pixel_size)
            put(out, source, columns[k]);
    }
}

void put_colour(unsigned char* out, Colour colour) {
    out[0] = colour.red;
    out[1] = colour.green;
    out[2] = colour.blue;
}

struct ColourAt {
    Colour operator()(const unsigned char* source, int column) const {
        const unsigned char* const pixel = source + std::ptrdiff_t{3} * column;
        return {pixel[2], pixel[1], pixel[0]};
    }
};

bool can_be_drawn(const BITMAPINFOHEADER& header) {
    if (header.biWidth < 1 || header.biHeight == 0)
        return false;
    switch (header.biBitCount) {
    case 1:
    case 4:
    case 8:
    case 24:
        return header.biCompression == 0;
    case 16:
    case 32:
        return header.biCompression == 0 || header.biCompression == BitMasks::three ||
               header.biCompression == BitMasks::four;
    default:
        return false;
    }
}

} // namespace

int vorlane::stretch(const GdiDevice& device, std::int64_t x, std::int64_t y, int w, int h,
                     int source_x, int source_y, int source_w, int source_h, const void* bits,
                     const BITMAPINFO* info) {
    if (!bits || !info || source_w < 1 || source_h < 1 || w == 0 || h == 0)
        return 0;
    const BITMAPINFOHEADER& header = info->bmiHeader;
    const int depth = header.biBitCount;
    if (!can_be_drawn(header))
        return 0;
    const bool bottom_up = header.biHeight > 0;
    const std::int64_t height = std::abs(std::int64_t{header.biHeight});
    const std::int64_t top = bottom_up ? height - source_y - source_h : source_y;
    const Axis across(x, w, device.width, source_x, source_w, header.biWidth);
    const Axis down(y, h, device.height, top, source_h, height);
    if (across.begin() >= across.end() || down.begin() >= down.end())
        return source_h;
    const auto length = static_cast<std::size_t>(across.end() - across.begin());
    const std::unique_ptr<int[]> columns(new (std::nothrow) int[length]);
    if (!columns)
        return 0;
    for (std::size_t k = 0; k < length; ++k)
        columns[k] =
            static_cast<int>(across.source_of(across.begin() + static_cast<std::int64_t>(k)));

    const auto draw = [&](auto put) {
        draw_rows(device, across, down, bottom_up, height, static_cast<const unsigned char*>(bits),
                  row_pitch(header), columns.get(), put);
    };
    NearestColour nearest(device.hardware);
    const auto draw_indices = [&](auto index) {
        const std::array<Colour, 256> colours = colours_of(info);
        if (device.has_palette()) {
            std::array<unsigned char, 256> indices;
            std::transform(colours.begin(), colours.end(), indices.begin(), std::ref(nearest));
            draw([&](unsigned char* out, const unsigned char* source, int column) {
                *out = indices[index(source, column)];
            });
        } else {
            draw([&](unsigned char* out, const unsigned char* source, int column) {
                put_colour(out, colours[index(source, column)]);
            });
        }
    };
    const auto draw_colours = [&](auto colour) {
        if (device.has_palette()) {
            draw([&](unsigned char* out, const unsigned char* source, int column) {
                *out = nearest(colour(source, column));
            });
        } else {
            draw([&](unsigned char* out, const unsigned char* source, int column) {
                put_colour(out, colour(source, column));
            });
        }
    };
    switch (depth) {
    case 1:
        draw_indices(IndexAt<1>());
        break;
    case 4:
        draw_indices(IndexAt<4>());
        break;
    case 8:
        draw_indices(IndexAt<8>());
        break;
    case 16:
        draw_colours(PackedColours<std::uint16_t>(info));
        break;
    case 24:
        draw_colours(ColourAt());
        break;
    default:
        draw_colours(PackedColours<std::uint32_t>(info));
        break;
    }
    return source_h;
}
