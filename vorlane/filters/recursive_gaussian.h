// Coefficients of the recursive Gaussian filter and of its first derivative, for
// CImage::apply_IIR4_filter_x and apply_IIR4_filter_y.
//
// Source: R. Deriche, "Recursively implementing the Gaussian and its derivatives", 1993; the
// normalisation is this library's own. The kernel is a sum of two damped cosines and sines,
//
//   h(t) = (a0 cos(w0 t / sigma) + a1 sin(w0 t / sigma)) exp(-b0 t / sigma)
//        + (c0 cos(w1 t / sigma) + c1 sin(w1 t / sigma)) exp(-b1 t / sigma),   t >= 0,
//
// even for the Gaussian and odd for the derivative, divided by K. A causal and an anti-causal
// recursion of order four run along each line x, in double precision, and their terms A and B are
// rounded to floats:
//
//   A[j] = u0 x[j] + u1 x[j-1] + u2 x[j-2] + u3 x[j-3]
//        - d1 A[j-1] - d2 A[j-2] - d3 A[j-3] - d4 A[j-4]
//   B[j] = m1 x[j+1] + m2 x[j+2] + m3 x[j+3] + m4 x[j+4]
//        - d1 B[j+1] - d2 B[j+2] - d3 B[j+3] - d4 B[j+4]
//   y[j] = (A[j] + B[j]) / K
//
// Outside the line, x counts as its first or last sample repeated and A and B as zero, also on a
// line of fewer than four samples. A constant line therefore falls off towards its ends, and in
// between it is multiplied by a gain that isn't 1: 1.1623 at sigma 1, 1.3941 at 2, 1.4700 at 4. The
// derivative has the opposite sign of the slope. The cost of a sample doesn't depend on sigma.
//
// A coefficient record is a plane of 5 x 5 floats (four rows are used) that the caller makes with
// make_2D_float_array and releases:
//
//   row 0   u0  u1  u2  u3  -
//   row 1   -   d1  d2  d3  d4
//   row 2   K   m1  m2  m3  m4
//   row 3   -   d1  d2  d3  d4     read by the anti-causal pass
//
// Cells that the table leaves open are neither written nor read.
#pragma once

#include <vorlane/platform/export.h>

// Fills `coef` for the Gaussian of standard deviation `sigma`, in samples. Nothing is written if
// sigma isn't positive and finite, or if `coef` is null.
VORLANE_API void ga(float sigma, float** coef);

// The same for the first derivative of the Gaussian.
VORLANE_API void fdga(float sigma, float** coef);
