// Medians of large windows. The samples of a part of the image are sorted once; a window is then
// the set of its ranks, a bit each, which changes by a row or a column from one pixel to the next.
// The word that holds the median is followed with a count of what lies below it. Source: J.
// Suomela, "Median filtering is equivalent to sorting", 2014, and its program.

#include <vorlane/operators/rank_kernels.h>
#include <vorlane/simd/lanes.h>

namespace vorlane::VORLANE_LANES {

namespace {

using std::int64_t;
using std::size_t;
using std::uint32_t;
using std::uint64_t;

inline int64_t clamped(int64_t k, int64_t n) {
    return k < 0 ? 0 : k < n ? k : n - 1;
}

// Positions first to last of an axis of n, clamped: those inside, and how many more the two ends
// stand for.
struct Stretch {
    int64_t first, last;
    int64_t more_first, more_last;
};

// At least one position is inside.
inline Stretch stretch_of(int64_t first, int64_t last, int64_t n) {
    return {clamped(first, n), clamped(last, n), first < 0 ? -first : 0,
            last >= n ? last - n + 1 : 0};
}

// With `weighted`, a rank has a weight, that of the positions that are clamped to it; otherwise it
// is there once or not at all.
template<bool weighted>
class Window {
public:
    Window(const RankedPart& part, int64_t size)
        : part_(part), size_(size), first_offset_(size / 2 - size + 1), target_(size * size / 2) {}

    // The window of pixel (row, col), from none or back to none.
    void change_all(int64_t row, int64_t col, int64_t sign) {
        const Stretch rows = stretch_of(row + first_offset_, row + size_ / 2, part_.image_rows);
        for (int64_t i = rows.first; i <= rows.last; ++i)
            change_row(i, col, sign);
        if constexpr (weighted) {
            change_row(rows.first, col, sign * rows.more_first);
            change_row(rows.last, col, sign * rows.more_last);
        }
    }

    void move_down(int64_t row, int64_t col, int64_t step) {
        const int64_t gone = step > 0 ? row + first_offset_ : row + size_ / 2;
        change_row(gone, col, -1);
        change_row(gone + step * size_, col, 1);
    }

    void move_right(int64_t row, int64_t col) {
        change_col(row, col + first_offset_, -1);
        change_col(row, col + first_offset_ + size_, 1);
    }

    float median() {
        while (below_ > target_)
            below_ -= weight_of_word(--word_);
        for (int64_t weight = weight_of_word(word_); below_ + weight <= target_;
             weight = weight_of_word(word_)) {
            below_ += weight;
            ++word_;
        }
        uint64_t bits = part_.present[word_];
        for (int64_t left = target_ - below_;; bits &= bits - 1) {
            const size_t rank = 64 * word_ + static_cast<size_t>(__builtin_ctzll(bits));
            left -= weighted ? part_.weights[rank] : 1;
            if (left < 0)
                return part_.sorted[rank];
        }
    }

private:
    void change(uint32_t rank, int64_t weight) {
        const size_t word = rank / 64;
        const uint64_t bit = uint64_t{1} << rank % 64;
        if constexpr (weighted) {
            part_.weights[rank] += weight;
            if (part_.weights[rank] != 0)
                part_.present[word] |= bit;
            else
                part_.present[word] &= ~bit;
        } else {
            part_.present[word] ^= bit;
        }
        below_ += word < word_ ? weight : 0;
    }

    // The samples of a row of the window around a pixel in column `col`.
    void change_row(int64_t row, int64_t col, int64_t sign) {
        const uint32_t* const ranks =
            part_.ranks + (clamped(row, part_.image_rows) - part_.first_row) * part_.cols -
            part_.first_col;
        const Stretch cols = stretch_of(col + first_offset_, col + size_ / 2, part_.image_cols);
        for (int64_t j = cols.first; j <= cols.last; ++j)
            change(ranks[j], sign);
        if constexpr (weighted)
            change_ends(ranks[cols.first], ranks[cols.last], cols, sign);
    }

    void change_col(int64_t row, int64_t col, int64_t sign) {
        const uint32_t* const ranks =
            part_.ranks + clamped(col, part_.image_cols) - part_.first_col;
        const Stretch rows = stretch_of(row + first_offset_, row + size_ / 2, part_.image_rows);
        for (int64_t i = rows.first; i <= rows.last; ++i)
            change(ranks[(i - part_.first_row) * part_.cols], sign);
        if constexpr (weighted)
            change_ends(ranks[(rows.first - part_.first_row) * part_.cols],
                        ranks[(rows.last - part_.first_row) * part_.cols], rows, sign);
    }

    void change_ends(uint32_t first, uint32_t last, const Stretch& stretch, int64_t sign) {
        if (stretch.more_first > 0)
            change(first, sign * stretch.more_first);
        if (stretch.more_last > 0)
            change(last, sign * stretch.more_last);
    }

    int64_t weight_of_word(size_t word) const {
        uint64_t bits = part_.present[word];
        if constexpr (!weighted)
            return __builtin_popcountll(bits);
        int64_t weight = 0;
        for (; bits; bits &= bits - 1)
            weight += part_.weights[64 * word + static_cast<size_t>(__builtin_ctzll(bits))];
        return weight;
    }

    const RankedPart& part_;
    int64_t size_, first_offset_, target_;
    size_t word_ = 0;
    int64_t below_ = 0; // the weight of all words before word_
};

// Down the first column of the block, up the next one, and so on.
template<bool weighted>
void filter(const RankedPart& part, const PixelBlock& block, int64_t size, float* const* to,
            int64_t channels, int64_t channel) {
    Window<weighted> window(part, size);
    int64_t row = block.first_row;
    int64_t step = 1;
    window.change_all(row, block.first_col, 1);
    for (int64_t col = block.first_col;; step = -step) {
        const int64_t last = step > 0 ? block.end_row - 1 : block.first_row;
        for (;; row += step) {
            to[row][channels * col + channel] = window.median();
            if (row == last)
                break;
            window.move_down(row, col, step);
        }
        if (++col == block.end_col) {
            window.change_all(row, col - 1, -1);
            return;
        }
        window.move_right(row, col - 1);
    }
}

void filter_block(const RankedPart& part, const PixelBlock& block, int64_t size, float* const* to,
                  int64_t channels, int64_t channel) {
    (part.weights ? filter<true> : filter<false>)(part, block, size, to, channels, channel);
}

} // namespace

extern const RankKernels rank_kernels;
const RankKernels rank_kernels = {filter_block};

} // namespace vorlane::VORLANE_LANES
