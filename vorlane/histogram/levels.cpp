#include <vorlane/histogram/levels.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/soundness.h>

namespace vorlane {

namespace {

constexpr float too_high = 2147483648.0f; // 2^31: no int counts so many bins
constexpr int block = 1024;               // pixels that are looked at together
constexpr int small_tables = 4096;        // levels of which several tables are worth their memory

// Written so that compilers turn it into vector code.
void truncate_levels(const float* gray, int n, int* levels) {
    for (int k = 0; k < n; ++k) {
        const bool has_bin = gray[k] > -1.0f && gray[k] < too_high;
        const float value = has_bin ? gray[k] : float{no_level};
        levels[k] = static_cast<int>(value);
    }
}

void drop_masked(const float* mask, int n, int* levels) {
    for (int k = 0; k < n; ++k)
        levels[k] = mask[k] != 0.0f ? levels[k] : no_level;
}

// Calls use(levels, n) for one block of pixels after the other, with the level of each.
template<class Use>
void for_each_block(const CImage& image, const float* const* mask, Use use) {
    const int channels = channel_count(image.image_type);
    if (!has_pixels(image) || channels == 0)
        return;
    float means[block];
    int levels[block];
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < image.ncols; j += block) {
            const int n = std::min(block, image.ncols - j);
            const float* gray = image.pixels[i] + std::int64_t{channels} * j;
            if (channels == 3) {
                for (int k = 0; k < n; ++k)
                    means[k] = static_cast<float>(mean_of_pixel(gray + 3 * k));
                gray = means;
            }
            truncate_levels(gray, n, levels);
            if (mask)
                drop_masked(mask[i] + j, n, levels);
            use(levels, n);
        }
    }
}

// Neighbouring pixels go to different tables, since equal levels in a row would wait for each other.
// In front of level 0 stand the pixels without a level.
void count_in_tables(const CImage& image, const float* const* mask, int top, int* bins) {
    const std::size_t size = static_cast<std::size_t>(top) + 2;
    std::vector<std::int64_t> counts(4 * size);
    std::int64_t* const first = counts.data() + 1;
    for_each_block(image, mask, [first, size](const int* levels, int n) {
        int k = 0;
        for (; k + 4 <= n; k += 4) {
            ++first[levels[k]];
            ++(first + size)[levels[k + 1]];
            ++(first + 2 * size)[levels[k + 2]];
            ++(first + 3 * size)[levels[k + 3]];
        }
        for (; k < n; ++k)
            ++first[levels[k]];
    });
    for (std::size_t i = 0; i + 1 < size; ++i) {
        const std::int64_t count =
            first[i] + first[i + size] + first[i + 2 * size] + first[i + 3 * size];
        bins[i] = static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
    }
}

} // namespace

int highest_level(const CImage& image, const float* const* mask) {
    int highest = no_level;
    for_each_block(image, mask, [&highest](const int* levels, int n) {
        for (int k = 0; k < n; ++k)
            highest = std::max(highest, levels[k]);
    });
    return highest;
}

int count_levels(const CImage& image, const float* const* mask, int top, bool drop_zero,
                 int* bins) {
    if (top < small_tables)
        count_in_tables(image, mask, top, bins);
    else
        for_each_block(image, mask, [bins](const int* levels, int n) {
            for (int k = 0; k < n; ++k) {
                if (levels[k] != no_level && bins[levels[k]] < std::numeric_limits<int>::max())
                    ++bins[levels[k]];
            }
        });
    if (drop_zero)
        bins[0] = 0;
    // Few pixels have one of many levels: only their bins are looked at, and take memory.
    int peak = 0;
    for_each_block(image, mask, [bins, &peak](const int* levels, int n) {
        for (int k = 0; k < n; ++k)
            peak = levels[k] != no_level ? std::max(peak, bins[levels[k]]) : peak;
    });
    return peak;
}

} // namespace vorlane
