// Private, for kernel files: rows of a plane to and from a panel, in which the samples of one
// position of all rows stand side by side: panel[j * lanes + r] is sample j of row r. Square tiles
// go through registers.
#pragma once

#include <vorlane/simd/lanes.h>

namespace {

// Lanes from `count` up to `lanes` are filled with 0.
inline void rows_to_panel(const float* const* rows, std::size_t count, std::size_t n, float* panel,
                          std::size_t lanes) {
    constexpr std::size_t side = F32::count;
    for (std::size_t j = 0; j < n; j += side) {
        const std::size_t cols = j + side <= n ? side : n - j;
        float* const to = panel + j * lanes;
        std::size_t r = 0;
        for (; cols == side && r + side <= count; r += side) {
            F32 tile[side];
            for (std::size_t k = 0; k < side; ++k)
                tile[k] = load(rows[r + k] + j);
            transpose(tile);
            for (std::size_t k = 0; k < side; ++k)
                store(to + k * lanes + r, tile[k]);
        }
        for (; r < lanes; ++r)
            for (std::size_t k = 0; k < cols; ++k)
                to[k * lanes + r] = r < count ? rows[r][j + k] : 0.0f;
    }
}

inline void panel_to_rows(const float* panel, std::size_t lanes, float* const* rows,
                          std::size_t count, std::size_t n) {
    constexpr std::size_t side = F32::count;
    for (std::size_t j = 0; j < n; j += side) {
        const std::size_t cols = j + side <= n ? side : n - j;
        const float* const from = panel + j * lanes;
        std::size_t r = 0;
        for (; cols == side && r + side <= count; r += side) {
            F32 tile[side];
            for (std::size_t k = 0; k < side; ++k)
                tile[k] = load(from + k * lanes + r);
            transpose(tile);
            for (std::size_t k = 0; k < side; ++k)
                store(rows[r + k] + j, tile[k]);
        }
        for (; r < count; ++r)
            for (std::size_t k = 0; k < cols; ++k)
                rows[r][j + k] = from[k * lanes + r];
    }
}

} // namespace
