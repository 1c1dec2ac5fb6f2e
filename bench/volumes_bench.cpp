// Volumes of 192 x 192 x 192 floats at sigma 2: smoothing, second-order structure, reading.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "pictures.h"

#if defined(VORLANE_HAS_VIGRA)
#include <vigra/multi_array.hxx>
#include <vigra/multi_convolution.hxx>
#endif
#if defined(VORLANE_HAS_ITK)
#include <itkHessianRecursiveGaussianImageFilter.h>
#include <itkSmoothingRecursiveGaussianImageFilter.h>
#include <itkSymmetricEigenAnalysisImageFilter.h>
#endif

namespace {

constexpr int edge = 192;
constexpr float sigma = 2.0f;
using VolumePtr = std::unique_ptr<CVolume>;

CVolume& volume() {
    static const VolumePtr made = [] {
        auto stack = std::make_unique<CVolume>(edge, edge, edge, 0, 4, 6);
        for (int k = 0; k < edge; ++k)
            for (int i = 0; i < edge; ++i)
                for (int j = 0; j < edge; ++j)
                    stack->slices[k].pixels[i][j] = sample_at(i + 3 * k, j + 5 * k);
        return stack;
    }();
    return *made;
}

void smooth_volume_vorlane(benchmark::State& state) {
    for (auto _ : state)
        VolumePtr(volume().smooth_volume(sigma));
}
BENCHMARK(smooth_volume_vorlane)->Unit(benchmark::kMillisecond);

void volume_ridges_vorlane(benchmark::State& state) {
    for (auto _ : state)
        volume().ridges(sigma, 0.0f, 0, 0, 0);
}
BENCHMARK(volume_ridges_vorlane)->Unit(benchmark::kMillisecond);

// The argument is the size of a sample as descriptions state it.
void read_volume_vorlane(benchmark::State& state) {
    const auto folder = std::filesystem::temp_directory_path();
    const std::string data = (folder / "vorlane-bench.raw").string();
    const std::string description = (folder / "vorlane-bench.txt").string();
    const auto size = static_cast<int>(state.range(0));
    const std::size_t bytes = std::size_t{edge} * edge * edge * (size == 40 ? 4u : size);
    std::ofstream(data, std::ios::binary) << std::string(bytes, '\1');
    std::ofstream(description) << "V2\nfile=" << data << "\nnbf=" << edge << "\nrow=" << edge
                               << "\ncol=" << edge << "\nsize=" << size << "\n";
    for (auto _ : state) {
        CVolume read;
        if (!read.ReadVolume(description.c_str()))
            state.SkipWithError("can't read");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    std::filesystem::remove(data);
    std::filesystem::remove(description);
}
BENCHMARK(read_volume_vorlane)->Unit(benchmark::kMillisecond)->Arg(1)->Arg(2)->Arg(40);

#if defined(VORLANE_HAS_VIGRA)
using VigraVolume = vigra::MultiArray<3, float>;

void smooth_volume_vigra(benchmark::State& state) {
    VigraVolume in(vigra::Shape3(edge, edge, edge));
    for (int k = 0; k < edge; ++k)
        for (int i = 0; i < edge; ++i)
            for (int j = 0; j < edge; ++j)
                in(j, i, k) = volume().slices[k].pixels[i][j];
    for (auto _ : state) {
        VigraVolume out(in.shape());
        vigra::gaussianSmoothMultiArray(in, out, double{sigma});
    }
}
BENCHMARK(smooth_volume_vigra)->Unit(benchmark::kMillisecond);
#endif

#if defined(VORLANE_HAS_ITK)
using ItkVolume = itk::Image<float, 3>;

ItkVolume::Pointer itk_volume() {
    itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(1);
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(1);
    auto copy = ItkVolume::New();
    ItkVolume::SizeType size;
    size.Fill(edge);
    copy->SetRegions(ItkVolume::RegionType(size));
    copy->Allocate();
    float* to = copy->GetBufferPointer();
    for (int k = 0; k < edge; ++k)
        for (int i = 0; i < edge; ++i)
            to = std::copy_n(volume().slices[k].pixels[i], edge, to);
    return copy;
}

void smooth_volume_itk(benchmark::State& state) {
    const auto in = itk_volume();
    for (auto _ : state) {
        auto filter = itk::SmoothingRecursiveGaussianImageFilter<ItkVolume, ItkVolume>::New();
        filter->SetInput(in);
        filter->SetSigma(double{sigma});
        filter->Update();
    }
}
BENCHMARK(smooth_volume_itk)->Unit(benchmark::kMillisecond);

void volume_ridges_itk(benchmark::State& state) {
    const auto in = itk_volume();
    for (auto _ : state) {
        auto hessian = itk::HessianRecursiveGaussianImageFilter<ItkVolume>::New();
        hessian->SetInput(in);
        hessian->SetSigma(double{sigma});
        using Matrices = decltype(hessian)::ObjectType::OutputImageType;
        using Values = itk::Image<itk::FixedArray<float, 3>, 3>;
        auto eigenvalues = itk::SymmetricEigenAnalysisImageFilter<Matrices, Values>::New();
        eigenvalues->SetInput(hessian->GetOutput());
        eigenvalues->SetDimension(3);
        eigenvalues->Update();
    }
}
BENCHMARK(volume_ridges_itk)->Unit(benchmark::kMillisecond);
#endif

} // namespace
