// Private: what the samples of a picture are like, and text for the reader.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vorlane/vorlane.h>

namespace vorlane::host {

struct SampleStatistics {
    double low = 0.0, high = 0.0, mean = 0.0, deviation = 0.0; // of those that are finite numbers
    std::int64_t count = 0;                                    // of all samples
    std::int64_t not_a_numbers = 0;
    std::int64_t infinities = 0;
    std::vector<std::int64_t> bins; // of equal width from low to high
};

SampleStatistics statistics_of(const CImage& image, int bins);

// A number as short as it can be read back, or "null" for what JSON has no word for.
std::string json_number(double value);
std::string json_text(const std::string& text);

// As printf.
[[gnu::format(printf, 1, 2)]] std::string text_of(const char* format, ...);

} // namespace vorlane::host
