#include "host/natural_parts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace vorlane::host {

void check_image(const CImage& image) {
    if (!image.pixels || image.nrows < 1 || image.ncols < 1 ||
        (image.image_type != ImageType::gray && image.image_type != ImageType::colour))
        throw UsageError("the image has no pixels");
}

void check_volume(const CVolume& volume) {
    if (!volume.slices || volume.nslices < 1 || volume.nrows < 1 || volume.ncols < 1)
        throw UsageError("the volume has no slices");
    for (int k = 0; k < volume.nslices; ++k) {
        const CImage& slice = volume.slices[k];
        if (!slice.pixels)
            throw UsageError("slice " + std::to_string(k) + " of the volume has no pixels");
        if (slice.nrows != volume.nrows || slice.ncols != volume.ncols)
            throw UsageError("the slices of the volume differ in size");
        if (slice.image_type != ImageType::gray)
            throw UsageError("the slices of the volume aren't gray");
    }
}

void check_sigma(double sigma, double largest) {
    if (sigma > 0.0 && sigma <= largest)
        return;
    std::ostringstream text;
    text << "sigma must be above 0 and at most " << largest << ", not " << sigma;
    throw UsageError(text.str());
}

void check_sigma_of_slopes(double sigma) {
    constexpr double smallest = 0.3; // below it the kernel doesn't reach the next pixel
    if (!(sigma >= smallest && sigma <= largest_sigma))
        throw UsageError("sigma must be 0.3 to 1000 for slopes, not " + std::to_string(sigma));
}

ImagePtr make_image(int rows, int cols, int image_type) {
    ImagePtr image =
        std::make_unique<CImage>(rows, cols, image_type, FileFormat::none, PixelFormat::float32);
    if (!image->pixels)
        throw Error("there is no memory for an image of " + std::to_string(rows) + " x " +
                    std::to_string(cols) + " pixels");
    return image;
}

VolumePtr make_volume(int slices, int rows, int cols) {
    auto volume = std::make_unique<CVolume>(slices, rows, cols, ImageType::gray, FileFormat::tq,
                                            PixelFormat::float32);
    for (int k = 0; k < slices; ++k) {
        if (!volume->slices || !volume->slices[k].pixels)
            throw Error("there is no memory for a volume of " + std::to_string(slices) + " x " +
                        std::to_string(rows) + " x " + std::to_string(cols) + " voxels");
    }
    return volume;
}

void copy_channel(const CImage& image, std::size_t channel, CImage& part) {
    const std::size_t step = channels_of(image);
    for (int i = 0; i < image.nrows; ++i) {
        const float* const in = image.pixels[i] + channel;
        float* const out = part.pixels[i];
        for (std::size_t j = 0; j < count_of(image.ncols); ++j)
            out[j] = in[j * step];
    }
}

ImagePtr channel_of(const CImage& image, std::size_t channel) {
    ImagePtr part = make_image(image.nrows, image.ncols, ImageType::gray);
    copy_channel(image, channel, *part);
    return part;
}

ImagePtr mean_of_channels(const CImage& image) {
    return image.image_type == ImageType::gray
               ? channel_of(image, 0)
               : checked(image.MakeGray(), "there is no memory for the gray image");
}

ImagePtr continued(const CImage& image, int margin, double level) {
    const std::int64_t side = std::int64_t{2} * margin;
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    if (side + image.nrows > largest || side + image.ncols > largest)
        throw UsageError("the image is too large for this sigma");
    ImagePtr wide =
        make_image(image.nrows + 2 * margin, image.ncols + 2 * margin, image.image_type);
    const std::size_t channels = channels_of(image);
    const std::size_t cols = count_of(image.ncols), left = count_of(margin);
    for (int i = 0; i < wide->nrows; ++i) {
        const float* const in = image.pixels[std::clamp(i - margin, 0, image.nrows - 1)];
        float* const out = wide->pixels[i];
        for (std::size_t k = 0; k < cols * channels; ++k)
            out[left * channels + k] = static_cast<float>(in[k] - level);
        for (std::size_t k = 0; k < left * channels; ++k) {
            out[k] = out[left * channels + k % channels];
            out[(left + cols) * channels + k] = out[(left + cols - 1) * channels + k % channels];
        }
    }
    return wide;
}

VolumePtr continued(const CVolume& volume, int margin) {
    const std::int64_t side = std::int64_t{2} * margin;
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    if (side + volume.nslices > largest || side + volume.nrows > largest ||
        side + volume.ncols > largest)
        throw UsageError("the volume is too large for this sigma");
    VolumePtr wide = make_volume(volume.nslices + 2 * margin, volume.nrows + 2 * margin,
                                 volume.ncols + 2 * margin);
    for (int k = 0; k < wide->nslices; ++k) {
        const CImage& slice = volume.slices[std::clamp(k - margin, 0, volume.nslices - 1)];
        for (int i = 0; i < wide->nrows; ++i) {
            const float* const in = slice.pixels[std::clamp(i - margin, 0, volume.nrows - 1)];
            float* const out = wide->slices[k].pixels[i];
            std::fill_n(out, margin, in[0]);
            std::copy_n(in, volume.ncols, out + margin);
            std::fill_n(out + margin + volume.ncols, margin, in[volume.ncols - 1]);
        }
    }
    return wide;
}

ImagePtr inside(const CImage& image, int margin) {
    return checked(
        image.Extract(margin, margin, image.nrows - 2 * margin, image.ncols - 2 * margin),
        "there is no memory for the result");
}

int margin_of(double sigma) {
    return static_cast<int>(std::ceil(4.0 * sigma)) + 1;
}

Levels levels_of(const CImage& image) {
    float low = std::numeric_limits<float>::infinity();
    float high = -low;
    for (int i = 0; i < image.nrows; ++i) {
        const float* const row = image.pixels[i];
        for (std::size_t k = 0; k < count_of(image.ncols) * channels_of(image); ++k) {
            low = row[k] < low ? row[k] : low;
            high = row[k] > high ? row[k] : high;
        }
    }
    return low <= high ? Levels{low, high} : Levels{0.0, 0.0};
}

} // namespace vorlane::host
