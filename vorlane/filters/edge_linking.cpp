#include <vorlane/image/image.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>
#include <vector>

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/image/results.h>

namespace {

using namespace vorlane;

constexpr float mark = 255.0f;

// A stretch of a row.
struct Run {
    Index row, first, last;
};

// The pixels that are still to be marked, those above a threshold whose mark is 0, looked up where
// they stand. `close` marks a run.
class OpenPixels {
public:
    OpenPixels(const float* const* pixels, float* const* marks, float low)
        : pixels_(pixels), marks_(marks), low_(low) {}

    bool is_open(Index r, Index c) const { return pixels_[r][c] > low_ && marks_[r][c] == 0.0f; }
    void close(const Run& run) {
        std::fill(marks_[run.row] + run.first, marks_[run.row] + run.last + 1, mark);
    }

private:
    const float* const* pixels_;
    float* const* marks_;
    float low_;
};

// The same for a whole image without marks, a bit a pixel: a walk then finds them in the cache.
class OpenBits {
public:
    OpenBits(const float* const* pixels, float* const* marks, Index rows, Index cols, float low)
        : words_(static_cast<std::size_t>(cols + 63) / 64),
          bits_(words_ * static_cast<std::size_t>(rows)), marks_(marks) {
        for (Index r = 0; r < rows; ++r)
            pick_edge_kernels().bits_above(pixels[r], static_cast<std::size_t>(cols), low,
                                           word(r, 0));
    }

    bool is_open(Index r, Index c) const { return *word(r, c) >> c % 64 & 1; }
    void close(const Run& run) {
        for (Index c = run.first; c <= run.last; ++c)
            *word(run.row, c) &= ~(std::uint64_t{1} << c % 64);
        std::fill(marks_[run.row] + run.first, marks_[run.row] + run.last + 1, mark);
    }

private:
    std::uint64_t* word(Index r, Index c) { return &bits_[r * words_ + c / 64]; }
    const std::uint64_t* word(Index r, Index c) const { return &bits_[r * words_ + c / 64]; }

    std::size_t words_;
    std::vector<std::uint64_t> bits_;
    float* const* marks_;
};

// Follows edges by runs: a run on the stack has just been marked, and what touches it is still to be
// looked at. The stack holds runs, not pixels, so it stays small even where everything is an edge.
template<class Open>
class EdgeWalk {
public:
    EdgeWalk(Open open, Index rows, Index cols)
        : open_(std::move(open)), rows_(rows), cols_(cols) {}

    // Marks a pixel of the image, open or not, and all that joins it.
    void start(Index row, Index col) {
        open_.close({row, col, col});
        follow(row, col);
    }

    // Marks all that joins the pixel (row, col), which may lie outside the image.
    void follow(Index row, Index col) {
        runs_.push_back({row, col, col});
        while (!runs_.empty()) {
            const Run run = runs_.back();
            runs_.pop_back();
            const Index last_row = std::min(run.row + 1, rows_ - 1);
            for (Index r = std::max<Index>(run.row - 1, 0); r <= last_row; ++r)
                mark_row(r, run.first - 1, run.last + 1);
        }
    }

private:
    // Marks the runs that reach into the columns from `first` to `last`.
    void mark_row(Index r, Index first, Index last) {
        last = std::min(last, cols_ - 1);
        for (Index c = std::max<Index>(first, 0); c <= last; ++c) {
            if (!open_.is_open(r, c))
                continue;
            Run run{r, c, c};
            while (run.first > 0 && open_.is_open(r, run.first - 1))
                --run.first;
            while (run.last < cols_ - 1 && open_.is_open(r, run.last + 1))
                ++run.last;
            open_.close(run);
            runs_.push_back(run);
            c = run.last + 1; // not open, or outside
        }
    }

    Open open_;
    Index rows_, cols_;
    std::vector<Run> runs_;
};

} // namespace

CImage* CImage::hysteresis_thresholding(float high, float low) const {
    if (!holds_channels(*this, 1))
        return nullptr;
    const Form form = form_of(*this).of_type(ImageType::gray).as(PixelFormat::byte);
    const auto link = [&](CImage& out) {
        EdgeWalk walk(OpenBits(pixels, out.pixels, nrows, ncols, low), nrows, ncols);
        std::vector<std::uint64_t> seeds(static_cast<std::size_t>(ncols + 63) / 64);
        const Index end = std::max(ncols - 1, 1);
        for (int i = 1; i < nrows - 1; ++i) {
            pick_edge_kernels().bits_above(pixels[i], static_cast<std::size_t>(ncols), high,
                                           seeds.data());
            for (Index first = 0; first < end; first += 64) {
                for (std::uint64_t bits = seeds[first / 64]; bits != 0; bits &= bits - 1) {
                    const Index j = first + std::countr_zero(bits);
                    if (j > 0 && j < end &&
                        out.pixels[i][j] == 0.0f) // else all around it is marked
                        walk.start(i, j);
                }
            }
        }
    };
    return make_written(*this, form, link, Fill::zeros);
}

void CImage::follow_edge(CImage* marks, int row, int col, float low) const {
    if (!marks || !has_rows_and_columns(*this) || !holds_channels(*this, 1) ||
        !plane_holds(marks->pixels, nrows, ncols))
        return;
    guarded(
        [&] { EdgeWalk(OpenPixels(pixels, marks->pixels, low), nrows, ncols).follow(row, col); });
}
