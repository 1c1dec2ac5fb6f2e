// Private: second derivatives of a smoothed volume, slice by slice.
#pragma once

#include <vector>

#include "host/natural_parts.h"

namespace vorlane::host {

struct Eigenvalues {
    double smallest, middle, largest;
};

// Of a symmetric matrix. O. Smith, "Eigenvalues of a symmetric 3 x 3 matrix", 1961.
Eigenvalues eigenvalues_of(double a00, double a11, double a22, double a01, double a02, double a12);

class Hessian {
public:
    // Of a smoothed volume that was continued by `margin` voxels, at least 2, on each side.
    Hessian(const CVolume& smooth, int margin);

    // Brings the derivatives of slice k inside the margin into the planes below.
    void at_slice(int k);
    // Where pixel j of row i inside the margin stands in them.
    std::size_t index(int i, int j) const {
        return count_of(i + reach) * cols_ + count_of(j + reach);
    }

    std::vector<double> ii, jj, kk, ij, ik, jk;

private:
    static constexpr int reach = 2; // of a difference
    const CVolume& smooth_;
    int margin_;
    std::size_t rows_, cols_;
    std::vector<double> level_, slope_;
};

} // namespace vorlane::host
