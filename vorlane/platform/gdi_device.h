// Private: what the handles of drawing stand for.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <vorlane/platform/gdi.h>

namespace vorlane {

using SharedColours = std::shared_ptr<const std::vector<PALETTEENTRY>>;

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};

} // namespace vorlane

// A logical palette. A device shares its colours, so that a palette may go while it is selected.
struct GdiObject {
    vorlane::SharedColours colours;
};

// Pixels from the top row: an index into the hardware colours, or red, green, blue.
struct GdiDevice {
    int width = 0;
    int height = 0;
    std::size_t pixel_size = 0;
    std::size_t pitch = 0; // bytes from one row to the next
    std::unique_ptr<unsigned char[], vorlane::FreeBlock> pixels;
    std::array<PALETTEENTRY, 256> hardware{};
    vorlane::SharedColours selected;

    bool has_palette() const { return pixel_size == 1; }

    unsigned char* row(int y) const { return pixels.get() + static_cast<std::size_t>(y) * pitch; }
};

namespace vorlane {

// StretchDIBits, with the start of the rectangle as far away as it may be.
int stretch(const GdiDevice& device, std::int64_t x, std::int64_t y, int w, int h, int source_x,
            int source_y, int source_w, int source_h, const void* bits, const BITMAPINFO* info);

} // namespace vorlane
