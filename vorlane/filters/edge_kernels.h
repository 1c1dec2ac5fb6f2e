// Private: the pixel work of edge detection, row by row.
#pragma once

#include <cstddef>
#include <cstdint>

#include <vorlane/simd/instruction_set.h>

namespace vorlane {

struct EdgeKernels {
    // mag[j] = sqrt(dx[j]^2 + dy[j]^2), in double precision, rounded once.
    void (*magnitude)(const float* dx, const float* dy, float* mag, std::size_t n);

    // dir[j]: the direction of increasing gray level for derivatives that have the opposite sign,
    // from 0 to 2 pi. dir may be dx or dy.
    void (*direction)(const float* dx, const float* dy, float* dir, std::size_t n);

    // Both at once, in place: dx becomes the magnitude and dy the direction.
    void (*gradient)(float* dx_to_mag, float* dy_to_dir, std::size_t n);

    // The largest of n samples and `start`; not-a-numbers don't count.
    float (*largest)(const float* row, std::size_t n, float start);

    // Divides n samples.
    void (*divide)(float* row, std::size_t n, float divisor);

    // out[j] for 1 <= j <= n - 2: mag[1][j] where it is not smaller than its two neighbours across
    // the edge, else 0. mag[0] to mag[2] are three rows in a row, dir belongs to the middle one.
    void (*suppress)(const float* const* mag, const float* dir, float* out, std::size_t n);

    // Bit j % 64 of bits[j / 64] for j < n: row[j] > threshold. The last word is filled up with
    // zeros.
    void (*bits_above)(const float* row, std::size_t n, float threshold, std::uint64_t* bits);
};

VORLANE_DECLARE_KERNELS(EdgeKernels, edge_kernels)

} // namespace vorlane
