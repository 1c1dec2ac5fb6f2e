// A host that has classes of the platform's names, with fields of its own behind ours: the library draws on its device
// and works with its palette by their handles alone. Ends with 0 if so.

#include <windows.h>

class CArchive;
class CDumpContext;
class CFile;
class CObject;

struct CRuntimeClass {
    const char* m_lpszClassName;
    int m_nObjectSize;
    unsigned m_wSchema;
    CObject* (*m_pfnCreateObject)();
    CRuntimeClass* (*m_pfnGetBaseClass)();
    CRuntimeClass* m_pNextClass;
};

class CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const { return nullptr; }
    virtual ~CObject() = default;
    virtual void Serialize(CArchive&) {}
    virtual void AssertValid() const {}
    virtual void Dump(CDumpContext&) const {}
};

class CGdiObject : public CObject {
public:
    HGDIOBJ m_hObject = nullptr;
};

class CPalette : public CGdiObject {};

class CDC : public CObject {
public:
    HDC m_hDC = nullptr;
    HDC m_hAttribDC = nullptr;
    int times_painted = 7;
};

#define VORLANE_HOST_CLASSES
#include <vorlane/vorlane.h>

int main() {
    CImage image(2, 3, vorlane::ImageType::gray, vorlane::FileFormat::none,
                 vorlane::PixelFormat::byte);
    image.pixels[1][2] = 200.0f;
    CDib bitmap(image.nrows, image.ncols, image.image_type, image.pixels, 0);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = 3;
    info.bmiHeader.biHeight = -2;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    CDC dc;
    dc.m_hDC = CreateCompatibleDC(nullptr);
    const HBITMAP pixels = CreateDIBSection(dc.m_hDC, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    SelectObject(dc.m_hDC, pixels);
    const bool is_drawn = bitmap.Draw(&dc, 0, 0, 3, 2) == 1 &&
                          GetPixel(dc.m_hDC, 2, 1) == RGB(200, 200, 200) &&
                          GetPixel(dc.m_hDC, 1, 1) == 0;
    const bool is_whole = !dc.m_hAttribDC && dc.times_painted == 7 && bitmap.palette &&
                          GetObjectType(bitmap.palette->m_hObject) == OBJ_PAL;
    DeleteDC(dc.m_hDC);
    DeleteObject(pixels);
    return is_drawn && is_whole ? 0 : 1;
}
