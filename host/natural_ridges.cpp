#include "host/natural.h"

#include <algorithm>
#include <string>

#include "host/natural_parts.h"

namespace vorlane::host {

namespace {

// Floats no longer carry the library's smoothing beyond this.
constexpr double largest_scale = 32.0;

void check_scales(const CImage& image, const RidgeScales& scales) {
    check_sigma(scales.from, largest_scale);
    check_sigma(scales.to, largest_scale);
    if (scales.count < 1 || scales.count > 1000)
        throw UsageError("the number of scales must be 1 to 1000, not " +
                         std::to_string(scales.count));
    if (!scales.bright && !scales.dark)
        throw UsageError("ridges must be bright or dark or both");
    if (!scales.mask)
        return;
    check_image(*scales.mask);
    if (scales.mask->nrows != image.nrows || scales.mask->ncols != image.ncols)
        throw UsageError("the mask must have the size of the image");
}

// While it lives, the library tells this function of its scales and prints nothing.
class Listener {
public:
    Listener(const ScaleProgress& progress, int count) : progress_(progress), count_(count) {
        SetRidgeProgress(hear, this);
    }
    ~Listener() { SetRidgeProgress(nullptr, nullptr); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

private:
    static void hear(int scale, float, void* context) {
        const Listener& self = *static_cast<const Listener*>(context);
        if (self.progress_)
            self.progress_(scale, self.count_);
    }
    const ScaleProgress& progress_;
    int count_;
};

ImagePtr inside_of_plane(float**& plane, const CImage& wide, int margin) {
    CImage carrier;
    carrier.nrows = wide.nrows;
    carrier.ncols = wide.ncols;
    std::swap(carrier.pixels, plane);
    ImagePtr image = inside(carrier, margin);
    image->file_format = FileFormat::none;
    return image;
}

} // namespace

RidgeMap find_ridges(const CImage& image, const RidgeScales& scales,
                     const ScaleProgress& progress) {
    check_image(image);
    check_scales(image, scales);
    const ImagePtr gray = mean_of_channels(image);
    const Levels levels = levels_of(*gray);
    const int margin = margin_of(std::max(scales.from, scales.to));
    const ImagePtr wide = continued(*gray, margin, 0.5 * (levels.low + levels.high));
    const ImagePtr mask =
        scales.mask ? continued(*channel_of(*scales.mask, 0), margin, 0.0) : nullptr;
    {
        const Listener listener(progress, scales.count);
        wide->ridges(static_cast<float>(scales.from), static_cast<float>(scales.to), scales.count,
                     scales.bright, scales.dark, mask.get());
    }
    if (!wide->mag_plane || !wide->dir_plane || !wide->scale_plane)
        throw Error("there is no memory for the ridges");
    RidgeMap map;
    map.strength = inside_of_plane(wide->mag_plane, *wide, margin);
    map.direction = inside_of_plane(wide->dir_plane, *wide, margin);
    map.scale = inside_of_plane(wide->scale_plane, *wide, margin);
    const double strongest = levels_of(*map.strength).high;
    map.is_empty = !(strongest > 0.0);
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < image.ncols; ++j) {
            float& strength = map.strength->pixels[i][j];
            strength = map.is_empty ? 0.0f : static_cast<float>(strength / strongest);
        }
    }
    return map;
}

} // namespace vorlane::host
