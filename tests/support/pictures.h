// Images and planes for tests, and comparisons of them bit for bit.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <vorlane/image/plane.h>
#include <vorlane/image/results.h>
#include <vorlane/simd/instruction_set.h>

using ImagePtr = std::unique_ptr<CImage>;

// A gray image of the samples value(i, j), or a colour one of value(i, j, channel).
ImagePtr make_gray(int rows, int cols, const std::function<float(int, int)>& value);
ImagePtr make_colour(int rows, int cols, const std::function<float(int, int, int)>& value);

// Samples from 0 to 255, whole numbers or not, the same for the same seed.
ImagePtr make_random(int rows, int cols, int image_type, unsigned seed, bool whole_numbers = false);

// The samples of rows x cols of a plane, row by row.
std::vector<float> samples_of(const float* const* plane, int rows, int cols);
// All samples of an image's pixels.
std::vector<float> samples_of(const CImage& image);

// The samples value(i, j, channel) of rows x cols pixels.
std::vector<float> samples_by(int rows, int cols, int channels,
                              const std::function<float(int, int, int)>& value);

// The record that `fill`, ga or fdga, makes of sigma.
vorlane::Plane coefficients_of(void (*fill)(float, float**), float sigma);

// The five integers of an image, and the planes that it has besides its pixels: m, d and s.
struct Facts : vorlane::Form {
    std::string planes;
    bool operator==(const Facts& other) const;
};
Facts facts_of(const CImage& image);
void PrintTo(const Facts& facts, std::ostream* out);

// 1 or 3.
int channels_of(const CImage& image);

// Equal bits in every sample; two not-a-numbers are equal whatever their bits.
testing::AssertionResult same_bits(const std::vector<float>& a, const std::vector<float>& b);
bool same_bits(float a, float b);

// Calls `check` with each instruction set that this machine has in force, and restores the widest.
void with_each_instruction_set(const std::function<void()>& check);
