#include <vorlane/image/image.h>

#include <algorithm>
#include <limits>
#include <memory>

#include <vorlane/image/range.h>
#include <vorlane/image/results.h>
#include <vorlane/platform/arithmetic.h>

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

// The loop for a factor: a factor that the compiler knows makes lanes of the pixels, and 0 stands for all others.
template<template<int, int> class Loop, int channels>
auto loop_for(int factor) {
    switch (factor) {
    case 2:
        return Loop<channels, 2>::run;
    case 3:
        return Loop<channels, 3>::run;
    case 4:
        return Loop<channels, 4>::run;
    case 5:
        return Loop<channels, 5>::run;
    case 6:
        return Loop<channels, 6>::run;
    case 8:
        return Loop<channels, 8>::run;
    default:
        return Loop<channels, 0>::run;
    }
}

// The mean of blocks of factor x factor pixels, row by row.
template<int channels, int known>
struct MeanOfRow {
    static void run(const float* const* from, float* to, Index cols, Index any_factor) {
        const Index factor = known ? known : any_factor;
        const auto area = static_cast<double>(factor * factor);
        for (Index j = 0; j < cols; ++j) {
            double sum[channels] = {};
            for (Index r = 0; r < factor; ++r) {
                const float* const block = from[r] + channels * factor * j;
                for (Index c = 0; c < channels * factor; c += channels)
                    for (int k = 0; k < channels; ++k)
                        sum[k] += block[c + k];
            }
            for (int k = 0; k < channels; ++k)
                to[channels * j + k] = static_cast<float>(sum[k] / area);
        }
    }
};

// All nine terms count, those of weight 0 too: an infinite sample under one of them gives
// not-a-number.
template<int channels>
void reduce_row_filtered(const float* const from[3], float* to, Index cols) {
    for (Index j = 0; j < cols; ++j) {
        const Index at[3] = {channels * (j == 0 ? 1 : 2 * j - 1), channels * 2 * j,
                             channels * (2 * j + 1)};
        for (int k = 0; k < channels; ++k) {
            double sum = 0.0;
            for (int a = 0; a < 3; ++a)
                for (int b = 0; b < 3; ++b)
                    sum += double{reduction_mask[a][b]} * from[a][at[b] + k];
            to[channels * j + k] = static_cast<float>(sum * double{one_sixth});
        }
    }
}

// `rows` and `cols` are those of the result.
template<int channels>
void reduce_plane(const float* const* from, float* const* to, int rows, int cols, int factor,
                  Reduction reduction) {
    const auto mean_of_row = loop_for<MeanOfRow, channels>(factor);
    for (Index i = 0; i < rows; ++i) {
        if (reduction == Reduction::mean) {
            mean_of_row(from + i * factor, to[i], cols, factor);
        } else {
            const float* const around[3] = {from[i == 0 ? 1 : 2 * i - 1], from[2 * i],
                                            from[2 * i + 1]};
            reduce_row_filtered<channels>(around, to[i], cols);
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

template<int channels>
void replicate_row(const float* from, float* to, Index cols, Index factor) {
    for (Index j = 0; j < cols; ++j, from += channels)
        for (Index b = 0; b < factor; ++b, to += channels)
            for (int k = 0; k < channels; ++k)
                to[k] = from[k];
}

// How much of a pixel and of its neighbours to the right, below, and diagonally below goes into an
// enlarged pixel. Whole numbers that add up to factor^2.
struct Weights {
    double pixel, right, below, diagonal;
};

void make_weights(Weights* weights, Index factor, Index a) {
    const auto weight = [](Index area) { return double{static_cast<float>(area)}; };
    for (Index b = 0; b < factor; ++b) {
        weights[b] = {weight((factor - a) * (factor - b)), weight((factor - a) * b),
                      weight(a * (factor - b)), weight(a * b)};
    }
}

// Between two rows of the source.
template<int channels, int known>
struct RowBetween {
    static void run(const float* upper, const float* lower, float* to, Index cols,
                    const Weights* weights, Index any_factor) {
        const Index factor = known ? known : any_factor;
        const auto area = static_cast<double>(factor * factor);
        const auto interpolate = [&](Index j, Index right) {
            for (Index b = 0; b < factor; ++b) {
                const Weights w = weights[b];
                for (Index k = channels * j; k < channels * (j + 1); ++k) {
                    const double sum = lower[k + right] * w.diagonal + lower[k] * w.below +
                                       upper[k + right] * w.right + upper[k] * w.pixel;
                    to[channels * ((factor - 1) * j + b) + k] = static_cast<float>(sum / area);
                }
            }
        };
        for (Index j = 0; j + 1 < cols; ++j)
            interpolate(j, channels);
        interpolate(cols - 1, 0); // the last column is repeated
    }
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

template<int channels>
void interpolate_plane(const float* const* from, float* const* to, int rows, int cols, int factor) {
    const auto weights = std::make_unique<Weights[]>(factor);
    const auto row_between = loop_for<RowBetween, channels>(factor);
    for (Index a = 0; a < factor; ++a) {
        make_weights(weights.get(), factor, a);
        for (Index i = 0; i < rows; ++i)
            row_between(from[i], from[i + 1 < rows ? i + 1 : i], to[i * factor + a], cols,
                        weights.get(), factor);
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
        (channels == 1 ? reduce_plane<1> : reduce_plane<3>)(from, to, rows, cols, factor,
                                                            reduction);
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
