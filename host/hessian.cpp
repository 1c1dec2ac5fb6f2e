#include "host/hessian.h"

#include <algorithm>
#include <cmath>

namespace vorlane::host {

namespace {

// Differences of fourth order from five samples in a row. Those of second order would answer a line
// along an axis some percent more than one across.
double first_difference(double a, double b, double d, double e) {
    return (8.0 * (d - b) - (e - a)) * (1.0 / 12.0);
}

double second_difference(double a, double b, double c, double d, double e) {
    return (16.0 * (b + d) - (a + e) - 30.0 * c) * (1.0 / 12.0);
}

// Index `center` + offset, at most two off, kept inside.
std::size_t clamped(std::size_t center, int offset, std::size_t n) {
    const auto position = static_cast<std::ptrdiff_t>(center) + offset;
    return static_cast<std::size_t>(
        std::clamp<std::ptrdiff_t>(position, 0, static_cast<std::ptrdiff_t>(n) - 1));
}

// Applies f(a, b, c, d, e) to the five samples around each, along columns or along rows.
template<class F>
void along_columns(const std::vector<double>& in, std::vector<double>& out, std::size_t rows,
                   std::size_t cols, F f) {
    for (std::size_t i = 0; i < rows; ++i) {
        const double* row[5];
        for (int n = 0; n < 5; ++n)
            row[n] = in.data() + clamped(i, n - 2, rows) * cols;
        double* const to = out.data() + i * cols;
        for (std::size_t j = 0; j < cols; ++j)
            to[j] = f(row[0][j], row[1][j], row[2][j], row[3][j], row[4][j]);
    }
}

template<class F>
void along_rows(const std::vector<double>& in, std::vector<double>& out, std::size_t rows,
                std::size_t cols, F f) {
    std::vector<double> line(cols + 4);
    for (std::size_t i = 0; i < rows; ++i) {
        const double* const row = in.data() + i * cols;
        std::copy_n(row, cols, line.begin() + 2);
        line[0] = line[1] = row[0];
        line[cols + 2] = line[cols + 3] = row[cols - 1];
        double* const to = out.data() + i * cols;
        const double* const from = line.data();
        for (std::size_t j = 0; j < cols; ++j)
            to[j] = f(from[j], from[j + 1], from[j + 2], from[j + 3], from[j + 4]);
    }
}

} // namespace

Eigenvalues eigenvalues_of(double a00, double a11, double a22, double a01, double a02, double a12) {
    const double mean = (a00 + a11 + a22) / 3.0;
    const double b00 = a00 - mean, b11 = a11 - mean, b22 = a22 - mean;
    const double square =
        (b00 * b00 + b11 * b11 + b22 * b22 + 2.0 * (a01 * a01 + a02 * a02 + a12 * a12)) / 6.0;
    const double p = std::sqrt(square);
    if (!(p * square > 0.0))
        return {mean, mean, mean};
    const double half_determinant = (b00 * (b11 * b22 - a12 * a12) - a01 * (a01 * b22 - a12 * a02) +
                                     a02 * (a01 * a12 - b11 * a02)) /
                                    2.0;
    const double phi = std::acos(std::clamp(half_determinant / (p * square), -1.0, 1.0)) / 3.0;
    constexpr double third_turn = 2.0943951023931953;
    const double largest = mean + 2.0 * p * std::cos(phi);
    const double smallest = mean + 2.0 * p * std::cos(phi + third_turn);
    return {smallest, 3.0 * mean - largest - smallest, largest};
}

Hessian::Hessian(const CVolume& smooth, int margin)
    : smooth_(smooth), margin_(margin), rows_(count_of(smooth.nrows - 2 * (margin - reach))),
      cols_(count_of(smooth.ncols - 2 * (margin - reach))) {
    for (std::vector<double>* const plane : {&ii, &jj, &kk, &ij, &ik, &jk, &level_, &slope_})
        plane->resize(rows_ * cols_);
}

void Hessian::at_slice(int k) {
    const std::size_t skipped = count_of(margin_ - reach);
    for (std::size_t i = 0; i < rows_; ++i) {
        const float* row[5];
        for (int n = 0; n < 5; ++n)
            row[n] = smooth_.slices[k + margin_ + n - reach].pixels[i + skipped] + skipped;
        for (std::size_t j = 0; j < cols_; ++j) {
            const std::size_t at = i * cols_ + j;
            level_[at] = row[2][j];
            slope_[at] = first_difference(row[0][j], row[1][j], row[3][j], row[4][j]);
            kk[at] = second_difference(row[0][j], row[1][j], row[2][j], row[3][j], row[4][j]);
        }
    }
    const auto first = [](double a, double b, double, double d, double e) {
        return first_difference(a, b, d, e);
    };
    along_columns(slope_, ik, rows_, cols_, first);
    along_rows(slope_, jk, rows_, cols_, first);
    along_columns(level_, slope_, rows_, cols_, first);
    along_rows(slope_, ij, rows_, cols_, first);
    along_columns(level_, ii, rows_, cols_, second_difference);
    along_rows(level_, jj, rows_, cols_, second_difference);
}

} // namespace vorlane::host
