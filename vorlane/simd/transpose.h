// Private, for kernel files: rows of a plane to and from a panel, in which the samples of one
// position of all rows stand side by side: panel[j * lanes + r] is sample j of row r.
#pragma once

#include <vorlane/simd/lanes.h>

namespace {

// Tiles of 4 x 4 go through registers where there are lanes of four floats.
#if defined(__SSE2__)
static inline void transpose_tile(const float* const in[4], std::size_t in_offset,
                                  float* const out[4], std::size_t out_offset) {
    __m128 a = _mm_loadu_ps(in[0] + in_offset);
    __m128 b = _mm_loadu_ps(in[1] + in_offset);
    __m128 c = _mm_loadu_ps(in[2] + in_offset);
    __m128 d = _mm_loadu_ps(in[3] + in_offset);
    _MM_TRANSPOSE4_PS(a, b, c, d);
    _mm_storeu_ps(out[0] + out_offset, a);
    _mm_storeu_ps(out[1] + out_offset, b);
    _mm_storeu_ps(out[2] + out_offset, c);
    _mm_storeu_ps(out[3] + out_offset, d);
}
#else
static inline void transpose_tile(const float* const in[4], std::size_t in_offset,
                                  float* const out[4], std::size_t out_offset) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out[c][out_offset + r] = in[r][in_offset + c];
}
#endif

// Lanes from `count` up to `lanes` are filled with 0.
static void rows_to_panel(const float* const* rows, std::size_t count, std::size_t n, float* panel,
                          std::size_t lanes) {
    std::size_t j = 0;
    for (; j + 4 <= n; j += 4) {
        float* const to = panel + j * lanes;
        float* const out[4] = {to, to + lanes, to + 2 * lanes, to + 3 * lanes};
        std::size_t r = 0;
        for (; r + 4 <= count; r += 4)
            transpose_tile(rows + r, j, out, r);
        for (; r < lanes; ++r)
            for (std::size_t k = 0; k < 4; ++k)
                out[k][r] = r < count ? rows[r][j + k] : 0.0f;
    }
    for (; j < n; ++j)
        for (std::size_t r = 0; r < lanes; ++r)
            panel[j * lanes + r] = r < count ? rows[r][j] : 0.0f;
}

static void panel_to_rows(const float* panel, std::size_t lanes, float* const* rows,
                          std::size_t count, std::size_t n) {
    std::size_t j = 0;
    for (; j + 4 <= n; j += 4) {
        const float* const from = panel + j * lanes;
        const float* const in[4] = {from, from + lanes, from + 2 * lanes, from + 3 * lanes};
        std::size_t r = 0;
        for (; r + 4 <= count; r += 4)
            transpose_tile(in, r, rows + r, j);
        for (; r < count; ++r)
            for (std::size_t k = 0; k < 4; ++k)
                rows[r][j + k] = in[k][r];
    }
    for (; j < n; ++j)
        for (std::size_t r = 0; r < count; ++r)
            rows[r][j] = panel[j * lanes + r];
}

} // namespace
