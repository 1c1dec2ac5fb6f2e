#include <vorlane/platform/gdi_device.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

#include <vorlane/platform/gdi_codes.h>
#include <vorlane/platform/system_drawing.h>

namespace {

using namespace vorlane;

// A cube of 6 x 6 x 6 colours and the grays between its own, so that any picture can be told.
std::array<PALETTEENTRY, 256> first_colours() {
    std::array<PALETTEENTRY, 256> colours{};
    std::size_t k = 0;
    for (int red = 0; red < 6; ++red) {
        for (int green = 0; green < 6; ++green) {
            for (int blue = 0; blue < 6; ++blue)
                colours[k++] = {static_cast<unsigned char>(51 * red),
                                static_cast<unsigned char>(51 * green),
                                static_cast<unsigned char>(51 * blue), 0};
        }
    }
    for (int step = 0; k < colours.size(); ++step) {
        // Eight grays in each of the five gaps of 51 levels.
        const auto level = static_cast<unsigned char>(51 * (step / 8) + (step % 8 + 1) * 51 / 9);
        colours[k++] = {level, level, level, 0};
    }
    return colours;
}

unsigned copy_entries(const PALETTEENTRY* from, std::size_t size, unsigned first, unsigned count,
                      PALETTEENTRY* to) {
    if (first >= size || !to)
        return 0;
    count = static_cast<unsigned>(std::min<std::size_t>(count, size - first));
    std::copy_n(from + first, count, to);
    return count;
}

} // namespace

CGdiObject::~CGdiObject() {
    DeleteObject();
}

int CGdiObject::Attach(HGDIOBJ object) {
    if (object != m_hObject)
        DeleteObject();
    m_hObject = object;
    return object ? 1 : 0;
}

HGDIOBJ CGdiObject::Detach() {
    return std::exchange(m_hObject, nullptr);
}

int CGdiObject::DeleteObject() {
    const HGDIOBJ object = Detach();
    delete object;
    return object ? 1 : 0;
}

CPalette::~CPalette() = default;

int CPalette::GetEntryCount() const {
    return m_hObject ? static_cast<int>(m_hObject->colours->size()) : 0;
}

unsigned CPalette::GetPaletteEntries(unsigned first, unsigned count, PALETTEENTRY* entries) const {
    if (!m_hObject)
        return 0;
    const auto& colours = *m_hObject->colours;
    return copy_entries(colours.data(), colours.size(), first, count, entries);
}

CDC::~CDC() = default;

CPalette* CDC::SelectPalette(CPalette* palette, int force_background) {
    if (m_hDC) {
        m_hDC->selected = nullptr;
        if (palette && palette->m_hObject && !force_background)
            m_hDC->selected = palette->m_hObject->colours;
    }
    return std::exchange(selected_, palette);
}

CMemoryDC::CMemoryDC(int width, int height, Colours colours) {
    if (width < 1 || height < 1)
        return;
    std::unique_ptr<GdiDevice> device(new (std::nothrow) GdiDevice);
    if (!device)
        return;
    device->width = width;
    device->height = height;
    device->pixel_size = colours == palette_256 ? 1 : 3;
    device->pitch = device->pixel_size * static_cast<std::size_t>(width);
    device->hardware = first_colours();
    device->pixels.reset(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(height), device->pitch)));
    if (device->pixels)
        m_hDC = device.release();
}

CMemoryDC::~CMemoryDC() {
    delete m_hDC;
}

int CMemoryDC::GetWidth() const {
    return m_hDC ? m_hDC->width : 0;
}

int CMemoryDC::GetHeight() const {
    return m_hDC ? m_hDC->height : 0;
}

unsigned long CMemoryDC::GetPixel(int x, int y) const {
    if (x < 0 || x >= GetWidth() || y < 0 || y >= GetHeight())
        return 0;
    const unsigned char* const pixel = m_hDC->row(y) + m_hDC->pixel_size * x;
    if (m_hDC->has_palette()) {
        const PALETTEENTRY& colour = m_hDC->hardware[*pixel];
        return colour.peRed | colour.peGreen << 8 | colour.peBlue << 16;
    }
    return pixel[0] | pixel[1] << 8 | pixel[2] << 16;
}

void CMemoryDC::GetRow(int y, unsigned char* colours) const {
    if (y < 0 || y >= GetHeight())
        return;
    const unsigned char* const row = m_hDC->row(y);
    if (!m_hDC->has_palette()) {
        std::copy_n(row, m_hDC->pixel_size * m_hDC->width, colours);
        return;
    }
    for (int x = 0; x < m_hDC->width; ++x, colours += 3) {
        const PALETTEENTRY& colour = m_hDC->hardware[row[x]];
        colours[0] = colour.peRed;
        colours[1] = colour.peGreen;
        colours[2] = colour.peBlue;
    }
}

HPALETTE CreatePalette(const LOGPALETTE* record) {
    if (!record)
        return nullptr;
    try {
        const PALETTEENTRY* const first = record->palPalEntry;
        return new GdiObject{std::make_shared<const std::vector<PALETTEENTRY>>(
            first, first + record->palNumEntries)};
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

int GetDeviceCaps(HDC device, int index) {
    if (!device)
        return 0;
    const int palette_size = device->has_palette() ? static_cast<int>(device->hardware.size()) : 0;
    switch (index) {
    case number_of_colours:
        return palette_size > 0 ? palette_size : -1;
    case size_of_palette:
        return palette_size;
    default:
        return 0;
    }
}

unsigned GetSystemPaletteEntries(HDC device, unsigned first, unsigned count,
                                 PALETTEENTRY* entries) {
    if (!device || !device->has_palette())
        return 0;
    return copy_entries(device->hardware.data(), device->hardware.size(), first, count, entries);
}

unsigned RealizePalette(HDC device) {
    if (!device || !device->has_palette() || !device->selected)
        return 0;
    unsigned changed = 0;
    const std::size_t count = std::min(device->selected->size(), device->hardware.size());
    for (std::size_t k = 0; k < count; ++k) {
        const PALETTEENTRY& wanted = (*device->selected)[k];
        PALETTEENTRY& present = device->hardware[k];
        if (wanted.peRed == present.peRed && wanted.peGreen == present.peGreen &&
            wanted.peBlue == present.peBlue)
            continue;
        present = wanted;
        ++changed;
    }
    return changed;
}

int StretchDIBits(HDC device, int x, int y, int w, int h, int source_x, int source_y, int source_w,
                  int source_h, const void* bits, const BITMAPINFO* info, unsigned usage,
                  unsigned operation) {
    if (!device || usage != use_colours || operation != copy_source)
        return 0;
    return stretch(*device, x, y, w, h, source_x, source_y, source_w, source_h, bits, info);
}

void vorlane::draw_bitmap(HDC device, HGDIOBJ palette, int x, int y, int w, int h, int source_w,
                          int source_h, const void* bits, const BITMAPINFO* info) {
    if (!device)
        return;
    const SharedColours former =
        std::exchange(device->selected, palette ? palette->colours : nullptr);
    RealizePalette(device);
    StretchDIBits(device, x, y, w, h, 0, 0, source_w, source_h, bits, info, use_colours,
                  copy_source);
    device->selected = former;
}
