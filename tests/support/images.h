// Images for tests and their samples, made with nothing but the public headers.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <vorlane/image/image.h>

using ImagePtr = std::unique_ptr<CImage>;
using Samples = std::vector<float>;

// A gray image of the samples value(i, j), or a colour one of value(i, j, channel).
ImagePtr make_gray(int rows, int cols, const std::function<float(int, int)>& value);
ImagePtr make_colour(int rows, int cols, const std::function<float(int, int, int)>& value);

// An image of these samples, row by row; a row of them.
ImagePtr image_of(int rows, int cols, int image_type, const Samples& samples, int pixel_format = 4);
ImagePtr row_of(const Samples& samples, int image_type = 0);

// Samples from 0 to 255, whole numbers or not, the same for the same seed.
ImagePtr make_random(int rows, int cols, int image_type, unsigned seed, bool whole_numbers = false);

// The samples of rows x cols of a plane, row by row.
std::vector<float> samples_of(const float* const* plane, int rows, int cols);
// All samples of an image's pixels.
std::vector<float> samples_of(const CImage& image);

// The samples value(i, j, channel) of rows x cols pixels.
std::vector<float> samples_by(int rows, int cols, int channels,
                              const std::function<float(int, int, int)>& value);

// 1 or 3.
int channels_of(const CImage& image);

// Equal bits in every sample; two not-a-numbers are equal whatever their bits.
testing::AssertionResult same_bits(const std::vector<float>& a, const std::vector<float>& b);
bool same_bits(float a, float b);
