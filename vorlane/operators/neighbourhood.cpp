#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/operators/neighbourhood_kernels.h>

namespace {

using namespace vorlane;
using std::int64_t;
using std::size_t;

size_t count_of(int64_t n) {
    return static_cast<size_t>(n);
}

void threshold_row(const float* from, float* to, int64_t cols, float level) {
    for (int64_t j = 0; j < cols; ++j)
        to[j] = from[j] > level ? 255.0f : 0.0f;
}

void threshold_colour_row(const float* from, float* to, int64_t cols, float level) {
    for (int64_t j = 0; j < cols; ++j, from += 3) {
        const bool is_above = (from[0] > level) & (from[1] > level) & (from[2] > level);
        to[j] = is_above ? 255.0f : 0.0f;
    }
}

// The weights of a DistanceFilter, by the distance in rows and columns.
class DistanceWeights {
public:
    // For distances below `rows` and `cols`.
    DistanceWeights(int64_t half, int64_t rows, int64_t cols)
        : cols_(cols), weights_(new (std::nothrow) double[count_of(rows * cols)]) {
        if (!weights_)
            return;
        const auto corner =
            double{static_cast<float>(std::sqrt(2.0 * static_cast<double>(half * half)))};
        for (int64_t a = 0; a < rows; ++a) {
            for (int64_t b = 0; b < cols; ++b) {
                const double distance = std::sqrt(static_cast<double>(a * a + b * b));
                weights_[count_of(a * cols + b)] = (corner - distance) / corner;
            }
        }
    }

    bool is_made() const { return weights_ != nullptr; }
    const double* row(int64_t rows_away) const { return &weights_[count_of(rows_away * cols_)]; }

private:
    int64_t cols_;
    std::unique_ptr<double[]> weights_;
};

// The window of a DistanceFilter around the pixels of one row. Positions are clamped to the image,
// and a weight is that of the clamped position.
class DistanceWindow {
public:
    DistanceWindow(const CImage& image, const DistanceWeights& weights, int64_t size)
        : image_(image), weights_(weights), size_(size), first_(size / 2 - size + 1),
          channels_(channel_count(image.image_type)),
          rows_(new (std::nothrow) const float*[count_of(size)]),
          row_weights_(new (std::nothrow) const double*[count_of(size)]) {}

    bool is_made() const { return rows_ && row_weights_; }

    void filter_row(int64_t row, float* to) {
        const int64_t last = size_ / 2;
        for (int64_t a = 0; a < size_; ++a) {
            const int64_t from = std::clamp<int64_t>(row + first_ + a, 0, image_.nrows - 1);
            rows_[count_of(a)] = image_.pixels[from];
            row_weights_[count_of(a)] = weights_.row(std::abs(row - from));
        }
        const int64_t begin = std::min<int64_t>(-first_, image_.ncols);
        const int64_t end = std::max(begin, image_.ncols - last);
        filter_borders(to, 0, begin);
        filter_borders(to, end, image_.ncols);
        if (begin < end)
            filter_inside(to, begin, end);
    }

private:
    void filter_borders(float* to, int64_t begin, int64_t end) const {
        for (int64_t col = begin; col < end; ++col) {
            for (int64_t k = 0; k < channels_; ++k) {
                double sum = 0.0;
                double total = 0.0;
                for (int64_t a = 0; a < size_; ++a) {
                    for (int64_t b = 0; b < size_; ++b) {
                        const int64_t from =
                            std::clamp<int64_t>(col + first_ + b, 0, image_.ncols - 1);
                        const double weight = row_weights_[count_of(a)][std::abs(col - from)];
                        sum += weight * rows_[count_of(a)][channels_ * from + k];
                        total += weight;
                    }
                }
                to[channels_ * col + k] = static_cast<float>(sum / total);
            }
        }
    }

    // From `begin` on, the window's first column is the image's.
    void filter_inside(float* to, int64_t begin, int64_t end) const {
        double total = 0.0;
        for (int64_t a = 0; a < size_; ++a)
            for (int64_t b = 0; b < size_; ++b)
                total += row_weights_[count_of(a)][std::abs(first_ + b)];
        const WindowRows window = {rows_.get(),
                                   row_weights_.get(),
                                   count_of(size_),
                                   count_of(size_),
                                   first_,
                                   count_of(channels_),
                                   total};
        pick_neighbourhood_kernels().weighted_mean(window, to + channels_ * begin,
                                                   count_of(channels_ * (end - begin)));
    }

    const CImage& image_;
    const DistanceWeights& weights_;
    int64_t size_, first_, channels_;
    std::unique_ptr<const float*[]> rows_;
    std::unique_ptr<const double*[]> row_weights_;
};

// Rows of an image as gray samples: those of a gray image themselves, those of a colour image made
// as they are asked for. The latest three stay valid.
class GrayRows {
public:
    explicit GrayRows(const CImage& image) : image_(image) {
        if (image.image_type == 1)
            rows_.reset(make_plane(3, image.ncols, Fill::none));
    }

    bool is_made() const { return image_.image_type == 0 || rows_; }

    const float* row(int i) {
        if (!rows_)
            return image_.pixels[i];
        float* const to = rows_.get()[i % 3];
        if (i >= made_) {
            for (int64_t j = 0; j < image_.ncols; ++j)
                to[j] = static_cast<float>(mean_of_pixel(image_.pixels[i] + 3 * j));
            made_ = i + 1;
        }
        return to;
    }

private:
    const CImage& image_;
    PlaneHandle rows_;
    int made_ = 0;
};

} // namespace

CImage* CImage::Threshold(float level) const {
    if (!has_plane(*this))
        return nullptr;
    auto out = make_unwritten_image(nrows, ncols, 0, file_format, pixel_format);
    if (!out)
        return nullptr;
    for (int i = 0; i < nrows; ++i)
        (image_type == 0 ? threshold_row : threshold_colour_row)(pixels[i], out->pixels[i], ncols,
                                                                 level);
    return out.release();
}

CImage* CImage::DistanceFilter(int size) const {
    if (!has_plane(*this) || size < 2)
        return nullptr;
    auto out = make_unwritten_image(nrows, ncols, image_type, file_format, pixel_format);
    if (!out || !has_pixels(*this))
        return out.release();
    const int half = size / 2;
    const DistanceWeights weights(half, std::min(half + 1, nrows), std::min(half + 1, ncols));
    DistanceWindow window(*this, weights, size);
    if (!weights.is_made() || !window.is_made())
        return nullptr;
    for (int i = 0; i < nrows; ++i)
        window.filter_row(i, out->pixels[i]);
    return out.release();
}

void CImage::SobelFilter() {
    if (!has_plane(*this))
        return;
    if (!plane_holds(mag_plane, nrows, ncols)) {
        float** const plane = make_plane(nrows, ncols);
        if (!plane)
            return;
        free_2D_float_array(std::exchange(mag_plane, plane));
    }
    GrayRows gray(*this);
    if (nrows < 3 || ncols < 3 || !gray.is_made())
        return;
    const NeighbourhoodKernels& kernels = pick_neighbourhood_kernels();
    for (int i = 1; i < nrows - 1; ++i) {
        const float* const rows[3] = {gray.row(i - 1), gray.row(i), gray.row(i + 1)};
        kernels.sobel(rows, mag_plane[i], count_of(ncols));
    }
}
