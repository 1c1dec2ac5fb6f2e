#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/results.h>
#include <vorlane/operators/neighbourhood_kernels.h>

namespace {

using namespace vorlane;

void threshold_row(const float* from, float* to, Index cols, float level) {
    for (Index j = 0; j < cols; ++j)
        to[j] = from[j] > level ? 255.0f : 0.0f;
}

void threshold_colour_row(const float* from, float* to, Index cols, float level) {
    for (Index j = 0; j < cols; ++j, from += 3) {
        const bool is_above = (from[0] > level) & (from[1] > level) & (from[2] > level);
        to[j] = is_above ? 255.0f : 0.0f;
    }
}

// The weights of a DistanceFilter, by the distance in rows and columns.
class DistanceWeights {
public:
    // For distances below `rows` and `cols`.
    DistanceWeights(Index half, Index rows, Index cols) : cols_(cols), weights_(rows * cols) {
        double* weight = weights_.data();
        const auto corner =
            double{static_cast<float>(std::sqrt(2.0 * static_cast<double>(half * half)))};
        for (Index a = 0; a < rows; ++a) {
            for (Index b = 0; b < cols; ++b) {
                const double distance = std::sqrt(static_cast<double>(a * a + b * b));
                *weight++ = (corner - distance) / corner;
            }
        }
    }

    const double* row(Index rows_away) const { return weights_.data() + rows_away * cols_; }

private:
    Index cols_;
    std::vector<double> weights_;
};

// The window of a DistanceFilter around the pixels of one row. Positions are clamped to the image,
// and a weight is that of the clamped position.
class DistanceWindow {
public:
    DistanceWindow(const CImage& image, const DistanceWeights& weights, Index size)
        : image_(image), weights_(weights), size_(size), first_(size / 2 - size + 1),
          channels_(channel_count(image.image_type)), rows_(std::make_unique<const float*[]>(size)),
          row_weights_(std::make_unique<const double*[]>(size)) {}

    void filter_row(Index row, float* to) {
        const Index last = size_ / 2;
        for (Index a = 0; a < size_; ++a) {
            const Index from = std::clamp<Index>(row + first_ + a, 0, image_.nrows - 1);
            rows_[a] = image_.pixels[from];
            row_weights_[a] = weights_.row(std::abs(row - from));
        }
        const Index begin = std::min<Index>(-first_, image_.ncols);
        const Index end = std::max(begin, image_.ncols - last);
        filter_borders(to, 0, begin);
        filter_borders(to, end, image_.ncols);
        if (begin < end)
            filter_inside(to, begin, end);
    }

private:
    void filter_borders(float* to, Index begin, Index end) const {
        for (Index col = begin; col < end; ++col) {
            for (Index k = 0; k < channels_; ++k) {
                double sum = 0.0;
                double total = 0.0;
                for (Index a = 0; a < size_; ++a) {
                    for (Index b = 0; b < size_; ++b) {
                        const Index from = std::clamp<Index>(col + first_ + b, 0, image_.ncols - 1);
                        const double weight = row_weights_[a][std::abs(col - from)];
                        sum += weight * rows_[a][channels_ * from + k];
                        total += weight;
                    }
                }
                to[channels_ * col + k] = static_cast<float>(sum / total);
            }
        }
    }

    // From `begin` on, the window's first column is the image's.
    void filter_inside(float* to, Index begin, Index end) const {
        double total = 0.0;
        for (Index a = 0; a < size_; ++a)
            for (Index b = 0; b < size_; ++b)
                total += row_weights_[a][std::abs(first_ + b)];
        WindowRows window{};
        window.rows = rows_.get();
        window.weights = row_weights_.get();
        window.row_count = window.col_count = size_;
        window.first_offset = first_;
        window.channels = channels_;
        window.total = total;
        pick_neighbourhood_kernels().weighted_mean(window, to + channels_ * begin,
                                                   channels_ * (end - begin));
    }

    const CImage& image_;
    const DistanceWeights& weights_;
    Index size_, first_, channels_;
    std::unique_ptr<const float*[]> rows_;
    std::unique_ptr<const double*[]> row_weights_;
};

// Rows of an image as gray samples: those of a gray image themselves, those of a colour image made
// as they are asked for. The latest three stay valid.
class GrayRows {
public:
    explicit GrayRows(const CImage& image)
        : image_(image),
          rows_(image.image_type == ImageType::gray ? Plane() : Plane(3, image.ncols, Fill::none)) {
    }

    const float* row(int i) {
        if (!rows_)
            return image_.pixels[i];
        float* const to = rows_[i % 3];
        if (i >= made_) {
            for (Index j = 0; j < image_.ncols; ++j)
                to[j] = static_cast<float>(mean_of_pixel(image_.pixels[i] + 3 * j));
            made_ = i + 1;
        }
        return to;
    }

private:
    const CImage& image_;
    Plane rows_;
    int made_ = 0;
};

} // namespace

CImage* CImage::Threshold(float level) const {
    if (!holds_channels(*this, channels_read(image_type)))
        return nullptr;
    return make_written(*this, form_of(*this).of_type(ImageType::gray), [&](CImage& out) {
        const auto threshold = image_type == ImageType::gray ? threshold_row : threshold_colour_row;
        for (int i = 0; i < nrows; ++i)
            threshold(pixels[i], out.pixels[i], ncols, level);
    });
}

CImage* CImage::DistanceFilter(int size) const {
    if (size < 2)
        return nullptr;
    return make_from(*this, form_of(*this), [&](CImage& out) {
        const int half = size / 2;
        const DistanceWeights weights(half, std::min(half + 1, nrows), std::min(half + 1, ncols));
        DistanceWindow window(*this, weights, size);
        for (int i = 0; i < nrows; ++i)
            window.filter_row(i, out.pixels[i]);
    });
}

void CImage::SobelFilter() {
    if (!holds_channels(*this, channels_read(image_type)))
        return;
    guarded([&] {
        GrayRows gray(*this);
        if (!plane_holds(mag_plane, nrows, ncols))
            Plane(nrows, ncols).hand_to(mag_plane);
        if (nrows < 3 || ncols < 3)
            return;
        const NeighbourhoodKernels& kernels = pick_neighbourhood_kernels();
        for (int i = 1; i < nrows - 1; ++i) {
            const float* const rows[3] = {gray.row(i - 1), gray.row(i), gray.row(i + 1)};
            kernels.sobel(rows, mag_plane[i], ncols);
        }
    });
}
