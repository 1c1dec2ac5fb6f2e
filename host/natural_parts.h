// Private: what the natural operators share.
#pragma once

#include <cstddef>
#include <string>

#include "host/error.h"
#include "host/messages.h"
#include "host/natural.h"

namespace vorlane::host {

inline std::size_t count_of(int n) {
    return static_cast<std::size_t>(n);
}

inline std::size_t channels_of(const CImage& image) {
    return image.image_type == ImageType::colour ? 3 : 1;
}

// Throw UsageError.
void check_image(const CImage& image);
void check_volume(const CVolume& volume);
constexpr double largest_sigma = 1000.0;
void check_sigma(double sigma, double largest = largest_sigma);
void check_sigma_of_slopes(double sigma);

// New images of 32-bit floats.
ImagePtr make_image(int rows, int cols, int image_type);
VolumePtr make_volume(int slices, int rows, int cols);
void copy_channel(const CImage& image, std::size_t channel, CImage& part); // part is gray
ImagePtr channel_of(const CImage& image, std::size_t channel);             // gray
ImagePtr mean_of_channels(const CImage& image);                            // a copy of a gray image

// The image with `margin` more pixels on each side, which repeat the outermost ones, and with
// `level` subtracted; and its inside again.
ImagePtr continued(const CImage& image, int margin, double level);
VolumePtr continued(const CVolume& volume, int margin);
ImagePtr inside(const CImage& image, int margin);

// Pixels beyond the border that a Gaussian still sees: 4 sigma.
int margin_of(double sigma);

// The smallest and the largest sample that is a number; 0 and 0 if there is none.
struct Levels {
    double low, high;
};
Levels levels_of(const CImage& image);

// The derivatives of a gray image along both axes.
struct Derivatives {
    ImagePtr x, y;
};
Derivatives derivatives_of(const CImage& gray, double sigma, bool wants_x, bool wants_y);

} // namespace vorlane::host
