// Private: how a colour pixel becomes one value.
#pragma once

namespace vorlane {

constexpr float one_third = 0.33333334f; // the float nearest 1/3

// The mean of the three samples of a pixel, not rounded to a float.
inline double mean_of_pixel(const float* pixel) {
    return ((double{pixel[2]} + double{pixel[1]}) + double{pixel[0]}) * double{one_third};
}

} // namespace vorlane
