// The operations of lanes, each over arrays, for every instruction set.
#pragma once

#include <cstddef>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

struct LaneOperations {
    // Entry k of to[] comes from a[k] and b[k]; n is a multiple of every number of lanes. Null
    // behind the last operation.
    void (*of_doubles[40])(const double* a, const double* b, double* to, std::size_t n);
    void (*of_floats[40])(const float* a, const float* b, float* to, std::size_t n);
    // The operations that hold for magnitudes below 2^31, from doubles and floats.
    void (*truncations)(const double* a, const float* b, double* to, std::size_t n);
};

VORLANE_DECLARE_KERNELS(LaneOperations, lane_operations)

} // namespace vorlane
