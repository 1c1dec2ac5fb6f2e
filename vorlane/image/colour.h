// Conversion of single pixels between RGB (0 to 255) and CIE 1976 L*u*v* with a D65 white point.
// Source: CIE Publication 15, "Colorimetry"; the matrices and the order of roundings are this
// library's.
#pragma once

#include <vorlane/platform/export.h>

// L from 0 to 100, u and v, each rounded to a whole number. It rounds on the way at other places
// than CImage::RGB_to_LUV does: of all whole-numbered colours, a few hundred results differ, by 1.
VORLANE_API void RGB_to_LUV(float r, float g, float b, float* l, float* u, float* v);

// The inverse, not rounded to whole numbers, clamped to 0 to 255. L below 0.1 is black.
VORLANE_API void LUV_to_RGB(float l, float u, float v, float* r, float* g, float* b);
