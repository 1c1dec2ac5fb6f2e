#include <vorlane/numerics/solvers.h>

#include <cmath>

#include <vorlane/numerics/elementary.h>

void gaussian_mixture_model(float x, float* params, float* value, float* derivatives, int nparams) {
    *value = 0.0f;
    for (int k = 0; k < nparams; k += 3) {
        const double a = params[k];
        const double m = params[k + 1];
        const double w = params[k + 2];
        const double t = static_cast<float>((x - m) / w);
        const double e = vorlane::numerics::exp_as_float(-(t * t));
        *value = static_cast<float>(*value + a * a * e);
        derivatives[k] = static_cast<float>(2.0 * a * e);
        derivatives[k + 1] = static_cast<float>(2.0 * a * a * e * t / w);
        derivatives[k + 2] = static_cast<float>(2.0 * a * a * e * (t * t) / w);
    }
}
