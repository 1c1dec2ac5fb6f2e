// Private: the pixel work of ridge detection that runs over lanes.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>
#include <vorlane/simd/widest_lanes.h>

namespace vorlane {

constexpr float no_angle = 3.5f; // stands for "no direction" in every plane of angles
constexpr float least_gradient = 0.0001f;
constexpr float least_curvature = 0.005f;

// Pixels of a row that curve strongly enough, each with the whole-numbered step of length sigma
// along its direction (or its opposite); and those on which only the full arithmetic can decide.
struct RidgeSteps {
    int* cols;
    int* downs;
    int* rights;
    std::size_t count;
    int* open_cols;
    std::size_t open_count;
};

// Pairs of gradients that may point against each other, and what comes of them.
struct RidgePairs {
    float* first_row; // the components along rows and columns of the two gradients
    float* first_col;
    float* second_row;
    float* second_col;
    float* angle; // their common axis, or no_angle
    float* cosine;
    float* sine;
};

struct RidgeKernels {
    // Central differences for 1 <= j <= n - 2 of the middle one of three rows.
    void (*gradients)(const float* above, const float* row, const float* below, std::size_t n,
                      float* along_rows, float* along_cols);

    // Appends the columns from `begin` up to `end` of the middle one of three rows to `steps`.
    void (*steps)(const float* above, const float* row, const float* below, std::size_t begin,
                  std::size_t end, float sigma, RidgeSteps& steps);

    // Fills angle, cosine and sine of n pairs; all arrays have room for n + most_double_lanes.
    void (*axes)(const RidgePairs& pairs, std::size_t n);
};

VORLANE_DECLARE_KERNELS(RidgeKernels, ridge_kernels)

} // namespace vorlane
