#include <vorlane/image/colour.h>

#include <cmath>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/luv_kernels.h>
#include <vorlane/image/range.h>
#include <vorlane/image/results.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/numerics/rounding.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;
using namespace vorlane::luv;

// The two directions and the two forms of RGB_to_LUV round to floats at different places; each
// static_cast<float> of L*u*v* is part of the contract.

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
    return 116.0 * numerics::pow(n * level_step, 0.333333) - 16.0;
}

// The level of a luminance from 0 to 1; others are brought to the nearest end.
int level_of(double yn) {
    const double n = yn * levels + 0.5;
    return n < levels ? static_cast<int>(n) : static_cast<int>(levels);
}

// Rounds half away from zero, as an integer does: there is no -0.
float round_half_away(double value) {
    return static_cast<float>(std::trunc(half_away(value)) + 0.0);
}

float clamp_to_byte_range(double value) {
    if (value < 0.0)
        return 0.0f;
    return value > 255.0 ? 255.0f : static_cast<float>(value);
}

} // namespace

void CImage::ComputeRGB(CImage* red, CImage* green, CImage* blue) const {
    if (image_type == ImageType::gray || !has_rows_and_columns(*this) || !holds_channels(*this, 3))
        return;
    for (const CImage* const channel : {red, green, blue}) {
        if (!channel || !plane_holds(channel->pixels, nrows, ncols))
            return;
    }
    for (int i = 0; i < nrows; ++i) {
        const float* pixel = pixels[i];
        float* const r = red->pixels[i];
        float* const g = green->pixels[i];
        float* const b = blue->pixels[i];
        for (int j = 0; j < ncols; ++j, pixel += 3) {
            r[j] = pixel[0];
            g[j] = pixel[1];
            b[j] = pixel[2];
        }
    }
}

CImage* CImage::MakeGray() const {
    if (image_type == ImageType::gray || !holds_channels(*this, 3))
        return nullptr;
    const Form form = form_of(*this).of_type(ImageType::gray).as(PixelFormat::float32);
    return make_written(*this, form, [&](CImage& gray) {
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            float* const to = gray.pixels[i];
            for (Index j = 0; j < ncols; ++j)
                to[j] = static_cast<float>(mean_of_pixel(from + 3 * j));
        }
    });
}

CImage* CImage::MakeColor(int scale) const {
    if (image_type != ImageType::gray)
        return nullptr;
    const Form form = form_of(*this).of_type(ImageType::colour).as(PixelFormat::byte);
    return make_from(*this, form, [&](CImage& colour) {
        const Range range = scale ? find_range(pixels, nrows, ncols) : Range{};
        const double min = range.min;
        const double width = double{range.max} - double{range.min};
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            float* const to = colour.pixels[i];
            for (Index j = 0; j < ncols; ++j) {
                const float v =
                    scale ? static_cast<float>((from[j] - min) * 255.0 / width) : from[j];
                to[3 * j] = to[3 * j + 1] = to[3 * j + 2] = v;
            }
        }
    });
}

CImage* CImage::RGB_to_LUV() const {
    if (image_type != ImageType::colour)
        return nullptr;
    const Form form = form_of(*this).as(PixelFormat::none).in_file(FileFormat::none);
    return make_from(*this, form, [&](CImage& luv) {
        float lightness[256];
        for (int i = 0; i < 256; ++i)
            lightness[i] = static_cast<float>(lightness_of_level(i));
        const LuvKernels& kernels = pick_luv_kernels();
        for (int i = 0; i < nrows; ++i)
            kernels.to_luv(pixels[i], luv.pixels[i], ncols, lightness);
    });
}

void RGB_to_LUV(float r, float g, float b, float* l, float* u, float* v) {
    const DefaultArithmetic arithmetic;
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
    const DefaultArithmetic arithmetic;
    if (l < 0.1) {
        *r = *g = *b = 0.0f;
        return;
    }
    constexpr double inverse_slope = 0.001107052f; // 1 / 903.3
    constexpr double cube_scale = 0.00862069f;     // 1 / 116
    constexpr double inverse_13 = 0.07692308f;
    const double y = l < 8.0 ? l * inverse_slope : numerics::cube((l + 16.0) * cube_scale);
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
