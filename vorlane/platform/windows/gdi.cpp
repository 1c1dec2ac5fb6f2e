#include <vorlane/platform/gdi.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

// The pixels of a device in memory; all 0 of another device.
DIBSECTION section_of(HDC device) {
    DIBSECTION section = {};
    if (!device || GetObjectW(GetCurrentObject(device, OBJ_BITMAP), sizeof section, &section) !=
                       sizeof section)
        section = {};
    return section;
}

// A row from the top, 4 bytes a pixel, blue first; null outside.
const unsigned char* row_of(HDC device, int y) {
    const DIBSECTION section = section_of(device);
    if (y < 0 || y >= section.dsBm.bmHeight)
        return nullptr;
    GdiFlush();
    return static_cast<const unsigned char*>(section.dsBm.bmBits) +
           std::ptrdiff_t{section.dsBm.bmWidthBytes} * y;
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
    return object && ::DeleteObject(object) ? 1 : 0;
}

CPalette::~CPalette() = default;

int CPalette::GetEntryCount() const {
    WORD count = 0;
    return m_hObject && GetObjectW(m_hObject, sizeof count, &count) != 0 ? count : 0;
}

unsigned CPalette::GetPaletteEntries(unsigned first, unsigned count, PALETTEENTRY* entries) const {
    const auto size = static_cast<unsigned>(GetEntryCount());
    if (first >= size || !entries)
        return 0;
    return ::GetPaletteEntries(static_cast<HPALETTE>(m_hObject), first,
                               std::min(count, size - first), entries);
}

CDC::~CDC() = default;

CPalette* CDC::SelectPalette(CPalette* palette, int force_background) {
    if (m_hDC) {
        const HGDIOBJ chosen =
            palette && palette->m_hObject ? palette->m_hObject : GetStockObject(DEFAULT_PALETTE);
        ::SelectPalette(m_hDC, static_cast<HPALETTE>(chosen), force_background);
    }
    return std::exchange(selected_, palette);
}

CMemoryDC::CMemoryDC(int width, int height, Colours colours) {
    if (width < 1 || height < 1 || colours != true_colour)
        return;
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // from the top row on
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const HDC device = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap =
        device ? CreateDIBSection(device, &info, DIB_RGB_COLORS, &bits, nullptr, 0) : nullptr;
    if (bitmap && SelectObject(device, bitmap)) {
        m_hDC = device;
        return;
    }
    if (bitmap)
        ::DeleteObject(bitmap);
    if (device)
        DeleteDC(device);
}

CMemoryDC::~CMemoryDC() {
    if (!m_hDC)
        return;
    const HGDIOBJ bitmap = GetCurrentObject(m_hDC, OBJ_BITMAP);
    DeleteDC(m_hDC);
    ::DeleteObject(bitmap);
}

int CMemoryDC::GetWidth() const {
    return section_of(m_hDC).dsBm.bmWidth;
}

int CMemoryDC::GetHeight() const {
    return section_of(m_hDC).dsBm.bmHeight;
}

unsigned long CMemoryDC::GetPixel(int x, int y) const {
    const unsigned char* const row = x >= 0 && x < GetWidth() ? row_of(m_hDC, y) : nullptr;
    if (!row)
        return 0;
    const unsigned char* const pixel = row + std::ptrdiff_t{4} * x;
    return RGB(pixel[2], pixel[1], pixel[0]);
}

void CMemoryDC::GetRow(int y, unsigned char* colours) const {
    const unsigned char* pixel = row_of(m_hDC, y);
    for (int k = 0, width = pixel ? GetWidth() : 0; k < width; ++k, pixel += 4, colours += 3) {
        colours[0] = pixel[2];
        colours[1] = pixel[1];
        colours[2] = pixel[0];
    }
}
