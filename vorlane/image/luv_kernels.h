// Private: the conversion of rows to L*u*v*, and the constants of all forms of it.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

namespace luv {

constexpr double luminance_scale = 3.9215686e-07f; // 1 / (255 * 10000)
constexpr double linear_threshold = 0.008856;
constexpr double linear_slope = 903.3f;
constexpr double levels = 255.0f;
constexpr double level_step = 0.003921569f; // 1 / 255
constexpr double white_u = 0.1978f;
constexpr double white_v = 0.4683f;
constexpr double chroma_scale = 13.0f;
constexpr double black_u = 4.0f;
constexpr double black_v = 0.6f;

} // namespace luv

struct LuvKernels {
    // n pixels of red, green, blue from 0 to 255 to L, u, v, rounded to whole numbers. `lightness`
    // has L for the 256 levels of luminance.
    void (*to_luv)(const float* rgb, float* luv, std::size_t n, const float* lightness);
};

VORLANE_DECLARE_KERNELS(LuvKernels, luv_kernels)

} // namespace vorlane
