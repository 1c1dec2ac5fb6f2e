// Ridges over eight scales on 2048 x 2048 floats, beside the eight smoothings that they rest on;
// and histograms with their fits. Progress lines go to the standard output; send the report to a
// file with --benchmark_out.

#include <cmath>

#include <benchmark/benchmark.h>

#include "pictures.h"

namespace {

constexpr int scales = 8;

// Vessel-like curves of several widths on a slow background, as in a photograph of a retina.
ImagePtr make_vessels() {
    auto image = std::make_unique<CImage>(side, side, 0, 1, 4);
    for (int i = 0; i < side; ++i) {
        for (int j = 0; j < side; ++j) {
            const auto x = static_cast<float>(j);
            const auto y = static_cast<float>(i);
            float value = 120.0f + 40.0f * std::sin(x * 0.002f) * std::cos(y * 0.0015f);
            for (int k = 0; k < 6; ++k) {
                const float width = 2.0f + static_cast<float>(k);
                const float period = 150.0f + 40.0f * static_cast<float>(k);
                const float phase = y + 0.7f * x * static_cast<float>(k - 2) +
                                    30.0f * std::sin(x * 0.01f + static_cast<float>(k));
                const float distance = std::remainder(phase, period);
                value -= 25.0f * std::exp(-distance * distance / (width * width));
            }
            image->pixels[i][j] = value + sample_at(i, j) * 0.02f;
        }
    }
    return image;
}

float sigma_at(int k) {
    return 1.0f + static_cast<float>(k);
}

void find(benchmark::State& state, CImage& image, const CImage* mask = nullptr) {
    for (auto _ : state)
        image.ridges(sigma_at(0), sigma_at(scales - 1), scales, 1, 1, mask);
}

void smooth_eight_times(benchmark::State& state) {
    const ImagePtr image = make_gray_picture();
    for (auto _ : state)
        for (int k = 0; k < scales; ++k)
            ImagePtr(image->smooth_image(sigma_at(k)));
}
BENCHMARK(smooth_eight_times)->Unit(benchmark::kMillisecond);

void ridges_of_photograph(benchmark::State& state) {
    const ImagePtr image = make_gray_picture();
    find(state, *image);
}
BENCHMARK(ridges_of_photograph)->Unit(benchmark::kMillisecond);

void ridges_of_vessels(benchmark::State& state) {
    const ImagePtr image = make_vessels();
    find(state, *image);
}
BENCHMARK(ridges_of_vessels)->Unit(benchmark::kMillisecond);

void ridges_of_flat_ground(benchmark::State& state) {
    CImage image(side, side, 0, 1, 4);
    find(state, image);
}
BENCHMARK(ridges_of_flat_ground)->Unit(benchmark::kMillisecond);

void count_levels(benchmark::State& state) {
    const ImagePtr image = make_gray_picture();
    for (auto _ : state)
        benchmark::DoNotOptimize(CHistogram(image.get(), 0).peak);
}
BENCHMARK(count_levels)->Unit(benchmark::kMillisecond);

void fit_five_gaussians_to_4096_bins(benchmark::State& state) {
    CHistogram h;
    h.nbins = 4096;
    h.bins = make_1D_int_array(h.nbins);
    for (int i = 0; i < h.nbins; ++i) {
        double count = 0.0;
        for (int k = 0; k < 5; ++k) {
            const double t = (i - (500.0 + 800 * k)) / (100.0 + 20 * k);
            count += (1000 + 300 * k) * std::exp(-0.5 * t * t);
        }
        h.bins[i] = static_cast<int>(count + static_cast<int>(sample_at(i, 0)) % 7);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(h.FitNGaussians(5));
}
BENCHMARK(fit_five_gaussians_to_4096_bins)->Unit(benchmark::kMillisecond);

} // namespace
