#include <vorlane/numerics/mixture_starts.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include <vorlane/numerics/elementary.h>

namespace vorlane {

namespace {

constexpr double root_of_2 = std::numbers::sqrt2;

double spacing(const Points& points) {
    return (double{points.x[points.count - 1]} - double{points.x[0]}) /
           std::max(points.count - 1, 1);
}

void append(Mixture& mixture, double height, double centre, double width) {
    mixture.push_back(static_cast<float>(std::sqrt(std::max(height, 0.0))));
    mixture.push_back(static_cast<float>(centre));
    mixture.push_back(static_cast<float>(width));
}

// A component with the moments of the points from `lo` up to `hi`, at least as wide as a point.
void append_moments(const Points& points, int lo, int hi, Mixture& mixture) {
    double count = 0.0;
    double moment = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double weight = std::max(points.y[i], 0.0f);
        count += weight;
        moment += weight * points.x[i];
    }
    const double mean = count > 0.0 ? moment / count : points.x[lo];
    double squares = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double distance = points.x[i] - mean;
        squares += std::max(points.y[i], 0.0f) * distance * distance;
    }
    const double step = spacing(points);
    const double variance = std::max(count > 0.0 ? squares / count : 0.0, 0.25 * step * step);
    const double deviation = std::sqrt(variance);
    append(mixture, count * step / (deviation * std::sqrt(2.0 * std::numbers::pi)), mean,
           root_of_2 * deviation);
}

// What the mixture leaves of the counts.
std::vector<double> remainder(const Points& points, const Mixture& mixture) {
    std::vector<double> rest(static_cast<std::size_t>(points.count));
    for (int i = 0; i < points.count; ++i) {
        double model = 0.0;
        for (std::size_t k = 0; k < mixture.size(); k += 3) {
            const double t = (double{points.x[i]} - mixture[k + 1]) / mixture[k + 2];
            model += double{mixture[k]} * mixture[k] * numerics::quick_exp(-t * t);
        }
        rest[static_cast<std::size_t>(i)] = points.y[i] - model;
    }
    return rest;
}

// A component at the highest place of `rest`, as wide as the steeper of its sides says.
void append_peak(const Points& points, const std::vector<double>& rest, Mixture& mixture) {
    const std::size_t n = rest.size();
    std::vector<double> smoothed(n);
    for (std::size_t i = 0; i < n; ++i)
        smoothed[i] =
            0.5 * rest[i] + 0.25 * (rest[i > 0 ? i - 1 : i] + rest[i + 1 < n ? i + 1 : i]);
    const auto top = static_cast<std::size_t>(std::max_element(smoothed.begin(), smoothed.end()) -
                                              smoothed.begin());
    const double half = 0.5 * smoothed[top];
    std::size_t reach = 1;
    while (top >= reach && top + reach < n && smoothed[top - reach] > half &&
           smoothed[top + reach] > half)
        ++reach;
    constexpr double half_width = 1.1774100225154747; // at half the height, in deviations
    const double deviation = (static_cast<double>(reach) - 0.5) * spacing(points) / half_width;
    append(mixture, std::max(rest[top], smoothed[top]), points.x[top], root_of_2 * deviation);
}

} // namespace

bool are_levels(const Points& points) {
    return points.count > 1 &&
           std::adjacent_find(points.x, points.x + points.count,
                              [](float a, float b) { return !(a < b); }) == points.x + points.count;
}

Mixture start_by_position(const Points& points, int n) {
    std::ptrdiff_t first = 0;
    while (first < points.count && points.y[first] == 0.0f)
        ++first;
    const std::ptrdiff_t span = points.count - first;
    Mixture start;
    for (std::ptrdiff_t k = 0; k < n; ++k) {
        const auto lo = static_cast<int>(first + span * k / n);
        const auto hi = static_cast<int>(first + span * (k + 1) / n);
        Mixture component(3);
        moments_of_interval(
            lo, hi, [&](int i) { return points.x[i]; }, [&](int i) { return double{points.y[i]}; },
            component.data());
        const bool is_usable = std::isfinite(component[0]) && std::isfinite(component[1]) &&
                               component[2] > 0.0f && std::isfinite(component[2]);
        if (is_usable)
            start.insert(start.end(), component.begin(), component.end());
        else
            append_moments(points, std::min(lo, points.count - 1), hi, start);
    }
    return start;
}

Mixture start_by_mass(const Points& points, int n) {
    double total = 0.0;
    for (int i = 0; i < points.count; ++i)
        total += std::max(points.y[i], 0.0f);
    Mixture start;
    double sum = 0.0;
    int hi = 0;
    for (int k = 0; k < n; ++k) {
        const int lo = std::min(hi, points.count - 1);
        while (hi < points.count && (hi == lo || sum < total * (k + 1) / n))
            sum += std::max(points.y[hi++], 0.0f);
        append_moments(points, lo, std::max(hi, lo + 1), start);
    }
    return start;
}

Mixture start_by_peaks(const Points& points, int n) {
    Mixture start;
    for (int k = 0; k < n; ++k)
        append_peak(points, remainder(points, start), start);
    return start;
}

Mixture with_widths(Mixture start, float factor) {
    for (std::size_t k = 2; k < start.size(); k += 3)
        start[k] *= factor;
    return start;
}

std::vector<Mixture> starts_from(const Points& points, const Mixture& fewer) {
    std::vector<Mixture> starts(1, fewer);
    append_peak(points, remainder(points, fewer), starts[0]);
    for (std::size_t k = 0; k < fewer.size(); k += 3) {
        Mixture split = fewer;
        const double width = fewer[k + 2];
        split[k + 1] = static_cast<float>(fewer[k + 1] - 0.5 * width);
        split[k + 2] = static_cast<float>(0.7 * width);
        append(split, double{fewer[k]} * fewer[k] * 0.7, fewer[k + 1] + 0.5 * width, 0.7 * width);
        starts.push_back(split);
    }
    return starts;
}

} // namespace vorlane
