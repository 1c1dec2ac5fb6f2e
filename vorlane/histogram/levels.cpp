#include <vorlane/histogram/levels.h>

#include <algorithm>
#include <cstddef>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/image_parts.h>

namespace vorlane {

namespace {

constexpr float largest_level = 16777216.0f; // 2^24: a bin for each fits in memory
constexpr int block = 1024;                  // pixels that are looked at together

// Written so that compilers turn it into vector code.
void truncate_levels(const float* gray, int n, int* levels) {
    for (int k = 0; k < n; ++k) {
        const bool has_bin = gray[k] > -1.0f && gray[k] <= largest_level;
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

} // namespace

int highest_level(const CImage& image, const float* const* mask) {
    int highest = no_level;
    for_each_block(image, mask, [&highest](const int* levels, int n) {
        for (int k = 0; k < n; ++k)
            highest = std::max(highest, levels[k]);
    });
    return highest;
}

std::vector<std::int64_t> count_of_levels(const CImage& image, const float* const* mask, int top) {
    // Neighbouring pixels go to different tables, since equal levels in a row would wait for each
    // other; large tables gain nothing by it. In front of level 0 stand the pixels without a level.
    const std::size_t size = static_cast<std::size_t>(top) + 2;
    const std::size_t tables = size <= 4096 ? 4 : 1;
    std::vector<std::int64_t> counts(tables * size);
    std::int64_t* const first = counts.data() + 1;
    const std::size_t next = tables == 4 ? size : 0;
    for_each_block(image, mask, [first, next](const int* levels, int n) {
        int k = 0;
        for (; k + 4 <= n; k += 4) {
            ++first[levels[k]];
            ++(first + next)[levels[k + 1]];
            ++(first + 2 * next)[levels[k + 2]];
            ++(first + 3 * next)[levels[k + 3]];
        }
        for (; k < n; ++k)
            ++first[levels[k]];
    });
    for (std::size_t t = 1; t < tables; ++t)
        for (std::size_t k = 0; k < size; ++k)
            counts[k] += counts[t * size + k];
    counts.resize(size);
    counts.erase(counts.begin());
    return counts;
}

} // namespace vorlane
