// Private: ridge detection at one scale.
#pragma once

#include <cmath>

namespace vorlane {

// What ridges looks for, where, and the strongest ridges found so far.
struct RidgeSearch {
    bool bright;
    bool dark;
    const float* const* mask; // null: every pixel counts
    float* const* mag;
    float* const* dir;
    float* const* scale;
};

// Looks for ridges of scale `sigma` in an image of rows x cols samples smoothed with this sigma,
// and keeps those that are stronger than what `search` has. May throw std::bad_alloc.
void search_scale(const float* const* smooth, int rows, int cols, float sigma,
                  const RidgeSearch& search);

// bilinear_int for a direction whose cosine and sine are known.
inline float slope_at(const float* const* grad_row, const float* const* grad_col, int row, int col,
                      float distance, float cosine, float sine) {
    const double c = cosine;
    const double s = sine;
    const auto p = static_cast<float>(distance * c);
    const auto q = static_cast<float>(distance * s);
    const auto whole_p = static_cast<int>(p);
    const auto whole_q = static_cast<int>(q);
    const double fr = std::abs(double{p} - whole_p);
    const double fc = std::abs(double{q} - whole_q);
    const int u0 = row + whole_p;
    const int w0 = col + whole_q;
    const int u1 = u0 + (p >= 0.0f ? 1 : -1);
    const int w1 = w0 + (q >= 0.0f ? 1 : -1);
    const auto project = [&](int u, int w) { return c * grad_row[u][w] + s * grad_col[u][w]; };
    const double near = (1.0 - fr) * project(u0, w0) + fr * project(u1, w0);
    const double far = (1.0 - fr) * project(u0, w1) + fr * project(u1, w1);
    return static_cast<float>((1.0 - fc) * near + fc * far);
}

} // namespace vorlane
