// The picture that all benchmarks work on, for the library and for its peers.
#pragma once

#include <cmath>
#include <cstdint>
#include <memory>

#include <vorlane/vorlane.h>

using ImagePtr = std::unique_ptr<CImage>;

constexpr int side = 2048;

// Something like a photograph: slow waves, sharp edges, noise.
inline float sample_at(int i, int j) {
    std::uint32_t noise =
        static_cast<std::uint32_t>(i) * 2654435761u ^ static_cast<std::uint32_t>(j) * 2246822519u;
    noise = (noise ^ noise >> 15) * 3266489917u;
    const bool inside = ((i / 97) ^ (j / 131)) & 1;
    return 90.0f +
           60.0f * std::sin(static_cast<float>(i) * 0.013f) *
               std::cos(static_cast<float>(j) * 0.017f) +
           (inside ? 60.0f : 0.0f) + static_cast<float>(noise >> 27);
}

inline ImagePtr make_gray_picture(int rows = side, int cols = side) {
    auto image = std::make_unique<CImage>(rows, cols, 0, 1, 4);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            image->pixels[i][j] = sample_at(i, j);
    return image;
}

inline ImagePtr make_colour_picture(int rows = side, int cols = side) {
    auto image = std::make_unique<CImage>(rows, cols, 1, 2, 4);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < 3 * cols; ++j)
            image->pixels[i][j] = sample_at(i + 700 * (j % 3), j / 3);
    return image;
}

#if defined(VORLANE_HAS_OPENCV)
#include <opencv2/core.hpp>

inline cv::Mat to_opencv(const CImage& image) {
    cv::setNumThreads(1);
    const int channels = image.image_type == 1 ? 3 : 1;
    cv::Mat mat(image.nrows, image.ncols, CV_32FC(channels));
    for (int i = 0; i < image.nrows; ++i)
        std::copy(image.pixels[i], image.pixels[i] + image.ncols * channels, mat.ptr<float>(i));
    return mat;
}
#endif

#if defined(VORLANE_HAS_ITK)
#include <itkImage.h>
#include <itkMultiThreaderBase.h>

using ItkImage = itk::Image<float, 2>;

inline ItkImage::Pointer to_itk(const CImage& image) {
    itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(1);
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(1);
    auto copy = ItkImage::New();
    ItkImage::SizeType size;
    size[0] = static_cast<itk::SizeValueType>(image.ncols);
    size[1] = static_cast<itk::SizeValueType>(image.nrows);
    copy->SetRegions(ItkImage::RegionType(size));
    copy->Allocate();
    float* to = copy->GetBufferPointer();
    for (int i = 0; i < image.nrows; ++i)
        to = std::copy(image.pixels[i], image.pixels[i] + image.ncols, to);
    return copy;
}
#endif
