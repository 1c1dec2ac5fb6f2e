// Drawing: bitmaps in the layout of a BMP file, logical palettes, and device contexts that they are
// drawn on. On Windows these are the system's own, and a host draws on its windows. Elsewhere the
// devices live in memory: a host makes one in the size of its window, draws, and reads the pixels
// back to show or to compare them.
#pragma once

#include <vorlane/platform/export.h>

#include VORLANE_SYSTEM_HEADER(gdi_system.h)
#ifndef VORLANE_HOST_CLASSES
// Owns the object that is attached to it.
class VORLANE_API CGdiObject {
public:
    HGDIOBJ m_hObject = nullptr;

    CGdiObject() = default;
    CGdiObject(const CGdiObject&) = delete;
    CGdiObject& operator=(const CGdiObject&) = delete;
    virtual ~CGdiObject();

    // Takes the object over, in place of the one it had. 1, or 0 if the handle is null.
    int Attach(HGDIOBJ object);

    // Gives the object away.
    HGDIOBJ Detach();

    // Releases the object; 0 if there was none.
    int DeleteObject();
};

class VORLANE_API CPalette : public CGdiObject {
public:
    ~CPalette() override;

    int GetEntryCount() const;

    // Copies entries from `first` on, and returns how many there were.
    unsigned GetPaletteEntries(unsigned first, unsigned count, PALETTEENTRY* entries) const;
};

// A device context: a device and the palette that is selected in it.
class VORLANE_API CDC {
public:
    HDC m_hDC = nullptr;

    CDC() = default;
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;
    virtual ~CDC();

    // Selects a palette, null for none, and returns the one that was selected before. Its colours
    // reach the device when it is realised. `force_background` isn't 0: it never does.
    CPalette* SelectPalette(CPalette* palette, int force_background);

private:
    CPalette* selected_ = nullptr;
};

// A device of width x height pixels in memory, black when new. If a size isn't positive, there is
// no memory for it, or the system has no such devices, m_hDC is null, and drawing on it does
// nothing.
class VORLANE_API CMemoryDC : public CDC {
public:
    enum Colours {
        true_colour, // pixels hold their colours; no palette
        palette_256  // pixels are indices into 256 hardware colours: at first a cube of 6 x 6 x 6
                     // colours, red slowest, and 40 grays between those of the cube. Not on
                     // Windows, where only screens have such colours
    };

    CMemoryDC(int width, int height, Colours colours);
    ~CMemoryDC() override;

    int GetWidth() const;
    int GetHeight() const;

    // The colour that a pixel shows: red in bits 0 to 7, green in 8 to 15, blue in 16 to 23. 0
    // outside.
    unsigned long GetPixel(int x, int y) const;

    // The colours of row y from the top: 3 * width bytes, red first. Nothing outside.
    void GetRow(int y, unsigned char* colours) const;
};
#endif
