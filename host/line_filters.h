// The library's recursive filters on single lines, in double precision: what they make of ones and
// of ramps tells their gain, and above some sigma they stand in for the library's own.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace vorlane::host {

// Above this sigma the library's 32-bit floats no longer carry the recursions to 1e-5.
constexpr double largest_sigma_in_floats = 8.0;

struct LineFilter {
    double u[4], d[5], m[5];
};

// The filters of vorlane/filters/recursive_gaussian.h without their divisor: with the coefficients
// that the library rounds, or with exact ones above largest_sigma_in_floats.
struct GaussianFilters {
    explicit GaussianFilters(double sigma);
    LineFilter smoothing, derivative;
    double smoothing_divisor, derivative_divisor; // of the library's filters; 1 for the exact ones
};

std::vector<double> filtered(const LineFilter& filter, const std::vector<double>& line);

// Lines side by side, in place: block[j * lanes + l] is sample j of line l.
constexpr std::size_t lanes = 16;
void filter_block(const LineFilter& filter, std::vector<double>& block,
                  std::vector<double>& scratch, std::size_t n);

// What the filters make of a line of n samples: the smoothing of ones, the derivative of ones, and
// the derivative of a ramp of slope 1 that is 0 in the mean of the smoothing's weights.
struct LineProfile {
    LineProfile(const GaussianFilters& filters, double sigma, std::size_t n);
    std::vector<double> gain, residue, slope; // of the library's filters, with their divisor
};

// The samples of row i.
using RowsOf = std::function<float*(std::size_t)>;

// Filters n columns of `rows` rows where they stand; row i of the result is multiplied with by_row[i], if there
// is such.
void filter_columns(const LineFilter& filter, const RowsOf& row, std::size_t rows, std::size_t n,
                    const std::vector<double>& by_row = {});
// Filters rows of n pixels of `channels` samples into `to`, which may be the same; pixel j of each row of the
// result is multiplied with by_col[j], if there is such.
void filter_rows(const LineFilter& filter, const std::function<const float*(std::size_t)>& from,
                 const RowsOf& to, std::size_t rows, std::size_t n, std::size_t channels,
                 const std::vector<double>& by_col = {});

} // namespace vorlane::host
