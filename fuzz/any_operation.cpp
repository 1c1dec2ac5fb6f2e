#include "any_operation.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/filters/ridges.h>
#include <vorlane/image/plane.h>
#include <vorlane/image/soundness.h>

namespace {

constexpr int most_pixels = 1 << 18;

// A factor that keeps images of this size affordable, or one that is refused.
int any_factor(const CImage& image, ByteInput& input) {
    const int pixels = std::max(image.nrows, 1) * std::max(image.ncols, 1);
    const int factor = input.whole() % 9;
    return pixels * factor * factor <= most_pixels ? factor : 1;
}

void set_record(const vorlane::Plane& coef, ByteInput& input) {
    const float sigma = input.sigma();
    if (input.below(2) == 0)
        ga(sigma, coef.get());
    else
        fdga(sigma, coef.get());
}

float** any_plane(const CImage& image, ByteInput& input) {
    if (input.below(4) != 0)
        return nullptr;
    const int rows = std::max(image.nrows - input.below(2), 0);
    float** const plane = make_2D_float_array(rows, image.ncols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < image.ncols; ++j)
            plane[i][j] = input.sample();
    return plane;
}

} // namespace

int row_length(const CImage& image) {
    return vorlane::has_pixels(image) ? static_cast<int>(vorlane::samples_per_row(image)) : 0;
}

void touch(const CImage& image) {
    volatile float last = 0.0f;
    for (int i = 0, length = row_length(image); length > 0 && i < image.nrows; ++i)
        for (int j = 0; j < length; ++j)
            last = image.pixels[i][j];
    static_cast<void>(last);
}

ImagePtr make_any_image(ByteInput& input) {
    const int rows = input.below(49);
    const int cols = input.below(49);
    auto image = std::make_unique<CImage>(rows, cols, input.below(2), 4, 4 + input.below(4));
    // A short input repeats, so that it makes large images too.
    std::vector<float> samples;
    for (int k = 0, count = 1 + input.below(64); k < count; ++k)
        samples.push_back(input.sample());
    std::size_t next = 0;
    for (int i = 0, length = row_length(*image); length > 0 && i < rows; ++i)
        for (int j = 0; j < length; ++j)
            image->pixels[i][j] = samples[next++ % samples.size()];
    image->mag_plane = any_plane(*image, input);
    image->dir_plane = any_plane(*image, input);
    image->scale_plane = any_plane(*image, input);
    return image;
}

ImagePtr apply_any_operation(const CImage& a, const CImage& b, ByteInput& input) {
    const auto apply = [&]() -> CImage* {
        switch (input.below(33)) {
        case 0:
            return new CImage(&a);
        case 1:
            return a.Invert();
        case 2:
            return a.Multseq(&b);
        case 3:
            return a.Addseq(&b);
        case 4:
            return a.Orseq(&b);
        case 5:
            return a.Andseq(&b);
        case 6:
            return a.Maxseq(&b);
        case 7:
            return a.Minseq(&b);
        case 8:
            return a.Superpose(&b);
        case 9:
            return a.MakeGray();
        case 10:
            return a.MakeColor(input.below(2));
        case 11:
            return a.RGB_to_LUV();
        case 12:
        case 13:
            return a.Median(input.below(24));
        case 14:
            return a.Threshold(input.sample());
        case 15:
            return a.DistanceFilter(input.below(12));
        case 16:
            return a.Chamfer();
        case 17: {
            const int row = input.whole(), col = input.whole(), rows = input.whole();
            return a.Extract(row, col, rows, input.whole());
        }
        case 18:
            return a.Reduce(2, 1);
        case 19:
            return a.Reduce(input.whole(), 0);
        case 20:
        case 21: {
            const int factor = any_factor(a, input);
            return a.Enlarge(factor, input.below(2));
        }
        case 22: {
            const int rows = input.whole();
            return a.Translate(rows, input.whole());
        }
        case 23:
            return a.Rotate(input.whole());
        case 24: {
            const float rows = static_cast<float>(any_factor(a, input)) * 0.37f;
            return a.Scale(rows, input.below(3) == 0 ? 0.0f : 1.1f);
        }
        case 25: {
            const int rows = input.below(120);
            return a.Scale(rows, input.below(120));
        }
        case 26:
        case 27: {
            const vorlane::Plane coef(5, 5);
            set_record(coef, input);
            return input.below(2) == 0 ? a.apply_IIR4_filter_x(coef.get())
                                       : a.apply_IIR4_filter_y(coef.get());
        }
        case 28:
            return a.smooth_image(input.sigma());
        case 29:
            return a.first_derivative_x(input.sigma());
        case 30:
            return a.first_derivative_y(input.sigma());
        case 31:
            return a.non_maximum_suppression();
        default: {
            const float high = input.sample();
            return a.hysteresis_thresholding(high, input.sample());
        }
        }
    };
    return ImagePtr(apply());
}

void apply_any_change(CImage& a, const CImage& b, ByteInput& input) {
    switch (input.below(13)) {
    case 0:
        if (a.nrows == b.nrows && a.ncols == b.ncols)
            a = b;
        break;
    case 1: {
        const float lo = input.sample();
        a.Normalize(lo, input.sample());
        break;
    }
    case 2: {
        CImage red(a.nrows, a.ncols, 0, 4, 6), green(a.nrows, a.ncols, 0, 4, 6);
        CImage blue(a.nrows, input.below(50), 0, 4, 6);
        a.ComputeRGB(&red, &green, &blue);
        touch(red);
        break;
    }
    case 3: {
        const int row = input.whole(), col = input.whole(), row2 = input.whole(),
                  col2 = input.whole();
        a.DrawLine(row, col, row2, col2, input.sample());
        break;
    }
    case 4: {
        const int row = input.whole(), col = input.whole();
        const float radius = input.sample();
        a.DrawCircle(row, col, radius, input.sample());
        break;
    }
    case 5: {
        const int row = input.whole(), col = input.whole();
        const float value = input.sample();
        a.DrawCross(row, col, value, input.whole());
        break;
    }
    case 6: {
        const int row = input.whole(), col = input.whole();
        const float fill = input.sample();
        a.FillObject(row, col, fill, input.sample());
        break;
    }
    case 7:
        a.FillConvexObject(input.sample());
        break;
    case 8: {
        const int row = input.whole(), col = input.whole();
        a.follow_edge(&a, row, col, input.sample());
        break;
    }
    case 9:
        a.SobelFilter();
        break;
    case 10:
    case 11:
        a.edges_mag_dir(input.sigma());
        break;
    default: {
        const float from = input.sigma(), to = input.sigma();
        const int scales = input.below(4), bright = input.below(2), dark = input.below(2);
        SetRidgeProgress([](int, float, void*) {}, nullptr);
        a.ridges(from, to, scales, bright, dark, input.below(2) == 0 ? nullptr : &b);
    }
    }
}
