#include <vorlane/image/image.h>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/range.h>
#include <vorlane/image/results.h>

namespace {

using namespace vorlane;

constexpr float mark_level = 255.0f;

// The form of `a`, in colour if either is.
Form joint_form(const CImage& a, const CImage& b) {
    const bool is_gray = a.image_type == ImageType::gray && b.image_type == ImageType::gray;
    return form_of(a).of_type(is_gray ? ImageType::gray : ImageType::colour);
}

bool can_combine(const CImage& a, const CImage* b) {
    if (!b)
        return false;
    if (a.nrows != b->nrows || a.ncols != b->ncols) {
        show_failure("The two images should have the same size");
        return false;
    }
    return is_sound(a) && is_sound(*b);
}

// A sum or product of floats that is formed in double precision and then rounded is the one that
// is rounded to a float at once: a double has more than twice the bits.
struct Sum {
    static float of(float x, float y) { return x + y; }
};
struct Product {
    static float of(float x, float y) { return x * y; }
};

// Each sample of a colour row with the gray sample of its pixel.
template<class Operation>
void combine_mixed(const float* colour, const float* gray, float* to, Index cols) {
    for (Index j = 0; j < cols; ++j)
        for (Index k = 0; k < 3; ++k)
            to[3 * j + k] = Operation::of(colour[3 * j + k], gray[j]);
}

template<class Operation>
CImage* combine(const CImage& a, const CImage* b) {
    if (!can_combine(a, b))
        return nullptr;
    return make_written(a, joint_form(a, *b), [&](CImage& out) {
        for (int i = 0; i < a.nrows; ++i) {
            const float* const x = a.pixels[i];
            const float* const y = b->pixels[i];
            float* const to = out.pixels[i];
            if (a.image_type == b->image_type) {
                const Index n = samples_per_row(a);
                for (Index j = 0; j < n; ++j)
                    to[j] = Operation::of(y[j], x[j]);
            } else if (a.image_type == ImageType::gray) {
                combine_mixed<Operation>(y, x, to, a.ncols);
            } else {
                combine_mixed<Operation>(x, y, to, a.ncols);
            }
        }
    });
}

struct Larger {
    static bool wins(double x, double y) { return x > y; }
};
struct Smaller {
    static bool wins(double x, double y) { return x < y; }
};

template<class Contest>
void choose_gray(const float* a, const float* b, float* to, Index cols) {
    for (Index j = 0; j < cols; ++j)
        to[j] = Contest::wins(a[j], b[j]) ? a[j] : b[j];
}

template<class Contest>
void choose_colour(const float* a, const float* b, float* to, Index cols) {
    for (Index j = 0; j < 3 * cols; j += 3) {
        const bool is_a = Contest::wins(mean_of_pixel(a + j), mean_of_pixel(b + j));
        const float* const from = is_a ? a : b;
        for (Index k = j; k < j + 3; ++k)
            to[k] = from[k];
    }
}

template<class Contest>
void choose_mixed(const float* colour, const float* gray, float* to, Index cols) {
    for (Index j = 0; j < cols; ++j) {
        const bool is_colour = Contest::wins(mean_of_pixel(colour + 3 * j), gray[j]);
        for (Index k = 3 * j; k < 3 * j + 3; ++k)
            to[k] = is_colour ? colour[k] : gray[j];
    }
}

// Between two pixels of one kind the winner is a's only if it is strictly ahead; between a colour
// and a gray one, the colour pixel has to be.
template<class Contest>
CImage* choose(const CImage& a, const CImage* b) {
    if (!can_combine(a, b))
        return nullptr;
    return make_written(a, joint_form(a, *b), [&](CImage& out) {
        for (int i = 0; i < a.nrows; ++i) {
            const float* const x = a.pixels[i];
            const float* const y = b->pixels[i];
            float* const to = out.pixels[i];
            if (a.image_type == ImageType::gray && b->image_type == ImageType::gray)
                choose_gray<Contest>(x, y, to, a.ncols);
            else if (a.image_type == ImageType::colour && b->image_type == ImageType::colour)
                choose_colour<Contest>(x, y, to, a.ncols);
            else if (a.image_type == ImageType::gray)
                choose_mixed<Contest>(y, x, to, a.ncols);
            else
                choose_mixed<Contest>(x, y, to, a.ncols);
        }
    });
}

bool marks(float sample) {
    return sample != 0.0f;
}

} // namespace

CImage* CImage::Invert() const {
    return make_from(*this, form_of(*this), [&](CImage& out) {
        double mirror = 255.0;
        if (image_type == ImageType::gray) {
            const Range range = find_range(pixels, nrows, ncols);
            mirror = double{range.min} + double{range.max};
        }
        const Index n = samples_per_row(*this);
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            float* const to = out.pixels[i];
            for (Index j = 0; j < n; ++j)
                to[j] = static_cast<float>(mirror - from[j]);
        }
    });
}

CImage* CImage::Multseq(const CImage* b) const {
    return combine<Product>(*this, b);
}

CImage* CImage::Addseq(const CImage* b) const {
    return combine<Sum>(*this, b);
}

CImage* CImage::Maxseq(const CImage* b) const {
    return choose<Larger>(*this, b);
}

CImage* CImage::Minseq(const CImage* b) const {
    return choose<Smaller>(*this, b);
}

CImage* CImage::Orseq(const CImage* b) const {
    if (!can_combine(*this, b))
        return nullptr;
    return make_written(*this, form_of(*this), [&](CImage& out) {
        const float max = find_range(pixels, nrows, ncols).max;
        const Index channels = channel_count(image_type);
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            const float* const mask = b->pixels[i];
            float* const to = out.pixels[i];
            if (channels == 1) {
                for (Index j = 0; j < ncols; ++j)
                    to[j] = marks(mask[j]) ? max : from[j];
            } else {
                for (Index j = 0; j < ncols; ++j)
                    for (Index k = 3 * j; k < 3 * j + 3; ++k)
                        to[k] = marks(mask[j]) ? max : from[k];
            }
        }
    });
}

CImage* CImage::Andseq(const CImage* b) const {
    if (!can_combine(*this, b))
        return nullptr;
    return make_written(*this, form_of(*this), [&](CImage& out) {
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            const float* const mask = b->pixels[i];
            float* const to = out.pixels[i];
            if (image_type == ImageType::gray) {
                for (Index j = 0; j < ncols; ++j)
                    to[j] = marks(mask[j]) ? from[j] : 0.0f;
            } else {
                for (Index j = 0; j < ncols; ++j)
                    for (Index k = 3 * j; k < 3 * j + 3; ++k)
                        to[k] = marks(mask[j]) ? from[k] : 0.0f;
            }
        }
    });
}

CImage* CImage::Superpose(const CImage* b) const {
    if (!b || !is_sound(*this) || !is_sound(*b) || b->nrows < nrows || b->ncols < ncols)
        return nullptr;
    return make_written(*this, form_of(*this).of_type(ImageType::colour), [&](CImage& out) {
        const Range range =
            image_type == ImageType::gray ? find_range(pixels, nrows, ncols) : Range{};
        const double min = range.min;
        const double width = double{range.max} - double{range.min};
        for (int i = 0; i < nrows; ++i) {
            const float* const from = pixels[i];
            const float* const mask = b->pixels[i];
            float* pixel = out.pixels[i];
            for (Index j = 0; j < ncols; ++j, pixel += 3) {
                const bool is_marked = marks(mask[j]);
                if (image_type == ImageType::gray) {
                    const auto level = static_cast<float>((from[j] - min) * 255.0 / width);
                    pixel[0] = is_marked ? mark_level : level;
                    pixel[1] = pixel[2] = is_marked ? 0.0f : level;
                } else {
                    pixel[0] = is_marked ? mark_level : from[3 * j];
                    pixel[1] = is_marked ? 0.0f : from[3 * j + 1];
                    pixel[2] = is_marked ? 0.0f : from[3 * j + 2];
                }
            }
        }
    });
}
