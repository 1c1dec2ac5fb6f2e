#include "any_operation.h"

#include <algorithm>
#include <iterator>
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

CImage* enlarge(const CImage& a, const CImage&, ByteInput& input) {
    const int factor = any_factor(a, input);
    return a.Enlarge(factor, input.below(2));
}

CImage* filter(const CImage& a, const CImage&, ByteInput& input) {
    const vorlane::Plane coef(5, 5);
    const float sigma = input.sigma();
    (input.below(2) == 0 ? ga : fdga)(sigma, coef.get());
    return input.below(2) == 0 ? a.apply_IIR4_filter_x(coef.get())
                               : a.apply_IIR4_filter_y(coef.get());
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

using Source = const CImage&;

// Their numbers are those of the corpora. Arguments are braced, which reads them from left to right.
constexpr CImage* (*operations[])(Source, Source, ByteInput&) = {
    [](Source a, Source, ByteInput&) { return new CImage(&a); },
    [](Source a, Source, ByteInput&) { return a.Invert(); },
    [](Source a, Source b, ByteInput&) { return a.Multseq(&b); },
    [](Source a, Source b, ByteInput&) { return a.Addseq(&b); },
    [](Source a, Source b, ByteInput&) { return a.Orseq(&b); },
    [](Source a, Source b, ByteInput&) { return a.Andseq(&b); },
    [](Source a, Source b, ByteInput&) { return a.Maxseq(&b); },
    [](Source a, Source b, ByteInput&) { return a.Minseq(&b); },
    [](Source a, Source b, ByteInput&) { return a.Superpose(&b); },
    [](Source a, Source, ByteInput&) { return a.MakeGray(); },
    [](Source a, Source, ByteInput& input) { return a.MakeColor(input.below(2)); },
    [](Source a, Source, ByteInput&) { return a.RGB_to_LUV(); },
    [](Source a, Source, ByteInput& input) { return a.Median(input.below(24)); },
    [](Source a, Source, ByteInput& input) { return a.Median(input.below(24)); },
    [](Source a, Source, ByteInput& input) { return a.Threshold(input.sample()); },
    [](Source a, Source, ByteInput& input) { return a.DistanceFilter(input.below(12)); },
    [](Source a, Source, ByteInput&) { return a.Chamfer(); },
    [](Source a, Source, ByteInput& input) {
        const int r[] = {input.whole(), input.whole(), input.whole(), input.whole()};
        return a.Extract(r[0], r[1], r[2], r[3]);
    },
    [](Source a, Source, ByteInput&) { return a.Reduce(2, 1); },
    [](Source a, Source, ByteInput& input) { return a.Reduce(input.whole(), 0); },
    enlarge,
    enlarge,
    [](Source a, Source, ByteInput& input) {
        const int shift[] = {input.whole(), input.whole()};
        return a.Translate(shift[0], shift[1]);
    },
    [](Source a, Source, ByteInput& input) { return a.Rotate(input.whole()); },
    [](Source a, Source, ByteInput& input) {
        const float rows = static_cast<float>(any_factor(a, input)) * 0.37f;
        return a.Scale(rows, input.below(3) == 0 ? 0.0f : 1.1f);
    },
    [](Source a, Source, ByteInput& input) {
        const int size[] = {input.below(120), input.below(120)};
        return a.Scale(size[0], size[1]);
    },
    filter,
    filter,
    [](Source a, Source, ByteInput& input) { return a.smooth_image(input.sigma()); },
    [](Source a, Source, ByteInput& input) { return a.first_derivative_x(input.sigma()); },
    [](Source a, Source, ByteInput& input) { return a.first_derivative_y(input.sigma()); },
    [](Source a, Source, ByteInput&) { return a.non_maximum_suppression(); },
    [](Source a, Source, ByteInput& input) {
        const float thresholds[] = {input.sample(), input.sample()};
        return a.hysteresis_thresholding(thresholds[0], thresholds[1]);
    },
};

constexpr void (*changes[])(CImage&, Source, ByteInput&) = {
    [](CImage& a, Source b, ByteInput&) {
        if (a.nrows == b.nrows && a.ncols == b.ncols)
            a = b;
    },
    [](CImage& a, Source, ByteInput& input) {
        const float range[] = {input.sample(), input.sample()};
        a.Normalize(range[0], range[1]);
    },
    [](CImage& a, Source, ByteInput& input) {
        CImage red(a.nrows, a.ncols, 0, 4, 6), green(a.nrows, a.ncols, 0, 4, 6);
        CImage blue(a.nrows, input.below(50), 0, 4, 6);
        a.ComputeRGB(&red, &green, &blue);
        touch(red);
    },
    [](CImage& a, Source, ByteInput& input) {
        const int ends[] = {input.whole(), input.whole(), input.whole(), input.whole()};
        a.DrawLine(ends[0], ends[1], ends[2], ends[3], input.sample());
    },
    [](CImage& a, Source, ByteInput& input) {
        const int at[] = {input.whole(), input.whole()};
        const float radius = input.sample();
        a.DrawCircle(at[0], at[1], radius, input.sample());
    },
    [](CImage& a, Source, ByteInput& input) {
        const int at[] = {input.whole(), input.whole()};
        const float value = input.sample();
        a.DrawCross(at[0], at[1], value, input.whole());
    },
    [](CImage& a, Source, ByteInput& input) {
        const int at[] = {input.whole(), input.whole()};
        const float fill = input.sample();
        a.FillObject(at[0], at[1], fill, input.sample());
    },
    [](CImage& a, Source, ByteInput& input) { a.FillConvexObject(input.sample()); },
    [](CImage& a, Source, ByteInput& input) {
        const int at[] = {input.whole(), input.whole()};
        a.follow_edge(&a, at[0], at[1], input.sample());
    },
    [](CImage& a, Source, ByteInput&) { a.SobelFilter(); },
    [](CImage& a, Source, ByteInput& input) { a.edges_mag_dir(input.sigma()); },
    [](CImage& a, Source, ByteInput& input) { a.edges_mag_dir(input.sigma()); },
    [](CImage& a, Source b, ByteInput& input) {
        const float from = input.sigma(), to = input.sigma();
        const int scales = input.below(4), bright = input.below(2), dark = input.below(2);
        SetRidgeProgress([](int, float, void*) {}, nullptr);
        a.ridges(from, to, scales, bright, dark, input.below(2) == 0 ? nullptr : &b);
    },
};

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
    return ImagePtr(operations[input.below(std::size(operations))](a, b, input));
}

void apply_any_change(CImage& a, const CImage& b, ByteInput& input) {
    changes[input.below(std::size(changes))](a, b, input);
}
