// Private: how a bitmap comes onto a device, with the same pixels on every system.
#pragma once

#include <vorlane/platform/gdi.h>

namespace vorlane {

// StretchDIBits of the rectangle of this size at the bitmap's corner, with this palette, or null, realised on the
// device. The palette that was selected there before is so again behind it.
void draw_bitmap(HDC device, HGDIOBJ palette, int x, int y, int w, int h, int source_w,
                 int source_h, const void* bits, const BITMAPINFO* info);

} // namespace vorlane
