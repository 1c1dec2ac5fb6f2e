#include <vorlane/image/image.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

#include <vorlane/filters/edge_kernels.h>
#include <vorlane/image/image_parts.h>

namespace {

using namespace vorlane;

constexpr float mark = 255.0f;

// Follows edges by runs: a run is a stretch of a row that has just been marked, and what touches it
// is still to be looked at. The stack holds runs, not pixels, so it stays small even where
// everything is an edge.
class EdgeWalk {
public:
    EdgeWalk(const float* const* pixels, float* const* marks, std::int64_t rows, std::int64_t cols,
             float low)
        : pixels_(pixels), marks_(marks), rows_(rows), cols_(cols), low_(low) {}

    // Marks all that joins the pixel (row, col), which may lie outside the image.
    void follow(std::int64_t row, std::int64_t col) {
        runs_.push_back({row, col, col});
        while (!runs_.empty()) {
            const Run run = runs_.back();
            runs_.pop_back();
            const std::int64_t last_row = std::min(run.row + 1, rows_ - 1);
            for (std::int64_t r = std::max<std::int64_t>(run.row - 1, 0); r <= last_row; ++r)
                mark_row(r, run.first - 1, run.last + 1);
        }
    }

private:
    struct Run {
        std::int64_t row, first, last;
    };

    bool is_open(std::int64_t r, std::int64_t c) const {
        return pixels_[r][c] > low_ && marks_[r][c] == 0.0f;
    }

    // Marks the runs that reach into the columns from `first` to `last`.
    void mark_row(std::int64_t r, std::int64_t first, std::int64_t last) {
        last = std::min(last, cols_ - 1);
        for (std::int64_t c = std::max<std::int64_t>(first, 0); c <= last; ++c) {
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
    std::int64_t rows_;
    std::int64_t cols_;
    float low_;
    std::vector<Run> runs_;
};

} // namespace

CImage* CImage::hysteresis_thresholding(float high, float low) const {
    if (!pixels)
        return nullptr;
    auto result = make_zero_image(nrows, ncols, 0, file_format, 4);
    if (!result)
        return nullptr;
    const EdgeKernels& kernels = pick_edge_kernels();
    try {
        EdgeWalk walk(pixels, result->pixels, nrows, ncols, low);
        const auto end = static_cast<std::size_t>(std::max(ncols - 1, 1));
        for (int i = 1; i < nrows - 1; ++i) {
            float* const marks = result->pixels[i];
            for (std::size_t j = 1; (j = kernels.first_above(pixels[i], j, end, high)) < end; ++j) {
                if (marks[j] != 0.0f)
                    continue; // all around it is marked too
                marks[j] = mark;
                walk.follow(i, static_cast<std::int64_t>(j));
            }
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return result.release();
}

void CImage::follow_edge(CImage* marks, int row, int col, float low) const {
    if (!pixels || !marks || !plane_holds(marks->pixels, nrows, ncols))
        return;
    try {
        EdgeWalk(pixels, marks->pixels, nrows, ncols, low).follow(row, col);
    } catch (const std::bad_alloc&) { // what is marked so far stays
    }
}
