// CDib: read, turned into floats, drawn on both devices, written, and read again.

#include <cstring>
#include <filesystem>
#include <string>

#include <vorlane/bitmap/dib.h>
#include <vorlane/image/arrays.h>

#include "input_path.h"

namespace {

void use(CDib& bitmap) {
    int rows = 0;
    int cols = 0;
    int type = 0;
    float** const plane = bitmap.MakeFloatImage(&rows, &cols, &type);
    if (plane)
        bitmap.MakeKnownFloatImage(plane, type);
    free_2D_float_array(plane);
    bitmap.MakePalette();
    for (const auto colours : {CMemoryDC::true_colour, CMemoryDC::palette_256}) {
        CMemoryDC device(20, 15, colours);
        bitmap.Draw(&device, -3, 2, 30, -19);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* const path = input_path(data, size);
    CDib bitmap;
    {
        CFile file(path, CFile::modeRead);
        if (!bitmap.Read(&file))
            return 0;
    }
    use(bitmap);
    if (bitmap.image_size > 1 << 20)
        return 0;
    const std::string copy = std::string(path) + ".bmp";
    {
        CFile file(copy.c_str(), CFile::modeCreate | CFile::modeWrite);
        bitmap.Write(&file);
    }
    CFile file(copy.c_str(), CFile::modeRead);
    CDib again;
    if (!again.Read(&file) || again.image_size != bitmap.image_size ||
        std::memcmp(again.bits, bitmap.bits, bitmap.image_size) != 0)
        std::abort();
    return 0;
}
