#include <vorlane/numerics/least_squares.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include <vorlane/numerics/elementary.h>
#include <vorlane/numerics/mixture_starts.h>
#include <vorlane/numerics/solvers.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

constexpr float gave_up = 1000000.0f;
constexpr int most_steps = 500;
constexpr double least_gain = 1e-9; // of the sum, for a step that counts as progress
constexpr int idle_steps = 3;       // in a row, that end a fit
constexpr double first_damping = 1e-3;
constexpr double largest_damping = 1e16;
constexpr double singular_pivot = 1e-12; // of a matrix with a diagonal of 1

// A fit that leaves a pattern, residuals that look like their neighbours', may be a local minimum:
// it is tried again from starts nearby.
constexpr double most_likeness = 0.25;  // correlation of neighbouring residuals
constexpr double least_likeness = 0.12; // of a mixture, whose search knows where to look
constexpr int most_restarts = 12;
constexpr int restart_steps = 100;
constexpr int most_polishes = 4;
constexpr double least_polish = 1e-3; // of the sum, for another one
constexpr double hopeless = 100.0; // times a sum, for a quick fit that no full one brings below it
constexpr double large = 1e-3;     // of the sum of squares, for residuals that are more than noise
constexpr double exact = 1e-12;    // of the sum of squares: what rounding leaves

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

    std::vector<double> params;
    Triangle matrix;
    std::vector<double> right;
    double sum;
    double neighbours;
};

// One more point in the equations. Derivatives that are 0 have no part in it.
void add_point(const Points& points, int k, double value, const std::vector<double>& derivatives,
               double& last, NormalEquations& e) {
    const double deviation = points.sig[k];
    const double weight = 1.0 / (deviation * deviation);
    const double residual = double{points.y[k]} - value;
    e.sum += residual * residual * weight;
    e.neighbours += residual / deviation * last;
    last = residual / deviation;
    for (std::size_t i = 0; i < derivatives.size(); ++i) {
        const double slope = derivatives[i] * weight;
        if (slope == 0.0)
            continue;
        e.right[i] += slope * residual;
        double* const row = e.matrix.row(i);
        for (std::size_t j = 0; j <= i; ++j)
            row[j] += slope * derivatives[j];
    }
}

// gaussian_mixture_model in double precision, so that a flat valley of the sum doesn't drown in
// roundings. What lies more than 11 widths away is below any float. Returns false where all is 0.
bool evaluate_mixture(double x, const std::vector<double>& params, double& value,
                      std::vector<double>& derivatives) {
    constexpr double far = 11.0;
    bool is_near = false;
    value = 0.0;
    for (std::size_t k = 0; k < params.size(); k += 3) {
        const double a = params[k];
        const double w = params[k + 2];
        const double t = (x - params[k + 1]) / w;
        if (std::fabs(t) > far) {
            derivatives[k] = derivatives[k + 1] = derivatives[k + 2] = 0.0;
            continue;
        }
        is_near = true;
        const double e = numerics::quick_exp(-(t * t));
        value += a * a * e;
        derivatives[k] = 2.0 * a * e;
        derivatives[k + 1] = 2.0 * a * a * e * t / w;
        derivatives[k + 2] = derivatives[k + 1] * t;
    }
    return is_near;
}

// Where counts and mixture are 0 together, a point adds nothing: finds the next that may.
class Gaps {
public:
    // Points in the order of their abscissae; of others none is passed over.
    explicit Gaps(const Points& points) : points_(points) {
        if (!are_levels(points))
            return;
        next_counted_.resize(static_cast<std::size_t>(points.count));
        for (int k = points.count, next = k; k-- > 0;) {
            next = points.y[k] == 0.0f ? next : k;
            next_counted_[static_cast<std::size_t>(k)] = next;
        }
    }

    // Notes how far the components reach, with a margin over what evaluate_mixture calls far.
    void reach_of(const std::vector<double>& params) {
        constexpr double farther = 12.0;
        reaches_.clear();
        for (std::size_t k = 0; k < params.size(); k += 3) {
            const double reach = farther * std::fabs(params[k + 2]);
            reaches_.push_back({params[k + 1] - reach, params[k + 1] + reach});
        }
    }

    // The first point from k on that has a count or that a component reaches.
    int next(int k) const {
        if (next_counted_.empty())
            return k;
        int next = next_counted_[static_cast<std::size_t>(k)];
        for (const Reach& reach : reaches_) {
            const double x = points_.x[k];
            if (x < reach.low && next > k)
                next = static_cast<int>(
                    std::lower_bound(points_.x + k, points_.x + next, reach.low) - points_.x);
            else if (!(x > reach.high))
                return k;
        }
        return next;
    }

private:
    struct Reach {
        double low, high;
    };

    Points points_;
    std::vector<int> next_counted_;
    std::vector<Reach> reaches_;
};

// The model at the parameters, which a model that isn't the mixture takes as floats.
class Evaluation {
public:
    Evaluation(const Points& points, Model model, std::size_t nparams)
        : model_(model), is_mixture_(model == gaussian_mixture_model && nparams % 3 == 0),
          gaps_(points), params_(nparams), float_derivatives_(nparams), derivatives_(nparams) {}

    bool is_mixture() const { return is_mixture_; }

    // Sums up the equations at `e.params`. False if anything in them isn't a finite number.
    bool sum_up(const Points& points, NormalEquations& e) {
        e.matrix.clear();
        std::fill(e.right.begin(), e.right.end(), 0.0);
        e.sum = 0.0;
        e.neighbours = 0.0;
        std::transform(e.params.begin(), e.params.end(), params_.begin(),
                       [](double p) { return static_cast<float>(p); });
        double last = 0.0;
        if (is_mixture_)
            gaps_.reach_of(e.params);
        for (int k = 0; k < points.count; ++k) {
            double value = 0.0;
            if (is_mixture_) {
                if (const int next = gaps_.next(k); next > k) {
                    last = 0.0;
                    k = next - 1;
                    continue;
                }
                if (!evaluate_mixture(points.x[k], e.params, value, derivatives_) &&
                    points.y[k] == 0.0f) {
                    last = 0.0;
                    continue;
                }
            } else {
                value = call_model(points.x[k]);
            }
            add_point(points, k, value, derivatives_, last, e);
        }
        bool is_finite = std::isfinite(e.sum);
        for (std::size_t i = 0; i < e.params.size(); ++i)
            is_finite = is_finite && std::isfinite(e.right[i]) && std::isfinite(e.matrix.row(i)[i]);
        return is_finite;
    }

    // The sum alone, as the model itself has it at these floats.
    double sum_at(const Points& points, const std::vector<float>& params) {
        params_ = params;
        double sum = 0.0;
        for (int k = 0; k < points.count; ++k) {
            const double residual = (double{points.y[k]} - call_model(points.x[k])) / points.sig[k];
            sum += residual * residual;
        }
        return sum;
    }

private:
    double call_model(float x) {
        float value = 0.0f;
        std::fill(float_derivatives_.begin(), float_derivatives_.end(), 0.0f);
        model_(x, params_.data(), &value, float_derivatives_.data(),
               static_cast<int>(params_.size()));
        std::copy(float_derivatives_.begin(), float_derivatives_.end(), derivatives_.begin());
        return value;
    }

    Model model_;
    bool is_mixture_;
    Gaps gaps_;
    std::vector<float> params_, float_derivatives_;
    std::vector<double> derivatives_;
};

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
void descend(const Points& points, Evaluation& evaluation, std::vector<double> scale, int steps,
             NormalEquations& best) {
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
                const double moved = best.params[i] + step[i];
                next.params[i] = evaluation.is_mixture() ? moved : static_cast<float>(moved);
                moves = moves || next.params[i] != best.params[i];
            }
            if (!moves)
                return;
            is_down = evaluation.sum_up(points, next) && next.sum < best.sum;
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

// A fit on its way: the best that was found, and what every descent needs.
class Fit {
public:
    Fit(const Points& points, Model model, std::size_t nparams)
        : points_(points), evaluation_(points, model, nparams), best_(nparams), tried_(nparams),
          scale_(nparams), nothing_(sum_of_nothing(points)) {
        best_.sum = std::numeric_limits<double>::infinity();
    }

    // Descends from a start and keeps what is better than the best. False if it is no start: not
    // finite, or with parameters that have no influence.
    template<class Start>
    bool try_start(const Start& start, int steps) {
        const auto is_number = [](double p) { return std::isfinite(p); };
        if (!std::isfinite(nothing_) || !std::all_of(start.begin(), start.end(), is_number))
            return false;
        tried_.params.assign(start.begin(), start.end());
        if (!evaluation_.sum_up(points_, tried_))
            return false;
        std::fill(scale_.begin(), scale_.end(), 0.0);
        take_scale(tried_.matrix, scale_);
        if (is_singular(tried_, scale_))
            return false;
        descend(points_, evaluation_, scale_, steps, tried_);
        if (tried_.sum < best_.sum)
            std::swap(best_, tried_);
        return true;
    }

    // Starts near `start`, while the best one leaves a pattern.
    void try_nearby(const std::vector<float>& start) {
        NormalEquations middle(start.size());
        middle.params.assign(start.begin(), start.end());
        evaluation_.sum_up(points_, middle);
        std::vector<double> scale(start.size(), 0.0);
        take_scale(middle.matrix, scale);
        std::vector<float> moved(start.size());
        std::uint32_t random = 1;
        for (int k = 0; k < most_restarts && leaves_pattern(); ++k) {
            move_start(middle, scale, random, moved);
            try_start(moved, restart_steps);
        }
    }

    // Takes parameters over as they stand.
    void settle_for(const std::vector<double>& params) {
        best_.params = params;
        evaluation_.sum_up(points_, best_);
    }

    bool is_found() const { return std::isfinite(best_.sum); }
    // True while a better fit may be found: residuals look alike, or are large.
    bool leaves_pattern() const {
        const bool is_mixture = evaluation_.is_mixture();
        return !is_found() || (is_mixture && best_.sum > large * nothing_) ||
               (best_.neighbours > (is_mixture ? least_likeness : most_likeness) * best_.sum &&
                best_.sum > exact * nothing_);
    }
    double sum() const { return best_.sum; }
    const std::vector<double>& params() const { return best_.params; }

    // The parameters as floats; a mixture's heights and widths, in which it is even, positive.
    std::vector<float> rounded() const {
        std::vector<float> params(best_.params.begin(), best_.params.end());
        for (std::size_t k = 0; evaluation_.is_mixture() && k < params.size(); k += 3) {
            params[k] = std::fabs(params[k]);
            params[k + 2] = std::fabs(params[k + 2]);
        }
        return params;
    }

    float misfit() {
        const double sum = evaluation_.sum_at(points_, rounded());
        return static_cast<float>(std::sqrt(nothing_ > 0.0 ? sum / nothing_ : sum));
    }

private:
    Points points_;
    Evaluation evaluation_;
    NormalEquations best_, tried_;
    std::vector<double> scale_;
    double nothing_;
};

enum class Effort { quick, full };

// The fit of a mixture of n Gaussians, from further than one start: while a fit leaves a pattern, the
// next start is tried, `first` before all others. A component more doesn't fit worse, since the fit
// with one less is looked at; only quickly if it can't be as good.
void search_mixture(const Points& points, int n, Mixture first, Effort effort, Fit& fit) {
    bool is_start = fit.try_start(first, most_steps);
    if (!is_start) {
        first = start_by_position(points, n);
        is_start = fit.try_start(first, most_steps);
    }
    const auto try_all = [&](const std::vector<Mixture>& starts) {
        for (const Mixture& start : starts) {
            if (!fit.leaves_pattern())
                return;
            fit.try_start(start, restart_steps);
        }
    };
    try_all({start_by_mass(points, n), start_by_peaks(points, n)});
    if (n == 1 || effort == Effort::quick)
        return;
    const Mixture by_position = start_by_position(points, n);
    try_all({with_widths(by_position, 0.5f), with_widths(by_position, 0.7f),
             with_widths(start_by_mass(points, n), 0.5f)});

    const auto search_fewer = [&](Effort with) {
        Fit fewer(points, gaussian_mixture_model, static_cast<std::size_t>(3 * (n - 1)));
        search_mixture(points, n - 1, start_by_position(points, n - 1), with, fewer);
        return fewer;
    };
    Fit fewer = search_fewer(fit.leaves_pattern() ? Effort::full : Effort::quick);
    if (!fit.leaves_pattern() && (!fewer.leaves_pattern() || fewer.sum() < hopeless * fit.sum()))
        fewer = search_fewer(Effort::full);
    if (fewer.is_found() && (fit.leaves_pattern() || fit.sum() > fewer.sum())) {
        const std::vector<Mixture> starts =
            starts_from(points, Mixture(fewer.params().begin(), fewer.params().end()));
        try_all(starts);
        if (fit.sum() > fewer.sum())
            fit.try_start(starts[0], most_steps);
    }
    if (is_start)
        fit.try_nearby(first);
    double before = std::numeric_limits<double>::infinity();
    for (int k = 0; k < most_polishes && fit.sum() < (1.0 - least_polish) * before; ++k) {
        before = fit.sum();
        fit.try_start(std::vector<double>(fit.params()), most_steps);
    }
    if (fewer.is_found() && !(fit.is_found() && fit.misfit() <= fewer.misfit())) {
        std::vector<double> same = fewer.params();
        same.insert(same.end(), {0.0, same[1], same[2]});
        fit.settle_for(same);
    }
}

float solve(const Points& points, float* params, std::size_t nparams, Model model) {
    const std::vector<float> start(params, params + nparams);
    const bool is_mixture =
        model == gaussian_mixture_model && nparams % 3 == 0 && are_levels(points);
    Fit fit(points, model, nparams);
    if (is_mixture)
        search_mixture(points, static_cast<int>(nparams / 3), start, Effort::full, fit);
    else if (fit.try_start(start, most_steps))
        fit.try_nearby(start);
    if (!fit.is_found())
        return gave_up;
    const float misfit = fit.misfit();
    if (!(misfit < gave_up))
        return gave_up;
    const std::vector<float> found = fit.rounded();
    std::copy(found.begin(), found.end(), params);
    return misfit;
}

} // namespace

float LevenbergMarquardt(float* x, float* y, float* sig, int n, float* params, int nparams,
                         void (*model)(float x, float* params, float* value, float* derivatives,
                                       int nparams)) {
    const DefaultArithmetic arithmetic;
    if (!x || !y || !sig || !params || !model || nparams < 1 || n < nparams)
        return gave_up;
    try {
        return solve({x, y, sig, n}, params, static_cast<std::size_t>(nparams), model);
    } catch (const std::bad_alloc&) {
        return gave_up;
    } catch (const std::length_error&) { // a matrix that no memory could hold
        return gave_up;
    }
}
