// Private: a histogram and its fit as a drawing.
#pragma once

#include <string>

#include <vorlane/vorlane.h>

namespace vorlane::host {

// The mixture of h at a level; component -1 stands for the sum of all.
double fit_at(const CHistogram& h, double level, int component = -1);

// An SVG file: the counts as bars, the fitted sum and each component as lines, axes with numbers
// and a legend.
std::string plot_of(const CHistogram& h, const std::string& title);

} // namespace vorlane::host
