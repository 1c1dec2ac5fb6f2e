#include "host/line_filters.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include <vorlane/numerics/elementary.h>
#include <vorlane/vorlane.h>

#include "host/error.h"

namespace vorlane::host {

namespace {

// h(t) = (a0 cos(w0 t / sigma) + a1 sin(w0 t / sigma)) exp(-b0 t / sigma) + the same with c and 1.
struct KernelParameters {
    double a0, a1, b0, w0, c0, c1, b1, w1;
};
constexpr KernelParameters gaussian = {1.68, 3.735, 1.783, 0.6318, -0.6803, -0.2598, 1.723, 1.997};
constexpr KernelParameters slope = {-0.6472, -4.531, 1.527, 0.6719, 0.6494, 0.9557, 1.516, 2.072};

// The sum of two damped oscillations as one recursion of order four: numerators and denominators
// are multiplied out. R. Deriche, "Recursively implementing the Gaussian and its derivatives",
// 1993.
LineFilter exact(const KernelParameters& p, double sigma, double sign) {
    const double e0 = numerics::exp(-p.b0 / sigma), e1 = numerics::exp(-p.b1 / sigma);
    const double cos0 = numerics::cos(p.w0 / sigma), sin0 = numerics::sin(p.w0 / sigma);
    const double cos1 = numerics::cos(p.w1 / sigma), sin1 = numerics::sin(p.w1 / sigma);
    const double n0[2] = {p.a0, e0 * (p.a1 * sin0 - p.a0 * cos0)};
    const double n1[2] = {p.c0, e1 * (p.c1 * sin1 - p.c0 * cos1)};
    const double d0[3] = {1.0, -2.0 * e0 * cos0, e0 * e0};
    const double d1[3] = {1.0, -2.0 * e1 * cos1, e1 * e1};
    LineFilter filter{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            filter.d[i + j] += d0[i] * d1[j];
        for (int j = 0; j < 2; ++j)
            filter.u[i + j] += d0[i] * n1[j] + d1[i] * n0[j];
    }
    for (int k = 1; k <= 3; ++k)
        filter.m[k] = sign * (filter.u[k] - filter.d[k] * filter.u[0]);
    filter.m[4] = sign * -filter.d[4] * filter.u[0];
    return filter;
}

struct FreePlane {
    void operator()(float** plane) const { free_2D_float_array(plane); }
};
using Record = std::unique_ptr<float*, FreePlane>;

LineFilter of_record(const float* const* record) {
    LineFilter filter{};
    for (int k = 0; k < 4; ++k)
        filter.u[k] = record[0][k];
    for (int k = 1; k <= 4; ++k) {
        filter.d[k] = record[1][k];
        filter.m[k] = record[2][k];
    }
    return filter;
}

// Beyond this many sigma off the ends their influence is below 1e-8.
std::size_t reach(double sigma) {
    return static_cast<std::size_t>(std::ceil(12.0 * sigma)) + 8;
}

// Of a short line: its ends, and its middle as often as it takes.
std::vector<double> widened(const std::vector<double>& line, std::size_t n) {
    const std::size_t end = line.size() / 2;
    std::vector<double> wide(n, line[end]);
    std::copy_n(line.begin(), end, wide.begin());
    std::copy_n(line.end() - static_cast<std::ptrdiff_t>(end), end,
                wide.end() - static_cast<std::ptrdiff_t>(end));
    return wide;
}

} // namespace

GaussianFilters::GaussianFilters(double sigma) {
    if (sigma > largest_sigma_in_floats) {
        smoothing = exact(gaussian, sigma, 1.0);
        derivative = exact(slope, sigma, -1.0);
        smoothing_divisor = derivative_divisor = 1.0;
        return;
    }
    const Record record(make_2D_float_array(5, 5));
    if (!record)
        throw Error("there is no memory for a filter");
    ga(static_cast<float>(sigma), record.get());
    smoothing = of_record(record.get());
    smoothing_divisor = record.get()[2][0];
    fdga(static_cast<float>(sigma), record.get());
    derivative = of_record(record.get());
    derivative_divisor = record.get()[2][0];
}

void filter_block(const LineFilter& filter, std::vector<double>& block,
                  std::vector<double>& scratch, std::size_t n) {
    if (n == 0)
        return;
    const double u0 = filter.u[0], u1 = filter.u[1], u2 = filter.u[2], u3 = filter.u[3];
    const double d1 = filter.d[1], d2 = filter.d[2], d3 = filter.d[3], d4 = filter.d[4];
    const double m1 = filter.m[1], m2 = filter.m[2], m3 = filter.m[3], m4 = filter.m[4];
    static constexpr double zeros[lanes] = {};
    scratch.resize(n * lanes);
    double* const causal = scratch.data();
    const double* const x = block.data();
    for (std::size_t j = 0; j < n; ++j) {
        const auto in = [&](std::size_t k) { return x + (j < k ? 0 : j - k) * lanes; };
        const auto out = [&](std::size_t k) { return j < k ? zeros : causal + (j - k) * lanes; };
        const double *x0 = in(0), *x1 = in(1), *x2 = in(2), *x3 = in(3);
        const double *a1 = out(1), *a2 = out(2), *a3 = out(3), *a4 = out(4);
        double* const a = causal + j * lanes;
        for (std::size_t l = 0; l < lanes; ++l)
            a[l] = u0 * x0[l] + u1 * x1[l] + u2 * x2[l] + u3 * x3[l] - d1 * a1[l] - d2 * a2[l] -
                   d3 * a3[l] - d4 * a4[l];
    }
    // The last samples of the line and of the recursion, from j + 1 on.
    double next[4][lanes], state[4][lanes] = {};
    for (auto& samples : next)
        std::copy_n(x + (n - 1) * lanes, lanes, samples);
    for (std::size_t j = n; j-- > 0;) {
        double* const here = block.data() + j * lanes;
        const double* const a = causal + j * lanes;
        for (std::size_t l = 0; l < lanes; ++l) {
            const double b = m1 * next[0][l] + m2 * next[1][l] + m3 * next[2][l] + m4 * next[3][l] -
                             d1 * state[0][l] - d2 * state[1][l] - d3 * state[2][l] -
                             d4 * state[3][l];
            next[3][l] = next[2][l];
            next[2][l] = next[1][l];
            next[1][l] = next[0][l];
            next[0][l] = here[l];
            state[3][l] = state[2][l];
            state[2][l] = state[1][l];
            state[1][l] = state[0][l];
            state[0][l] = b;
            here[l] = a[l] + b;
        }
    }
}

std::vector<double> filtered(const LineFilter& filter, const std::vector<double>& line) {
    std::vector<double> block(line.size() * lanes), scratch, result(line.size());
    for (std::size_t j = 0; j < line.size(); ++j)
        block[j * lanes] = line[j];
    filter_block(filter, block, scratch, line.size());
    for (std::size_t j = 0; j < line.size(); ++j)
        result[j] = block[j * lanes];
    return result;
}

LineProfile::LineProfile(const GaussianFilters& filters, double sigma, std::size_t n) {
    const std::size_t length = std::min(n, 2 * reach(sigma) + 1);
    const double middle = static_cast<double>(length / 2);
    const std::vector<double> ones(length, 1.0);
    std::vector<double> ramp(length);
    for (std::size_t j = 0; j < length; ++j)
        ramp[j] = static_cast<double>(j) - middle;
    gain = filtered(filters.smoothing, ones);
    residue = filtered(filters.derivative, ones);
    slope = filtered(filters.derivative, ramp);
    const std::vector<double> mean = filtered(filters.smoothing, ramp);
    for (std::size_t j = 0; j < length; ++j) {
        slope[j] = (slope[j] - mean[j] / gain[j] * residue[j]) / filters.derivative_divisor;
        gain[j] /= filters.smoothing_divisor;
        residue[j] /= filters.derivative_divisor;
    }
    if (length < n) {
        for (std::vector<double>* const line : {&gain, &residue, &slope})
            *line = widened(*line, n);
    }
}

void filter_columns(const LineFilter& filter, const std::function<float*(std::size_t)>& row,
                    std::size_t rows, std::size_t n) {
    std::vector<double> block(rows * lanes), scratch;
    for (std::size_t first = 0; first < n; first += lanes) {
        const std::size_t count = std::min(lanes, n - first);
        for (std::size_t i = 0; i < rows; ++i)
            std::copy_n(row(i) + first, count,
                        block.begin() + static_cast<std::ptrdiff_t>(i * lanes));
        filter_block(filter, block, scratch, rows);
        for (std::size_t i = 0; i < rows; ++i) {
            float* const out = row(i) + first;
            for (std::size_t l = 0; l < count; ++l)
                out[l] = static_cast<float>(block[i * lanes + l]);
        }
    }
}

void filter_rows(const LineFilter& filter, const std::function<float*(std::size_t)>& row,
                 std::size_t rows, std::size_t n, std::size_t channels) {
    std::vector<double> block(n * lanes), scratch;
    const std::size_t lines = rows * channels;
    for (std::size_t first = 0; first < lines; first += lanes) {
        const std::size_t count = std::min(lanes, lines - first);
        const auto start = [&](std::size_t l) {
            return row((first + l) / channels) + (first + l) % channels;
        };
        for (std::size_t l = 0; l < count; ++l) {
            const float* const in = start(l);
            for (std::size_t j = 0; j < n; ++j)
                block[j * lanes + l] = in[j * channels];
        }
        filter_block(filter, block, scratch, n);
        for (std::size_t l = 0; l < count; ++l) {
            float* const out = start(l);
            for (std::size_t j = 0; j < n; ++j)
                out[j * channels] = static_cast<float>(block[j * lanes + l]);
        }
    }
}

} // namespace vorlane::host
