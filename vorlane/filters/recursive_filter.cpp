#include <vorlane/filters/recursive_filter.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include <vorlane/simd/widest_lanes.h>

namespace vorlane {

namespace {

constexpr std::align_val_t alignment{widest_lane_bytes};

struct FreeScratch {
    void operator()(float* block) const { ::operator delete[](block, alignment); }
};
using Scratch = std::unique_ptr<float[], FreeScratch>;

Scratch make_scratch(Index count) {
    return Scratch(static_cast<float*>(::operator new[](count * sizeof(float), alignment)));
}

// How many of `lines` lines of n samples to filter at once. A block takes scratch for lanes that
// stand empty too, so where that is much, thin planes take the lanes of one vector, and planes that
// are thinner still go line by line.
Index lines_at_once(const RecursiveKernels& kernels, Index lines, Index n) {
    constexpr Index small_scratch = Index{1} << 20;
    const Index wide = kernels.lines_per_block;
    const Index narrow = kernels.lines_per_vector;
    if (lines > narrow && (lines >= wide || 2 * n * wide <= small_scratch))
        return wide;
    return lines >= narrow || 2 * n * narrow <= small_scratch ? narrow : 1;
}

// A single line in the order of sums that the lanes keep. `in` and `out` give the place of sample
// j, `terms` has room for n.
template<class In, class Out>
void filter_line(const LineFilter& f, Index n, const In& in, const Out& out, float* terms) {
    const double* const u = f.u;
    const double u_sums[] = {u[0] + u[1] + u[2] + u[3], u[1] + u[2] + u[3], u[2] + u[3], u[3]};
    std::array<double, 4> x{}; // the samples before, the latest first
    std::array<double, 4> t{}; // and their terms
    const auto shift_in = [](std::array<double, 4>& values, double value) {
        std::shift_right(values.begin(), values.end(), 1);
        values[0] = value;
    };
    for (Index j = 0; j < n; ++j) {
        const Index whole = std::min<Index>(j, 3); // products before the sum of what is left
        shift_in(x, *in(j));
        double sum = 0.0;
        for (Index k = 0; k < whole; ++k)
            sum = k == 0 ? u[0] * x[0] : sum + u[k] * x[k];
        const double rest = u_sums[whole] * x[whole];
        sum = whole == 0 ? rest : sum + rest;
        for (Index k = 1; k <= std::min<Index>(j, 4); ++k)
            sum = sum - f.d[k] * t[k - 1];
        terms[j] = static_cast<float>(sum);
        shift_in(t, terms[j]);
    }
    const double* const m = f.m;
    const double m_sums[] = {m[1] + m[2] + m[3] + m[4], m[2] + m[3] + m[4], m[3] + m[4], m[4]};
    for (Index r = 0; r < n; ++r) {
        const Index j = n - 1 - r;
        const Index whole = std::clamp<Index>(r - 1, 0, 3);
        const double here = *in(j);
        if (r == 0)
            x[0] = here;
        double sum = 0.0;
        for (Index k = 0; k < whole; ++k)
            sum = k == 0 ? m[1] * x[0] : sum + m[k + 1] * x[k];
        const double rest = m_sums[whole] * x[whole];
        sum = whole == 0 ? rest : sum + rest;
        for (Index k = 1; k <= std::min<Index>(r, 4); ++k)
            sum = sum - f.e[k] * t[k - 1];
        shift_in(t, static_cast<float>(sum));
        shift_in(x, here);
        *out(j) = static_cast<float>((terms[j] + t[0]) / f.k) * f.scale;
    }
}

} // namespace

LineFilter make_line_filter(const Coefficients& c, float scale) {
    LineFilter filter{};
    std::copy(c.u, c.u + 4, filter.u);
    std::copy(c.d, c.d + 5, filter.d);
    std::copy(c.m, c.m + 5, filter.m);
    std::copy(c.d, c.d + 5, filter.e);
    filter.k = c.k;
    filter.scale = scale;
    return filter;
}

LineFilter make_line_filter(const float* const* record, float scale) {
    LineFilter filter{};
    std::copy(record[0], record[0] + 4, filter.u);
    filter.k = record[2][0];
    for (int k = 1; k <= 4; ++k) {
        filter.d[k] = record[1][k];
        filter.m[k] = record[2][k];
        filter.e[k] = record[3][k];
    }
    filter.scale = scale;
    return filter;
}

void filter_columns(const LineFilter& filter, const float* const* in, float* const* out, Index rows,
                    Index n) {
    const RecursiveKernels& kernels = pick_recursive_kernels();
    const Index block = lines_at_once(kernels, n, rows);
    // A full block of lanes takes its samples from where they stand.
    const auto scratch = make_scratch((block == 1 ? 1 : 2) * rows * block);
    for (Index col = 0; col < n; col += block) {
        if (block > 1) {
            kernels.columns(filter, in, out, rows, col, std::min(block, n - col), scratch.get());
            continue;
        }
        filter_line(
            filter, rows, [&](Index i) { return in[i] + col; },
            [&](Index i) { return out[i] + col; }, scratch.get());
    }
}

void filter_rows(const LineFilter& filter, const float* const* in, float* const* out, Index rows,
                 Index n, Index channels, const RowsDone& rows_done) {
    const RecursiveKernels& kernels = pick_recursive_kernels();
    const Index block = lines_at_once(kernels, rows, n * channels);
    const auto scratch = make_scratch(block == 1 ? n : 2 * n * channels * block);
    for (Index row = 0; row < rows; row += block) {
        const Index count = std::min(block, rows - row);
        if (block > 1) {
            kernels.rows(filter, in + row, out + row, n, channels, count, scratch.get());
        } else {
            for (Index k = 0; k < channels; ++k)
                filter_line(
                    filter, n, [&](Index j) { return in[row] + channels * j + k; },
                    [&](Index j) { return out[row] + channels * j + k; }, scratch.get());
        }
        if (rows_done)
            rows_done(row, count);
    }
}

} // namespace vorlane
