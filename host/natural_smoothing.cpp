// Smoothing and slopes with a gain of one.
#include "host/natural.h"

#include <cmath>

#include <vorlane/numerics/elementary.h>

#include "host/line_filters.h"
#include "host/natural_parts.h"

namespace vorlane::host {

namespace {

std::vector<double> reciprocals(std::vector<double> line, double divisor = 1.0) {
    for (double& value : line)
        value = 1.0 / (value * divisor);
    return line;
}

// image[i][j] *= by_row[i] * by_col[j]
void multiply(CImage& image, const std::vector<double>& by_row, const std::vector<double>& by_col) {
    for (std::size_t i = 0; i < by_row.size(); ++i) {
        float* const row = image.pixels[i];
        for (std::size_t j = 0; j < by_col.size(); ++j)
            row[j] = static_cast<float>(row[j] * (by_row[i] * by_col[j]));
    }
}

auto rows_of(const CImage& image) {
    return [&image](std::size_t i) { return image.pixels[i]; };
}

enum class Pass { smooth, slope_x, slope_y };

// The library's operator, or its like in double precision; with the gain of the filters, and
// without the library's factor of a derivative.
struct Filtered {
    ImagePtr image;
    double factor; // is still to be applied
};

Filtered filtered_plane(const CImage& gray, double sigma, const GaussianFilters& filters,
                        Pass pass) {
    if (sigma <= largest_sigma_in_floats) {
        constexpr double derivative_factor = 2.0; // the library halves its derivatives
        const auto s = static_cast<float>(sigma);
        CImage* const result = pass == Pass::smooth    ? gray.smooth_image(s)
                               : pass == Pass::slope_x ? gray.first_derivative_x(s)
                                                       : gray.first_derivative_y(s);
        ImagePtr image = checked(result, "there is no memory for the filtered image");
        image->pixel_format = PixelFormat::float32;
        image->file_format = FileFormat::none;
        return {std::move(image), pass == Pass::smooth ? 1.0 : derivative_factor};
    }
    ImagePtr image = make_image(gray.nrows, gray.ncols, ImageType::gray);
    const std::size_t rows = count_of(gray.nrows), cols = count_of(gray.ncols);
    filter_rows(pass == Pass::slope_x ? filters.derivative : filters.smoothing, rows_of(gray),
                rows_of(*image), rows, cols, 1);
    filter_columns(pass == Pass::slope_y ? filters.derivative : filters.smoothing, rows_of(*image),
                   rows, cols);
    return {std::move(image), 1.0};
}

ImagePtr smooth_plane(const CImage& gray, double sigma, const GaussianFilters& filters,
                      const std::vector<double>& by_row, const std::vector<double>& by_col) {
    ImagePtr image = filtered_plane(gray, sigma, filters, Pass::smooth).image;
    multiply(*image, by_row, by_col);
    return image;
}

// D being the derivative along a line of samples x, S its smoothing and d, s what these make of
// ones: D - d S / s is 0 on an even line and proportional to the slope on a ramp.
void correct_slope(CImage& raw, const CImage& smooth, double factor,
                   const std::vector<double>& gain_across, const LineProfile& along, bool is_x) {
    for (int i = 0; i < raw.nrows; ++i) {
        float* const row = raw.pixels[i];
        const float* const level = smooth.pixels[i];
        for (std::size_t j = 0; j < count_of(raw.ncols); ++j) {
            const std::size_t a = is_x ? j : count_of(i);
            const std::size_t c = is_x ? count_of(i) : j;
            row[j] = static_cast<float>(
                (row[j] * (factor / gain_across[c]) - level[j] * along.residue[a]) /
                along.slope[a]);
        }
    }
}

} // namespace

Derivatives derivatives_of(const CImage& gray, double sigma, bool wants_x, bool wants_y) {
    const GaussianFilters filters(sigma);
    const LineProfile rows(filters, sigma, count_of(gray.nrows));
    const LineProfile cols(filters, sigma, count_of(gray.ncols));
    const ImagePtr smooth =
        smooth_plane(gray, sigma, filters, reciprocals(rows.gain), reciprocals(cols.gain));
    Derivatives result;
    if (wants_x) {
        Filtered raw = filtered_plane(gray, sigma, filters, Pass::slope_x);
        correct_slope(*raw.image, *smooth, raw.factor, rows.gain, cols, true);
        result.x = std::move(raw.image);
    }
    if (wants_y) {
        Filtered raw = filtered_plane(gray, sigma, filters, Pass::slope_y);
        correct_slope(*raw.image, *smooth, raw.factor, cols.gain, rows, false);
        result.y = std::move(raw.image);
    }
    return result;
}

namespace {

// Applies `plane` to each channel of an image.
template<class Plane>
ImagePtr by_channel(const CImage& image, Plane plane) {
    if (image.image_type == ImageType::gray)
        return plane(image);
    ImagePtr result = make_image(image.nrows, image.ncols, image.image_type);
    for (std::size_t c = 0; c < 3; ++c) {
        const ImagePtr part = plane(*channel_of(image, c));
        for (int i = 0; i < image.nrows; ++i) {
            for (std::size_t j = 0; j < count_of(image.ncols); ++j)
                result->pixels[i][3 * j + c] = part->pixels[i][j];
        }
    }
    return result;
}

} // namespace

ImagePtr smooth(const CImage& image, double sigma) {
    check_image(image);
    check_sigma(sigma);
    const std::size_t rows = count_of(image.nrows), cols = count_of(image.ncols);
    const std::size_t channels = channels_of(image);
    const GaussianFilters filters(sigma);
    const LineProfile down(filters, sigma, rows), along(filters, sigma, cols);
    if (channels == 1 && sigma <= largest_sigma_in_floats)
        return smooth_plane(image, sigma, filters, reciprocals(down.gain), reciprocals(along.gain));
    ImagePtr result = make_image(image.nrows, image.ncols, image.image_type);
    filter_rows(filters.smoothing, rows_of(image), rows_of(*result), rows, cols, channels,
                reciprocals(along.gain, filters.smoothing_divisor));
    filter_columns(filters.smoothing, rows_of(*result), rows, cols * channels,
                   reciprocals(down.gain, filters.smoothing_divisor));
    return result;
}

ImagePtr derivative(const CImage& image, double sigma, Axis axis) {
    check_image(image);
    check_sigma_of_slopes(sigma);
    return by_channel(image, [&](const CImage& gray) {
        Derivatives both = derivatives_of(gray, sigma, axis == Axis::x, axis == Axis::y);
        return std::move(axis == Axis::x ? both.x : both.y);
    });
}

namespace {

constexpr double full_turn = 6.283185307179586;

// The angle of (x, y) from 0 to a full turn, with an error below 2^-46 of it, not a number where
// both are 0 or infinite. The arctangent is brought between 0 and pi / 8, where a polynomial
// through Chebyshev's nodes takes over; nothing branches, so that a compiler works on several
// pixels at once.
double quick_angle(double x, double y) {
    constexpr double tangent_of_22_5_degrees = 0.41421356237309503;
    const double across = std::abs(x), up = std::abs(y);
    const double less = across < up ? across : up;
    const double more = across < up ? up : across;
    const bool is_steep = less > tangent_of_22_5_degrees * more;
    const double t = (is_steep ? less - more : less) / (is_steep ? less + more : more);
    const double u = t * t;
    double sum = -0.02531472973194233;
    sum = sum * u + 0.050246342455960435;
    sum = sum * u - 0.06505944155503311;
    sum = sum * u + 0.07673529098467827;
    sum = sum * u - 0.09089529357362555;
    sum = sum * u + 0.11111048820585145;
    sum = sum * u - 0.14285712660659053;
    sum = sum * u + 0.1999999997837687;
    sum = sum * u - 0.33333333333221343;
    sum = sum * u + 0.999999999999999;
    double angle = t * sum + (is_steep ? full_turn / 8.0 : 0.0);
    angle = across < up ? full_turn / 4.0 - angle : angle;
    angle = x < 0.0 ? full_turn / 2.0 - angle : angle;
    return y < 0.0 ? full_turn - angle : angle;
}

// The nearest float to the angle: where the error of the quick one could decide its rounding, the
// library's own arctangent does.
float rounded_angle(double quick, double x, double y) {
    const auto below = static_cast<float>(quick * (1.0 - 0x1p-46));
    const auto above = static_cast<float>(quick * (1.0 + 0x1p-46));
    if (below == above)
        return below;
    const double angle = numerics::atan2(y, x);
    return static_cast<float>(angle < 0.0 ? angle + full_turn : angle);
}

} // namespace

Gradient gradient(const CImage& image, double sigma) {
    check_image(image);
    check_sigma_of_slopes(sigma);
    Gradient result{make_image(image.nrows, image.ncols, ImageType::gray),
                    make_image(image.nrows, image.ncols, ImageType::gray)};
    const std::size_t cols = count_of(image.ncols);
    std::vector<float> sizes(cols);
    std::vector<double> angles(cols);
    for (std::size_t c = 0; c < channels_of(image); ++c) {
        const bool is_gray = image.image_type == ImageType::gray;
        const ImagePtr part = is_gray ? nullptr : channel_of(image, c);
        const Derivatives slope = derivatives_of(is_gray ? image : *part, sigma, true, true);
        for (int i = 0; i < image.nrows; ++i) {
            const float* const dx = slope.x->pixels[i];
            const float* const dy = slope.y->pixels[i];
            for (std::size_t j = 0; j < cols; ++j) {
                const double x = dx[j], y = dy[j];
                sizes[j] = static_cast<float>(std::sqrt(x * x + y * y));
                angles[j] = quick_angle(x, y);
            }
            float* const magnitude = result.magnitude->pixels[i];
            float* const direction = result.direction->pixels[i];
            for (std::size_t j = 0; j < cols; ++j) {
                if (c > 0 && !(sizes[j] > magnitude[j]))
                    continue;
                magnitude[j] = sizes[j];
                direction[j] = sizes[j] == 0.0f ? 0.0f : rounded_angle(angles[j], dx[j], dy[j]);
            }
        }
    }
    return result;
}

VolumePtr smooth(const CVolume& volume, double sigma) {
    check_volume(volume);
    check_sigma(sigma);
    const std::size_t slices = count_of(volume.nslices);
    const std::size_t rows = count_of(volume.nrows), cols = count_of(volume.ncols);
    const GaussianFilters filters(sigma);
    const LineProfile through(filters, sigma, slices), down(filters, sigma, rows),
        along(filters, sigma, cols);
    const auto by_slice = reciprocals(through.gain), by_row = reciprocals(down.gain),
               by_col = reciprocals(along.gain);
    VolumePtr result;
    if (sigma <= largest_sigma_in_floats) {
        result.reset(volume.smooth_volume(static_cast<float>(sigma)));
        if (!result)
            throw Error("there is no memory for the smoothed volume");
        for (std::size_t k = 0; k < slices; ++k) {
            std::vector<double> factors = by_row;
            for (double& factor : factors)
                factor *= by_slice[k];
            multiply(result->slices[k], factors, by_col);
            result->slices[k].pixel_format = PixelFormat::float32;
        }
    } else {
        result = make_volume(volume.nslices, volume.nrows, volume.ncols);
        for (std::size_t k = 0; k < slices; ++k) {
            const auto slice = rows_of(result->slices[k]);
            filter_rows(filters.smoothing, rows_of(volume.slices[k]), slice, rows, cols, 1, by_col);
            filter_columns(filters.smoothing, slice, rows, cols, by_row);
        }
        for (std::size_t i = 0; i < rows; ++i)
            filter_columns(
                filters.smoothing, [&](std::size_t k) { return result->slices[k].pixels[i]; },
                slices, cols, by_slice);
    }
    result->pixel_format = PixelFormat::float32;
    return result;
}

} // namespace vorlane::host
