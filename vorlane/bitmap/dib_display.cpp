#include <vorlane/bitmap/dib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/platform/bitmap_layout.h>
#include <vorlane/platform/gdi_codes.h>
#include <vorlane/platform/system_drawing.h>

namespace {

using namespace vorlane;

struct FreeRecord {
    void operator()(LOGPALETTE* record) const { std::free(record); }
};
using RecordHandle = std::unique_ptr<LOGPALETTE, FreeRecord>;

// A record of black entries; null if there is no memory.
RecordHandle make_record(int entries) {
    const std::size_t size = 4 + 4 * (static_cast<std::size_t>(entries) + 1);
    RecordHandle record(static_cast<LOGPALETTE*>(std::calloc(size, 1)));
    if (record) {
        record->palVersion = 0x300;
        record->palNumEntries = static_cast<std::uint16_t>(entries);
    }
    return record;
}

CPalette* make_palette(const LOGPALETTE* record) {
    auto* const made = new (std::nothrow) CPalette;
    if (made)
        made->Attach(CreatePalette(record));
    return made;
}

} // namespace

int CDib::MakePalette() {
    if (!header)
        return 0;
    delete std::exchange(palette, nullptr);
    if (ncolors < 1 || ncolors > 256)
        return 0;
    const RecordHandle record = make_record(ncolors);
    if (!record)
        return 0;
    for (int k = 0; k < ncolors; ++k) {
        const RGBQUAD entry = table_entry(info_of(header), k);
        record->palPalEntry[k] = {entry.rgbRed, entry.rgbGreen, entry.rgbBlue, 0};
    }
    palette = make_palette(record.get());
    return palette ? 1 : 0;
}

int CDib::SetSystemPalette(CDC* dc) {
    constexpr int most_entries = 0xFFFF;
    const HDC device = dc ? dc->m_hDC : nullptr;
    const int size = GetDeviceCaps(device, size_of_palette);
    const int count = size != 0 ? size : GetDeviceCaps(device, number_of_colours);
    const RecordHandle record = make_record(std::clamp(count, 0, most_entries));
    if (!record)
        return 1;
    GetSystemPaletteEntries(device, 0, record->palNumEntries, record->palPalEntry);
    palette = make_palette(record.get());
    return 1;
}

int CDib::Draw(CDC* dc, int x, int y, int w, int h) {
    if (!header || !bits || !dc)
        return 0;
    if (!palette)
        SetSystemPalette(dc);
    // By the handles alone: the classes around them may be a host's.
    draw_bitmap(dc->m_hDC, palette ? palette->m_hObject : nullptr, x, y, w, h, width, height, bits,
                info_of(header));
    return 1;
}
