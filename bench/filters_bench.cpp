// Smoothing, gradients and edges on 2048 x 2048 floats. The argument is sigma.

#include <benchmark/benchmark.h>

#include "pictures.h"

#if defined(VORLANE_HAS_OPENCV)
#include <opencv2/imgproc.hpp>
#endif
#if defined(VORLANE_HAS_ITK)
#include <itkGradientMagnitudeRecursiveGaussianImageFilter.h>
#include <itkSmoothingRecursiveGaussianImageFilter.h>
#endif

namespace {

const CImage& gray() {
    static const ImagePtr image = make_gray_picture();
    return *image;
}

float sigma_of(const benchmark::State& state) {
    return static_cast<float>(state.range(0));
}

void each_sigma(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Arg(1)->Arg(2)->Arg(4)->Arg(8);
}

void smooth_vorlane(benchmark::State& state) {
    for (auto _ : state)
        ImagePtr(gray().smooth_image(sigma_of(state)));
}
BENCHMARK(smooth_vorlane)->Apply(each_sigma);

// A recursion that decays over black runs through subnormal numbers.
void smooth_single_bright_pixel_vorlane(benchmark::State& state) {
    CImage image(side, side, 0, 4, 6);
    image.pixels[side / 2][side / 2] = 255.0f;
    for (auto _ : state)
        ImagePtr(image.smooth_image(sigma_of(state)));
}
BENCHMARK(smooth_single_bright_pixel_vorlane)->Apply(each_sigma);

void smooth_colour_vorlane(benchmark::State& state) {
    const ImagePtr image = make_colour_picture();
    for (auto _ : state)
        ImagePtr(image->smooth_image(sigma_of(state)));
}
BENCHMARK(smooth_colour_vorlane)->Apply(each_sigma);

void gradient_vorlane(benchmark::State& state) {
    CImage image(gray());
    for (auto _ : state)
        image.edges_mag_dir(sigma_of(state));
}
BENCHMARK(gradient_vorlane)->Apply(each_sigma);

void suppress_vorlane(benchmark::State& state) {
    CImage image(gray());
    image.edges_mag_dir(2.0f);
    for (auto _ : state)
        ImagePtr(image.non_maximum_suppression());
}
BENCHMARK(suppress_vorlane)->Unit(benchmark::kMillisecond);

void link_vorlane(benchmark::State& state) {
    CImage image(gray());
    image.edges_mag_dir(2.0f);
    const ImagePtr thin(image.non_maximum_suppression());
    for (auto _ : state)
        ImagePtr(thin->hysteresis_thresholding(0.2f, 0.08f));
}
BENCHMARK(link_vorlane)->Unit(benchmark::kMillisecond);

void edge_map_vorlane(benchmark::State& state) {
    CImage image(gray());
    for (auto _ : state) {
        image.edges_mag_dir(sigma_of(state));
        const ImagePtr thin(image.non_maximum_suppression());
        ImagePtr(thin->hysteresis_thresholding(0.2f, 0.08f));
    }
}
BENCHMARK(edge_map_vorlane)->Apply(each_sigma);

#if defined(VORLANE_HAS_OPENCV)
void smooth_opencv(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    for (auto _ : state) {
        cv::Mat result; // peers make new results at each call, as we do
        cv::GaussianBlur(image, result, cv::Size(), sigma_of(state));
        benchmark::DoNotOptimize(result.data);
    }
}
BENCHMARK(smooth_opencv)->Apply(each_sigma);

void gradient_opencv(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    for (auto _ : state) {
        cv::Mat smooth, dx, dy, magnitude, direction;
        cv::GaussianBlur(image, smooth, cv::Size(), sigma_of(state));
        cv::Sobel(smooth, dx, CV_32F, 1, 0);
        cv::Sobel(smooth, dy, CV_32F, 0, 1);
        cv::cartToPolar(dx, dy, magnitude, direction);
        benchmark::DoNotOptimize(direction.data);
    }
}
BENCHMARK(gradient_opencv)->Apply(each_sigma);

void edge_map_opencv_bytes(benchmark::State& state) {
    cv::Mat image;
    to_opencv(gray()).convertTo(image, CV_8U);
    for (auto _ : state) {
        cv::Mat smooth, edges;
        cv::GaussianBlur(image, smooth, cv::Size(), sigma_of(state));
        cv::Canny(smooth, edges, 10, 25);
        benchmark::DoNotOptimize(edges.data);
    }
}
BENCHMARK(edge_map_opencv_bytes)->Apply(each_sigma);

// Its form for derivatives that were taken elsewhere: smoothed in floats, they have 16 bits.
void edge_map_opencv_floats(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    for (auto _ : state) {
        cv::Mat smooth, dx, dy, dx16, dy16, edges;
        cv::GaussianBlur(image, smooth, cv::Size(), sigma_of(state));
        cv::Sobel(smooth, dx, CV_32F, 1, 0);
        cv::Sobel(smooth, dy, CV_32F, 0, 1);
        dx.convertTo(dx16, CV_16S, 16.0);
        dy.convertTo(dy16, CV_16S, 16.0);
        cv::Canny(dx16, dy16, edges, 160, 400, true);
        benchmark::DoNotOptimize(edges.data);
    }
}
BENCHMARK(edge_map_opencv_floats)->Apply(each_sigma);
#endif

#if defined(VORLANE_HAS_ITK)
template<class Filter>
void run_itk(benchmark::State& state) {
    const auto image = to_itk(gray());
    for (auto _ : state) {
        auto filter = Filter::New();
        filter->SetInput(image);
        filter->SetSigma(sigma_of(state));
        filter->Update();
        benchmark::DoNotOptimize(filter->GetOutput()->GetBufferPointer());
    }
}

void smooth_itk(benchmark::State& state) {
    run_itk<itk::SmoothingRecursiveGaussianImageFilter<ItkImage, ItkImage>>(state);
}
BENCHMARK(smooth_itk)->Apply(each_sigma);

void gradient_itk(benchmark::State& state) {
    run_itk<itk::GradientMagnitudeRecursiveGaussianImageFilter<ItkImage, ItkImage>>(state);
}
BENCHMARK(gradient_itk)->Apply(each_sigma);
#endif

} // namespace
