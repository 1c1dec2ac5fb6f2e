// Private, for kernel files: eigenvalues of symmetric 3 x 3 matrices over lanes.
#pragma once

#include <vorlane/simd/lanes.h>

namespace {

struct Symmetric3 {
    F64 a00, a11, a22, a01, a02, a12;
};

// The absolute eigenvalues of matrices of floats held in doubles, in increasing order, with an
// error below 1e-7 of the largest.
//
// With q a third of the trace and 6 p^2 the sum of the squares of B = A - q, the eigenvalues are
// q + 2 p cos((acos(r) + 2 pi k) / 3) for r = det(B) / (2 p^3): O. K. Smith, "Eigenvalues of a
// symmetric 3 x 3 matrix", 1961. Here c = cos(acos(|r|) / 3) gives the eigenvalue that stands
// apart, q + 2 p c with the sign of r, and the other two follow as q - p c -+ p sqrt(3 - 3 c^2). On
// this half of the range 1 - c is smooth in s = 1 - |r|, so a polynomial gives it with an error
// below 1e-9 of itself; near s = 0, where two eigenvalues meet, 3 - 3 c^2 so keeps the bits that s
// has. Where p is 0, so is its product with all that is made of r.
inline void absolute_eigenvalues(const Symmetric3& a, F64 sorted[3]) {
    const F64 q = (a.a00 + a.a11 + a.a22) * all_lanes(1.0 / 3.0);
    const F64 b00 = a.a00 - q;
    const F64 b11 = a.a11 - q;
    const F64 b22 = a.a22 - q;
    const F64 off_diagonal = a.a01 * a.a01 + a.a02 * a.a02 + a.a12 * a.a12;
    const F64 p_squared =
        (b00 * b00 + b11 * b11 + b22 * b22 + off_diagonal + off_diagonal) * all_lanes(1.0 / 6.0);
    const F64 p = square_root(p_squared);
    const F64 determinant = b00 * (b11 * b22 - a.a12 * a.a12) -
                            a.a01 * (a.a01 * b22 - a.a12 * a.a02) +
                            a.a02 * (a.a01 * a.a12 - b11 * a.a02);
    const F64 r = determinant / ((p_squared + p_squared) * p);

    // Chebyshev interpolation of (1 - cos(acos(1 - s) / 3)) / s for s from 0 to 1.
    constexpr double slope[] = {7.677235156700011e-05,  -0.00021054408517001374,
                                0.00034495282901379315, -0.0001803166788021109,
                                0.0002995299343249689,  0.0004448090267833156,
                                0.001360147473697465,   0.00426721578028349,
                                0.016460918418448323,   0.11111111104562019};
    const F64 s = maximum(all_lanes(1.0) - absolute(r), all_lanes(0.0));
    F64 g = all_lanes(slope[0]);
    for (int k = 1; k < 10; ++k)
        g = g * s + all_lanes(slope[k]);
    const F64 t = s * g; // 1 - c
    const F64 c = all_lanes(1.0) - t;
    const F64 split = p * square_root(all_lanes(3.0) * t * (all_lanes(2.0) - t));
    const F64 shift = with_sign_of(p, r) * c;
    const F64 apart = absolute(q + shift + shift);
    const F64 one = absolute(q - shift + split);
    const F64 other = absolute(q - shift - split);

    const F64 low = minimum(one, other);
    const F64 high = maximum(one, other);
    const F64 middle = maximum(low, apart);
    sorted[0] = minimum(low, apart);
    sorted[1] = minimum(middle, high);
    sorted[2] = maximum(middle, high);
}

} // namespace
