#include <vorlane/numerics/solvers.h>
#include <vorlane/platform/arithmetic.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace {

// Of a vector of x and 1: the root of a sum, the same on every machine.
double length(double x) {
    return std::abs(x) < 1e100 ? std::sqrt(x * x + 1.0) : std::abs(x);
}

// A symmetric matrix on its way to a diagonal one, with the rotations that it has seen.
class JacobiMatrix {
public:
    JacobiMatrix(const float* const* matrix, std::size_t size)
        : n_(size), entries_(n_ * n_), vectors_(n_ * n_) {
        for (std::size_t p = 0; p < n_; ++p) {
            vectors_[p * n_ + p] = 1.0;
            for (std::size_t q = p; q < n_; ++q)
                entries_[p * n_ + q] = entries_[q * n_ + p] = matrix[p][q];
        }
    }

    bool is_finite() const {
        return std::all_of(entries_.begin(), entries_.end(),
                           [](double x) { return std::isfinite(x); });
    }

    double eigenvalue(std::size_t p) const { return entries_[p * n_ + p]; }
    const double* eigenvector(std::size_t p) const { return vectors_.data() + p * n_; }

    // False once there is nothing left to rotate.
    bool sweep() {
        bool has_rotated = false;
        for (std::size_t p = 0; p < n_; ++p) {
            for (std::size_t q = p + 1; q < n_; ++q) {
                if (is_negligible(p, q))
                    entries_[p * n_ + q] = entries_[q * n_ + p] = 0.0;
                else {
                    rotate(p, q);
                    has_rotated = true;
                }
            }
        }
        return has_rotated;
    }

private:
    // Far below the last place of both diagonal entries.
    bool is_negligible(std::size_t p, std::size_t q) const {
        const double size = std::abs(entries_[p * n_ + q]) * 0.01;
        const double a = std::abs(eigenvalue(p));
        const double b = std::abs(eigenvalue(q));
        return a + size == a && b + size == b;
    }

    // Turns the axes p and q by the smaller of the two angles that bring entry (p, q) to 0.
    void rotate(std::size_t p, std::size_t q) {
        const double off = entries_[p * n_ + q];
        const double cotangent =
            (eigenvalue(q) - eigenvalue(p)) / (2.0 * off); // of twice the angle
        const double tangent =
            std::copysign(1.0 / (std::abs(cotangent) + length(cotangent)), cotangent);
        const double cosine = 1.0 / length(tangent);
        const double sine = tangent * cosine;
        entries_[p * n_ + p] -= tangent * off;
        entries_[q * n_ + q] += tangent * off;
        entries_[p * n_ + q] = entries_[q * n_ + p] = 0.0;
        for (std::size_t k = 0; k < n_; ++k) {
            if (k != p && k != q) {
                turn(entries_[p * n_ + k], entries_[q * n_ + k], cosine, sine);
                entries_[k * n_ + p] = entries_[p * n_ + k];
                entries_[k * n_ + q] = entries_[q * n_ + k];
            }
            turn(vectors_[p * n_ + k], vectors_[q * n_ + k], cosine, sine);
        }
    }

    static void turn(double& x, double& y, double cosine, double sine) {
        const double old_x = x;
        x = cosine * old_x - sine * y;
        y = sine * old_x + cosine * y;
    }

    std::size_t n_;
    std::vector<double> entries_;
    std::vector<double> vectors_; // eigenvectors as rows
};

} // namespace

int VNeumannEigens(float** matrix, int size, float* eigenvalues, float** eigenvectors) try {
    const vorlane::DefaultArithmetic arithmetic;
    constexpr int most_sweeps = 60; // a handful suffices: the last ones square what is left
    if (!matrix || !eigenvalues || size < 1)
        return 0;
    const auto n = static_cast<std::size_t>(size);
    JacobiMatrix work(matrix, n);
    if (!work.is_finite())
        return 0;
    int sweeps = 0;
    while (sweeps < most_sweeps && work.sweep())
        ++sweeps;
    if (sweeps == most_sweeps)
        return 0;
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return work.eigenvalue(a) < work.eigenvalue(b);
    });
    for (std::size_t k = 0; k < n; ++k) {
        eigenvalues[k] = static_cast<float>(work.eigenvalue(order[k]));
        for (std::size_t i = 0; eigenvectors && i < n; ++i)
            eigenvectors[i][k] = static_cast<float>(work.eigenvector(order[k])[i]);
    }
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
} catch (const std::length_error&) {
    return 0;
}
