#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include <vorlane/image/results.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/operators/sampling_kernels.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

constexpr float minus_one_degree = -0.017453292f; // turns the result's grid into the source's

struct Span {
    Index begin, end;

    bool is_empty() const { return begin >= end; }
};

// Cuts the span down to the columns where `holds` does; it changes its answer along a row once at
// the most.
template<class Condition>
void restrict_to(Span& span, Condition holds) {
    if (span.is_empty())
        return;
    const bool first = holds(span.begin);
    if (first == holds(span.end - 1)) {
        if (!first)
            span.end = span.begin;
        return;
    }
    Index same = span.begin;
    Index other = span.end - 1;
    while (other - same > 1) {
        const Index middle = same + (other - same) / 2;
        (holds(middle) == first ? same : other) = middle;
    }
    (first ? span.end : span.begin) = other;
}

// Clears the pixels of a row outside the span.
void clear_outside(float* row, const Span& span, Index cols, Index channels) {
    if (span.is_empty()) {
        std::fill_n(row, channels * cols, 0.0f);
        return;
    }
    std::fill_n(row, channels * span.begin, 0.0f);
    std::fill(row + channels * span.end, row + channels * cols, 0.0f);
}

float row_position(const Turn& turn, double dr, double dc) {
    return static_cast<float>(dr * turn.cos - dc * turn.sin + turn.centre_row);
}
float col_position(const Turn& turn, double dr, double dc) {
    return static_cast<float>(dr * turn.sin + dc * turn.cos + turn.centre_col);
}

// The columns whose positions lie in the image and have a next row and a next column. A position
// moves in one direction along a row, roundings included.
Span columns_inside(const Turn& turn, double dr, int rows, int cols) {
    Span span = {0, cols};
    const auto dc = [&](Index col) { return static_cast<double>(col) - turn.centre_col; };
    restrict_to(span, [&](Index col) { return row_position(turn, dr, dc(col)) >= 0.0f; });
    restrict_to(span,
                [&](Index col) { return double{row_position(turn, dr, dc(col))} < rows - 1; });
    restrict_to(span, [&](Index col) { return col_position(turn, dr, dc(col)) >= 0.0f; });
    restrict_to(span,
                [&](Index col) { return double{col_position(turn, dr, dc(col))} < cols - 1; });
    return span;
}

// A side of a scaled image, or -1 if there is none.
int scaled_side(int side, float factor) {
    const double scaled = static_cast<double>(side) * double{factor};
    if (!(factor >= 0.0f) || !(scaled < std::numeric_limits<int>::max() + 1.0))
        return -1;
    return static_cast<int>(scaled);
}

CImage* scale(const CImage& source, int rows, int cols, float row_factor, float col_factor) {
    return make_from(source, form_of(source).of_size(rows, cols), [&](CImage& out) {
        const auto whole = std::make_unique<std::int32_t[]>(cols);
        const auto fraction = std::make_unique<float[]>(cols);
        // The whole part is that of the unrounded quotient, so a fraction may be 1.
        Span inside = {0, 0};
        for (; inside.end < cols; ++inside.end) {
            const double x = static_cast<double>(inside.end) / double{col_factor};
            const auto rounded = static_cast<float>(x);
            if (!(rounded < source.ncols - 1.0) || !(x < source.ncols - 1.0))
                break;
            whole[inside.end] = static_cast<std::int32_t>(x);
            fraction[inside.end] = static_cast<float>(double{rounded} - whole[inside.end]);
        }
        const Index channels = channel_count(source.image_type);
        const SamplingKernels& kernels = pick_sampling_kernels();
        for (int i = 0; i < rows; ++i) {
            const double y = i / double{row_factor};
            float* const to = out.pixels[i];
            if (inside.is_empty() || !(y < source.nrows - 1.0)) {
                clear_outside(to, {0, 0}, cols, channels);
                continue;
            }
            const auto row = static_cast<std::int32_t>(y);
            kernels.scale_row(source.pixels[row], source.pixels[row + 1], channels,
                              {whole.get(), fraction.get()}, y - row, to, inside.end);
            clear_outside(to, inside, cols, channels);
        }
    });
}

} // namespace

CImage* CImage::Translate(int row_shift, int col_shift) const {
    return make_from(*this, form_of(*this), [&](CImage& out) {
        const Index channels = channel_count(image_type);
        const Index shift = col_shift;
        const Span inside = {std::max<Index>(shift, 0), std::min<Index>(ncols + shift, ncols)};
        for (int i = 0; i < nrows; ++i) {
            const Index row = Index{i} - row_shift;
            const bool is_outside = inside.is_empty() || row < 0 || row >= nrows;
            float* const to = out.pixels[i];
            clear_outside(to, is_outside ? Span{0, 0} : inside, ncols, channels);
            if (!is_outside)
                std::copy_n(pixels[row] + channels * (inside.begin - shift),
                            channels * (inside.end - inside.begin), to + channels * inside.begin);
        }
    });
}

CImage* CImage::Rotate(int degrees) const {
    return make_from(*this, form_of(*this), [&](CImage& out) {
        const auto angle = static_cast<float>(degrees * double{minus_one_degree});
        const int centre_row = nrows / 2;
        const int centre_col = ncols / 2;
        const Turn turn = {numerics::cos(double{angle}), numerics::sin(double{angle}),
                           static_cast<double>(centre_row), static_cast<double>(centre_col)};
        const Index channels = channel_count(image_type);
        const SamplingKernels& kernels = pick_sampling_kernels();
        std::vector<Span> inside(nrows);
        for (int i = 0; i < nrows; ++i) {
            inside[i] = columns_inside(turn, i - centre_row, nrows, ncols);
            clear_outside(out.pixels[i], inside[i], ncols, channels);
        }
        // Strips of columns, so that the rows of the source that neighbouring rows of the result
        // cross are still in the cache.
        const Index strip = channels > 1 ? 512 : 1024;
        for (Index first = 0; first < ncols; first += strip) {
            for (int i = 0; i < nrows; ++i) {
                const Index begin = std::max(first, inside[i].begin);
                const Index end = std::min(first + strip, inside[i].end);
                if (begin < end)
                    kernels.turn_row(pixels, channels, turn, i - centre_row,
                                     static_cast<double>(begin - centre_col),
                                     out.pixels[i] + channels * begin, end - begin);
            }
        }
    });
}

CImage* CImage::Scale(float row_factor, float col_factor) const {
    const DefaultArithmetic arithmetic;
    if (col_factor == 0.0f)
        col_factor = row_factor;
    const int rows = scaled_side(nrows, row_factor);
    const int cols = scaled_side(ncols, col_factor);
    return rows < 0 || cols < 0 ? nullptr : scale(*this, rows, cols, row_factor, col_factor);
}

CImage* CImage::Scale(int new_rows, int new_cols) const {
    const DefaultArithmetic arithmetic;
    if (!has_rows_and_columns(*this) || new_rows < 0 || new_cols < 0)
        return nullptr;
    const auto factor = [](int after, int before) {
        return static_cast<float>(static_cast<double>(after) / before);
    };
    return scale(*this, new_rows, new_cols, factor(new_rows, nrows), factor(new_cols, ncols));
}
