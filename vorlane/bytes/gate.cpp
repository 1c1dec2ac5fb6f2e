#include <vorlane/bytes/gate.h>

#include <algorithm>
#include <limits>

namespace vorlane {

namespace {

#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
// Targets would fill planes with one sample most of their time.
constexpr std::int64_t always_believed_samples = std::int64_t{1} << 20;
#else
constexpr std::int64_t always_believed_samples = std::int64_t{1} << 26;
#endif
constexpr std::int64_t easily_believed_samples = std::int64_t{1} << 28;
constexpr std::int64_t easy_ratio = 1000;
constexpr std::int64_t ratio = 100;

// The product of factors, each at least 1, or the largest number if it doesn't fit.
std::int64_t saturating_product(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    return a > largest / b ? largest : a * b;
}

} // namespace

bool header_is_believable(std::int64_t rows, std::int64_t cols, std::int64_t planes,
                          std::int64_t samples_per_pixel, std::int64_t bytes_per_sample,
                          std::int64_t available) {
    if (rows < 0 || cols < 0 || planes < 1)
        return false;
    if (rows == 0)
        cols = std::min<std::int64_t>(cols, 1); // no row is there to have them
    const std::int64_t row = saturating_product(std::max<std::int64_t>(cols, 1), samples_per_pixel);
    const std::int64_t plane = saturating_product(row, std::max<std::int64_t>(rows, 1));
    const std::int64_t samples = saturating_product(plane, planes);
    if (samples <= always_believed_samples)
        return true;
    if (bytes_per_sample < 1)
        return false;
    return available >= saturating_product(samples, bytes_per_sample) /
                            (samples <= easily_believed_samples ? easy_ratio : ratio);
}

} // namespace vorlane
