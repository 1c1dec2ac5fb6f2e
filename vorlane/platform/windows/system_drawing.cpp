#include <vorlane/platform/system_drawing.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include <vorlane/platform/bitmap_layout.h>
#include <vorlane/platform/gdi_device.h>

namespace vorlane {

namespace {

// A printer, a metafile, or a device whose units a host has changed: the system knows how to stretch there.
bool has_pixels(HDC device) {
    const DWORD type = GetObjectType(device);
    return (type == OBJ_DC || type == OBJ_MEMDC) &&
           GetDeviceCaps(device, TECHNOLOGY) == DT_RASDISPLAY && GetMapMode(device) == MM_TEXT &&
           GetGraphicsMode(device) == GM_COMPATIBLE;
}

// The part of a range of this start and length, of either sign, within another.
std::pair<std::int64_t, std::int64_t> within(std::int64_t start, std::int64_t length, LONG first,
                                             LONG behind) {
    const std::int64_t low = std::min(start, start + length);
    const std::int64_t high = std::max(start, start + length);
    return {std::max<std::int64_t>(low, first), std::min<std::int64_t>(high, behind)};
}

// The system's own stretching depends on its version and on a mode of the device. So the pixels that are seen
// are made here, and it only has to put them where they belong.
void put_pixels(HDC device, int x, int y, int w, int h, int source_w, int source_h,
                const void* bits, const BITMAPINFO* info) {
    if (!has_pixels(device)) {
        const int former = SetStretchBltMode(device, COLORONCOLOR);
        StretchDIBits(device, x, y, w, h, 0, 0, source_w, source_h, bits, info, DIB_RGB_COLORS,
                      SRCCOPY);
        SetStretchBltMode(device, former);
        return;
    }
    RECT seen;
    const int kind = GetClipBox(device, &seen);
    if (kind == ERROR || kind == NULLREGION)
        return;
    const auto [left, right] = within(x, w, seen.left, seen.right);
    const auto [top, bottom] = within(y, h, seen.top, seen.bottom);
    if (left >= right || top >= bottom)
        return;
    GdiDevice part;
    part.width = static_cast<int>(right - left);
    part.height = static_cast<int>(bottom - top);
    part.pixel_size = 3;
    part.pitch = static_cast<std::size_t>(word_aligned_row(part.width, 24));
    part.pixels.reset(static_cast<unsigned char*>(
        std::calloc(static_cast<std::size_t>(part.height), part.pitch)));
    if (!part.pixels ||
        !stretch(part, x - left, y - top, w, h, 0, 0, source_w, source_h, bits, info))
        return;
    for (int row = 0; row < part.height; ++row) {
        unsigned char* pixel = part.row(row);
        for (int col = 0; col < part.width; ++col, pixel += 3)
            std::swap(pixel[0], pixel[2]); // blue comes first
    }
    BITMAPINFO seen_info = {};
    seen_info.bmiHeader.biSize = sizeof seen_info.bmiHeader;
    seen_info.bmiHeader.biWidth = part.width;
    seen_info.bmiHeader.biHeight = -part.height;
    seen_info.bmiHeader.biPlanes = 1;
    seen_info.bmiHeader.biBitCount = 24;
    SetDIBitsToDevice(device, static_cast<int>(left), static_cast<int>(top),
                      static_cast<DWORD>(part.width), static_cast<DWORD>(part.height), 0, 0, 0,
                      static_cast<UINT>(part.height), part.pixels.get(), &seen_info,
                      DIB_RGB_COLORS);
}

} // namespace

void draw_bitmap(HDC device, HGDIOBJ palette, int x, int y, int w, int h, int source_w,
                 int source_h, const void* bits, const BITMAPINFO* info) {
    if (!device)
        return;
    constexpr BOOL in_foreground = FALSE;
    const HGDIOBJ chosen = palette ? palette : GetStockObject(DEFAULT_PALETTE);
    const HPALETTE former = SelectPalette(device, static_cast<HPALETTE>(chosen), in_foreground);
    RealizePalette(device);
    put_pixels(device, x, y, w, h, source_w, source_h, bits, info);
    if (former)
        SelectPalette(device, former, in_foreground);
}

} // namespace vorlane
