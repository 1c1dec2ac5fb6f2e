#include <algorithm>
#include <array>
#include <unordered_map>

#include "host/movies/parts.h"

namespace vorlane::host {

namespace {

constexpr std::size_t largest_palette = 256;

std::uint32_t colour_at(const std::vector<std::uint8_t>& rgb, std::size_t pixel) {
    return (std::uint32_t{rgb[3 * pixel]} << 16) | (std::uint32_t{rgb[3 * pixel + 1]} << 8) |
           rgb[3 * pixel + 2];
}

bool make_exact(const std::vector<std::uint8_t>& rgb, Palette& palette) {
    std::unordered_map<std::uint32_t, std::uint8_t> known;
    for (std::size_t p = 0; p < palette.indices.size(); ++p) {
        const auto [entry, is_new] = known.try_emplace(
            colour_at(rgb, p), static_cast<std::uint8_t>(std::min<std::size_t>(known.size(), 255)));
        if (is_new && known.size() > largest_palette)
            return false;
        if (is_new) {
            for (std::size_t c = 0; c < 3; ++c)
                palette.colours.push_back(rgb[3 * p + c]);
        }
        palette.indices[p] = entry->second;
    }
    return true;
}

// Pixels of 32 x 32 x 32 classes of colours.
struct Class {
    std::uint64_t count = 0;
    std::array<std::uint64_t, 3> sum{};
};

std::size_t class_of(const std::uint8_t* rgb) {
    return (std::size_t{rgb[0]} >> 3 << 10) | (std::size_t{rgb[1]} >> 3 << 5) |
           (std::size_t{rgb[2]} >> 3);
}

std::size_t part_of(std::size_t index, int channel) {
    return index >> (10 - 5 * channel) & 31;
}

struct Box {
    std::size_t first, last; // in the list of classes
    std::uint64_t count = 0;
    int channel = 0; // the longest side
    std::size_t length = 0;

    Box(const std::vector<std::size_t>& list, const std::vector<Class>& classes, std::size_t from,
        std::size_t to)
        : first(from), last(to) {
        for (int c = 0; c < 3; ++c) {
            std::size_t low = 31, high = 0;
            for (std::size_t n = first; n < last; ++n) {
                low = std::min(low, part_of(list[n], c));
                high = std::max(high, part_of(list[n], c));
            }
            if (high - low > length) {
                length = high - low;
                channel = c;
            }
        }
        for (std::size_t n = first; n < last; ++n)
            count += classes[list[n]].count;
    }
};

void cut_by_medians(const std::vector<std::uint8_t>& rgb, Palette& palette) {
    std::vector<Class> classes(32768);
    for (std::size_t p = 0; p < palette.indices.size(); ++p) {
        Class& one = classes[class_of(rgb.data() + 3 * p)];
        ++one.count;
        for (std::size_t c = 0; c < 3; ++c)
            one.sum[c] += rgb[3 * p + c];
    }
    std::vector<std::size_t> list;
    for (std::size_t n = 0; n < classes.size(); ++n) {
        if (classes[n].count > 0)
            list.push_back(n);
    }
    std::vector<Box> boxes{Box(list, classes, 0, list.size())};
    while (boxes.size() < largest_palette) {
        const auto box =
            std::max_element(boxes.begin(), boxes.end(), [](const Box& a, const Box& b) {
                return a.count * a.length < b.count * b.length;
            });
        if (box->length == 0)
            break;
        const Box whole = *box;
        const auto begin = list.begin() + static_cast<std::ptrdiff_t>(whole.first);
        std::stable_sort(begin, list.begin() + static_cast<std::ptrdiff_t>(whole.last),
                         [&](std::size_t a, std::size_t b) {
                             return part_of(a, whole.channel) < part_of(b, whole.channel);
                         });
        std::uint64_t below = 0;
        std::size_t middle = whole.first;
        while (middle + 1 < whole.last && (middle == whole.first || below < whole.count / 2))
            below += classes[list[middle++]].count;
        *box = Box(list, classes, whole.first, middle);
        boxes.emplace_back(list, classes, middle, whole.last);
    }
    std::vector<std::uint8_t> index_of(classes.size());
    for (std::size_t b = 0; b < boxes.size(); ++b) {
        for (std::size_t c = 0; c < 3; ++c) {
            std::uint64_t sum = 0;
            for (std::size_t n = boxes[b].first; n < boxes[b].last; ++n)
                sum += classes[list[n]].sum[c];
            palette.colours.push_back(
                static_cast<std::uint8_t>((sum + boxes[b].count / 2) / boxes[b].count));
        }
        for (std::size_t n = boxes[b].first; n < boxes[b].last; ++n)
            index_of[list[n]] = static_cast<std::uint8_t>(b);
    }
    for (std::size_t p = 0; p < palette.indices.size(); ++p)
        palette.indices[p] = index_of[class_of(rgb.data() + 3 * p)];
}

} // namespace

Palette palette_of(const std::vector<std::uint8_t>& rgb) {
    Palette palette;
    palette.indices.resize(rgb.size() / 3);
    if (!make_exact(rgb, palette)) {
        palette.colours.clear();
        cut_by_medians(rgb, palette);
    }
    return palette;
}

} // namespace vorlane::host
