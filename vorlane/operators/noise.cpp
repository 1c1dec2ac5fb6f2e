#include <vorlane/image/image.h>

#include <cmath>
#include <cstdint>
#include <ctime>

#include <vorlane/image/image_parts.h>

namespace {

using namespace vorlane;

constexpr float unit_of_draw = 3.0518509e-05f; // 1 / 32767
constexpr float full_turn = 6.2831855f;

// Whole numbers from 0 to 32767: the top bits of xorshift64* (S. Vigna, "An experimental
// exploration of Marsaglia's xorshift generators, scrambled", 2014).
class Generator {
public:
    // Seeds of one second after another lie far apart.
    explicit Generator(std::uint64_t seed) : state_((seed + 1) * 0x9E3779B97F4A7C15u | 1) {}

    int draw() {
        state_ ^= state_ >> 12;
        state_ ^= state_ << 25;
        state_ ^= state_ >> 27;
        return static_cast<int>(state_ * 0x2545F4914F6CDD1Du >> 49);
    }

    // In (0, 1].
    float draw_unit() {
        int drawn = 0;
        while (drawn == 0)
            drawn = draw();
        return static_cast<float>(drawn * double{unit_of_draw});
    }

private:
    std::uint64_t state_;
};

} // namespace

CImage* CImage::GNoise(float sigma) const {
    if (image_type != 0 || !pixels)
        return nullptr;
    auto out = make_unwritten_image(nrows, ncols, 0, file_format, 6);
    if (!out)
        return nullptr;
    Generator generator(static_cast<std::uint64_t>(std::time(nullptr)));
    for (int i = 0; i < nrows; ++i) {
        const float* const from = pixels[i];
        float* const to = out->pixels[i];
        for (int j = 0; j < ncols; ++j) {
            const float u1 = generator.draw_unit();
            const float u2 = generator.draw_unit();
            const auto radius = static_cast<float>(std::sqrt(-2.0 * std::log(double{u1})));
            const double angle = double{u2} * double{full_turn};
            to[j] = static_cast<float>(from[j] + double{sigma} * radius * std::sin(angle));
        }
    }
    return out.release();
}
