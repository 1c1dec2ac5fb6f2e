#include <vorlane/image/image.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include <vorlane/image/image_parts.h>
#include <vorlane/image/range.h>

namespace {

using namespace vorlane;
using std::int64_t;

// Smooths before every second sample is taken; the weights add up to 6.
constexpr float reduction_mask[3][3] = {{0, 1, 0}, {1, 2, 1}, {0, 1, 0}};
constexpr float one_sixth = 0.16666667f;

// The source's mag_plane or dir_plane, or null if it doesn't have the image's size.
const float* const* whole_plane(const CImage& image, float** plane) {
    return plane_holds(plane, image.nrows, image.ncols) ? plane : nullptr;
}

struct Rectangle {
    int row, col, rows, cols;
};

void copy_rectangle(const float* const* from, float* const* to, const Rectangle& part,
                    int64_t channels) {
    const auto bytes = static_cast<std::size_t>(channels * part.cols) * sizeof(float);
    for (int i = 0; i < part.rows; ++i)
        std::memcpy(to[i], from[part.row + i] + channels * part.col, bytes);
}

enum class Reduction { mean, filtered };

// The mean of blocks of factor x factor pixels, row by row. A factor that the compiler knows makes
// lanes of the pixels; `known` is 0 for any other.
template<int channels, int known>
void reduce_row_by_mean(const float* const* from, float* to, int64_t cols, int64_t any_factor) {
    const int64_t factor = known ? known : any_factor;
    const auto area = static_cast<double>(factor * factor);
    for (int64_t j = 0; j < cols; ++j) {
        double sum[channels] = {};
        for (int64_t r = 0; r < factor; ++r) {
            const float* const block = from[r] + channels * factor * j;
            for (int64_t c = 0; c < channels * factor; c += channels)
                for (int k = 0; k < channels; ++k)
                    sum[k] += block[c + k];
        }
        for (int k = 0; k < channels; ++k)
            to[channels * j + k] = static_cast<float>(sum[k] / area);
    }
}

// All nine terms count, those of weight 0 too: an infinite sample under one of them gives
// not-a-number.
template<int channels>
void reduce_row_filtered(const float* const from[3], float* to, int64_t cols) {
    for (int64_t j = 0; j < cols; ++j) {
        const int64_t at[3] = {channels * (j == 0 ? 1 : 2 * j - 1), channels * 2 * j,
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
    for (int64_t i = 0; i < rows; ++i) {
        if (reduction == Reduction::mean) {
            (factor == 2 ? reduce_row_by_mean<channels, 2>
                         : reduce_row_by_mean<channels, 0>)(from + i * factor, to[i], cols, factor);
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
    const auto n = static_cast<std::size_t>(cols);
    for (int i = 0; i < rows; ++i) {
        if (range.min == range.max)
            std::fill_n(plane[i], n, 0.0f);
        else
            pick_range_kernels().stretch(plane[i], n, 1, &range, 1.0, 0.0);
    }
}

template<int channels>
void replicate_row(const float* from, float* to, int64_t cols, int64_t factor) {
    for (int64_t j = 0; j < cols; ++j, from += channels)
        for (int64_t b = 0; b < factor; ++b, to += channels)
            for (int k = 0; k < channels; ++k)
                to[k] = from[k];
}

// How much of a pixel and of its neighbours to the right, below, and diagonally below goes into an
// enlarged pixel. Whole numbers that add up to factor^2.
struct Weights {
    double pixel, right, below, diagonal;
};

void make_weights(Weights* weights, int64_t factor, int64_t a) {
    const auto weight = [](int64_t area) { return double{static_cast<float>(area)}; };
    for (int64_t b = 0; b < factor; ++b) {
        weights[b] = {weight((factor - a) * (factor - b)), weight((factor - a) * b),
                      weight(a * (factor - b)), weight(a * b)};
    }
}

// Between two rows of the source; `known` as above.
template<int channels, int known>
void interpolate_row(const float* upper, const float* lower, float* to, int64_t cols,
                     const Weights* weights, int64_t any_factor) {
    const int64_t factor = known ? known : any_factor;
    const auto area = static_cast<double>(factor * factor);
    const auto interpolate = [&](int64_t j, int64_t right) {
        for (int64_t b = 0; b < factor; ++b) {
            const Weights w = weights[b];
            for (int64_t k = channels * j; k < channels * (j + 1); ++k) {
                const double sum = lower[k + right] * w.diagonal + lower[k] * w.below +
                                   upper[k + right] * w.right + upper[k] * w.pixel;
                to[channels * ((factor - 1) * j + b) + k] = static_cast<float>(sum / area);
            }
        }
    };
    for (int64_t j = 0; j + 1 < cols; ++j)
        interpolate(j, channels);
    interpolate(cols - 1, 0); // the last column is repeated
}

template<int channels>
void replicate_plane(const float* const* from, float* const* to, int rows, int cols, int factor) {
    const auto bytes = static_cast<std::size_t>(cols) * static_cast<std::size_t>(factor) *
                       channels * sizeof(float);
    for (int64_t i = 0; i < rows; ++i) {
        float* const* const block = to + i * factor;
        replicate_row<channels>(from[i], block[0], cols, factor);
        for (int a = 1; a < factor; ++a)
            std::memcpy(block[a], block[0], bytes);
    }
}

template<int channels>
bool interpolate_plane(const float* const* from, float* const* to, int rows, int cols, int factor) {
    const std::unique_ptr<Weights[]> weights(new (std::nothrow)
                                                 Weights[static_cast<std::size_t>(factor)]);
    if (!weights)
        return false;
    for (int64_t a = 0; a < factor; ++a) {
        make_weights(weights.get(), factor, a);
        for (int64_t i = 0; i < rows; ++i)
            (factor == 2 ? interpolate_row<channels, 2>
                         : interpolate_row<channels, 0>)(from[i], from[i + 1 < rows ? i + 1 : i],
                                                         to[i * factor + a], cols, weights.get(),
                                                         factor);
    }
    return true;
}

} // namespace

CImage* CImage::Extract(int first_row, int first_col, int rows, int cols) const {
    if (!has_plane(*this) || first_row < 0 || first_col < 0 || rows < 0 || cols < 0 ||
        int64_t{first_row} + rows > nrows || int64_t{first_col} + cols > ncols)
        return nullptr;
    auto out = make_unwritten_image(rows, cols, image_type, file_format, pixel_format);
    if (!out)
        return nullptr;
    const Rectangle part = {first_row, first_col, rows, cols};
    copy_rectangle(pixels, out->pixels, part, channel_count(image_type));
    const auto carry = [&](float** from, float**& to) {
        const float* const* const source = whole_plane(*this, from);
        if (!source)
            return true;
        to = make_plane(rows, cols, Fill::none);
        if (to)
            copy_rectangle(source, to, part, 1);
        return to != nullptr;
    };
    if (!carry(mag_plane, out->mag_plane) || !carry(dir_plane, out->dir_plane))
        return nullptr;
    return out.release();
}

CImage* CImage::Reduce(int factor, int mode) const {
    if (!has_plane(*this) || factor < 1)
        return nullptr;
    const int rows = nrows / factor;
    const int cols = ncols / factor;
    const Reduction reduction = factor == 2 && mode == 1 ? Reduction::filtered : Reduction::mean;
    auto out = make_unwritten_image(rows, cols, image_type, file_format, pixel_format);
    if (!out)
        return nullptr;
    if (image_type == 0)
        reduce_plane<1>(pixels, out->pixels, rows, cols, factor, reduction);
    else
        reduce_plane<3>(pixels, out->pixels, rows, cols, factor, reduction);
    const auto carry = [&](float** from, float**& to) {
        const float* const* const source = whole_plane(*this, from);
        if (!source)
            return true;
        to = make_plane(rows, cols, Fill::none);
        if (to)
            reduce_plane<1>(source, to, rows, cols, factor, reduction);
        return to != nullptr;
    };
    if (!carry(mag_plane, out->mag_plane) || !carry(dir_plane, out->dir_plane))
        return nullptr;
    if (out->mag_plane)
        normalize_plane(out->mag_plane, rows, cols);
    return out.release();
}

CImage* CImage::Enlarge(int factor, int mode) const {
    constexpr int largest = std::numeric_limits<int>::max();
    if (!has_plane(*this) || factor < 1 || nrows > largest / factor || ncols > largest / factor)
        return nullptr;
    auto out =
        make_unwritten_image(nrows * factor, ncols * factor, image_type, file_format, pixel_format);
    if (!out)
        return nullptr;
    bool is_done = true;
    if (!has_pixels(*this))
        return out.release();
    if (mode != 1)
        (image_type == 0 ? replicate_plane<1> : replicate_plane<3>)(pixels, out->pixels, nrows,
                                                                    ncols, factor);
    else
        is_done =
            (image_type == 0 ? interpolate_plane<1> : interpolate_plane<3>)(pixels, out->pixels,
                                                                            nrows, ncols, factor);
    return is_done ? out.release() : nullptr;
}
