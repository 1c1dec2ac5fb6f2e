// Medians of windows of middle sizes. The samples of a block are sorted once, after which each is a
// rank, and the ranks of a window are a set. From one window to the one below, a row of ranks leaves
// and a row comes; what lies below the last median is counted in the two. The new median is as many
// places from the last one as that count is off, among the ranks that are inside the window: 64
// neighbours in rank are looked at together, by their rows and columns. The sort is that of H.
// Seward, "Information sorting in the application of electronic digital computers to business
// operations", 1954; medians from ranks are in J. Suomela, "Median filtering is equivalent to
// sorting", 2014.

#include <vorlane/operators/block_median_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

#if defined(VORLANE_INTEGER_LANES)
namespace {

using std::int16_t;
using std::int64_t;
using std::uint16_t;
using std::uint32_t;
using std::uint64_t;

// Whole numbers in the order of the floats; not-a-numbers, whatever their sign, are the largest.
inline uint32_t key_of(float value) {
    uint32_t bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    const uint32_t magnitude = bits & 0x7FFFFFFFu;
    bits = magnitude > 0x7F800000u ? magnitude : bits;
    return bits >> 31 ? ~bits : bits | 0x80000000u;
}
inline float value_of(uint32_t key) {
    const uint32_t bits = key >> 31 ? key & 0x7FFFFFFFu : ~key;
    float value;
    __builtin_memcpy(&value, &bits, sizeof value);
    return value;
}

// The keys of samples, and the bits of them that matter to a sort.
struct Keys {
    uint32_t smallest, largest;
    uint32_t differing; // bits
};

Keys find_keys(const float* samples, int64_t count, uint32_t* keys) {
    const uint32_t first = key_of(samples[0]);
    Keys found = {first, first, 0};
    for (int64_t k = 0; k < count; ++k) {
        const uint32_t key = key_of(samples[k]);
        keys[k] = key;
        found.smallest = key < found.smallest ? key : found.smallest;
        found.largest = key > found.largest ? key : found.largest;
        found.differing |= key ^ first;
    }
    return found;
}

// step(k) for k below count; written out, as the steps are short.
template<class Step>
inline void for_each(int64_t count, const Step& step) {
    int64_t k = 0;
    for (; k + 4 <= count; k += 4) {
        step(k);
        step(k + 1);
        step(k + 2);
        step(k + 3);
    }
    for (; k < count; ++k)
        step(k);
}

constexpr int most_digit_bits = 12;

// One pass of a sort by digits. An entry holds a digit in its upper half, and a place; the entries
// of `to` stand in the order of those digits, and hold the next ones.
void sort_by_digit(const uint32_t* from, const uint16_t* next_digit_of, uint32_t digit_count,
                   int64_t count, uint32_t* to) {
    uint16_t starts[1u << most_digit_bits];
    __builtin_memset(starts, 0, (digit_count < 4 ? 4 : digit_count) * sizeof *starts);
    // Four places far apart: neighbours often have the same digit, and would wait for one another.
    const int64_t quarter = count / 4;
    for (int64_t k = 0; k < quarter; ++k) {
        ++starts[from[k] >> 16];
        ++starts[from[k + quarter] >> 16];
        ++starts[from[k + 2 * quarter] >> 16];
        ++starts[from[k + 3 * quarter] >> 16];
    }
    for (int64_t k = 4 * quarter; k < count; ++k)
        ++starts[from[k] >> 16];
    // Sums of the counts before each, four of 16 bits at a time, the first one lowest.
    uint64_t sum = 0;
    for (uint32_t digit = 0; digit < digit_count; digit += 4) {
        uint64_t sums;
        __builtin_memcpy(&sums, starts + digit, sizeof sums);
        sums += sums << 16;
        sums += sums << 32;
        const uint64_t before = (sums << 16) + sum * 0x0001000100010001u;
        __builtin_memcpy(starts + digit, &before, sizeof before);
        sum += sums >> 48;
    }
    for_each(count, [=, &starts](int64_t k) {
        const uint32_t place = from[k] & 0xFFFF;
        to[starts[from[k] >> 16]++] = uint32_t{next_digit_of[place]} << 16 | place;
    });
}

// Gives the places of the samples in the order of the samples, in the lower halves.
const uint32_t* sort(MedianBlock& block) {
    const int64_t count = block.rows * block.cols;
    uint32_t* entries = block.entries[0];
    uint32_t* sorted = block.entries[1];
    const Keys keys = find_keys(block.samples, count, block.keys);
    const int lowest = keys.differing ? __builtin_ctz(keys.differing) : 0;
    const int bits = 32 - __builtin_clz((keys.largest - keys.smallest) >> lowest | 1);
    const int digits = (bits + most_digit_bits - 1) / most_digit_bits;
    const int width = (bits + digits - 1) / digits;
    const uint32_t last_digit = (1u << width) - 1;
    for (int64_t k = 0; k < count; ++k) {
        const uint32_t digit = (block.keys[k] - keys.smallest) >> lowest & last_digit;
        entries[k] = digit << 16 | static_cast<uint32_t>(k);
    }
    for (int d = 1; d <= digits; ++d) {
        if (d < digits) {
            const int shift = lowest + d * width;
            for (int64_t k = 0; k < count; ++k)
                block.digits[k] =
                    static_cast<uint16_t>((block.keys[k] - keys.smallest) >> shift & last_digit);
        }
        const int digit_bits = bits - (d - 1) * width;
        const uint32_t digit_count = digit_bits < width ? 1u << digit_bits : last_digit + 1;
        sort_by_digit(entries, block.digits, digit_count, count, sorted);
        uint32_t* const next = entries;
        entries = sorted;
        sorted = next;
    }
    return entries;
}

// Fills what has a place a rank; gives the places in the order of the ranks.
const uint32_t* rank(MedianBlock& block) {
    const uint32_t* const order = sort(block);
    const int64_t count = block.rows * block.cols;
    int16_t* const ranks = block.ranks;
    for_each(count, [=](int64_t k) { ranks[order[k] & 0xFFFF] = static_cast<int16_t>(k); });
    // A place is below rows * cols <= 181 * 181, so the excess of the reciprocal, below 1, adds less
    // than 1 / cols to the quotient; the product has 32 bits.
    const auto cols = static_cast<uint32_t>(block.cols);
    const uint32_t reciprocal = ((1u << 24) + cols - 1) / cols;
    unsigned char* const row_of = block.row_of + MedianBlock::padding;
    unsigned char* const col_of = block.col_of + MedianBlock::padding;
    for (int64_t k = 0; k < count; ++k) {
        const uint32_t place = order[k] & 0xFFFF;
        const uint32_t row = place * reciprocal >> 24;
        row_of[k] = static_cast<unsigned char>(row);
        col_of[k] = static_cast<unsigned char>(place - row * cols);
    }
    unsigned char* const positions[] = {row_of, col_of};
    for (unsigned char* const of : positions) { // outside of every window
        __builtin_memset(of - MedianBlock::padding, 255, MedianBlock::padding);
        __builtin_memset(of + count, 255, MedianBlock::padding);
    }
    return order;
}

// With `narrow`, at most 32 columns.
template<bool narrow>
class Windows {
public:
    Windows(MedianBlock& block, int64_t size)
        : ranks_(block.ranks), stride_(block.cols), row_of_(block.row_of + MedianBlock::padding),
          col_of_(block.col_of + MedianBlock::padding), size_(size),
          target_(static_cast<int>(size * size / 2)) {
        int16_t numbers[32];
        for (int k = 0; k < 32; ++k)
            numbers[k] = static_cast<int16_t>(k);
        in_tail_ = bits_below(numbers, static_cast<int16_t>((size - 1) % 32 + 1));
    }

    // The median of the window at (row, col), a rank; `guess` is any one.
    int median(int64_t row, int64_t col, int guess) const {
        int below = 0;
        for (int64_t i = 0; i < size_; ++i)
            below += count_below(guess, row + i, col);
        return median(row, col, guess, below);
    }

    // The same from the median of the window above.
    int median_below(int64_t row, int64_t col, int above) const {
        return median(row, col, above,
                      target_ + count_below(above, row + size_ - 1, col) -
                          count_below(above, row - 1, col));
    }

private:
    // How many ranks below `bound` a row of the window at (row, col) has.
    int count_below(int bound, int64_t row, int64_t col) const {
        const int16_t* ranks = ranks_ + row * stride_ + col;
        const auto limit = static_cast<int16_t>(bound);
        int count = 0;
        if constexpr (!narrow) {
            for (int64_t left = size_; left > 32; left -= 32, ranks += 32)
                count += __builtin_popcount(bits_below(ranks, limit));
        }
        return count + __builtin_popcount(bits_below(ranks, limit) & in_tail_);
    }

    // `below` ranks of the window are less than `rank`.
    int median(int64_t row, int64_t col, int rank, int below) const {
        const int ahead = target_ - below; // where the median is among those from `rank` on
        const int behind = ahead >> 31;    // all bits set where it is not
        const int at = rank + (behind & -64);
        const uint64_t bits = inside(row, col, at);
        const int count = __builtin_popcountll(bits);
        const int k = ahead + (behind & count);
        if (static_cast<unsigned>(k) < static_cast<unsigned>(count))
            return at + place_of_set_bit(bits, k);
        return behind ? walk_down(row, col, at, k) : walk_up(row, col, at, k - count);
    }

    // `ahead` ranks of the window are between at + 64 and the median.
    [[gnu::noinline]] int walk_up(int64_t row, int64_t col, int at, int ahead) const {
        for (;;) {
            at += 64;
            const uint64_t bits = inside(row, col, at);
            const int count = __builtin_popcountll(bits);
            if (ahead < count)
                return at + place_of_set_bit(bits, ahead);
            ahead -= count;
        }
    }
    // The median is -ahead ranks of the window below `at`.
    [[gnu::noinline]] int walk_down(int64_t row, int64_t col, int at, int ahead) const {
        for (;;) {
            at -= 64;
            const uint64_t bits = inside(row, col, at);
            ahead += __builtin_popcountll(bits);
            if (ahead >= 0)
                return at + place_of_set_bit(bits, ahead);
        }
    }

    // Which of the 64 ranks from `at` on are inside the window.
    uint64_t inside(int64_t row, int64_t col, int at) const {
        return bits_in_square(row_of_ + at, col_of_ + at, static_cast<unsigned char>(row),
                              static_cast<unsigned char>(col), static_cast<unsigned char>(size_));
    }

    const int16_t* ranks_;
    int64_t stride_;
    const unsigned char* row_of_;
    const unsigned char* col_of_;
    int64_t size_;
    int target_;
    uint32_t in_tail_;
};

// Four columns at once, whose chains of dependent steps overlap.
template<bool narrow>
void filter_ranks(MedianBlock& block, int64_t size) {
    const uint32_t* const order = rank(block);
    const Windows<narrow> windows(block, size);
    const int64_t rows = block.rows - size + 1;
    const int64_t cols = block.cols - size + 1;
    uint32_t* const medians = block.entries[order == block.entries[0]]; // their keys, for now
    for (int64_t j = 0; j < cols; j += 4) {
        uint32_t* to = medians + j;
        int ranks[4] = {};
        const auto keep = [&](int q, int rank) {
            ranks[q] = rank;
            to[q] = block.keys[order[rank] & 0xFFFF];
        };
        for (int q = 0; q < 4; ++q)
            keep(q, windows.median(0, j + q, static_cast<int>(block.rows * block.cols / 2)));
        for (int64_t i = 1; i < rows; ++i) {
            to += cols;
            keep(0, windows.median_below(i, j, ranks[0]));
            keep(1, windows.median_below(i, j + 1, ranks[1]));
            keep(2, windows.median_below(i, j + 2, ranks[2]));
            keep(3, windows.median_below(i, j + 3, ranks[3]));
        }
    }
    for (int64_t k = 0; k < rows * cols; ++k)
        block.medians[k] = value_of(medians[k]);
}

void filter(MedianBlock& block, int64_t size) {
    (size <= 32 ? filter_ranks<true> : filter_ranks<false>)(block, size);
}

} // namespace
#else
constexpr auto filter = nullptr;
#endif

extern const BlockMedianKernels block_median_kernels;
const BlockMedianKernels block_median_kernels = {filter};

} // namespace vorlane::VORLANE_LANES
