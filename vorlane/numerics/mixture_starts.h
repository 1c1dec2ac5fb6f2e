// Private: where the search for a mixture of Gaussians begins. Sums of Gaussians have local minima
// that look like good fits, so several starts are tried: by position, by mass, by peaks, and from a
// fit with a component less.
//
// A start has three numbers a component, as gaussian_mixture_model takes them; the ordinates of the
// points are counts at increasing abscissae.
#pragma once

#include <cmath>
#include <vector>

#include <vorlane/numerics/elementary.h>
#include <vorlane/numerics/least_squares.h>

namespace vorlane {

using Mixture = std::vector<float>;

// True if these points can be cut into intervals: abscissae that increase.
bool are_levels(const Points& points);

// n components with the moments of n intervals of equal width, from the first point with a count to
// the last point. Components are at least as wide as a point here and below, so all is finite.
Mixture start_by_position(const Points& points, int n);

// The same of intervals that hold equal parts of the counts.
Mixture start_by_mass(const Points& points, int n);

// The highest peak, then the highest of what it leaves, and so on.
Mixture start_by_peaks(const Points& points, int n);

// The start of a component for the points from `lo` up to `hi`, with x(i) and count(i): the mean, the
// variance and the area of the counts there. Without counts or spread it has not-a-numbers.
template<class Abscissa, class Count>
void moments_of_interval(int lo, int hi, Abscissa x, Count count, float* component) {
    decltype(count(lo)) total = 0;
    decltype(x(lo) * count(lo)) moment = 0;
    for (int i = lo; i < hi; ++i) {
        total += count(i);
        moment += x(i) * count(i);
    }
    const auto sum = static_cast<double>(total);
    const auto mean = static_cast<float>(static_cast<float>(moment) / sum);
    double squares = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double distance = static_cast<double>(x(i)) - double{mean};
        squares += distance * distance * static_cast<double>(count(i));
    }
    const auto variance = static_cast<float>(squares / sum);
    double area = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double distance = static_cast<double>(x(i)) - double{mean};
        area += numerics::exp(-0.5 * (distance * distance) / variance);
    }
    component[0] = static_cast<float>(std::sqrt(sum / area));
    component[1] = mean;
    component[2] = static_cast<float>(std::sqrt(2.0 * variance));
}

// All widths times `factor`.
Mixture with_widths(Mixture start, float factor);

// One component more than `fewer`: first where most is left over, then in place of each component
// two beside each other.
std::vector<Mixture> starts_from(const Points& points, const Mixture& fewer);

} // namespace vorlane
