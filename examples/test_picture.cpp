// Draws a picture to try things on: a harbour at dusk, with a moon and its light on the water,
// hills, a mast with fine rigging, windows, and the noise of a camera.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

#include <vorlane/vorlane.h>

namespace {

constexpr int rows = 480;
constexpr int cols = 720;
constexpr int horizon = 300;

struct Colour {
    float r, g, b;
};

Colour mix(Colour a, Colour b, float part) {
    part = std::clamp(part, 0.0f, 1.0f);
    return {a.r + (b.r - a.r) * part, a.g + (b.g - a.g) * part, a.b + (b.b - a.b) * part};
}

void put(CImage& image, int row, int col, Colour colour, float strength = 1.0f) {
    if (row < 0 || col < 0 || row >= rows || col >= cols)
        return;
    float* const pixel = image.pixels[row] + 3 * col;
    const Colour mixed = mix({pixel[0], pixel[1], pixel[2]}, colour, strength);
    pixel[0] = mixed.r;
    pixel[1] = mixed.g;
    pixel[2] = mixed.b;
}

// A line as soft as a pixel.
void line(CImage& image, float row1, float col1, float row2, float col2, Colour colour) {
    const int steps = static_cast<int>(2 * std::hypot(row2 - row1, col2 - col1)) + 1;
    for (int k = 0; k <= steps; ++k) {
        const float part = static_cast<float>(k) / static_cast<float>(steps);
        const float row = row1 + (row2 - row1) * part;
        const float col = col1 + (col2 - col1) * part;
        const int i = static_cast<int>(std::floor(row));
        const int j = static_cast<int>(std::floor(col));
        for (int di = 0; di < 2; ++di)
            for (int dj = 0; dj < 2; ++dj)
                put(image, i + di, j + dj, colour,
                    (1 - std::abs(row - static_cast<float>(i + di))) *
                        (1 - std::abs(col - static_cast<float>(j + dj))));
    }
}

float hill(float x, float phase, float height) {
    return height *
           (0.55f + 0.3f * std::sin(x * 0.011f + phase) + 0.15f * std::sin(x * 0.037f + 2 * phase));
}

void paint_sky_and_water(CImage& image) {
    constexpr Colour night = {24, 30, 68}, dusk = {226, 142, 92}, deep = {14, 26, 48};
    constexpr float moon_row = 92, moon_col = 505, moon_radius = 44;
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            const auto x = static_cast<float>(j);
            const auto y = static_cast<float>(i);
            if (i < horizon) {
                const float moon = std::hypot(y - moon_row, x - moon_col) - moon_radius;
                put(image, i, j, mix(night, dusk, std::pow(y / horizon, 2.2f)));
                put(image, i, j, {250, 238, 205}, std::clamp(0.5f - moon, 0.0f, 1.0f));
                put(image, i, j, {250, 220, 180}, 0.35f * std::exp(-std::max(moon, 0.0f) / 40));
                for (int k = 0; k < 3; ++k) {
                    const float top = horizon - hill(x, 1.7f * static_cast<float>(k),
                                                     110.0f - 26.0f * static_cast<float>(k));
                    const float shade = 0.55f + 0.2f * static_cast<float>(k);
                    put(image, i, j, mix(dusk, {20, 24, 40}, shade),
                        std::clamp(y - top, 0.0f, 1.0f));
                }
            } else {
                const float depth = (y - horizon) / (rows - horizon);
                const float wave =
                    std::sin(0.9f * y / (0.3f + depth) + 3 * std::sin(x * 0.02f + y * 0.05f));
                put(image, i, j, mix({150, 104, 92}, deep, std::sqrt(depth) + 0.12f * wave));
                const float glitter = std::exp(-std::abs(x - moon_col) / (14 + 60 * depth));
                put(image, i, j, {255, 236, 190}, glitter * std::clamp(wave, 0.0f, 1.0f));
            }
        }
    }
}

void paint_house(CImage& image, int left, int width, int height, Colour wall,
                 std::mt19937& random) {
    const int top = horizon + 14 - height;
    for (int i = top; i < horizon + 14; ++i)
        for (int j = left; j < left + width; ++j)
            put(image, i, j, wall);
    for (int i = 0; i <= width / 3; ++i) // the gable
        for (int j = left + i * 3 / 2; j < left + width - i * 3 / 2; ++j)
            put(image, top - i, j, {70, 34, 30});
    for (int i = top + 8; i + 10 < horizon + 10; i += 17)
        for (int j = left + 6; j + 6 < left + width; j += 13) {
            const bool is_lit = random() % 3 == 0;
            for (int di = 0; di < 9; ++di)
                for (int dj = 0; dj < 6; ++dj)
                    put(image, i + di, j + dj, is_lit ? Colour{255, 206, 110} : Colour{38, 40, 56});
        }
}

void paint_ship(CImage& image) {
    constexpr Colour dark = {22, 16, 18};
    for (int i = 0; i < 34; ++i)
        for (int j = 120 + i; j < 420 - i * i / 40; ++j)
            put(image, 352 + i, j, i < 5 ? Colour{150, 60, 44} : Colour{44, 26, 26});
    for (const float mast : {196.0f, 262.0f, 334.0f}) {
        for (float off = -1.5f; off <= 1.5f; off += 0.5f)
            line(image, 100, mast + off, 352, mast + off, dark);
        for (int yard = 0; yard < 4; ++yard) {
            const float row = 130 + 48.0f * static_cast<float>(yard);
            line(image, row, mast - 26 - 3.0f * static_cast<float>(yard), row,
                 mast + 26 + 3.0f * static_cast<float>(yard), dark);
        }
        for (int rope = 0; rope < 5; ++rope) {
            line(image, 104, mast, 352, mast - 14 - 7.0f * static_cast<float>(rope), dark);
            line(image, 104, mast, 352, mast + 14 + 7.0f * static_cast<float>(rope), dark);
        }
    }
    line(image, 352, 122, 300, 60, dark);
    line(image, 104, 196, 300, 60, dark);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: test-picture OUT.ppm\n", stderr);
        return 2;
    }
    CImage image(rows, cols, 1, 2, 4);
    std::mt19937 random(1);
    paint_sky_and_water(image);
    paint_house(image, 470, 66, 92, {122, 92, 80}, random);
    paint_house(image, 540, 58, 70, {150, 120, 96}, random);
    paint_house(image, 602, 84, 116, {96, 84, 92}, random);
    paint_ship(image);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < 3 * cols; ++j) {
            float noise = -8; // the sum of four dice is nearly Gaussian
            for (int k = 0; k < 4; ++k)
                noise += static_cast<float>(random() % 4001) / 1000;
            image.pixels[i][j] = std::clamp(image.pixels[i][j] + 1.6f * noise, 0.0f, 255.0f);
        }
    return image.WriteImage(argv[1]) ? 0 : 1;
}
