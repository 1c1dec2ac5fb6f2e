#include "host/natural.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include <vorlane/numerics/elementary.h>

#include "host/line_filters.h"
#include "host/natural_parts.h"

namespace vorlane::host {

namespace {

constexpr int largest_side = std::numeric_limits<int>::max() / 4;

// A position between two samples of a line, the outermost ones continued.
struct Sample {
    std::size_t first, second;
    double weight; // of the second

    Sample(double position, int n) {
        const double inside = std::clamp(position, 0.0, static_cast<double>(n - 1));
        first = static_cast<std::size_t>(inside);
        second = std::min(first + 1, count_of(n - 1));
        weight = inside - static_cast<double>(first);
    }
};

void interpolate(const CImage& image, const Sample& y, const Sample& x, std::size_t channels,
                 float* out) {
    const float* const above = image.pixels[y.first];
    const float* const below = image.pixels[y.second];
    for (std::size_t c = 0; c < channels; ++c) {
        const std::size_t left = channels * x.first + c, right = channels * x.second + c;
        const double a = above[left] + x.weight * (double{above[right]} - above[left]);
        const double b = below[left] + x.weight * (double{below[right]} - below[left]);
        out[c] = static_cast<float>(a + y.weight * (b - a));
    }
}

void fill_image(CImage& image, double level) {
    for (int i = 0; i < image.nrows; ++i)
        std::fill_n(image.pixels[i], count_of(image.ncols) * channels_of(image),
                    static_cast<float>(level));
}

// By whole pixels; the middle of the result is the middle of the turned picture, or half a pixel
// above and left of it where they can't agree.
ImagePtr quarter_turns(const CImage& image, int turns, bool expand, double fill) {
    const bool is_upright = turns % 2 == 0;
    const int turned_rows = is_upright ? image.nrows : image.ncols;
    const int turned_cols = is_upright ? image.ncols : image.nrows;
    const int rows = expand ? turned_rows : image.nrows;
    const int cols = expand ? turned_cols : image.ncols;
    ImagePtr result = make_image(rows, cols, image.image_type);
    if (fill != 0.0)
        fill_image(*result, fill);
    const auto half = [](int difference) { return (difference - (difference < 0)) / 2; };
    const int down = half(turned_rows - rows), right = half(turned_cols - cols);
    const std::size_t channels = channels_of(image);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            const int r = i + down, c = j + right; // in the turned picture
            if (r < 0 || r >= turned_rows || c < 0 || c >= turned_cols)
                continue;
            const int from_row = turns == 0   ? r
                                 : turns == 1 ? c
                                 : turns == 2 ? image.nrows - 1 - r
                                              : image.nrows - 1 - c;
            const int from_col = turns == 0   ? c
                                 : turns == 1 ? image.ncols - 1 - r
                                 : turns == 2 ? image.ncols - 1 - c
                                              : r;
            std::copy_n(image.pixels[from_row] + channels * count_of(from_col), channels,
                        result->pixels[i] + channels * count_of(j));
        }
    }
    return result;
}

int side_of(double length) {
    if (!(length <= largest_side))
        throw UsageError("the result would be too large");
    return std::max(1, static_cast<int>(length));
}

// Along the axes that shrink, with the filter's gain taken out.
void smooth_before_shrinking(ImagePtr& image, double row_factor, double col_factor) {
    const std::size_t channels = channels_of(*image);
    const std::size_t rows = count_of(image->nrows), cols = count_of(image->ncols);
    const auto row = [&](std::size_t i) { return image->pixels[i]; };
    const auto sigma_of = [](double f) { return 0.5 * std::sqrt(f * f - 1.0); };
    const auto factors = [](const GaussianFilters& filters, double sigma, std::size_t n) {
        std::vector<double> gain = LineProfile(filters, sigma, n).gain;
        for (double& value : gain)
            value = 1.0 / (value * filters.smoothing_divisor);
        return gain;
    };
    if (row_factor > 1.0) {
        const double sigma = sigma_of(row_factor);
        const GaussianFilters filters(sigma);
        filter_columns(filters.smoothing, row, rows, cols * channels,
                       factors(filters, sigma, rows));
    }
    if (col_factor > 1.0) {
        const double sigma = sigma_of(col_factor);
        const GaussianFilters filters(sigma);
        filter_rows(filters.smoothing, row, row, rows, cols, channels,
                    factors(filters, sigma, cols));
    }
}

} // namespace

ImagePtr rotate(const CImage& image, double degrees, bool expand, double fill) {
    check_image(image);
    if (!std::isfinite(degrees))
        throw UsageError("degrees must be a finite number");
    const double turn = std::fmod(degrees, 360.0);
    const double angle = turn < 0.0 ? turn + 360.0 : turn;
    if (std::fmod(angle, 90.0) == 0.0)
        return quarter_turns(image, static_cast<int>(angle / 90.0) % 4, expand, fill);
    constexpr double radian = 0.017453292519943295;
    const double cosine = numerics::cos(angle * radian), sine = numerics::sin(angle * radian);
    const auto extent = [&](int along, int across) {
        constexpr double rounding = 1e-9; // no pixel more for an angle next to a quarter turn
        return std::ceil(along * std::abs(cosine) + across * std::abs(sine) - rounding);
    };
    const int rows = expand ? side_of(extent(image.nrows, image.ncols)) : image.nrows;
    const int cols = expand ? side_of(extent(image.ncols, image.nrows)) : image.ncols;
    ImagePtr result = make_image(rows, cols, image.image_type);
    if (fill != 0.0)
        fill_image(*result, fill);
    const std::size_t channels = channels_of(image);
    const auto covers = [](double position, int n) {
        return position > -0.5 && position < n - 0.5;
    };
    for (int i = 0; i < rows; ++i) {
        const double v = i - 0.5 * (rows - 1);
        for (int j = 0; j < cols; ++j) {
            const double h = j - 0.5 * (cols - 1);
            const double y = v * cosine + h * sine + 0.5 * (image.nrows - 1);
            const double x = h * cosine - v * sine + 0.5 * (image.ncols - 1);
            if (covers(y, image.nrows) && covers(x, image.ncols))
                interpolate(image, Sample(y, image.nrows), Sample(x, image.ncols), channels,
                            result->pixels[i] + channels * count_of(j));
        }
    }
    return result;
}

ImagePtr scale(const CImage& image, int rows, int cols) {
    check_image(image);
    if (rows < 1 || cols < 1 || rows > largest_side || cols > largest_side)
        throw UsageError("the new size must be at least 1 x 1 and at most " +
                         std::to_string(largest_side) + " a side, not " + std::to_string(rows) +
                         " x " + std::to_string(cols));
    const double row_factor = double{1} * image.nrows / rows;
    const double col_factor = double{1} * image.ncols / cols;
    const std::size_t channels = channels_of(image);
    ImagePtr smooth;
    if (row_factor > 1.0 || col_factor > 1.0) {
        smooth = continued(image, 0, 0.0);
        smooth_before_shrinking(smooth, row_factor, col_factor);
    }
    const CImage& source = smooth ? *smooth : image;
    ImagePtr result = make_image(rows, cols, image.image_type);
    std::vector<Sample> across;
    across.reserve(static_cast<std::size_t>(cols));
    for (int j = 0; j < cols; ++j)
        across.emplace_back((j + 0.5) * col_factor - 0.5, image.ncols);
    for (int i = 0; i < rows; ++i) {
        const Sample y((i + 0.5) * row_factor - 0.5, image.nrows);
        for (std::size_t j = 0; j < across.size(); ++j)
            interpolate(source, y, across[j], channels, result->pixels[i] + channels * j);
    }
    return result;
}

ImagePtr scale_by(const CImage& image, double row_factor, double col_factor) {
    check_image(image);
    if (!(row_factor > 0.0) || !(col_factor > 0.0) || !std::isfinite(row_factor) ||
        !std::isfinite(col_factor))
        throw UsageError("the factors must be above 0");
    return scale(image, side_of(image.nrows * row_factor + 0.5),
                 side_of(image.ncols * col_factor + 0.5));
}

} // namespace vorlane::host
