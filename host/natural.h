// The operators in their natural form, as a person expects them of any program: smoothing keeps the
// brightness, a slope has its sign and its size, nothing happens at the border that the picture
// doesn't show. (The library's own forms do what its headers say: a gain that isn't 1, borders that
// fall off.)
//
// Images are gray or colour, whatever isn't said otherwise; a colour image is worked on channel by
// channel. Results are new images of 32-bit floats (pixel_format 6) that the caller owns. An
// argument without a meaning, and an image without pixels, throws UsageError with the name of the
// argument and its limit; shortage of memory throws Error. No threads are started; the same input
// gives the same bits on every machine.
//
// `sigma` is a standard deviation in pixels (voxels), above 0 and up to 1000, of slopes
// and edges from 0.3 on.
#pragma once

#include <functional>
#include <memory>

#include <vorlane/vorlane.h>

#include "host/messages.h"

namespace vorlane::host {

using VolumePtr = std::unique_ptr<CVolume>;

// Gaussian smoothing by the library's recursive filter, divided by what it makes of an image of
// ones, so that an even picture stays as it is at every sigma and to the border: the mean of the
// pixels that there are, with the weights of the Gaussian. The same filter runs in double precision
// for a sigma above 8, where floats no longer carry it. Memory: the result, of a colour image two
// planes besides.
ImagePtr smooth(const CImage& image, double sigma);

enum class Axis { x, y }; // x along the rows, y along the columns

// First derivative of the smoothed image, in gray levels a pixel, positive where the image rises
// towards larger j (x) or i (y). It is the slope of the line that fits the pixels around best, in
// the sense of least squares weighted by the Gaussian, so that a ramp gives its slope everywhere,
// also at the border. Memory: the result and two planes.
ImagePtr derivative(const CImage& image, double sigma, Axis axis);

// Steepest slope in gray levels a pixel, and its direction in radians from 0 to 2 pi: 0 rises
// towards larger j, pi / 2 towards larger i; 0 where there is no slope. Both gray: of a colour
// image the channel with the steepest slope decides. Memory: the results and five planes.
struct Gradient {
    ImagePtr magnitude, direction;
};
Gradient gradient(const CImage& image, double sigma);

// Thresholds of an edge detection, in parts of the picture's steepest slope, or in gray levels a
// pixel.
struct EdgeThresholds {
    double high = 0.2; // an edge starts above this
    double low = 0.08; // and goes on above this
    bool absolute = false;
};

struct EdgeMap {
    ImagePtr edges;        // 255 on an edge, 0 elsewhere; pixel_format 4
    ImagePtr thin;         // the slope where it is a ridge of slopes, 0 elsewhere
    ImagePtr magnitude;    // as of gradient()
    ImagePtr direction;    // as of gradient()
    double steepest_slope; // in gray levels a pixel
    double high, low;      // the thresholds in gray levels a pixel
    bool is_flat;          // the picture has one level only; there are no edges then
};

// Edges by the steepest slopes across them and two thresholds. Beyond its border the image counts
// as continued by its outermost pixels, so that edges reach the border and the border is none.
// Source: J. Canny, "A computational approach to edge detection", 1986. Memory: the results and
// seven planes.
EdgeMap find_edges(const CImage& image, double sigma, const EdgeThresholds& thresholds);

struct RidgeScales {
    double from = 1.0, to = 4.0; // sigma in pixels, up to 32
    int count = 4;               // in equal steps, 1 to 1000
    bool bright = true, dark = true;
    const CImage* mask = nullptr; // of the image's size; where it is 0 no ridge is looked for
};

struct RidgeMap {
    ImagePtr
        strength; // 0 to 1, the strongest in the picture being 1; 0 everywhere if there is none
    ImagePtr direction; // the angle across the ridge, 0 to pi, 0 along i; 3.5 where there is none
    ImagePtr scale;     // sigma, about half the width; 0 where there is no ridge
    bool is_empty;      // no ridge at all
};

// Hears of each scale, before it is worked on: `done` of `count` are behind. It may throw to end
// the search.
using ScaleProgress = std::function<void(int done, int count)>;

// Ridges as of CImage::ridges, to the border and silent: the image counts as continued beyond its
// border, and strengths are scaled by the strongest inside. A colour image counts as the mean of
// its channels. Memory: about ten planes of the image and its margin of 4 sigma.
RidgeMap find_ridges(const CImage& image, const RidgeScales& scales,
                     const ScaleProgress& progress = {});

// Turns counter-clockwise (row 0 is at the top) about the centre of the picture by `degrees`, any
// finite number. Multiples of 90 move whole pixels and lose nothing; other angles interpolate
// bilinearly. `expand` makes the result as large as the turned picture; otherwise it has the size
// of the image. What lies outside the picture is `fill`.
ImagePtr rotate(const CImage& image, double degrees, bool expand = true, double fill = 0.0);

// To a given size of at least 1 x 1: pixels are taken as small squares that cover the same picture,
// so that its corners stay its corners. Along an axis that shrinks by a factor f it is smoothed
// before, with a sigma of sqrt(f^2 - 1) / 2. Bilinear interpolation; the outermost pixels are
// continued.
ImagePtr scale(const CImage& image, int rows, int cols);

// The same by factors above 0 to nrows x row_factor by ncols x col_factor pixels, rounded, at least
// one.
ImagePtr scale_by(const CImage& image, double row_factor, double col_factor);

// Smoothing along all three axes, as of images. The volume is gray, and all of its slices have the
// size that it states. Memory: the result.
VolumePtr smooth(const CVolume& volume, double sigma);

} // namespace vorlane::host
