#include "host/vessels.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <vorlane/numerics/elementary.h>

#include "host/hessian.h"

namespace vorlane::host {

namespace {

constexpr double smallest_sigma = 0.5; // below it the voxels don't show the derivatives
constexpr double largest_sigma = 50.0; // for the sake of the margins

void check_scale(double sigma) {
    if (!(sigma >= smallest_sigma && sigma <= largest_sigma))
        throw UsageError("a scale must be 0.5 to 50 voxels, not " + std::to_string(sigma));
}

void check_options(const VesselOptions& options) {
    check_scale(options.from);
    check_scale(options.to);
    if (options.count < 1 || options.count > 1000)
        throw UsageError("the number of scales must be 1 to 1000, not " +
                         std::to_string(options.count));
    if (!(options.alpha > 0.0) || !(options.beta > 0.0) || !(options.c >= 0.0) ||
        !std::isfinite(options.alpha + options.beta + options.c))
        throw UsageError("alpha and beta must be above 0, and c at least 0");
}

double square(double value) {
    return value * value;
}

// exp(-x^2 / (2 width^2))
double bell(double x, double width) {
    return numerics::quick_exp(-0.5 * square(x / width));
}

double sato(const Eigenvalues& l, Structure structure) {
    if (structure == Structure::blob)
        return std::max(0.0, -l.largest);
    if (structure == Structure::line) {
        if (!(l.middle < 0.0))
            return 0.0;
        const double a = l.largest <= 0.0 ? 0.5 : 2.0;
        return -l.middle * bell(l.largest, a * l.middle);
    }
    if (!(l.smallest < 0.0))
        return 0.0;
    const auto weight = [&](double value) {
        constexpr double alpha = 0.25;
        return std::max(0.0, 1.0 - (value > 0.0 ? alpha : -1.0) * value / -l.smallest);
    };
    return -l.smallest * weight(l.largest) * weight(l.middle);
}

double frangi(const Eigenvalues& l, const VesselOptions& options, double c) {
    double m[3] = {l.smallest, l.middle, l.largest};
    std::sort(m, m + 3, [](double a, double b) { return std::abs(a) < std::abs(b); });
    const int standing_out = options.structure == Structure::sheet  ? 1
                             : options.structure == Structure::line ? 2
                                                                    : 3;
    for (int n = 3 - standing_out; n < 3; ++n) {
        if (!(m[n] < 0.0))
            return 0.0;
    }
    const double strength = 1.0 - bell(std::sqrt(square(m[0]) + square(m[1]) + square(m[2])), c);
    const double a = bell(m[1] / m[2], options.alpha);
    if (options.structure == Structure::sheet)
        return a * strength;
    const double b = bell(std::abs(m[0]) / std::sqrt(m[1] * m[2]), options.beta);
    return (1.0 - a) * (options.structure == Structure::line ? b : 1.0 - b) * strength;
}

// Goes through the voxels of a volume with f(k, i, j, index in the planes of the matrices).
template<class F>
void for_each_voxel(const CVolume& volume, Hessian& hessian, F f) {
    for (int k = 0; k < volume.nslices; ++k) {
        hessian.at_slice(k);
        for (int i = 0; i < volume.nrows; ++i) {
            const std::size_t first = hessian.index(i, 0);
            for (int j = 0; j < volume.ncols; ++j)
                f(k, i, j, first + count_of(j));
        }
    }
}

// Half of the largest norm of the matrices, times `factor`.
double half_largest_norm(const CVolume& volume, Hessian& hessian, double factor) {
    double largest = 0.0;
    for_each_voxel(volume, hessian, [&](int, int, int, std::size_t n) {
        largest = std::max(
            largest,
            square(hessian.ii[n]) + square(hessian.jj[n]) + square(hessian.kk[n]) +
                2.0 * (square(hessian.ij[n]) + square(hessian.ik[n]) + square(hessian.jk[n])));
    });
    return 0.5 * factor * std::sqrt(largest);
}

Eigenvalues eigenvalues_at(const Hessian& h, std::size_t n, double factor) {
    return eigenvalues_of(factor * h.ii[n], factor * h.jj[n], factor * h.kk[n], factor * h.ij[n],
                          factor * h.ik[n], factor * h.jk[n]);
}

// The volume as it looks at a scale, with a margin that the Gaussian and a difference see.
struct Scale {
    Scale(const CVolume& volume, double sigma)
        : margin(margin_of(sigma) + 2), smoothed(smooth(*continued(volume, margin), sigma)),
          hessian(*smoothed, margin) {}
    int margin;
    VolumePtr smoothed;
    Hessian hessian;
};

void add_scale(const CVolume& volume, double sigma, const VesselOptions& options, VesselMap& map) {
    Scale scale(volume, sigma);
    const double factor = square(sigma);
    const bool is_sato = options.measure == VesselMeasure::sato;
    double c = options.c;
    if (!is_sato && c == 0.0)
        c = half_largest_norm(volume, scale.hessian, factor);
    if (!is_sato && c == 0.0)
        return; // an even volume
    for_each_voxel(volume, scale.hessian, [&](int k, int i, int j, std::size_t n) {
        const Eigenvalues l = eigenvalues_at(scale.hessian, n, options.dark ? -factor : factor);
        const auto answer =
            static_cast<float>(is_sato ? sato(l, options.structure) : frangi(l, options, c));
        float& strength = map.strength->slices[k].pixels[i][j];
        if (answer > strength) {
            strength = answer;
            map.scale->slices[k].pixels[i][j] = static_cast<float>(sigma);
        }
    });
}

} // namespace

HessianEigenvalues hessian_eigenvalues(const CVolume& volume, double sigma) {
    check_volume(volume);
    check_scale(sigma);
    const auto make = [&] { return make_volume(volume.nslices, volume.nrows, volume.ncols); };
    HessianEigenvalues result{make(), make(), make()};
    Scale scale(volume, sigma);
    for_each_voxel(volume, scale.hessian, [&](int k, int i, int j, std::size_t n) {
        const Eigenvalues l = eigenvalues_at(scale.hessian, n, 1.0);
        result.smallest->slices[k].pixels[i][j] = static_cast<float>(l.smallest);
        result.middle->slices[k].pixels[i][j] = static_cast<float>(l.middle);
        result.largest->slices[k].pixels[i][j] = static_cast<float>(l.largest);
    });
    return result;
}

VesselMap find_vessels(const CVolume& volume, const VesselOptions& options,
                       const ScaleProgress& progress) {
    check_volume(volume);
    check_options(options);
    VesselMap map{make_volume(volume.nslices, volume.nrows, volume.ncols),
                  make_volume(volume.nslices, volume.nrows, volume.ncols)};
    for (int n = 0; n < options.count; ++n) {
        if (progress)
            progress(n, options.count);
        const double sigma = options.count == 1 ? options.from
                                                : options.from + (options.to - options.from) * n /
                                                                     (options.count - 1);
        add_scale(volume, sigma, options, map);
    }
    return map;
}

} // namespace vorlane::host
