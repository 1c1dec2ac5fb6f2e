// The recursive filter over lanes: every lane holds one line, so the order of a line's sums doesn't
// depend on the width of the lanes. Samples and coefficients are floats held in doubles.

#include <vorlane/filters/recursive_kernels.h>
#include <vorlane/simd/lanes.h>
#include <vorlane/simd/transpose.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

// Vectors that are filtered side by side: as many chains of dependent steps in flight as hide their
// latency.
constexpr int wide = F64::count >= 8 ? 4 : 8;
constexpr int block_lines = wide * F64::count;

// Where a line's samples stand: `vectors` vectors of lanes for each position.
struct Panel {
    float* base;
    size_t step;
    float* at(size_t j) const { return base + j * step; }
};
struct Columns {
    const float* const* rows;
    size_t col;
    const float* at(size_t j) const { return rows[j] + col; }
};
struct OutColumns {
    float* const* rows;
    size_t col;
    float* at(size_t j) const { return rows[j] + col; }
};

struct Coefficients {
    F64 u0, u1, u2, u3, d1, d2, d3, d4, m1, m2, m3, m4, e1, e2, e3, e4, k, reciprocal;

    explicit Coefficients(const LineFilter& f)
        : u0(all_lanes(f.u[0])), u1(all_lanes(f.u[1])), u2(all_lanes(f.u[2])),
          u3(all_lanes(f.u[3])), d1(all_lanes(f.d[1])), d2(all_lanes(f.d[2])),
          d3(all_lanes(f.d[3])), d4(all_lanes(f.d[4])), m1(all_lanes(f.m[1])),
          m2(all_lanes(f.m[2])), m3(all_lanes(f.m[3])), m4(all_lanes(f.m[4])),
          e1(all_lanes(f.e[1])), e2(all_lanes(f.e[2])), e3(all_lanes(f.e[3])),
          e4(all_lanes(f.e[4])), k(all_lanes(f.k)), reciprocal(all_lanes(1.0 / f.k)) {}
};

// The last four samples and terms of each line. Slot s holds what belongs to the positions that are
// s modulo 4, counted along the pass, so nothing moves from step to step.
template<int vectors>
struct History {
    F64 x[4][vectors];
    F64 a[4][vectors];
};

template<int vectors, class In, class Terms>
inline void causal_start(const LineFilter& f, const Coefficients& c, const In& in,
                         const Terms& terms, size_t n, History<vectors>& h) {
    const double* u = f.u;
    const F64 sum_0123 = all_lanes(u[0] + u[1] + u[2] + u[3]);
    const F64 sum_123 = all_lanes(u[1] + u[2] + u[3]);
    const F64 sum_23 = all_lanes(u[2] + u[3]);
    for (size_t j = 0; j < 4 && j < n; ++j) {
        for (int v = 0; v < vectors; ++v) {
            const F64 x = load_floats(in.at(j) + v * F64::count);
            F64 t;
            if (j == 0) {
                t = sum_0123 * x;
            } else if (j == 1) {
                t = c.u0 * x + sum_123 * h.x[0][v];
                t = subtract_product(t, c.d1, h.a[0][v]);
            } else if (j == 2) {
                t = add_product(c.u0 * x, c.u1, h.x[1][v]) + sum_23 * h.x[0][v];
                t = subtract_product(t, c.d1, h.a[1][v]);
                t = subtract_product(t, c.d2, h.a[0][v]);
            } else {
                t = add_product(c.u0 * x, c.u1, h.x[2][v]);
                t = add_product(t, c.u2, h.x[1][v]);
                t = add_product(t, c.u3, h.x[0][v]);
                t = subtract_product(t, c.d1, h.a[2][v]);
                t = subtract_product(t, c.d2, h.a[1][v]);
                t = subtract_product(t, c.d3, h.a[0][v]);
            }
            h.x[j][v] = x;
            h.a[j][v] = round_and_store(terms.at(j) + v * F64::count, t);
        }
    }
}

// The step at position j, where j is `slot` modulo 4.
template<int slot, int vectors, class In, class Terms>
inline void causal_step(const Coefficients& c, const In& in, const Terms& terms, size_t j,
                        History<vectors>& h) {
    const float* const source = in.at(j);
    float* const target = terms.at(j);
    for (int v = 0; v < vectors; ++v) {
        const F64 x = load_floats(source + v * F64::count);
        F64 t = add_product(c.u0 * x, c.u1, h.x[(slot + 3) % 4][v]);
        t = add_product(t, c.u2, h.x[(slot + 2) % 4][v]);
        t = add_product(t, c.u3, h.x[(slot + 1) % 4][v]);
        t = subtract_product(t, c.d1, h.a[(slot + 3) % 4][v]);
        t = subtract_product(t, c.d2, h.a[(slot + 2) % 4][v]);
        t = subtract_product(t, c.d3, h.a[(slot + 1) % 4][v]);
        t = subtract_product(t, c.d4, h.a[slot][v]);
        h.x[slot][v] = x;
        h.a[slot][v] = round_and_store(target + v * F64::count, t);
    }
}

template<int vectors, class In, class Terms>
inline void causal_pass(const LineFilter& f, const Coefficients& c, const In& in,
                        const Terms& terms, size_t n) {
    History<vectors> h;
    causal_start(f, c, in, terms, n, h);
    size_t j = 4;
    for (; j + 4 <= n; j += 4) {
        causal_step<0>(c, in, terms, j, h);
        causal_step<1>(c, in, terms, j + 1, h);
        causal_step<2>(c, in, terms, j + 2, h);
        causal_step<3>(c, in, terms, j + 3, h);
    }
    if (j < n)
        causal_step<0>(c, in, terms, j, h);
    if (j + 1 < n)
        causal_step<1>(c, in, terms, j + 1, h);
    if (j + 2 < n)
        causal_step<2>(c, in, terms, j + 2, h);
}

template<bool scaled>
inline void combine(const LineFilter& f, const Coefficients& c, const float* terms, F64 b,
                    float* out) {
    const F64 y = quotient(load_floats(terms) + b, c.k, c.reciprocal);
    if constexpr (scaled)
        store_floats_times(out, y, f.scale);
    else
        store_floats(out, y);
}

// The first positions of the anti-causal pass, r counting back from the end of the line.
template<bool scaled, int vectors, class In, class Terms, class Out>
inline void anticausal_start(const LineFilter& f, const Coefficients& c, const In& in,
                             const Terms& terms, const Out& out, size_t n, History<vectors>& h) {
    const double* m = f.m;
    const F64 sum_1234 = all_lanes(m[1] + m[2] + m[3] + m[4]);
    const F64 sum_234 = all_lanes(m[2] + m[3] + m[4]);
    const F64 sum_34 = all_lanes(m[3] + m[4]);
    for (size_t r = 0; r < 4 && r < n; ++r) {
        const size_t j = n - 1 - r;
        for (int v = 0; v < vectors; ++v) {
            const F64 x = load_floats(in.at(j) + v * F64::count);
            F64 t;
            if (r == 0) {
                t = sum_1234 * x;
            } else if (r == 1) {
                t = sum_1234 * h.x[0][v];
                t = subtract_product(t, c.e1, h.a[0][v]);
            } else if (r == 2) {
                t = c.m1 * h.x[1][v] + sum_234 * h.x[0][v];
                t = subtract_product(t, c.e1, h.a[1][v]);
                t = subtract_product(t, c.e2, h.a[0][v]);
            } else {
                t = add_product(c.m1 * h.x[2][v], c.m2, h.x[1][v]) + sum_34 * h.x[0][v];
                t = subtract_product(t, c.e1, h.a[2][v]);
                t = subtract_product(t, c.e2, h.a[1][v]);
                t = subtract_product(t, c.e3, h.a[0][v]);
            }
            h.x[r][v] = x;
            h.a[r][v] = round_to_float(t);
            combine<scaled>(f, c, terms.at(j) + v * F64::count, h.a[r][v],
                            out.at(j) + v * F64::count);
        }
    }
}

// The step at position j = n - 1 - r, where r is `slot` modulo 4.
template<bool scaled, int slot, int vectors, class In, class Terms, class Out>
inline void anticausal_step(const LineFilter& f, const Coefficients& c, const In& in,
                            const Terms& terms, const Out& out, size_t j, History<vectors>& h) {
    const float* const source = in.at(j);
    const float* const causal = terms.at(j);
    float* const target = out.at(j);
    for (int v = 0; v < vectors; ++v) {
        F64 t = add_product(c.m1 * h.x[(slot + 3) % 4][v], c.m2, h.x[(slot + 2) % 4][v]);
        t = add_product(t, c.m3, h.x[(slot + 1) % 4][v]);
        t = add_product(t, c.m4, h.x[slot][v]);
        t = subtract_product(t, c.e1, h.a[(slot + 3) % 4][v]);
        t = subtract_product(t, c.e2, h.a[(slot + 2) % 4][v]);
        t = subtract_product(t, c.e3, h.a[(slot + 1) % 4][v]);
        t = subtract_product(t, c.e4, h.a[slot][v]);
        h.x[slot][v] = load_floats(source + v * F64::count);
        h.a[slot][v] = round_to_float(t);
        combine<scaled>(f, c, causal + v * F64::count, h.a[slot][v], target + v * F64::count);
    }
}

template<bool scaled, int vectors, class In, class Terms, class Out>
inline void anticausal_pass(const LineFilter& f, const Coefficients& c, const In& in,
                            const Terms& terms, const Out& out, size_t n) {
    History<vectors> h;
    anticausal_start<scaled>(f, c, in, terms, out, n, h);
    size_t r = 4;
    for (; r + 4 <= n; r += 4) {
        anticausal_step<scaled, 0>(f, c, in, terms, out, n - 1 - r, h);
        anticausal_step<scaled, 1>(f, c, in, terms, out, n - 2 - r, h);
        anticausal_step<scaled, 2>(f, c, in, terms, out, n - 3 - r, h);
        anticausal_step<scaled, 3>(f, c, in, terms, out, n - 4 - r, h);
    }
    if (r < n)
        anticausal_step<scaled, 0>(f, c, in, terms, out, n - 1 - r, h);
    if (r + 1 < n)
        anticausal_step<scaled, 1>(f, c, in, terms, out, n - 2 - r, h);
    if (r + 2 < n)
        anticausal_step<scaled, 2>(f, c, in, terms, out, n - 3 - r, h);
}

template<int vectors, class In, class Terms, class Out>
void filter_lines(const LineFilter& f, const In& in, const Terms& terms, const Out& out, size_t n) {
    const Coefficients c(f);
    causal_pass<vectors>(f, c, in, terms, n);
    if (f.scale == 1.0f)
        anticausal_pass<false, vectors>(f, c, in, terms, out, n);
    else
        anticausal_pass<true, vectors>(f, c, in, terms, out, n);
}

// The lines of a panel, `count` of them beside each other, filtered into the panel of terms.
void filter_panel(const LineFilter& f, const Panel& in, const Panel& terms, size_t n,
                  size_t count) {
    if (count > static_cast<size_t>(F64::count))
        filter_lines<wide>(f, in, terms, terms, n);
    else
        filter_lines<1>(f, in, terms, terms, n);
}

void columns(const LineFilter& f, const float* const* in, float* const* out, size_t n, size_t col,
             size_t count, float* scratch) {
    if (count == static_cast<size_t>(block_lines)) {
        filter_lines<wide>(f, Columns{in, col}, Panel{scratch, block_lines}, OutColumns{out, col},
                           n);
        return;
    }
    // A block that the lanes don't fill is filtered in a panel of its own, padded with zeros.
    const size_t lanes = count > static_cast<size_t>(F64::count) ? block_lines : F64::count;
    const Panel panel{scratch, lanes};
    const Panel terms{scratch + n * lanes, lanes};
    for (size_t i = 0; i < n; ++i) {
        float* const position = panel.at(i);
        for (size_t k = 0; k < lanes; ++k)
            position[k] = k < count ? in[i][col + k] : 0.0f;
    }
    filter_panel(f, panel, terms, n, count);
    for (size_t i = 0; i < n; ++i) {
        const float* const position = terms.at(i);
        for (size_t k = 0; k < count; ++k)
            out[i][col + k] = position[k];
    }
}

void rows(const LineFilter& f, const float* const* in, float* const* out, size_t n, size_t channels,
          size_t count, float* scratch) {
    const size_t lanes = count > static_cast<size_t>(F64::count) ? block_lines : F64::count;
    const size_t samples = n * channels;
    float* const panel = scratch;
    float* const terms = scratch + samples * lanes;
    rows_to_panel(in, count, samples, panel, lanes);
    for (size_t channel = 0; channel < channels; ++channel)
        filter_panel(f, Panel{panel + channel * lanes, channels * lanes},
                     Panel{terms + channel * lanes, channels * lanes}, n, count);
    panel_to_rows(terms, lanes, out, count, samples);
}

} // namespace

extern const RecursiveKernels recursive_kernels;
const RecursiveKernels recursive_kernels = {block_lines, F64::count, columns, rows};

} // namespace vorlane::VORLANE_LANES
