#include "host/operations/statistics.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>

#include "host/operations/parts.h"

namespace vorlane::host {

SampleStatistics statistics_of(const CImage& image, int bins) {
    SampleStatistics result;
    const int count = samples_per_row(image);
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    double sum = 0.0;
    std::int64_t finite = 0;
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < count; ++j) {
            const double sample = image.pixels[i][j];
            if (std::isfinite(sample)) {
                low = std::min(low, sample);
                high = std::max(high, sample);
                sum += sample;
                ++finite;
            } else {
                ++(std::isnan(sample) ? result.not_a_numbers : result.infinities);
            }
        }
    }
    result.count = std::int64_t{image.nrows} * count;
    result.bins.assign(static_cast<std::size_t>(bins), 0);
    if (finite == 0)
        return result;
    result.low = low;
    result.high = high;
    result.mean = sum / static_cast<double>(finite);
    double squares = 0.0;
    const double scale = high > low ? bins / (high - low) : 0.0;
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < count; ++j) {
            const double sample = image.pixels[i][j];
            if (!std::isfinite(sample))
                continue;
            squares += (sample - result.mean) * (sample - result.mean);
            const int bin = std::min(static_cast<int>((sample - low) * scale), bins - 1);
            ++result.bins[static_cast<std::size_t>(bin)];
        }
    }
    result.deviation = std::sqrt(squares / static_cast<double>(finite));
    return result;
}

std::string json_number(double value) {
    if (!std::isfinite(value))
        return "null";
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string json_text(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        if (static_cast<unsigned char>(c) < ' ')
            result += text_of("\\u%04x", static_cast<unsigned>(c));
        else
            result += c;
    }
    return result + "\"";
}

std::string text_of(const char* format, ...) {
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

} // namespace vorlane::host
