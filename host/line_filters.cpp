#include "host/line_filters.h"

#include <algorithm>
#include <cmath>
#include <cstring>
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

namespace {

// Four lines side by side. The compiler makes of it what the processor has.
using Quad [[gnu::vector_size(32)]] = double;
constexpr std::size_t quad = 4;
static_assert(lanes % quad == 0);

// The recursions of four of the lines in a block, forward into `sums` and back into the block. The term that
// waits for the sample before comes last, so that the others don't wait.
[[gnu::always_inline]] inline void filter_quads(const LineFilter& filter, double* block,
                                                double* sums, std::size_t n) {
    const double u0 = filter.u[0], u1 = filter.u[1], u2 = filter.u[2], u3 = filter.u[3];
    const double d1 = filter.d[1], d2 = filter.d[2], d3 = filter.d[3], d4 = filter.d[4];
    const double m1 = filter.m[1], m2 = filter.m[2], m3 = filter.m[3], m4 = filter.m[4];
    for (std::size_t first = 0; first < lanes; first += quad) {
        double* const lines = block + first;
        Quad x1, x2, x3, y1{}, y2{}, y3{}, y4{};
        std::memcpy(&x1, lines, sizeof x1);
        x2 = x3 = x1; // the first sample goes on before the line
        for (std::size_t j = 0; j < n; ++j) {
            Quad x0;
            std::memcpy(&x0, lines + j * lanes, sizeof x0);
            const Quad y0 =
                u0 * x0 + u1 * x1 + u2 * x2 + u3 * x3 - d4 * y4 - d3 * y3 - d2 * y2 - d1 * y1;
            std::memcpy(sums + j * quad, &y0, sizeof y0);
            x3 = x2, x2 = x1, x1 = x0;
            y4 = y3, y3 = y2, y2 = y1, y1 = y0;
        }
        Quad x4;
        std::memcpy(&x1, lines + (n - 1) * lanes, sizeof x1);
        x2 = x3 = x4 = x1;
        y1 = y2 = y3 = y4 = Quad{};
        for (std::size_t j = n; j-- > 0;) {
            Quad x0, sum;
            std::memcpy(&x0, lines + j * lanes, sizeof x0);
            std::memcpy(&sum, sums + j * quad, sizeof sum);
            const Quad y0 =
                m1 * x1 + m2 * x2 + m3 * x3 + m4 * x4 - d4 * y4 - d3 * y3 - d2 * y2 - d1 * y1;
            sum += y0;
            std::memcpy(lines + j * lanes, &sum, sizeof sum);
            x4 = x3, x3 = x2, x2 = x1, x1 = x0;
            y4 = y3, y3 = y2, y2 = y1, y1 = y0;
        }
    }
}

void filter_with_any(const LineFilter& filter, double* block, double* sums, std::size_t n) {
    filter_quads(filter, block, sums, n);
}

#if defined(__x86_64__) || defined(__i386__)
[[gnu::target("avx2")]] void filter_with_avx2(const LineFilter& filter, double* block, double* sums,
                                              std::size_t n) {
    filter_quads(filter, block, sums, n);
}

const auto filter_lines = __builtin_cpu_supports("avx2") ? filter_with_avx2 : filter_with_any;
#else
const auto filter_lines = filter_with_any;
#endif

} // namespace

void filter_block(const LineFilter& filter, std::vector<double>& block,
                  std::vector<double>& scratch, std::size_t n) {
    if (n == 0)
        return;
    scratch.resize(n * quad);
    filter_lines(filter, block.data(), scratch.data(), n);
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
    const std::size_t half = length / 2;
    const auto middle = static_cast<double>(half);
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

void filter_columns(const LineFilter& filter, const RowsOf& row, std::size_t rows, std::size_t n,
                    const std::vector<double>& by_row) {
    std::vector<double> block(rows * lanes), scratch;
    for (std::size_t first = 0; first < n; first += lanes) {
        const std::size_t count = std::min(lanes, n - first);
        for (std::size_t i = 0; i < rows; ++i)
            std::copy_n(row(i) + first, count,
                        block.begin() + static_cast<std::ptrdiff_t>(i * lanes));
        filter_block(filter, block, scratch, rows);
        for (std::size_t i = 0; i < rows; ++i) {
            float* const out = row(i) + first;
            const double* const in = block.data() + i * lanes;
            const double factor = by_row.empty() ? 1.0 : by_row[i];
            for (std::size_t l = 0; l < count; ++l)
                out[l] = static_cast<float>(in[l] * factor);
        }
    }
}

void filter_rows(const LineFilter& filter, const std::function<const float*(std::size_t)>& from,
                 const RowsOf& to, std::size_t rows, std::size_t n, std::size_t channels,
                 const std::vector<double>& by_col) {
    std::vector<double> block(n * lanes), scratch;
    const std::size_t lines = rows * channels;
    for (std::size_t first = 0; first < lines; first += lanes) {
        const std::size_t count = std::min(lanes, lines - first);
        const float* in[lanes];
        float* out[lanes];
        for (std::size_t l = 0; l < count; ++l) {
            const std::size_t row = (first + l) / channels, channel = (first + l) % channels;
            in[l] = from(row) + channel;
            out[l] = to(row) + channel;
        }
        // Tiles stay in the first level of the cache.
        for (std::size_t tile = 0; tile < n; tile += lanes) {
            const std::size_t end = std::min(tile + lanes, n);
            for (std::size_t l = 0; l < count; ++l)
                for (std::size_t j = tile; j < end; ++j)
                    block[j * lanes + l] = in[l][j * channels];
        }
        filter_block(filter, block, scratch, n);
        for (std::size_t tile = 0; tile < n; tile += lanes) {
            const std::size_t end = std::min(tile + lanes, n);
            for (std::size_t j = tile; j < end && !by_col.empty(); ++j)
                for (std::size_t l = 0; l < lanes; ++l)
                    block[j * lanes + l] *= by_col[j];
            for (std::size_t l = 0; l < count; ++l)
                for (std::size_t j = tile; j < end; ++j)
                    out[l][j * channels] = static_cast<float>(block[j * lanes + l]);
        }
    }
}

} // namespace vorlane::host
