#include <vorlane/image/image.h>

#include <cmath>
#include <vector>

#include <vorlane/image/guard.h>
#include <vorlane/image/soundness.h>

namespace {

using namespace vorlane;

template<int channels>
bool equals(const float* row, Index col, float value) {
    const float* const pixel = row + channels * col;
    if constexpr (channels == 1)
        return pixel[0] == value;
    else
        return pixel[0] == value && pixel[1] == value && pixel[2] == value;
}

template<int channels>
void set(float* row, Index begin, Index end, float value) {
    for (Index k = channels * begin; k < channels * end; ++k)
        row[k] = value;
}

// Columns [begin, end) of `row` have yet to be looked at; they border on a filled run in the row
// before, which is row - direction.
struct Task {
    int row, begin, end, direction;
};

template<int channels>
class Filler {
public:
    Filler(const CImage& image, float fill, float boundary)
        : image_(image), fill_(fill), boundary_(boundary) {}

    void fill_from(int row, int col) {
        if (!is_open(image_.pixels[row], col))
            return;
        const Task start = {row, col, col + 1, 1};
        fill_run(start, col);
        push({row - 1, col, col + 1, -1}); // the start has no run before it
        while (!tasks_.empty()) {
            const Task task = tasks_.back();
            tasks_.pop_back();
            for (int j = task.begin; j < task.end; ++j) {
                if (is_open(image_.pixels[task.row], j))
                    j = fill_run(task, j);
            }
        }
    }

private:
    bool is_open(const float* row, int col) const {
        return !equals<channels>(row, col, fill_) && !equals<channels>(row, col, boundary_);
    }

    void push(const Task& task) {
        if (task.begin < task.end && task.row >= 0 && task.row < image_.nrows)
            tasks_.push_back(task);
    }

    // Fills the run around an open column of the task, gives its end, and notes what borders on it:
    // the row beyond, and the row before where the run hangs over the one that led here.
    int fill_run(const Task& task, int col) {
        float* const row = image_.pixels[task.row];
        int begin = col;
        if (col == task.begin) {
            while (begin > 0 && is_open(row, begin - 1))
                --begin;
        }
        int end = col + 1;
        while (end < image_.ncols && is_open(row, end))
            ++end;
        set<channels>(row, begin, end, fill_);
        push({task.row + task.direction, begin, end, task.direction});
        push({task.row - task.direction, begin, task.begin, -task.direction});
        push({task.row - task.direction, task.end, end, -task.direction});
        return end;
    }

    const CImage& image_;
    float fill_, boundary_;
    std::vector<Task> tasks_;
};

template<int channels>
void fill_between(float* row, int cols, float value) {
    int first = 0;
    while (first < cols && !equals<channels>(row, first, value))
        ++first;
    int last = cols - 1;
    while (last > first && !equals<channels>(row, last, value))
        --last;
    if (first < last)
        set<channels>(row, first + 1, last, value);
}

} // namespace

void CImage::FillObject(int row, int col, float fill, float boundary) {
    if (!has_pixels(*this) || row < 0 || row >= nrows || col < 0 || col >= ncols ||
        std::isnan(fill))
        return;
    guarded([&] {
        if (image_type == ImageType::gray)
            Filler<1>(*this, fill, boundary).fill_from(row, col);
        else
            Filler<3>(*this, fill, boundary).fill_from(row, col);
    });
}

void CImage::FillConvexObject(float value) {
    if (!has_pixels(*this))
        return;
    for (int i = 0; i < nrows; ++i)
        (image_type == ImageType::gray ? fill_between<1> : fill_between<3>)(pixels[i], ncols,
                                                                            value);
}
