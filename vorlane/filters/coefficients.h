// Private: the coefficients of the recursive filter as values; vorlane/filters/recursive_gaussian.h
// tells what they mean.
#pragma once

namespace vorlane {

// As they stand in a record: every one is rounded to a float. Entry 0 of d and m has no meaning.
struct Coefficients {
    float u[4];
    float d[5];
    float k;
    float m[5];
};

// For a sigma that is positive and finite.
Coefficients gaussian_coefficients(float sigma);
Coefficients derivative_coefficients(float sigma);

bool is_valid_sigma(float sigma);

} // namespace vorlane
