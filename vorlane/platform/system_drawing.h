// Private: how a bitmap comes onto a device, with the same pixels on every system.
#pragma once

#include <vorlane/platform/gdi.h>

namespace vorlane {

// StretchDIBits of the rectangle of this size at the bitmap's corner.
void draw_bitmap(HDC device, int x, int y, int w, int h, int source_w, int source_h,
                 const void* bits, const BITMAPINFO* info);

} // namespace vorlane
