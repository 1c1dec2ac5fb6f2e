// Private: the points of a least-squares fit, and models that know more than the general solver.
#pragma once

#include <vector>

namespace vorlane {

using Model = void (*)(float x, float* params, float* value, float* derivatives, int nparams);

// `count` ordinates y at x, each with its standard deviation.
struct Points {
    const float* x;
    const float* y;
    const float* sig;
    int count;
};

} // namespace vorlane
