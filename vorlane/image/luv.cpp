// CIE 1976 L*u*v*. The two directions and the two forms of RGB_to_LUV round to floats at different
// places; each static_cast<float> below is part of the contract.

#include <vorlane/image/colour.h>

#include <cmath>

#include <vorlane/image/image_parts.h>
#include <vorlane/image/luv_kernels.h>

namespace {

using namespace vorlane;
using namespace vorlane::luv;

// The tristimulus values in units of 1 / 10000.
double X_of(double r, double g, double b) {
    return 4125.0 * r + 3576.0 * g + 1804.0 * b;
}
double Y_of(double r, double g, double b) {
    return 2125.0 * r + 7154.0 * g + 721.0 * b;
}
double Z_of(double r, double g, double b) {
    return 193.0 * r + 1192.0 * g + 9502.0 * b;
}

// Of the quantised level n from 0 to 255, with the cube root as nearly as the exponent has it.
double lightness_of_level(int n) {
    return 116.0 * std::pow(n * level_step, 0.333333) - 16.0;
}

// The level of a luminance from 0 to 1; others are brought to the nearest end.
int level_of(double yn) {
    const double n = yn * levels + 0.5;
    return n < levels ? static_cast<int>(n) : static_cast<int>(levels);
}

// Rounds half away from zero, as an integer does: there is no -0.
float round_half_away(double value) {
    const double shifted = value < 0.0 ? value - 0.5 : value + 0.5;
    return static_cast<float>(std::trunc(shifted) + 0.0);
}

float clamp_to_byte_range(double value) {
    if (value < 0.0)
        return 0.0f;
    return value > 255.0 ? 255.0f : static_cast<float>(value);
}

} // namespace

CImage* CImage::RGB_to_LUV() const {
    if (image_type != 1 || !pixels)
        return nullptr;
    auto luv = make_unwritten_image(nrows, ncols, image_type, 0, 0);
    if (!luv)
        return nullptr;
    float lightness[256];
    for (int i = 0; i < 256; ++i)
        lightness[i] = static_cast<float>(lightness_of_level(i));
    const LuvKernels& kernels = pick_luv_kernels();
    for (int i = 0; i < nrows; ++i)
        kernels.to_luv(pixels[i], luv->pixels[i], static_cast<std::size_t>(ncols), lightness);
    return luv.release();
}

void RGB_to_LUV(float r, float g, float b, float* l, float* u, float* v) {
    const double X = static_cast<float>(X_of(r, g, b));
    const double Y = static_cast<float>(Y_of(r, g, b));
    const double Z = static_cast<float>(Z_of(r, g, b));
    const double yn = Y * luminance_scale;
    const double L = yn > linear_threshold ? lightness_of_level(level_of(yn)) : yn * linear_slope;
    const double d = (Z * 3.0 + Y * 15.0) + X;
    const double d_float = static_cast<float>(d);
    const double u_chroma = d == 0.0 ? black_u : X * 4.0 / d_float;
    const double v_chroma = d == 0.0 ? black_v : static_cast<float>(Y * 9.0 / d_float);
    const double u_value = static_cast<float>((u_chroma - white_u) * L * chroma_scale);
    const double v_value = static_cast<float>((v_chroma - white_v) * L * chroma_scale);
    *l = round_half_away(L);
    *u = round_half_away(u_value);
    *v = round_half_away(v_value);
}

void LUV_to_RGB(float l, float u, float v, float* r, float* g, float* b) {
    if (l < 0.1) {
        *r = *g = *b = 0.0f;
        return;
    }
    constexpr double inverse_slope = 0.001107052f; // 1 / 903.3
    constexpr double cube_scale = 0.00862069f;     // 1 / 116
    constexpr double inverse_13 = 0.07692308f;
    const double y = l < 8.0 ? l * inverse_slope : std::pow((l + 16.0) * cube_scale, 3.0);
    const double u_chroma = u * inverse_13 / l + white_u;
    const double v_chroma = v * inverse_13 / l + white_v;
    const double x = static_cast<float>(u_chroma * y * 2.25 / v_chroma);
    const double z = ((12.0 - u_chroma * 3.0) - v_chroma * 20.0) * y * 0.25 / v_chroma;
    const float red = static_cast<float>(((-0.4985 * z + 3.2405 * x) + -1.5371 * y) * 255.0);
    const float green = static_cast<float>(((0.0416 * z + -0.9693 * x) + 1.8760 * y) * 255.0);
    const double blue = ((1.0573 * z + 0.0556 * x) + -0.2040 * y) * 255.0;
    *r = clamp_to_byte_range(red);
    *g = clamp_to_byte_range(green);
    *b = clamp_to_byte_range(blue);
}
