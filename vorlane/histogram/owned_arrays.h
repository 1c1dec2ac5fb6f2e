// Private: owners of the arrays that a histogram holds.
#pragma once

#include <memory>

#include <vorlane/image/arrays.h>

namespace vorlane {

struct FreeIntArray {
    void operator()(int* array) const { free_1D_int_array(array); }
};
struct FreeFloatArray {
    void operator()(float* array) const { free_1D_float_array(array); }
};
using IntArray = std::unique_ptr<int, FreeIntArray>;
using FloatArray = std::unique_ptr<float, FreeFloatArray>;

} // namespace vorlane
