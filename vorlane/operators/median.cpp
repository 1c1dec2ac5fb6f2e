#include <vorlane/image/image.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/image/image_parts.h>
#include <vorlane/operators/median_kernels.h>
#include <vorlane/operators/rank_kernels.h>

namespace {

using namespace vorlane;
using std::int64_t;
using std::size_t;
using std::uint32_t;
using std::uint64_t;

template<class T>
std::unique_ptr<T[]> make_scratch(size_t count) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[count]());
}

void filter_by_network(const CImage& image, CImage& out, int size) {
    const auto filter_row = pick_median_kernels().filter_row[size];
    const auto channels = static_cast<size_t>(channel_count(image.image_type));
    std::array<const float*, largest_network_median> rows = {};
    for (int i = 0; i < image.nrows; ++i) {
        for (int a = 0; a < size; ++a) {
            const int row = i + size / 2 - size + 1 + a;
            rows[static_cast<size_t>(a)] = image.pixels[std::clamp(row, 0, image.nrows - 1)];
        }
        filter_row(rows.data(), static_cast<size_t>(image.ncols), channels, out.pixels[i]);
    }
}

// Whole numbers in the order of the floats; not-a-numbers stand at the two ends.
uint32_t key_of(float value) {
    const auto bits = std::bit_cast<uint32_t>(value);
    return bits >> 31 ? ~bits : bits | 0x80000000u;
}
float value_of(uint32_t key) {
    return std::bit_cast<float>(key >> 31 ? key & 0x7FFFFFFFu : ~key);
}

// Sorts parts of a channel, of up to `room` samples.
class Ranking {
public:
    explicit Ranking(size_t room)
        : entries_(make_scratch<uint64_t>(room)), spare_(make_scratch<uint64_t>(room)),
          ranks_(make_scratch<uint32_t>(room)), sorted_(make_scratch<float>(room)),
          present_(make_scratch<uint64_t>(room / 64 + 1)), weights_(make_scratch<int64_t>(room)) {}

    bool is_made() const { return entries_ && spare_ && ranks_ && sorted_ && present_ && weights_; }

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
            return static_cast<size_t>(entry >> (32 + d * digit_bits) & mask);
        };
        std::array<std::array<uint32_t, mask + 1>, digits> starts = {};
        for (size_t k = 0; k < count; ++k)
            for (int d = 0; d < digits; ++d)
                ++starts[static_cast<size_t>(d)][digit(entries_[k], d)];
        for (int d = 0; d < digits; ++d) {
            auto& start = starts[static_cast<size_t>(d)];
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

bool filter_by_ranks(const CImage& image, CImage& out, int64_t size) {
    // Sorting the margin of a block costs the less the larger it is; a small block stays in cache.
    const int64_t side = std::max<int64_t>(64, size);
    const int64_t first_offset = size / 2 - size + 1;
    const int64_t last_offset = size / 2;
    const int64_t channels = channel_count(image.image_type);
    const auto room = static_cast<uint64_t>(std::min<int64_t>(side + size - 1, image.nrows)) *
                      static_cast<uint64_t>(std::min<int64_t>(side + size - 1, image.ncols));
    if (room > std::numeric_limits<uint32_t>::max())
        return false;
    Ranking ranking(room);
    if (!ranking.is_made())
        return false;
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
    return true;
}

} // namespace

CImage* CImage::Median(int size) const {
    if (!has_plane(*this) || size < 1)
        return nullptr;
    auto out = make_unwritten_image(nrows, ncols, image_type, file_format, pixel_format);
    if (!out || !has_pixels(*this))
        return out.release();
    if (size == 1) {
        for (int i = 0; i < nrows; ++i)
            std::copy_n(pixels[i], samples_per_row(*this), out->pixels[i]);
    } else if (size <= largest_network_median) {
        filter_by_network(*this, *out, size);
    } else if (!filter_by_ranks(*this, *out, size)) {
        return nullptr;
    }
    return out.release();
}
