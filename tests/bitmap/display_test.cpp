#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <support/pictures.h>
#include <vorlane/bitmap/dib.h>

namespace {

unsigned long packed(int red, int green, int blue) {
    return static_cast<unsigned long>(red | green << 8 | blue << 16);
}

// What the image shows at a pixel: its samples from 0 to 255.
unsigned long colour_of(const CImage& image, int i, int j) {
    const float* const row = image.pixels[i];
    const auto at = [&](int k) { return static_cast<int>(row[k]); };
    return image.image_type == 1 ? packed(at(3 * j), at(3 * j + 1), at(3 * j + 2))
                                 : packed(at(j), at(j), at(j));
}

TEST(Palettes, HoldTheTableInReverseOrder) {
    CDib bitmap(1, 1, 8);
    const unsigned char blue_green_red[] = {10, 20, 30, 99};
    std::memcpy(bitmap.header + 40 + 4 * 5, blue_green_red, 4);
    bitmap.ncolors = 6;
    ASSERT_EQ(bitmap.MakePalette(), 1);
    ASSERT_EQ(bitmap.palette->GetEntryCount(), 6);
    PALETTEENTRY entries[300] = {};
    EXPECT_EQ(bitmap.palette->GetPaletteEntries(0, 300, entries), 6u);
    EXPECT_EQ(entries[5].peRed, 30);
    EXPECT_EQ(entries[5].peGreen, 20);
    EXPECT_EQ(entries[5].peBlue, 10);
    EXPECT_EQ(entries[5].peFlags, 0);
    bitmap.ncolors = 256;
    EXPECT_EQ(bitmap.MakePalette(), 1);
    EXPECT_EQ(bitmap.palette->GetEntryCount(), 256);
    for (const int count : {0, 257, 16777216, -5}) {
        ASSERT_EQ((bitmap.ncolors = 6, bitmap.MakePalette()), 1);
        bitmap.ncolors = count;
        EXPECT_EQ(bitmap.MakePalette(), 0);
        EXPECT_EQ(bitmap.palette, nullptr); // the old one is gone all the same
    }
}

TEST(Palettes, OfImagesAndDevices) {
    const ImagePtr gray = make_gray(1, 1, [](int, int) { return 1.0f; });
    const CDib bitmap(gray.get(), 0, 0.0f, 0.0f);
    ASSERT_TRUE(bitmap.palette);
    PALETTEENTRY entry;
    EXPECT_EQ(bitmap.palette->GetPaletteEntries(100, 1, &entry), 1u);
    EXPECT_EQ(entry.peRed, 100);
    EXPECT_EQ(entry.peBlue, 100);

    CMemoryDC with_palette(2, 2, CMemoryDC::palette_256);
    if (with_palette.m_hDC) { // not every system has such devices
        CDib colour(2, 2, 24);
        EXPECT_EQ(colour.SetSystemPalette(&with_palette), 1);
        ASSERT_EQ(colour.palette->GetEntryCount(), 256);
        EXPECT_EQ(colour.palette->GetPaletteEntries(215, 1, &entry), 1u);
        EXPECT_EQ(packed(entry.peRed, entry.peGreen, entry.peBlue), packed(255, 255, 255));
    }
    CMemoryDC no_palette(2, 2, CMemoryDC::true_colour);
    CMemoryDC no_device(0, -1, CMemoryDC::true_colour);
    CDC nothing;
    for (CDC* dc : {static_cast<CDC*>(&no_palette), static_cast<CDC*>(&no_device), &nothing}) {
        CDib other(2, 2, 24);
        EXPECT_EQ(other.SetSystemPalette(dc), 1);
        EXPECT_EQ(other.palette->GetEntryCount(), 0);
        EXPECT_EQ(other.Draw(dc, 0, 0, 2, 2), 1);
    }
}

// A plain stretch from the definition: the source pixel under the middle of each device pixel.
void expect_drawn(const CImage& image, CMemoryDC& device, int x, int y, int w, int h,
                  unsigned long ground) {
    const int left = std::min(x, x + w), top = std::min(y, y + h);
    for (int row = 0; row < device.GetHeight(); ++row) {
        for (int col = 0; col < device.GetWidth(); ++col) {
            unsigned long expected = ground;
            const double across = (col - left + 0.5) / std::abs(w);
            const double down = (row - top + 0.5) / std::abs(h);
            if (across > 0 && across < 1 && down > 0 && down < 1) {
                const int j = static_cast<int>((w > 0 ? across : 1 - across) * image.ncols);
                const int i = static_cast<int>((h > 0 ? down : 1 - down) * image.nrows);
                expected = colour_of(image, i, j);
            }
            ASSERT_EQ(device.GetPixel(col, row), expected)
                << "pixel " << col << ", " << row << " of a rectangle " << x << ", " << y << ", "
                << w << ", " << h;
        }
    }
}

TEST(Drawing, StretchesMirrorsAndClips) {
    // Sizes that are odd to each other, so that no source pixel ends in the middle of another.
    for (const int type : {0, 1}) {
        const ImagePtr image = make_random(5, 7, type, 21, true);
        CDib bitmap(image.get(), 0, 0.0f, 0.0f);
        const int rectangles[][4] = {{0, 0, 7, 5},     {2, 1, 7, 5},     {0, 0, 24, 18},
                                     {3, 2, 3, 2},     {24, 0, -24, 18}, {0, 18, 24, -18},
                                     {20, 15, -9, -8}, {-5, -6, 16, 14}, {10, 8, 40, 32},
                                     {-30, 0, 10, 10}, {24, 0, 8, 8},    {-100, -90, 250, 226}};
        for (const auto& r : rectangles) {
            CMemoryDC device(24, 18, CMemoryDC::true_colour);
            ASSERT_EQ(bitmap.Draw(&device, r[0], r[1], r[2], r[3]), 1);
            expect_drawn(*image, device, r[0], r[1], r[2], r[3], 0);
        }
        CMemoryDC device(4, 4, CMemoryDC::true_colour);
        EXPECT_EQ(bitmap.Draw(&device, 0, 0, 0, 4), 1);
        EXPECT_EQ(bitmap.Draw(&device, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN), 1);
        EXPECT_EQ(bitmap.Draw(&device, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX), 1);
        EXPECT_EQ(device.GetPixel(1, 1), 0u);
    }
}

// Every depth against pixels that are taken from the block one by one.
TEST(Drawing, OfEveryDepth) {
    const struct {
        int depth;
        std::uint32_t compression, masks[3];
    } cases[] = {{1, 0, {}},
                 {4, 0, {}},
                 {8, 0, {}},
                 {16, 0, {0x7C00, 0x3E0, 0x1F}},
                 {16, 3, {0xF800, 0x7E0, 0x1F}},
                 {32, 0, {0xFF0000, 0xFF00, 0xFF}},
                 {32, 3, {0xFF, 0x3FF00, 0xF0000000}}};
    const int width = 13, height = 3;
    std::mt19937 random(5);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.depth);
        CDib bitmap(width, height, c.depth);
        for (unsigned k = 0; k < bitmap.image_size; ++k)
            bitmap.bits[k] = static_cast<unsigned char>(random());
        auto& fields = *reinterpret_cast<BITMAPINFOHEADER*>(bitmap.header);
        fields.biCompression = c.compression;
        if (c.compression != 0)
            std::memcpy(bitmap.header + 40, c.masks, sizeof c.masks);
        for (int k = 0; c.depth <= 8 && k < 4 << c.depth; ++k)
            bitmap.header[40 + k] = static_cast<unsigned char>(random());
        CMemoryDC device(width, height, CMemoryDC::true_colour);
        ASSERT_EQ(bitmap.Draw(&device, 0, 0, width, height), 1);
        for (int i = 0; i < height; ++i) {
            for (int j = 0; j < width; ++j) {
                const unsigned char* const row = bitmap.bits + (height - 1 - i) * bitmap.row_bytes;
                unsigned long expected;
                if (c.depth <= 8) {
                    int index = 0; // bit by bit from the highest
                    for (int b = j * c.depth; b < (j + 1) * c.depth; ++b)
                        index = 2 * index + (row[b / 8] >> (7 - b % 8) & 1);
                    const unsigned char* const colour = bitmap.header + 40 + 4 * index;
                    expected = packed(colour[2], colour[1], colour[0]);
                } else {
                    std::uint32_t pixel = 0;
                    std::memcpy(&pixel, row + j * c.depth / 8, c.depth / 8);
                    const auto level = [&](std::uint32_t mask) {
                        return static_cast<int>(std::lround(255.0 * (pixel & mask) / mask));
                    };
                    expected = packed(level(c.masks[0]), level(c.masks[1]), level(c.masks[2]));
                }
                ASSERT_EQ(device.GetPixel(j, i), expected) << i << ", " << j;
            }
        }
    }
}

TEST(Drawing, OnAHardwarePaletteShowsEveryGray) {
    const ImagePtr ramp =
        make_gray(16, 16, [](int i, int j) { return static_cast<float>(16 * i + j); });
    CDib bitmap(ramp.get(), 0, 0.0f, 0.0f);
    CMemoryDC device(16, 16, CMemoryDC::palette_256);
    if (!device.m_hDC)
        GTEST_SKIP() << "no such devices here";
    ASSERT_EQ(bitmap.Draw(&device, 0, 0, 16, 16), 1);
    expect_drawn(*ramp, device, 0, 0, 16, 16, 0);
    std::vector<unsigned char> row(48);
    device.GetRow(3, row.data());
    EXPECT_EQ(row[0], 48);
    EXPECT_EQ(row[47], 63);
}

TEST(Drawing, WithoutATableTakesTheNearestColours) {
    const ImagePtr image = make_random(40, 50, 1, 22, true);
    CDib bitmap(image.get(), 0, 0.0f, 0.0f);
    CMemoryDC device(50, 40, CMemoryDC::palette_256);
    if (!device.m_hDC)
        GTEST_SKIP() << "no such devices here";
    PALETTEENTRY hardware[256];
    ASSERT_EQ(GetSystemPaletteEntries(device.m_hDC, 0, 256, hardware), 256u);
    ASSERT_EQ(bitmap.Draw(&device, 0, 0, 50, 40), 1);
    ASSERT_TRUE(bitmap.palette);
    for (int i = 0; i < 40; ++i) {
        for (int j = 0; j < 50; ++j) {
            const unsigned long wanted = colour_of(*image, i, j);
            const auto distance = [&](const PALETTEENTRY& entry) {
                const int red = entry.peRed - static_cast<int>(wanted & 255);
                const int green = entry.peGreen - static_cast<int>(wanted >> 8 & 255);
                const int blue = entry.peBlue - static_cast<int>(wanted >> 16);
                return red * red + green * green + blue * blue;
            };
            const auto& nearest =
                *std::min_element(hardware, hardware + 256, [&](const auto& a, const auto& b) {
                    return distance(a) < distance(b);
                });
            ASSERT_EQ(device.GetPixel(j, i),
                      packed(nearest.peRed, nearest.peGreen, nearest.peBlue));
        }
    }
}

TEST(Drawing, LeavesTheSelectedPaletteSelected) {
    CMemoryDC device(2, 2, CMemoryDC::palette_256);
    CPalette mine;
    device.SelectPalette(&mine, 0);
    const ImagePtr gray = make_gray(1, 1, [](int, int) { return 200.0f; });
    CDib bitmap(gray.get(), 0, 0.0f, 0.0f);
    CPalette* const its_own = bitmap.palette;
    EXPECT_EQ(bitmap.Draw(&device, 0, 0, 2, 2), 1);
    EXPECT_EQ(bitmap.palette, its_own);
    EXPECT_EQ(device.SelectPalette(nullptr, 0), &mine);

    CDib empty;
    EXPECT_EQ(empty.Draw(&device, 0, 0, 2, 2), 0);
    EXPECT_EQ(empty.palette, nullptr);
    EXPECT_EQ(device.SelectPalette(nullptr, 0), nullptr);
}

} // namespace
