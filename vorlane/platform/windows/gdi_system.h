// Bitmaps, palettes and devices of the system: BITMAPINFOHEADER, PALETTEENTRY, HDC, StretchDIBits and the like.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX // min and max are functions of the C++ library
#endif
#include <windows.h>
