#include <support/images.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

ImagePtr make_gray(int rows, int cols, const std::function<float(int, int)>& value) {
    auto image = std::make_unique<CImage>(rows, cols, 0, 1, 4);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            image->pixels[i][j] = value(i, j);
    return image;
}

ImagePtr make_colour(int rows, int cols, const std::function<float(int, int, int)>& value) {
    auto image = std::make_unique<CImage>(rows, cols, 1, 2, 4);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            for (int k = 0; k < 3; ++k)
                image->pixels[i][3 * j + k] = value(i, j, k);
    return image;
}

ImagePtr make_random(int rows, int cols, int image_type, unsigned seed, bool whole_numbers) {
    std::mt19937 random(seed);
    const auto next = [&] {
        const float value = static_cast<float>(random() % (1u << 20)) / (1u << 20) * 255.99f;
        return whole_numbers ? std::floor(value) : value;
    };
    return image_type == 0 ? make_gray(rows, cols, [&](int, int) { return next(); })
                           : make_colour(rows, cols, [&](int, int, int) { return next(); });
}

std::vector<float> samples_of(const float* const* plane, int rows, int cols) {
    std::vector<float> samples;
    for (int i = 0; i < rows; ++i)
        samples.insert(samples.end(), plane[i], plane[i] + cols);
    return samples;
}

std::vector<float> samples_of(const CImage& image) {
    return samples_of(image.pixels, image.nrows, image.ncols * channels_of(image));
}

int channels_of(const CImage& image) {
    return image.image_type == 1 ? 3 : 1;
}

std::vector<float> samples_by(int rows, int cols, int channels,
                              const std::function<float(int, int, int)>& value) {
    std::vector<float> samples;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            for (int k = 0; k < channels; ++k)
                samples.push_back(value(i, j, k));
    return samples;
}

ImagePtr image_of(int rows, int cols, int image_type, const Samples& samples, int pixel_format) {
    auto image = std::make_unique<CImage>(rows, cols, image_type, 4, pixel_format);
    const int count = cols * channels_of(*image);
    for (int i = 0; i < rows; ++i)
        std::copy_n(samples.begin() + std::ptrdiff_t{i} * count, count, image->pixels[i]);
    return image;
}

ImagePtr row_of(const Samples& samples, int image_type) {
    const int count = static_cast<int>(samples.size());
    return image_of(1, image_type == 0 ? count : count / 3, image_type, samples, 6);
}

bool same_bits(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

testing::AssertionResult same_bits(const std::vector<float>& a, const std::vector<float>& b) {
    if (a.size() != b.size())
        return testing::AssertionFailure() << a.size() << " samples against " << b.size();
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (!same_bits(a[k], b[k]))
            return testing::AssertionFailure()
                   << "sample " << k << ": " << std::hexfloat << a[k] << " against " << b[k];
    }
    return testing::AssertionSuccess();
}
