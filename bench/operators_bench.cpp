// The classic operators on 2048 x 2048 floats. New result images are part of the time, while peers
// write to an image that they made before: their best case.

#include <benchmark/benchmark.h>

#include "pictures.h"

#if defined(VORLANE_HAS_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace {

const CImage& gray() {
    static const ImagePtr image = make_gray_picture();
    return *image;
}

const CImage& colour() {
    static const ImagePtr image = make_colour_picture();
    return *image;
}

// Scattered single pixels on black.
const CImage& marks() {
    static const ImagePtr image = [] {
        auto made = std::make_unique<CImage>(side, side, 0, 1, 4);
        for (int k = 0; k < 4000; ++k)
            made->pixels[k * 7919 % side][k * 104729 % side] = 255.0f;
        return made;
    }();
    return *image;
}

// Times `make`, which gives a new image.
template<class Make>
void run(benchmark::State& state, Make make) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ImagePtr(make()).get());
}

void in_ms(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond);
}

int size_of(const benchmark::State& state) {
    return static_cast<int>(state.range(0));
}

void median_vorlane(benchmark::State& state) {
    run(state, [&] { return gray().Median(size_of(state)); });
}
BENCHMARK(median_vorlane)
    ->Apply(in_ms)
    ->Arg(3)
    ->Arg(4)
    ->Arg(5)
    ->Arg(7)
    ->Arg(9)
    ->Arg(11)
    ->Arg(21)
    ->Arg(41);

void median_colour_vorlane(benchmark::State& state) {
    run(state, [&] { return colour().Median(size_of(state)); });
}
BENCHMARK(median_colour_vorlane)->Apply(in_ms)->Arg(3)->Arg(9)->Arg(11);

void sobel_vorlane(benchmark::State& state) {
    CImage image(gray());
    for (auto _ : state)
        image.SobelFilter();
}
BENCHMARK(sobel_vorlane)->Apply(in_ms);

void threshold_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Threshold(100.0f); });
}
BENCHMARK(threshold_vorlane)->Apply(in_ms);

void distance_filter_vorlane(benchmark::State& state) {
    run(state, [&] { return gray().DistanceFilter(size_of(state)); });
}
BENCHMARK(distance_filter_vorlane)->Apply(in_ms)->Arg(3)->Arg(9);

void chamfer_vorlane(benchmark::State& state) {
    run(state, [] { return marks().Chamfer(); });
}
BENCHMARK(chamfer_vorlane)->Apply(in_ms);

void noise_vorlane(benchmark::State& state) {
    run(state, [] { return gray().GNoise(3.0f); });
}
BENCHMARK(noise_vorlane)->Apply(in_ms);

void add_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Addseq(&marks()); });
}
BENCHMARK(add_vorlane)->Apply(in_ms);

void larger_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Maxseq(&marks()); });
}
BENCHMARK(larger_vorlane)->Apply(in_ms);

void larger_colour_vorlane(benchmark::State& state) {
    run(state, [] { return colour().Maxseq(&colour()); });
}
BENCHMARK(larger_colour_vorlane)->Apply(in_ms);

void invert_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Invert(); });
}
BENCHMARK(invert_vorlane)->Apply(in_ms);

void superpose_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Superpose(&marks()); });
}
BENCHMARK(superpose_vorlane)->Apply(in_ms);

void extract_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Extract(1, 1, side - 2, side - 2); });
}
BENCHMARK(extract_vorlane)->Apply(in_ms);

void translate_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Translate(5, -7); });
}
BENCHMARK(translate_vorlane)->Apply(in_ms);

void reduce_vorlane(benchmark::State& state) {
    run(state, [&] { return gray().Reduce(size_of(state), 0); });
}
BENCHMARK(reduce_vorlane)->Apply(in_ms)->Arg(2)->Arg(3)->Arg(8);

void reduce_filtered_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Reduce(2, 1); });
}
BENCHMARK(reduce_filtered_vorlane)->Apply(in_ms);

// With planes of edges, which are reduced as well, and stretched or not.
void reduce_with_planes_vorlane(benchmark::State& state) {
    CImage image(gray());
    image.edges_mag_dir(1.0f);
    run(state, [&] { return image.Reduce(2, 0); });
}
BENCHMARK(reduce_with_planes_vorlane)->Apply(in_ms);

void enlarge_bilinear_vorlane(benchmark::State& state) {
    run(state, [&] { return gray().Enlarge(size_of(state), 1); });
}
BENCHMARK(enlarge_bilinear_vorlane)->Apply(in_ms)->Arg(2)->Arg(3);

void enlarge_replicated_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Enlarge(2, 0); });
}
BENCHMARK(enlarge_replicated_vorlane)->Apply(in_ms);

void rotate_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Rotate(30); });
}
BENCHMARK(rotate_vorlane)->Apply(in_ms);

void rotate_colour_vorlane(benchmark::State& state) {
    run(state, [] { return colour().Rotate(30); });
}
BENCHMARK(rotate_colour_vorlane)->Apply(in_ms);

void scale_vorlane(benchmark::State& state) {
    run(state, [] { return gray().Scale(0.95f, 1.05f); });
}
BENCHMARK(scale_vorlane)->Apply(in_ms);

void fill_vorlane(benchmark::State& state) {
    CImage image(gray());
    float fill = 1000.0f;
    for (auto _ : state)
        image.FillObject(side / 2, side / 2, fill += 1.0f, -1.0f);
}
BENCHMARK(fill_vorlane)->Apply(in_ms);

#if defined(VORLANE_HAS_OPENCV)
// Times `work`, which gets an empty image to write to: peers make new results at each call, as we do.
template<class Work>
void run_opencv(benchmark::State& state, Work work) {
    for (auto _ : state) {
        cv::Mat result;
        work(result);
        benchmark::DoNotOptimize(result.data);
    }
}

void median_opencv(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    run_opencv(state, [&](cv::Mat& to) { cv::medianBlur(image, to, size_of(state)); });
}
BENCHMARK(median_opencv)->Apply(in_ms)->Arg(3)->Arg(5); // larger ones take bytes only

void median_opencv_bytes(benchmark::State& state) {
    cv::Mat image;
    to_opencv(gray()).convertTo(image, CV_8U);
    run_opencv(state, [&](cv::Mat& to) { cv::medianBlur(image, to, size_of(state)); });
}
BENCHMARK(median_opencv_bytes)->Apply(in_ms)->Arg(9)->Arg(11)->Arg(21);

void sobel_opencv(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    cv::Mat dx, dy;
    run_opencv(state, [&](cv::Mat& to) {
        cv::Sobel(image, dx, CV_32F, 1, 0);
        cv::Sobel(image, dy, CV_32F, 0, 1);
        cv::magnitude(dx, dy, to);
    });
}
BENCHMARK(sobel_opencv)->Apply(in_ms);

void threshold_opencv(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    run_opencv(state,
               [&](cv::Mat& to) { cv::threshold(image, to, 100.0, 255.0, cv::THRESH_BINARY); });
}
BENCHMARK(threshold_opencv)->Apply(in_ms);

void chamfer_opencv(benchmark::State& state) {
    cv::Mat bytes;
    to_opencv(marks()).convertTo(bytes, CV_8U);
    const cv::Mat background = bytes == 0;
    run_opencv(state, [&](cv::Mat& to) { cv::distanceTransform(background, to, cv::DIST_L2, 3); });
}
BENCHMARK(chamfer_opencv)->Apply(in_ms);

void add_opencv(benchmark::State& state) {
    const cv::Mat a = to_opencv(gray());
    const cv::Mat b = to_opencv(marks());
    run_opencv(state, [&](cv::Mat& to) { cv::add(a, b, to); });
}
BENCHMARK(add_opencv)->Apply(in_ms);

// The same with a new result for each call, as the library gives.
void add_new_result_opencv(benchmark::State& state) {
    const cv::Mat a = to_opencv(gray());
    const cv::Mat b = to_opencv(marks());
    for (auto _ : state) {
        cv::Mat to;
        cv::add(a, b, to);
        benchmark::DoNotOptimize(to.data);
    }
}
BENCHMARK(add_new_result_opencv)->Apply(in_ms);

void resize_opencv(benchmark::State& state, double factor, int method) {
    const cv::Mat image = to_opencv(gray());
    run_opencv(state, [&](cv::Mat& to) { cv::resize(image, to, {}, factor, factor, method); });
}
BENCHMARK_CAPTURE(resize_opencv, reduce_2, 0.5, cv::INTER_AREA)->Apply(in_ms);
BENCHMARK_CAPTURE(resize_opencv, enlarge_2, 2.0, cv::INTER_LINEAR)->Apply(in_ms);

void rotate_opencv(benchmark::State& state) {
    const cv::Mat image = to_opencv(gray());
    const cv::Mat turn = cv::getRotationMatrix2D({side / 2, side / 2}, 30.0, 1.0);
    run_opencv(state, [&](cv::Mat& to) { cv::warpAffine(image, to, turn, image.size()); });
}
BENCHMARK(rotate_opencv)->Apply(in_ms);

void fill_opencv(benchmark::State& state) {
    cv::Mat image = to_opencv(gray());
    float fill = 1000.0f;
    for (auto _ : state)
        cv::floodFill(image, {side / 2, side / 2}, fill += 1.0f, nullptr, 1.0e6, 1.0e6);
}
BENCHMARK(fill_opencv)->Apply(in_ms);
#endif

} // namespace
