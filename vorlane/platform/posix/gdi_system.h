// Bitmaps, palettes and devices of this library's own.
#pragma once

#include <cstdint>

#include <vorlane/platform/export.h>

// A bitmap's information block: this header, and behind it the colour table. Files hold it byte for
// byte.
struct BITMAPINFOHEADER {
    std::uint32_t biSize; // 40
    std::int32_t biWidth;
    std::int32_t biHeight; // above 0: the bottom row comes first; below 0: the top row does
    std::uint16_t biPlanes;
    std::uint16_t biBitCount;
    std::uint32_t biCompression; // 0: none
    std::uint32_t biSizeImage;   // bytes of the pixel block; 0: as width and depth give it
    std::int32_t biXPelsPerMeter;
    std::int32_t biYPelsPerMeter;
    std::uint32_t biClrUsed; // entries of the colour table; 0: as many as the depth has
    std::uint32_t biClrImportant;
};

struct RGBQUAD {
    unsigned char rgbBlue, rgbGreen, rgbRed, rgbReserved;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1]; // the first of the table
};

struct PALETTEENTRY {
    unsigned char peRed, peGreen, peBlue, peFlags;
};

struct LOGPALETTE {
    std::uint16_t palVersion; // 0x300
    std::uint16_t palNumEntries;
    PALETTEENTRY palPalEntry[1]; // the first of palNumEntries
};

struct GdiObject; // what a handle stands for
struct GdiDevice;
using HGDIOBJ = GdiObject*;
using HPALETTE = GdiObject*;
using HDC = GdiDevice*;

// A palette of the record's entries; null if there is no memory.
VORLANE_API HPALETTE CreatePalette(const LOGPALETTE* record);

// 24: the number of colours, -1 where it has no use because the device has no palette; 104: the
// size of the hardware palette, 0 if there is none. 0 for any other index.
VORLANE_API int GetDeviceCaps(HDC device, int index);

// Copies hardware colours from `first` on, and returns how many there were.
VORLANE_API unsigned GetSystemPaletteEntries(HDC device, unsigned first, unsigned count,
                                             PALETTEENTRY* entries);

// Makes the colours of the selected palette the first ones of the hardware palette, and returns how
// many of these changed. Pixels that are drawn already show the new colours.
VORLANE_API unsigned RealizePalette(HDC device);

// Draws a rectangle of a bitmap stretched into the rectangle between (x, y) and (x + w, y + h). The
// bitmap has 1, 4 or 8 bits (indices), 16 (5 bits a colour), 24 or 32 (8 bits a colour, blue
// first), without compression; with biCompression 3 or 6 masks behind the first 40 bytes tell where
// the colours lie in 16 or 32 bits, and each becomes the nearest of 256 levels. Each pixel takes the nearest source pixel; a negative w or h
// mirrors; what lies outside the device or the bitmap is left out. (source_x, source_y) is the left
// bottom corner of the source rectangle, counted from the left bottom of the picture (the left top,
// if the top row comes first). Rows of the pixel block are biSizeImage / biHeight bytes apart, or,
// if that is 0, as many 32-bit words as they need. An index beyond the colour table is black. On a
// device with a palette each colour becomes the nearest of the hardware colours. `usage` is 0
// (colours), `operation` 0xCC0020 (copy). Returns the rows of the source, or 0 if nothing of this
// can be done.
VORLANE_API int StretchDIBits(HDC device, int x, int y, int w, int h, int source_x, int source_y,
                              int source_w, int source_h, const void* bits, const BITMAPINFO* info,
                              unsigned usage, unsigned operation);
