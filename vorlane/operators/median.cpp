#include <vorlane/image/image.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <vorlane/image/results.h>
#include <vorlane/operators/block_median_kernels.h>
#include <vorlane/operators/median_kernels.h>
#include <vorlane/operators/rank_kernels.h>

namespace {

using namespace vorlane;
using std::int64_t;
using std::size_t;
using std::uint32_t;
using std::uint64_t;

bool holds_nan(const float* row, Index n) {
    return std::any_of(row, row + n, [](float sample) { return std::isnan(sample); });
}

// Rows of an image for the networks, which can't rank not-a-numbers: they stand above all else, as
// infinities do, so a row that holds some is copied with infinities in their place.
class NetworkRows {
public:
    NetworkRows(const CImage& image, int size) : image_(image), rows_(static_cast<size_t>(size)) {}

    // The row that stands at `row` of the image, clamped. Good until `size` other ones are asked
    // for.
    const float* at(Index row) {
        row = clamped(row);
        Row& kept = kept_at(row);
        if (kept.number != row) {
            kept.number = row;
            kept.has_nan = false;
        }
        return kept.has_nan ? kept.copy.data() : image_.pixels[row];
    }

    bool has_nan(Index row) { return kept_at(clamped(row)).has_nan; }

    // A row counts as one without until then.
    void note_nan(Index row) {
        row = clamped(row);
        Row& kept = kept_at(row);
        kept.number = row;
        kept.has_nan = true;
        kept.copy.assign(image_.pixels[row], image_.pixels[row] + samples_per_row(image_));
        for (float& sample : kept.copy)
            sample = std::isnan(sample) ? std::numeric_limits<float>::infinity() : sample;
    }

private:
    struct Row {
        Index number = -1;
        bool has_nan = false;
        std::vector<float> copy;
    };

    Index clamped(Index row) const { return std::clamp<Index>(row, 0, image_.nrows - 1); }
    Row& kept_at(Index row) { return rows_[static_cast<size_t>(row) % rows_.size()]; }

    const CImage& image_;
    std::vector<Row> rows_;
};

// Where a median is infinite because the rank falls among the not-a-numbers, stores one of them.
void restore_nans(const CImage& image, Index row, int size, float* medians) {
    const Index channels = channel_count(image.image_type);
    const Index first = size / 2 - size + 1;
    for (Index j = 0; j < samples_per_row(image); ++j) {
        if (medians[j] != std::numeric_limits<float>::infinity())
            continue;
        Index numbers = 0;
        float nan_found = 0.0f;
        for (Index a = first; a < first + size; ++a) {
            const float* const from = image.pixels[std::clamp<Index>(row + a, 0, image.nrows - 1)];
            for (Index b = first; b < first + size; ++b) {
                const Index col = std::clamp<Index>(j / channels + b, 0, image.ncols - 1);
                const float sample = from[channels * col + j % channels];
                if (std::isnan(sample))
                    nan_found = sample;
                else
                    ++numbers;
            }
        }
        if (numbers <= Index{size} * size / 2)
            medians[j] = nan_found;
    }
}

void filter_by_network(const CImage& image, CImage& out, int size) {
    const auto filter_row = pick_median_kernels().filter_row[size];
    const Index channels = channel_count(image.image_type);
    NetworkRows rows(image, size);
    for (Index i = 0; i < std::min<Index>(size / 2, image.nrows); ++i)
        if (holds_nan(image.pixels[i], samples_per_row(image)))
            rows.note_nan(i);
    std::array<const float*, largest_network_median> window = {};
    for (Index i = 0; i < image.nrows; ++i) {
        const Index first = i + size / 2 - size + 1;
        const auto filter = [&] {
            for (int a = 0; a < size; ++a)
                window[a] = rows.at(first + a);
            return filter_row(window.data(), image.ncols, channels, out.pixels[i]);
        };
        if (!filter()) {
            rows.note_nan(first + size - 1);
            filter();
        }
        bool has_nan = false;
        for (int a = 0; a < size; ++a)
            has_nan |= rows.has_nan(first + a);
        if (has_nan)
            restore_nans(image, i, size, out.pixels[i]);
    }
}

// Fills a block with samples of a channel, from (first_row, first_col) on, clamped.
void copy_clamped(const CImage& image, int64_t channel, int64_t first_row, int64_t first_col,
                  MedianBlock& block) {
    const int64_t channels = channel_count(image.image_type);
    const int64_t inside_begin = std::clamp<int64_t>(-first_col, 0, block.cols);
    const int64_t inside_end =
        std::clamp<int64_t>(image.ncols - first_col, inside_begin, block.cols);
    for (int64_t i = 0; i < block.rows; ++i) {
        const float* const from =
            image.pixels[std::clamp<int64_t>(first_row + i, 0, image.nrows - 1)] + channel;
        float* const to = block.samples + i * block.cols;
        std::fill(to, to + inside_begin, from[0]);
        for (int64_t j = inside_begin; j < inside_end; ++j)
            to[j] = from[channels * (first_col + j)];
        std::fill(to + inside_end, to + block.cols, from[channels * (image.ncols - 1)]);
    }
}

void filter_by_blocks(const CImage& image, CImage& out, int window_size) {
    const int64_t size = window_size;
    // Sorting the margin of a block costs the less the larger it is; in a small one the next
    // median's rank is near. Its windows come four columns at a time.
    const int64_t side = std::min(32 + size, MedianBlock::longest - size + 1) / 4 * 4;
    const int64_t channels = channel_count(image.image_type);
    const auto block = std::make_unique_for_overwrite<MedianBlock>();
    const auto filter = pick_block_median_kernels().filter;
    for (int64_t row = 0; row < image.nrows; row += side) {
        const int64_t rows = std::min<int64_t>(side, image.nrows - row);
        for (int64_t col = 0; col < image.ncols; col += side) {
            const int64_t cols = std::min<int64_t>(side, image.ncols - col);
            const int64_t stride = (cols + 3) / 4 * 4;
            block->rows = rows + size - 1;
            block->cols = stride + size - 1;
            for (int64_t k = 0; k < channels; ++k) {
                copy_clamped(image, k, row + size / 2 - size + 1, col + size / 2 - size + 1,
                             *block);
                filter(*block, size);
                for (int64_t i = 0; i < rows; ++i)
                    for (int64_t j = 0; j < cols; ++j)
                        out.pixels[row + i][channels * (col + j) + k] =
                            block->medians[i * stride + j];
            }
        }
    }
}

// Whole numbers in the order of the floats; not-a-numbers, whatever their sign, are the largest.
uint32_t key_of(float value) {
    const auto bits = std::bit_cast<uint32_t>(std::isnan(value) ? std::abs(value) : value);
    return bits >> 31 ? ~bits : bits | 0x80000000u;
}
float value_of(uint32_t key) {
    return std::bit_cast<float>(key >> 31 ? key & 0x7FFFFFFFu : ~key);
}

// Sorts parts of a channel, of up to `room` samples.
class Ranking {
public:
    explicit Ranking(size_t room)
        : entries_(std::make_unique<uint64_t[]>(room)), spare_(std::make_unique<uint64_t[]>(room)),
          ranks_(std::make_unique<uint32_t[]>(room)), sorted_(std::make_unique<float[]>(room)),
          present_(std::make_unique<uint64_t[]>(room / 64 + 1)),
          weights_(std::make_unique<int64_t[]>(room)) {}

    RankedPart rank(const CImage& image, const PixelBlock& part, int64_t channels, int64_t channel,
                    bool leaves_image) {
        uint32_t count = 0;
        for (int64_t i = part.first_row; i < part.end_row; ++i) {
            const float* const row = image.pixels[i] + channel;
            for (int64_t j = part.first_col; j < part.end_col; ++j, ++count)
                entries_[count] = uint64_t{key_of(row[channels * j])} << 32 | count;
        }
        sort(count);
        for (uint32_t k = 0; k < count; ++k) {
            ranks_[static_cast<uint32_t>(entries_[k])] = k;
            sorted_[k] = value_of(static_cast<uint32_t>(entries_[k] >> 32));
        }
        return {ranks_.get(),
                sorted_.get(),
                part.first_row,
                part.first_col,
                part.end_row - part.first_row,
                part.end_col - part.first_col,
                image.nrows,
                image.ncols,
                present_.get(),
                leaves_image ? weights_.get() : nullptr};
    }

private:
    // By the keys in the upper halves, digit by digit.
    void sort(size_t count) {
        constexpr int digit_bits = 11;
        constexpr int digits = 3;
        constexpr uint64_t mask = (1u << digit_bits) - 1;
        const auto digit = [](uint64_t entry, int d) {
            return entry >> (32 + d * digit_bits) & mask;
        };
        std::array<std::array<uint32_t, mask + 1>, digits> starts = {};
        for (size_t k = 0; k < count; ++k)
            for (int d = 0; d < digits; ++d)
                ++starts[d][digit(entries_[k], d)];
        for (int d = 0; d < digits; ++d) {
            auto& start = starts[d];
            if (start[digit(entries_[0], d)] == count)
                continue;
            uint32_t sum = 0;
            for (uint32_t& entry : start)
                sum += std::exchange(entry, sum);
            for (size_t k = 0; k < count; ++k)
                spare_[start[digit(entries_[k], d)]++] = entries_[k];
            std::swap(entries_, spare_);
        }
    }

    std::unique_ptr<uint64_t[]> entries_, spare_;
    std::unique_ptr<uint32_t[]> ranks_;
    std::unique_ptr<float[]> sorted_;
    std::unique_ptr<uint64_t[]> present_;
    std::unique_ptr<int64_t[]> weights_;
};

void filter_by_ranks(const CImage& image, CImage& out, int window_size) {
    const int64_t size = window_size;
    // Sorting the margin of a block costs the less the larger it is; a small block stays in cache.
    const int64_t side = std::max<int64_t>(64, size);
    const int64_t first_offset = size / 2 - size + 1;
    const int64_t last_offset = size / 2;
    const int64_t channels = channel_count(image.image_type);
    const auto room = static_cast<uint64_t>(std::min<int64_t>(side + size - 1, image.nrows)) *
                      static_cast<uint64_t>(std::min<int64_t>(side + size - 1, image.ncols));
    if (room > std::numeric_limits<uint32_t>::max())
        throw std::bad_alloc();
    Ranking ranking(room);
    const RankKernels& kernels = pick_rank_kernels();
    PixelBlock block = {};
    for (block.first_row = 0; block.first_row < image.nrows; block.first_row = block.end_row) {
        block.end_row = std::min<int64_t>(block.first_row + side, image.nrows);
        for (block.first_col = 0; block.first_col < image.ncols; block.first_col = block.end_col) {
            block.end_col = std::min<int64_t>(block.first_col + side, image.ncols);
            const PixelBlock wanted = {block.first_row + first_offset,
                                       block.first_col + first_offset, block.end_row + last_offset,
                                       block.end_col + last_offset};
            const PixelBlock part = {std::max<int64_t>(wanted.first_row, 0),
                                     std::max<int64_t>(wanted.first_col, 0),
                                     std::min<int64_t>(wanted.end_row, image.nrows),
                                     std::min<int64_t>(wanted.end_col, image.ncols)};
            const bool leaves_image =
                part.first_row > wanted.first_row || part.first_col > wanted.first_col ||
                part.end_row < wanted.end_row || part.end_col < wanted.end_col;
            for (int64_t k = 0; k < channels; ++k)
                kernels.filter_block(ranking.rank(image, part, channels, k, leaves_image), block,
                                     size, out.pixels, channels, k);
        }
    }
}

} // namespace

CImage* CImage::Median(int size) const {
    if (size < 1)
        return nullptr;
    return make_from(*this, form_of(*this), [&](CImage& out) {
        if (size == 1) {
            for (int i = 0; i < nrows; ++i)
                std::copy_n(pixels[i], samples_per_row(*this), out.pixels[i]);
        } else {
            const bool has_blocks =
                size <= largest_block_median && pick_block_median_kernels().filter;
            const auto filter = size <= largest_network_median ? filter_by_network
                                : has_blocks                   ? filter_by_blocks
                                                               : filter_by_ranks;
            filter(*this, out, size);
        }
    });
}
