// Private, for kernel files: rows whose length isn't a multiple of the lanes. Nothing is read or
// written outside of them.
#pragma once

#include <vorlane/simd/lanes.h>

namespace {

// The first `count` numbers from p on, fewer than there are lanes; `padding` or zeros behind them.
inline F32 load_first(const float* p, std::size_t count, float padding) {
    float lanes[F32::count];
    for (std::size_t k = 0; k < F32::count; ++k)
        lanes[k] = k < count ? p[k] : padding;
    return load(lanes);
}
inline F64 load_first_floats(const float* p, std::size_t count) {
    float lanes[F64::count] = {};
    for (std::size_t k = 0; k < count; ++k)
        lanes[k] = p[k];
    return load_floats(lanes);
}
inline void store_first(float* p, F32 a, std::size_t count) {
    float lanes[F32::count];
    store(lanes, a);
    for (std::size_t k = 0; k < count; ++k)
        p[k] = lanes[k];
}
inline void store_first_floats(float* p, F64 a, std::size_t count) {
    float lanes[F64::count];
    store_floats(lanes, a);
    for (std::size_t k = 0; k < count; ++k)
        p[k] = lanes[k];
}

// Calls step(in, out, j) for all places j from `begin` up to `end`, `lanes` at a time. A step reads
// the rows in[0], in[1] ... from j - reach to j + reach and writes the rows out[0], out[1] ... at
// j; these may be rows of `in` that it reads at j alone. The last places take the same step in
// copies of their surroundings, padded with zeros.
template<std::size_t lanes, std::size_t reach, std::size_t inputs, std::size_t outputs, class Step>
inline void along_row(const float* const (&in)[inputs], float* const (&out)[outputs],
                      std::size_t begin, std::size_t end, const Step& step) {
    std::size_t j = begin;
    for (; j + lanes <= end; j += lanes)
        step(in, out, j);
    if (j >= end)
        return;
    const std::size_t count = end - j;
    float from[inputs][lanes + 2 * reach] = {};
    float to[outputs][lanes + reach];
    const float* padded[inputs];
    float* results[outputs];
    for (std::size_t r = 0; r < inputs; ++r) {
        padded[r] = from[r];
        for (std::size_t k = 0; k < count + 2 * reach; ++k)
            from[r][k] = in[r][j - reach + k];
    }
    for (std::size_t r = 0; r < outputs; ++r)
        results[r] = to[r];
    step(padded, results, reach);
    for (std::size_t r = 0; r < outputs; ++r)
        for (std::size_t k = 0; k < count; ++k)
            out[r][j + k] = to[r][reach + k];
}

} // namespace
