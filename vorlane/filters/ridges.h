// What belongs to CImage::ridges: who hears of its progress, and directional derivatives between
// pixels for hosts that look at ridges themselves.
#pragma once

#include <vorlane/platform/export.h>

// The derivative along `angle` at the point that lies `distance` pixels from pixel (row, col) along
// `angle`: the projections of the gradient at the four pixels around the point, interpolated
// bilinearly. An angle t, in radians, stands for the direction (cos t, sin t) in rows and columns:
// 0 points towards larger i, pi / 2 towards larger j. grad_row and grad_col hold the derivatives
// along i and along j.
//
// The four pixels must lie in the planes: the one that the point reaches by truncation toward zero,
// and its neighbours one step further out in both directions. A point that isn't a finite number of
// pixels away, or more than 2^30, gives a not-a-number.
VORLANE_API float bilinear_int(const float* const* grad_row, const float* const* grad_col, int row,
                               int col, float distance, float angle);

// Hears of each scale that CImage::ridges begins, with its number from 0 and its sigma.
using RidgeProgress = void (*)(int scale, float sigma, void* context);

// Sets who hears of the scales that this thread searches, in place of the line on the standard
// output; null restores that line. What the function throws ends the search and passes through.
VORLANE_API void SetRidgeProgress(RidgeProgress progress, void* context);
