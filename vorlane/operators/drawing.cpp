#include <vorlane/image/image.h>

#include <cmath>

#include <vorlane/image/digital_line.h>
#include <vorlane/image/soundness.h>
#include <vorlane/numerics/elementary.h>
#include <vorlane/numerics/rounding.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

constexpr float one_degree = 0.017453292f;

void draw(CImage& image, const DigitalLine& line, float value) {
    const DigitalLine::Part part = line.inside(image.nrows, image.ncols);
    for (std::uint64_t k = part.begin; k < part.end; ++k) {
        const DigitalLine::Point point = line.at(k);
        image.SetPixel(static_cast<int>(point.row), static_cast<int>(point.col), value);
    }
}

// Of a position yet to be truncated: pixel p is what lies above p - 1 for p = 0, from p on for
// others, and below p + 1.
bool is_on_pixel(double position, int size) {
    return position > -1.0 && position < size;
}

} // namespace

void CImage::DrawLine(int row1, int col1, int row2, int col2, float value) {
    if (has_pixels(*this))
        draw(*this, DigitalLine(row1, col1, row2, col2), value);
}

void CImage::DrawCross(int row, int col, float value, int half_length) {
    if (!has_pixels(*this))
        return;
    const Index arm = half_length;
    draw(*this, DigitalLine(row - arm, col, row + arm, col), value);
    draw(*this, DigitalLine(row, col - arm, row, col + arm), value);
}

void CImage::DrawCircle(int row, int col, float radius, float value) {
    const DefaultArithmetic arithmetic;
    if (!has_pixels(*this))
        return;
    for (int degree = 0; degree < 360; ++degree) {
        const double angle = degree * double{one_degree};
        const double v = half_away(row + double{radius} * numerics::cos(angle));
        const double w = half_away(col + double{radius} * numerics::sin(angle));
        if (is_on_pixel(v, nrows) && is_on_pixel(w, ncols))
            SetPixel(static_cast<int>(v), static_cast<int>(w), value);
    }
}
