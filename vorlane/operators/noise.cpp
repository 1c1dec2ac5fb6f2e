#include <vorlane/image/image.h>

#include <cmath>
#include <cstdlib>
#include <ctime>

#include <vorlane/image/results.h>

namespace {

using namespace vorlane;

constexpr float unit_of_draw = 3.0518509e-05f; // 1 / 32767
constexpr float full_turn = 6.2831855f;

// A whole number from 1 to 32767, as a part of 32767: in (0, 1]. The low 15 bits of the standard
// generator, whose own range differs between systems.
float draw_unit() {
    int drawn = 0;
    while (drawn == 0)
        drawn = std::rand() & 0x7FFF; // NOLINT(cert-msc50-cpp): the documented source of noise
    return static_cast<float>(drawn * double{unit_of_draw});
}

} // namespace

CImage* CImage::GNoise(float sigma) const {
    std::srand(static_cast<unsigned>(std::time(nullptr))); // NOLINT(cert-msc51-cpp)
    if (image_type != ImageType::gray)
        return nullptr;
    return make_from(*this, form_of(*this).as(PixelFormat::float32), [&](CImage& out) {
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            float* const to = out.pixels[i];
            for (int j = 0; j < ncols; ++j) {
                const float u1 = draw_unit();
                const float u2 = draw_unit();
                const auto radius = static_cast<float>(std::sqrt(-2.0 * std::log(double{u1})));
                const double angle = double{u2} * double{full_turn};
                to[j] = static_cast<float>(from[j] + double{sigma} * radius * std::sin(angle));
            }
        }
    });
}
