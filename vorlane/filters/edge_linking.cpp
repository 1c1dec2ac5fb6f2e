#include <vorlane/image/image.h>

#include <algorithm>
#include <vector>

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/image/results.h>

namespace {

using namespace vorlane;

constexpr float mark = 255.0f;

// Follows edges by runs: a run is a stretch of a row that has just been marked, and what touches it
// is still to be looked at. The stack holds runs, not pixels, so it stays small even where
// everything is an edge.
class EdgeWalk {
public:
    EdgeWalk(const float* const* pixels, float* const* marks, Index rows, Index cols, float low)
        : pixels_(pixels), marks_(marks), rows_(rows), cols_(cols), low_(low) {}

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
    struct Run {
        Index row, first, last;
    };

    bool is_open(Index r, Index c) const { return pixels_[r][c] > low_ && marks_[r][c] == 0.0f; }

    // Marks the runs that reach into the columns from `first` to `last`.
    void mark_row(Index r, Index first, Index last) {
        last = std::min(last, cols_ - 1);
        for (Index c = std::max<Index>(first, 0); c <= last; ++c) {
            if (!is_open(r, c))
                continue;
            Run run{r, c, c};
            while (run.first > 0 && is_open(r, run.first - 1))
                --run.first;
            while (run.last < cols_ - 1 && is_open(r, run.last + 1))
                ++run.last;
            std::fill(marks_[r] + run.first, marks_[r] + run.last + 1, mark);
            runs_.push_back(run);
            c = run.last + 1; // not open, or outside
        }
    }

    const float* const* pixels_;
    float* const* marks_;
    Index rows_;
    Index cols_;
    float low_;
    std::vector<Run> runs_;
};

} // namespace

CImage* CImage::hysteresis_thresholding(float high, float low) const {
    if (!holds_channels(*this, 1))
        return nullptr;
    const Form form = form_of(*this).of_type(ImageType::gray).as(PixelFormat::byte);
    const auto link = [&](CImage& out) {
        const EdgeKernels& kernels = pick_edge_kernels();
        EdgeWalk walk(pixels, out.pixels, nrows, ncols, low);
        const Index end = std::max(ncols - 1, 1);
        for (int i = 1; i < nrows - 1; ++i) {
            float* const marks = out.pixels[i];
            const auto next = [&](Index from) {
                return static_cast<Index>(kernels.first_above(pixels[i], from, end, high));
            };
            for (Index j = next(1); j < end; j = next(j + 1)) {
                if (marks[j] != 0.0f)
                    continue; // all around it is marked too
                marks[j] = mark;
                walk.follow(i, j);
            }
        }
    };
    return make_written(*this, form, link, Fill::zeros);
}

void CImage::follow_edge(CImage* marks, int row, int col, float low) const {
    if (!marks || !has_rows_and_columns(*this) || !holds_channels(*this, 1) ||
        !plane_holds(marks->pixels, nrows, ncols))
        return;
    guarded([&] { EdgeWalk(pixels, marks->pixels, nrows, ncols, low).follow(row, col); });
}
