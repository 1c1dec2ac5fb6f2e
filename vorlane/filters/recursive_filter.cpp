#include <vorlane/filters/recursive_filter.h>

#include <algorithm>
#include <memory>
#include <new>

#include <vorlane/simd/widest_lanes.h>

namespace vorlane {

namespace {

constexpr std::align_val_t alignment{widest_lane_bytes};

struct FreeScratch {
    void operator()(float* block) const { ::operator delete[](block, alignment); }
};

std::unique_ptr<float[], FreeScratch> make_scratch(std::size_t count) {
    return std::unique_ptr<float[], FreeScratch>(
        static_cast<float*>(::operator new[](count * sizeof(float), alignment, std::nothrow)));
}

} // namespace

LineFilter make_line_filter(const float* const* coef, float scale) {
    LineFilter filter{};
    for (int k = 0; k < 4; ++k)
        filter.u[k] = coef[0][k];
    filter.k = coef[2][0];
    for (int k = 1; k <= 4; ++k) {
        filter.d[k] = coef[1][k];
        filter.m[k] = coef[2][k];
        filter.e[k] = coef[3][k];
    }
    filter.scale = scale;
    return filter;
}

bool filter_columns(const LineFilter& filter, const float* const* in, float* const* out,
                    std::size_t rows, std::size_t n) {
    const RecursiveKernels& kernels = pick_recursive_kernels();
    const auto block = static_cast<std::size_t>(kernels.lines_per_block);
    const auto scratch = make_scratch(2 * rows * block);
    if (!scratch)
        return false;
    for (std::size_t col = 0; col < n; col += block)
        kernels.columns(filter, in, out, rows, col, std::min(block, n - col), scratch.get());
    return true;
}

bool filter_rows(const LineFilter& filter, const float* const* in, float* const* out,
                 std::size_t rows, std::size_t n, std::size_t channels, const RowsDone& rows_done) {
    const RecursiveKernels& kernels = pick_recursive_kernels();
    const auto block = static_cast<std::size_t>(kernels.lines_per_block);
    // A single row takes a block of one vector.
    const auto scratch = make_scratch(2 * n * channels * (rows == 1 ? most_double_lanes : block));
    if (!scratch)
        return false;
    for (std::size_t row = 0; row < rows; row += block) {
        const std::size_t count = std::min(block, rows - row);
        kernels.rows(filter, in + row, out + row, n, channels, count, scratch.get());
        if (rows_done)
            rows_done(row, count);
    }
    return true;
}

} // namespace vorlane
