#include <vorlane/image/image.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <numeric>
#include <utility>

#include <vorlane/image/range.h>
#include <vorlane/image/results.h>
#include <vorlane/operators/resampling_kernels.h>
#include <vorlane/platform/arithmetic.h>
#include <vorlane/simd/widest_lanes.h>

namespace {

using namespace vorlane;

// Smooths before every second sample is taken; the weights add up to 6.
constexpr float reduction_mask[3][3] = {{0, 1, 0}, {1, 2, 1}, {0, 1, 0}};
constexpr float one_sixth = 0.16666667f;

// A new image of `rows` x `cols` pixels, with the mag_plane and dir_plane that the source has in the
// image's size. `resample(from, to, channels)` fills pixels and planes.
template<class Resample>
CImage* make_resampled(const CImage& source, int rows, int cols, Resample resample) {
    return guarded([&]() -> std::unique_ptr<CImage> {
        if (!is_sound(source))
            return nullptr;
        auto out = make_image(form_of(source).of_size(rows, cols), Fill::none);
        const bool is_empty = !has_rows_and_columns(source);
        if (!is_empty)
            resample(source.pixels, out->pixels, channel_count(source.image_type));
        for (float** CImage::*const field : {&CImage::mag_plane, &CImage::dir_plane}) {
            if (!plane_holds(source.*field, source.nrows, source.ncols))
                continue;
            (*out).*field = Plane(rows, cols, Fill::none).release();
            if (!is_empty)
                resample(source.*field, (*out).*field, 1);
        }
        return out;
    });
}

struct Rectangle {
    int row, col, rows, cols;
};

void copy_rectangle(const float* const* from, float* const* to, const Rectangle& part,
                    Index channels) {
    for (int i = 0; i < part.rows; ++i)
        std::copy_n(from[part.row + i] + channels * part.col, channels * part.cols, to[i]);
}

enum class Reduction { mean, filtered };

// `rows` and `cols` are those of the result.
void reduce_plane(const float* const* from, float* const* to, int rows, int cols, int factor,
                  Reduction reduction, int channels) {
    const ResamplingKernels& kernels = pick_resampling_kernels();
    for (Index i = 0; i < rows; ++i) {
        if (reduction == Reduction::mean) {
            kernels.mean_of_blocks(from + i * factor, factor, channels, to[i], cols);
        } else {
            const float* const around[] = {from[i == 0 ? 1 : 2 * i - 1], from[2 * i],
                                           from[2 * i + 1]};
            kernels.weigh_every_second(around, reduction_mask, double{one_sixth}, channels, to[i],
                                       cols);
        }
    }
}

// Stretches the plane to 0 to 1; one of equal samples becomes 0.
void normalize_plane(float* const* plane, int rows, int cols) {
    const Range range = find_range(plane, rows, cols);
    for (int i = 0; i < rows; ++i) {
        if (range.min == range.max)
            std::fill_n(plane[i], cols, 0.0f);
        else
            pick_range_kernels().stretch(plane[i], cols, 1, &range, 1.0, 0.0);
    }
}

template<int channels, int known>
void replicate_row_by(const float* from, float* to, Index cols, Index any_factor) {
    const Index factor = known ? known : any_factor;
    for (Index j = 0; j < cols; ++j, from += channels)
        for (Index b = 0; b < factor; ++b, to += channels)
            for (int k = 0; k < channels; ++k)
                to[k] = from[k];
}

// A factor that the compiler knows makes lanes of the pixels.
template<int channels>
void replicate_row(const float* from, float* to, Index cols, Index factor) {
    switch (factor) {
    case 2:
        return replicate_row_by<channels, 2>(from, to, cols, factor);
    case 3:
        return replicate_row_by<channels, 3>(from, to, cols, factor);
    case 4:
        return replicate_row_by<channels, 4>(from, to, cols, factor);
    default:
        return replicate_row_by<channels, 0>(from, to, cols, factor);
    }
}

// The weights of the rows between two rows of the source. Whole numbers that add up to factor^2.
class WeightsOfRows {
public:
    WeightsOfRows(std::size_t factor, std::size_t channels)
        : factor_(factor), period_(std::lcm(channels * factor, most_double_lanes)),
          columns_(std::make_unique<double[]>(2 * period_)),
          weights_(std::make_unique<double[]>(4 * period_)) {
        for (std::size_t k = 0; k < period_; ++k) {
            const std::size_t b = k / channels % factor;
            columns_[k] = static_cast<double>(factor - b);
            columns_[period_ + k] = static_cast<double>(b);
        }
    }

    // Those of the row a / factor below the upper one, until the next call.
    EnlargingWeights at(std::size_t a) {
        double* const pixel = weights_.get();
        double* to = pixel;
        for (const std::size_t part_of_row : {factor_ - a, a})
            for (std::size_t k = 0; k < 2 * period_; ++k)
                *to++ = static_cast<float>(static_cast<double>(part_of_row) * columns_[k]);
        return {pixel, pixel + period_, pixel + 2 * period_, pixel + 3 * period_, period_};
    }

private:
    std::size_t factor_;
    std::size_t period_;
    std::unique_ptr<double[]> columns_; // the part of a pixel's column, then that of the next one's
    std::unique_ptr<double[]> weights_;
};

template<int channels>
void replicate_plane(const float* const* from, float* const* to, int rows, int cols, int factor) {
    for (Index i = 0; i < rows; ++i) {
        float* const* const block = to + i * factor;
        replicate_row<channels>(from[i], block[0], cols, factor);
        for (int a = 1; a < factor; ++a)
            std::copy_n(block[0], Index{channels} * cols * factor, block[a]);
    }
}

// Each row of the source is replicated along itself, and the rows between two of those are blended.
template<int channels>
void interpolate_plane(const float* const* from, float* const* to, int rows, int cols, int factor) {
    const ResamplingKernels& kernels = pick_resampling_kernels();
    const std::size_t step = std::size_t{channels} * factor;
    const std::size_t samples = step * cols;
    auto upper = std::make_unique_for_overwrite<double[]>(samples + step);
    auto lower = std::make_unique_for_overwrite<double[]>(samples + step);
    const auto stretch = [&](int i, double* row) {
        kernels.replicate(from[i], channels, factor, row, cols);
        std::copy_n(row + samples - step, step, row + samples); // the last pixel is repeated
    };
    WeightsOfRows weights(factor, channels);
    stretch(0, upper.get());
    for (int i = 0; i < rows; ++i) {
        stretch(std::min(i + 1, rows - 1), lower.get());
        for (int a = 0; a < factor; ++a)
            kernels.blend_rows(upper.get(), lower.get(), step, weights.at(a), factor,
                               to[Index{i} * factor + a], samples);
        std::swap(upper, lower);
    }
}

} // namespace

CImage* CImage::Extract(int first_row, int first_col, int rows, int cols) const {
    if (first_row < 0 || first_col < 0 || rows < 0 || cols < 0 || Index{first_row} + rows > nrows ||
        Index{first_col} + cols > ncols)
        return nullptr;
    const auto copy = [&](const float* const* from, float* const* to, int channels) {
        copy_rectangle(from, to, {first_row, first_col, rows, cols}, channels);
    };
    return make_resampled(*this, rows, cols, copy);
}

CImage* CImage::Reduce(int factor, int mode) const {
    if (factor < 1)
        return nullptr;
    const DefaultArithmetic arithmetic; // of the range too, which comes last
    const int rows = nrows / factor;
    const int cols = ncols / factor;
    const Reduction reduction = factor == 2 && mode == 1 ? Reduction::filtered : Reduction::mean;
    const auto reduce = [&](const float* const* from, float* const* to, int channels) {
        reduce_plane(from, to, rows, cols, factor, reduction, channels);
    };
    CImage* const out = make_resampled(*this, rows, cols, reduce);
    if (out && out->mag_plane)
        normalize_plane(out->mag_plane, rows, cols);
    return out;
}

CImage* CImage::Enlarge(int factor, int mode) const {
    constexpr int largest = std::numeric_limits<int>::max();
    if (factor < 1 || nrows > largest / factor || ncols > largest / factor)
        return nullptr;
    const bool is_gray = image_type == ImageType::gray;
    const auto interpolate = is_gray ? interpolate_plane<1> : interpolate_plane<3>;
    const auto replicate = is_gray ? replicate_plane<1> : replicate_plane<3>;
    return make_from(
        *this, form_of(*this).of_size(nrows * factor, ncols * factor), [&](CImage& out) {
            (mode == 1 ? interpolate : replicate)(pixels, out.pixels, nrows, ncols, factor);
        });
}
