// Medians over lanes: every lane runs the same network of minima and maxima.
//
// The columns of a window are sorted, and sorted columns are merged in twos, fours and so on by K.
// Batcher's odd-even merges ("Sorting networks and their applications", 1968). Neighbouring windows
// share columns and merged columns, so each of these is made once for a place in a row. A list
// keeps only the samples that may still be the one that is looked for.

#include <utility>

#include <vorlane/operators/median_kernels.h>
#include <vorlane/operators/sorting_networks.h>
#include <vorlane/simd/rows.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::size_t;

// A sorted list of samples of a window that has lost those which can't be the one looked for.
struct List {
    int columns; // of the window that it stands for
    int below;   // lost samples that rank below the one looked for
    int count;   // samples that it still has
};

// What of a merged list of all samples of `columns` columns may still have rank size * size / 2 in
// the window, when `below` have been lost and `count` are left.
constexpr List keep_candidates(int size, int columns, int below, int count) {
    const int target = size * size / 2 - below;
    const int outside = size * (size - columns);
    const int first = target > outside ? target - outside : 0;
    const int last = target < count - 1 ? target : count - 1;
    return {columns, below + first, last - first + 1};
}

constexpr List merged_list(int size, const List& a, const List& b) {
    return keep_candidates(size, a.columns + b.columns, a.below + b.below, a.count + b.count);
}

// The list of 1, 2, 4 ... columns.
constexpr List list_of_columns(int size, int columns) {
    if (columns == 1)
        return keep_candidates(size, 1, 0, size);
    const List half = list_of_columns(size, columns / 2);
    return merged_list(size, half, half);
}

constexpr int largest_power_in(int size) {
    int power = 1;
    while (2 * power <= size)
        power *= 2;
    return power;
}

inline void exchange(F32& low, F32& high) {
    const F32 smaller = minimum(low, high);
    high = maximum(low, high);
    low = smaller;
}

template<const Network& network, size_t begin, size_t... k>
inline void run_part(F32* values, std::index_sequence<k...>) {
    (exchange(values[network.low[begin + k]], values[network.high[begin + k]]), ...);
}

template<const Network& network, size_t begin = 0>
inline void run(F32* values) {
    constexpr size_t part = 128;
    constexpr size_t left = network.count - begin;
    run_part<network, begin>(values, std::make_index_sequence<(left < part ? left : part)>());
    if constexpr (left > part)
        run<network, begin + part>(values);
}

template<const Network& network, int first, size_t... k>
inline void gather(const F32* values, F32* sorted, std::index_sequence<k...>) {
    ((sorted[k] = values[network.sorted.at[first + static_cast<int>(k)]]), ...);
}

template<int count>
constexpr Network sorting = sorting_network(count);
template<int first, int second>
constexpr Network merging = merging_network(first, second);

static_assert(largest_network_median * largest_network_median <= most_wires);

// Samples of a row at a time: multiples of 3 and of all lanes.
constexpr size_t tile = 192;
constexpr size_t edge_tile = 48;
static_assert(tile % edge_tile == 0 && edge_tile % most_float_lanes == 0 && edge_tile % 3 == 0);
constexpr size_t tile_padding = 3 * (largest_network_median - 1) + most_float_lanes;
constexpr size_t tile_stride = tile + tile_padding;

// Lists of sorted samples for every place in a tile: sample k of place j is rows[k][j].
template<int count>
struct Lists {
    float rows[count][tile_stride];
};

template<int count>
inline void load_list(const Lists<count>& lists, size_t j, F32* values) {
    for (int k = 0; k < count; ++k)
        values[k] = load(lists.rows[k] + j);
}

// Merges two lists in `values`, one behind the other, into the candidates that are left.
template<int size, List a, List b>
inline void merge_lists(F32* values, F32* merged) {
    constexpr const Network& network = merging<a.count, b.count>;
    constexpr List result = merged_list(size, a, b);
    run<network>(values);
    gather<network, result.below - a.below - b.below>(values, merged,
                                                      std::make_index_sequence<result.count>());
}

// All lists of up to size / 2 columns, doubling, for a tile.
template<int size, int columns>
struct Pyramid {
    static constexpr List list = list_of_columns(size, columns);
    static constexpr List half = list_of_columns(size, columns / 2);

    Pyramid<size, columns / 2> narrower;
    Lists<list.count> lists;

    void fill(const float* const* rows, size_t places, size_t channels, M32& are_numbers) {
        const size_t reach = columns / 2 * channels;
        narrower.fill(rows, places + reach, channels, are_numbers);
        for (size_t j = 0; j < places; j += F32::count) {
            F32 values[2 * half.count];
            F32 merged[list.count];
            load_list(narrower.lists, j, values);
            load_list(narrower.lists, j + reach, values + half.count);
            merge_lists<size, half, half>(values, merged);
            for (int k = 0; k < list.count; ++k)
                store(lists.rows[k] + j, merged[k]);
        }
    }

    template<int wanted>
    const auto& lists_of() const {
        if constexpr (wanted == columns)
            return lists;
        else
            return narrower.template lists_of<wanted>();
    }
};

template<int size>
struct Pyramid<size, 1> {
    static constexpr List list = list_of_columns(size, 1);

    Lists<list.count> lists;

    // Lanes of `are_numbers` in which the last row holds a not-a-number become false.
    void fill(const float* const* rows, size_t places, size_t, M32& are_numbers) {
        M32 so_far = are_numbers;
        constexpr const Network& network = sorting<size>;
        for (size_t j = 0; j < places; j += F32::count) {
            F32 values[size];
            F32 sorted[list.count];
            for (int k = 0; k < size; ++k)
                values[k] = load(rows[k] + j);
            so_far = so_far & (values[size - 1] == values[size - 1]);
            run<network>(values);
            gather<network, list.below>(values, sorted, std::make_index_sequence<list.count>());
            for (int k = 0; k < list.count; ++k)
                store(lists.rows[k] + j, sorted[k]);
        }
        are_numbers = so_far;
    }

    template<int wanted>
    const auto& lists_of() const {
        return lists;
    }
};

// Joins `so_far`, which covers the window's first columns, with lists for the columns that are
// left, and gives the sample looked for.
template<int size, List so_far, class Lists>
inline F32 join_rest(const F32* values, const Lists& pyramid, size_t j, size_t channels) {
    if constexpr (so_far.columns == size) {
        return values[size * size / 2 - so_far.below];
    } else {
        constexpr int columns = largest_power_in(size - so_far.columns);
        constexpr List next = list_of_columns(size, columns);
        constexpr List joined = merged_list(size, so_far, next);
        F32 both[so_far.count + next.count];
        F32 merged[joined.count];
        for (int k = 0; k < so_far.count; ++k)
            both[k] = values[k];
        load_list(pyramid.template lists_of<columns>(), j + so_far.columns * channels,
                  both + so_far.count);
        merge_lists<size, so_far, next>(both, merged);
        return join_rest<size, joined>(merged, pyramid, j, channels);
    }
}

inline F32 middle_of(F32 a, F32 b, F32 c) {
    return maximum(minimum(a, b), minimum(maximum(a, b), c));
}

// Of three sorted columns: the largest of the lowest, the middle of the middle ones and the smallest
// of the highest (A. Paeth, "Median finding on a 3 x 3 grid", 1990). Sorting a column again for
// every window costs less than a way through memory.
inline F32 median_of_3x3(const float* const* rows, size_t j, size_t channels, M32& are_numbers) {
    F32 columns[3][3];
    for (int c = 0; c < 3; ++c) {
        F32 values[3];
        for (int k = 0; k < 3; ++k)
            values[k] = load(rows[k] + j + static_cast<size_t>(c) * channels);
        if (c == 1)
            are_numbers = are_numbers & (values[2] == values[2]);
        run<sorting<3>>(values);
        gather<sorting<3>, 0>(values, columns[c], std::make_index_sequence<3>());
    }
    const auto& [a, b, c] = columns;
    return middle_of(maximum(maximum(a[0], b[0]), c[0]), middle_of(a[1], b[1], c[1]),
                     minimum(minimum(a[2], b[2]), c[2]));
}

template<int size, class Lists>
inline F32 window_median(const Lists& pyramid, size_t j, size_t channels) {
    constexpr int half_columns = largest_power_in(size) / 2;
    constexpr List half = list_of_columns(size, half_columns);
    constexpr List start = merged_list(size, half, half);
    F32 values[2 * half.count];
    F32 merged[start.count];
    load_list(pyramid.lists, j, values);
    load_list(pyramid.lists, j + half_columns * channels, values + half.count);
    merge_lists<size, half, half>(values, merged);
    return join_rest<size, start>(merged, pyramid, j, channels);
}

// Samples [begin, begin + count) of a row whose first pixel stands `before` pixels further to the
// left than the samples' own; pixels outside are those of the border.
void copy_clamped(const float* row, size_t cols, size_t channels, size_t begin, size_t before,
                  size_t count, float* to) {
    const size_t n = cols * channels;
    const size_t left = before * channels;
    size_t j = 0;
    for (; j < count && begin + j < left; ++j)
        to[j] = row[(begin + j) % channels];
    const size_t from = begin + j - left;
    size_t inside = from < n ? n - from : 0;
    inside = inside < count - j ? inside : count - j;
    __builtin_memcpy(to + j, row + from, inside * sizeof(float));
    j += inside;
    // The samples of the last pixel in turn, from the one that comes next.
    size_t channel = (begin + j - left) % channels;
    for (; j < count; ++j) {
        to[j] = row[n - channels + channel];
        channel = channel + 1 == channels ? 0 : channel + 1;
    }
}

template<int size>
bool filter_row(const float* const* rows, size_t cols, size_t channels, float* to) {
    constexpr size_t before = size - 1 - size / 2;
    const size_t n = cols * channels;
    const size_t left = before * channels;
    // Places for which lists of each kind are needed, beyond those of the tile.
    constexpr int half_columns = largest_power_in(size) / 2;
    const size_t margin = static_cast<size_t>(size - half_columns) * channels;
    [[maybe_unused]] Pyramid<size, half_columns> pyramid;
    float padded[size][tile_stride];
    M32 are_numbers = all_lanes(0.0f) == all_lanes(0.0f);
    for (size_t begin = 0, count = 0; begin < n; begin += count) {
        // Tiles whose windows leave the row are copied, so they are small.
        const bool starts_inside = begin >= left && begin - left + tile_padding < n;
        const size_t inside = starts_inside ? n - tile_padding - (begin - left) : 0;
        const bool is_inside = inside >= edge_tile;
        count = is_inside ? inside / edge_tile * edge_tile : begin < left ? edge_tile : tile;
        count = count < tile ? count : tile;
        count = count < n - begin ? count : n - begin;
        const float* window[size];
        for (int k = 0; k < size; ++k) {
            if (!is_inside)
                copy_clamped(rows[k], cols, channels, begin, before, count + tile_padding,
                             padded[k]);
            window[k] = is_inside ? rows[k] + begin - left : padded[k];
        }
        if constexpr (size != 3)
            pyramid.fill(window, count + margin, channels, are_numbers);
        for (size_t j = 0; j < count; j += F32::count) {
            F32 median;
            if constexpr (size == 3)
                median = median_of_3x3(window, j, channels, are_numbers);
            else
                median = window_median<size>(pyramid, j, channels);
            if (j + F32::count <= count)
                store(to + begin + j, median);
            else
                store_first(to + begin + j, median, count - j);
        }
    }
    return all_set(are_numbers);
}

} // namespace

extern const MedianKernels median_kernels;
const MedianKernels median_kernels = {{nullptr, nullptr, filter_row<2>, filter_row<3>,
                                       filter_row<4>, filter_row<5>, filter_row<6>, filter_row<7>,
                                       filter_row<8>, filter_row<9>}};

} // namespace vorlane::VORLANE_LANES
