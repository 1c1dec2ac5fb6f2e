#include <vorlane/numerics/solvers.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Model = void (*)(float, float*, float*, float*, int);

constexpr float gave_up = 1000000.0f;
constexpr int most_steps = 500;
constexpr double least_gain = 1e-9; // of the sum, for a step that counts as progress
constexpr int idle_steps = 3;       // in a row, that end a fit
constexpr double first_damping = 1e-3;
constexpr double largest_damping = 1e16;
constexpr double singular_pivot = 1e-12; // of a matrix with a diagonal of 1

// A fit that leaves a pattern, residuals that look like their neighbours', may be a local minimum:
// it is tried again from starts nearby.
constexpr double most_likeness = 0.25; // correlation of neighbouring residuals
constexpr int most_restarts = 12;
constexpr int restart_steps = 100;

struct Points {
    float* x;
    const float* y;
    const float* sig;
    int count;
};

// A lower triangle, row by row.
class Triangle {
public:
    explicit Triangle(std::size_t n) : cells_(n * (n + 1) / 2) {}
    double* row(std::size_t i) { return cells_.data() + i * (i + 1) / 2; }
    const double* row(std::size_t i) const { return cells_.data() + i * (i + 1) / 2; }
    void clear() { std::fill(cells_.begin(), cells_.end(), 0.0); }

private:
    std::vector<double> cells_;
};

// The normal equations at one set of parameters: matrix J'J, right side J'r and sum r'r of the
// weighted residuals r; and the sum of the products of neighbouring residuals.
struct NormalEquations {
    explicit NormalEquations(std::size_t n)
        : params(n), matrix(n), right(n), sum(0.0), neighbours(0.0) {}

    std::vector<float> params;
    Triangle matrix;
    std::vector<double> right;
    double sum;
    double neighbours;
};

// Sums up the equations at `e.params`. False if anything in them isn't a finite number.
bool sum_up(const Points& points, Model model, std::vector<float>& derivatives,
            NormalEquations& e) {
    const std::size_t n = e.params.size();
    e.matrix.clear();
    std::fill(e.right.begin(), e.right.end(), 0.0);
    e.sum = 0.0;
    e.neighbours = 0.0;
    double last = 0.0;
    for (int k = 0; k < points.count; ++k) {
        float value = 0.0f;
        std::fill(derivatives.begin(), derivatives.end(), 0.0f);
        model(points.x[k], e.params.data(), &value, derivatives.data(), static_cast<int>(n));
        const double deviation = points.sig[k];
        const double weight = 1.0 / (deviation * deviation);
        const double residual = double{points.y[k]} - double{value};
        e.sum += residual * residual * weight;
        e.neighbours += residual / deviation * last;
        last = residual / deviation;
        for (std::size_t i = 0; i < n; ++i) {
            const double slope = derivatives[i] * weight;
            if (slope == 0.0)
                continue;
            e.right[i] += slope * residual;
            double* const row = e.matrix.row(i);
            for (std::size_t j = 0; j <= i; ++j)
                row[j] += slope * derivatives[j];
        }
    }
    bool is_finite = std::isfinite(e.sum);
    for (std::size_t i = 0; i < n; ++i)
        is_finite = is_finite && std::isfinite(e.right[i]) && std::isfinite(e.matrix.row(i)[i]);
    return is_finite;
}

// The Cholesky factor of the matrix in units of `scale`, with 1 + damping on its diagonal. False if
// a pivot falls below `least_pivot`.
bool decompose(const Triangle& matrix, const std::vector<double>& scale, double damping,
               double least_pivot, Triangle& factor) {
    const std::size_t n = scale.size();
    for (std::size_t i = 0; i < n; ++i) {
        const double* const from = matrix.row(i);
        double* const row = factor.row(i);
        for (std::size_t j = 0; j <= i; ++j) {
            const double* const above = factor.row(j);
            double rest = from[j] / scale[i] / scale[j];
            if (i == j)
                rest += damping;
            for (std::size_t k = 0; k < j; ++k)
                rest -= row[k] * above[k];
            if (i != j) {
                row[j] = rest / above[j];
            } else if (rest > least_pivot) {
                row[j] = std::sqrt(rest);
            } else {
                return false;
            }
        }
    }
    return true;
}

// Solves factor factor' (scale step) = right / scale.
void solve(const Triangle& factor, const std::vector<double>& scale,
           const std::vector<double>& right, std::vector<double>& step) {
    const std::size_t n = scale.size();
    for (std::size_t i = 0; i < n; ++i) {
        double rest = right[i] / scale[i];
        for (std::size_t k = 0; k < i; ++k)
            rest -= factor.row(i)[k] * step[k];
        step[i] = rest / factor.row(i)[i];
    }
    for (std::size_t i = n; i-- > 0;) {
        double rest = step[i];
        for (std::size_t k = i + 1; k < n; ++k)
            rest -= factor.row(k)[i] * step[k];
        step[i] = rest / factor.row(i)[i];
    }
    for (std::size_t i = 0; i < n; ++i)
        step[i] /= scale[i];
}

// The root of each diagonal element: a unit of its parameter that moves the model by as much as
// that of any other one.
void take_scale(const Triangle& matrix, std::vector<double>& scale) {
    for (std::size_t i = 0; i < scale.size(); ++i)
        scale[i] = std::max(scale[i], std::sqrt(matrix.row(i)[i]));
}

bool is_singular(const NormalEquations& e, const std::vector<double>& scale) {
    for (const double s : scale) {
        if (!(s > 0.0))
            return true;
    }
    Triangle factor(scale.size());
    return !decompose(e.matrix, scale, 0.0, singular_pivot, factor);
}

// How far the linearised model says that the sum falls for a step.
double promised_gain(const NormalEquations& e, const std::vector<double>& scale, double damping,
                     const std::vector<double>& step) {
    double gain = 0.0;
    for (std::size_t i = 0; i < step.size(); ++i)
        gain += step[i] * (damping * scale[i] * scale[i] * step[i] + e.right[i]);
    return gain;
}

// Walks downhill from `best` and leaves the best equations found there. The scale grows on the way.
void descend(const Points& points, Model model, std::vector<float>& derivatives,
             std::vector<double> scale, int steps, NormalEquations& best) {
    NormalEquations next = best;
    Triangle factor(scale.size());
    std::vector<double> step(scale.size());
    double damping = first_damping;
    double growth = 2.0;
    int idle = 0;
    for (int count = 0; count < steps && idle < idle_steps; ++count) {
        bool is_down = false;
        if (decompose(best.matrix, scale, damping, 0.0, factor)) {
            solve(factor, scale, best.right, step);
            bool moves = false;
            for (std::size_t i = 0; i < step.size(); ++i) {
                next.params[i] = static_cast<float>(best.params[i] + step[i]);
                moves = moves || next.params[i] != best.params[i];
            }
            if (!moves)
                return;
            is_down = sum_up(points, model, derivatives, next) && next.sum < best.sum;
        }
        if (!is_down) {
            damping *= growth;
            growth *= 2.0;
            if (!(damping < largest_damping))
                return;
            continue;
        }
        const double gain = best.sum - next.sum;
        const double ratio = 2.0 * gain / promised_gain(best, scale, damping, step) - 1.0;
        damping *= std::max(1.0 / 3.0, 1.0 - ratio * ratio * ratio);
        growth = 2.0;
        idle = gain < least_gain * best.sum ? idle + 1 : 0;
        std::swap(best, next);
        take_scale(best.matrix, scale);
    }
}

// The sum of a model that is 0 everywhere.
double sum_of_nothing(const Points& points) {
    double sum = 0.0;
    for (int k = 0; k < points.count; ++k) {
        const double ratio = double{points.y[k]} / double{points.sig[k]};
        sum += ratio * ratio;
    }
    return sum;
}

// Moves each parameter by up to what changes the model by as much as the residuals are large; none
// changes its sign. A generator of its own makes a fit the same every time.
void move_start(const NormalEquations& start, const std::vector<double>& scale,
                std::uint32_t& random, std::vector<float>& params) {
    for (std::size_t i = 0; i < params.size(); ++i) {
        random = random * 1664525u + 1013904223u;
        const double part = (random >> 8) / 8388608.0 - 1.0;
        const double moved = start.params[i] + part * std::sqrt(start.sum) / scale[i];
        params[i] = static_cast<float>(std::copysign(moved, start.params[i]));
    }
}

float fit(const Points& points, float* params, std::size_t nparams, Model model) {
    std::vector<float> derivatives(nparams);
    NormalEquations start(nparams);
    std::copy(params, params + nparams, start.params.begin());
    const auto is_number = [](float p) { return std::isfinite(p); };
    const double nothing = sum_of_nothing(points);
    if (!std::isfinite(nothing) ||
        !std::all_of(start.params.begin(), start.params.end(), is_number) ||
        !sum_up(points, model, derivatives, start))
        return gave_up;
    std::vector<double> scale(nparams, 0.0);
    take_scale(start.matrix, scale);
    if (is_singular(start, scale))
        return gave_up;

    NormalEquations best = start;
    descend(points, model, derivatives, scale, most_steps, best);
    NormalEquations other = start;
    std::uint32_t random = 1;
    for (int k = 0; k < most_restarts && best.neighbours > most_likeness * best.sum; ++k) {
        move_start(start, scale, random, other.params);
        if (!sum_up(points, model, derivatives, other))
            continue;
        descend(points, model, derivatives, scale, restart_steps, other);
        if (other.sum < best.sum)
            std::swap(best, other);
    }

    const double misfit = std::sqrt(nothing > 0.0 ? best.sum / nothing : best.sum);
    if (!(static_cast<float>(misfit) < gave_up))
        return gave_up;
    std::copy(best.params.begin(), best.params.end(), params);
    return static_cast<float>(misfit);
}

} // namespace

float LevenbergMarquardt(float* x, float* y, float* sig, int n, float* params, int nparams,
                         void (*model)(float x, float* params, float* value, float* derivatives,
                                       int nparams)) {
    if (!x || !y || !sig || !params || !model || nparams < 1 || n < nparams)
        return gave_up;
    try {
        return fit({x, y, sig, n}, params, static_cast<std::size_t>(nparams), model);
    } catch (const std::bad_alloc&) {
        return gave_up;
    } catch (const std::length_error&) { // a matrix that no memory could hold
        return gave_up;
    }
}
