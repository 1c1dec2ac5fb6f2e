// Images made fit to be looked at: their samples brought to 0 to 255.
#pragma once

#include <array>

#include "host.h"

// Samples of a pixel in the image's rows: 1 or 3.
int samples_per_pixel(const CImage& image);

// How a sample stands in a file: CImage::pixel_format in words.
const char* name_of_encoding(int pixel_format);

struct SampleRange {
    float low, high;
};

// The smallest and the largest sample that is a number; 0 and 0 if there is none.
SampleRange range_of(const CImage& image);

// Maps the range of all samples, of all channels alike, to lo to hi. Equal samples become lo; so do
// not-a-numbers.
void stretch(CImage& image, float lo, float hi);

// Stretches to 0 to 255 if the format that the ending stands for holds bytes and the samples leave
// that range.
void fit_to_format(CImage& image, const std::string& path);

// A plane of an image as an image of its own.
ImagePtr image_of_plane(const CImage& image, const float* const* plane);

// A fully saturated colour: the hue in turns from red, the value from 0 to 255.
std::array<float, 3> colour_of_hue(double hue, double value);

// Directions from 0 to 2 pi as hues, with strengths from 0 to 1 as brightness.
ImagePtr colour_wheel(const CImage& image, const float* const* direction,
                      const float* const* strength);
