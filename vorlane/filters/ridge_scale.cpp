#include <vorlane/filters/ridge_scale.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include <vorlane/filters/ridge_kernels.h>
#include <vorlane/image/index.h>
#include <vorlane/image/plane.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/numerics/rounding.h>

namespace vorlane {

namespace {

constexpr double pi = 3.1415927f; // the float, as all angles here count from it
constexpr double quarter_turn = 1.5707964f;
constexpr float strength_unit = 2.8989599f;
constexpr float least_strength = 0.0001f;

// A whole-numbered step along a direction.
struct Step {
    int down, right;
};

// |second derivative| along an angle.
double curvature(double angle, double rr, double cc, double rc) {
    const double c = numerics::cos(angle);
    const double s = numerics::sin(angle);
    return std::abs(c * c * rr + 2.0 * c * s * rc + s * s * cc);
}

int nearest_whole(double value) {
    return static_cast<int>(half_away(value));
}

// The full arithmetic of what the kernel `steps` decides by bounds, at one pixel. False where the
// image doesn't curve enough.
bool find_step(const float* const* s, Index i, Index j, float sigma, Step& step) {
    const double centre = s[i][j];
    const auto rr = static_cast<float>((s[i - 1][j] - 2.0 * centre + s[i + 1][j]) * 0.25);
    const auto cc = static_cast<float>((s[i][j - 1] - 2.0 * centre + s[i][j + 1]) * 0.25);
    const auto rc = static_cast<float>(
        (double{s[i - 1][j - 1]} + s[i + 1][j + 1] - s[i - 1][j + 1] - s[i + 1][j - 1]) * 0.25);
    double first = 0.0;
    double second = quarter_turn;
    if (rr != cc) {
        const double turn = 0.5 * numerics::atan(2.0 * rc / (double{rr} - cc));
        first = static_cast<float>(std::fmod(turn + pi, pi));
        second = std::fmod(first + quarter_turn, pi);
    }
    const double along_first = curvature(first, rr, cc, rc);
    const double along_second = curvature(second, rr, cc, rc);
    const bool is_first = along_first > along_second;
    const double angle = is_first ? first : second;
    if ((is_first ? along_first : along_second) < least_curvature || std::isnan(angle))
        return false;
    step = {nearest_whole(sigma * numerics::cos(angle)),
            nearest_whole(sigma * numerics::sin(angle))};
    return true;
}

// Gradients of the rows around the one that is looked at; older rows give way to newer ones.
class GradientRows {
public:
    GradientRows(const float* const* smooth, Index rows, Index cols, Index reach,
                 const float* const* mask)
        : smooth_(smooth), mask_(mask), rows_(rows), cols_(cols),
          kept_(std::min(2 * reach + 1, rows)), store_(2 * kept_, cols, Fill::none),
          along_rows_(rows), along_cols_(rows) {}

    const float* const* along_rows() const { return along_rows_.data(); }
    const float* const* along_cols() const { return along_cols_.data(); }

    // Makes sure of all rows up to `last`.
    void advance(Index last) {
        for (; next_ <= std::min(last, rows_ - 1); ++next_)
            make_row(next_);
    }

private:
    // Border pixels and those that the mask leaves out have no gradient.
    void make_row(Index i) {
        float* const r = store_[2 * (i % kept_)];
        float* const c = store_[2 * (i % kept_) + 1];
        along_rows_[i] = r;
        along_cols_[i] = c;
        const Index n = cols_;
        if (i < 1 || i >= rows_ - 1) {
            std::fill(r, r + n, 0.0f);
            std::fill(c, c + n, 0.0f);
            return;
        }
        pick_ridge_kernels().gradients(smooth_[i - 1], smooth_[i], smooth_[i + 1], n, r, c);
        r[0] = c[0] = r[n - 1] = c[n - 1] = 0.0f;
        if (!mask_)
            return;
        for (Index j = 0; j < n; ++j) {
            r[j] = mask_[i][j] != 0.0f ? r[j] : 0.0f;
            c[j] = mask_[i][j] != 0.0f ? c[j] : 0.0f;
        }
    }

    const float* const* smooth_;
    const float* const* mask_;
    Index rows_;
    Index cols_;
    Index kept_;
    Index next_ = 0;
    Plane store_;
    std::vector<const float*> along_rows_;
    std::vector<const float*> along_cols_;
};

// The lists of one row.
class RowLists {
public:
    explicit RowLists(std::size_t cols) : ints_(5 * cols), floats_(7 * (cols + most_double_lanes)) {
        int* const i = ints_.data();
        steps = {i, i + cols, i + 2 * cols, 0, i + 3 * cols, 0};
        pair_cols = i + 4 * cols;
        float* const f = floats_.data();
        const std::size_t n = cols + most_double_lanes;
        pairs = {f, f + n, f + 2 * n, f + 3 * n, f + 4 * n, f + 5 * n, f + 6 * n};
    }

    RidgeSteps steps{};
    RidgePairs pairs{};
    int* pair_cols;
    std::size_t pair_count = 0;

private:
    std::vector<int> ints_;
    std::vector<float> floats_;
};

class ScaleSearch {
public:
    ScaleSearch(const float* const* smooth, int rows, int cols, float sigma,
                const RidgeSearch& search)
        : smooth_(smooth), search_(search), sigma_(sigma), margin_(static_cast<int>(sigma) + 2),
          rows_(rows), cols_(cols), gradients_(smooth, rows, cols, margin_ - 1, search.mask),
          lists_(cols) {}

    void run() {
        for (int i = margin_; i < rows_ - margin_; ++i) {
            gradients_.advance(i + margin_ - 1);
            find_steps(i);
            pair_gradients(i);
            pick_ridge_kernels().axes(lists_.pairs, lists_.pair_count);
            measure(i);
        }
    }

private:
    bool counts(int i, int j) const { return !search_.mask || search_.mask[i][j] != 0.0f; }

    void find_steps(int i) {
        RidgeSteps& steps = lists_.steps;
        steps.count = steps.open_count = 0;
        pick_ridge_kernels().steps(smooth_[i - 1], smooth_[i], smooth_[i + 1], margin_,
                                   cols_ - margin_, sigma_, steps);
        for (std::size_t k = 0; k < steps.open_count; ++k) {
            Step step;
            if (!find_step(smooth_, i, steps.open_cols[k], sigma_, step))
                continue;
            steps.cols[steps.count] = steps.open_cols[k];
            steps.downs[steps.count] = step.down;
            steps.rights[steps.count] = step.right;
            ++steps.count;
        }
    }

    // The gradient at one end of a step. A pixel that the mask leaves out keeps the angle 0.
    void read_gradient(int i, int j, float& r, float& c) const {
        const bool is_out = !counts(i, j);
        r = is_out ? 1.0f : gradients_.along_rows()[i][j];
        c = is_out ? 0.0f : gradients_.along_cols()[i][j];
    }

    // Lists the pixels whose gradients at both ends of the step are long enough and may be opposed:
    // an angle above 2 pi / 3 has a cosine below -1/2. The bounds leave out what they can't decide.
    void pair_gradients(int i) {
        const RidgeSteps& steps = lists_.steps;
        const RidgePairs& pairs = lists_.pairs;
        std::size_t n = 0;
        for (std::size_t k = 0; k < steps.count; ++k) {
            const int j = steps.cols[k];
            if (!counts(i, j))
                continue;
            float r1, c1, r2, c2;
            read_gradient(i + steps.downs[k], j + steps.rights[k], r1, c1);
            read_gradient(i - steps.downs[k], j - steps.rights[k], r2, c2);
            const double dot = double{r1} * r2 + double{c1} * c2;
            const double square1 = double{r1} * r1 + double{c1} * c1;
            const double square2 = double{r2} * r2 + double{c2} * c2;
            constexpr double least_square = 0.99 * least_gradient * least_gradient;
            if (dot >= 0.0 || dot * dot < 0.2499 * square1 * square2 || square1 < least_square ||
                square2 < least_square)
                continue;
            pairs.first_row[n] = r1;
            pairs.first_col[n] = c1;
            pairs.second_row[n] = r2;
            pairs.second_col[n] = c2;
            lists_.pair_cols[n++] = j;
        }
        lists_.pair_count = n;
    }

    // The strength of a ridge across the direction (c, s), or 0 as soon as it can't exceed `floor`:
    // it is no larger than either slope gives.
    float strength(int i, int j, float c, float s, float floor) const {
        const float* const* const r = gradients_.along_rows();
        const float* const* const l = gradients_.along_cols();
        const float behind = slope_at(r, l, i, j, -sigma_, c, s);
        if (!(scaled(std::abs(behind)) > floor))
            return 0.0f;
        const float ahead = -slope_at(r, l, i, j, sigma_, c, s);
        float result = 0.0f;
        if (search_.bright)
            result = scaled(std::min(positive(behind), positive(ahead)));
        if (search_.dark)
            result =
                static_cast<float>(result + double{std::min(positive(-behind), positive(-ahead))} *
                                                double{strength_unit});
        return result < least_strength ? 0.0f : result;
    }

    static float positive(float value) { return value > 0.0f ? value : 0.0f; }
    static float scaled(float slope) {
        return static_cast<float>(double{slope} * double{strength_unit});
    }

    void measure(int i) {
        const RidgePairs& pairs = lists_.pairs;
        float* const mag = search_.mag[i];
        for (std::size_t k = 0; k < lists_.pair_count; ++k) {
            if (pairs.angle[k] == no_angle)
                continue;
            const int j = lists_.pair_cols[k];
            const float r = strength(i, j, pairs.cosine[k], pairs.sine[k], mag[j]);
            if (r > mag[j]) {
                mag[j] = r;
                search_.dir[i][j] = pairs.angle[k];
                search_.scale[i][j] = sigma_;
            }
        }
    }

    const float* const* smooth_;
    const RidgeSearch& search_;
    float sigma_;
    int margin_; // sigma truncated, plus 2
    int rows_;
    int cols_;
    GradientRows gradients_;
    RowLists lists_;
};

} // namespace

void search_scale(const float* const* smooth, int rows, int cols, float sigma,
                  const RidgeSearch& search) {
    const bool has_inside = sigma < static_cast<float>(std::min(rows, cols)) &&
                            2.0 * (std::floor(sigma) + 2.0) < std::min(rows, cols);
    if (has_inside && (search.bright || search.dark))
        ScaleSearch(smooth, rows, cols, sigma, search).run();
}

} // namespace vorlane
