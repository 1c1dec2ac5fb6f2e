// Lines, sheets and blobs in volumes, by the second derivatives of the smoothed volume, as the
// literature defines them. (CVolume::ridges stores differences in which the mixed terms weigh four
// times the pure ones.)
//
// A volume is gray, and all of its slices have the size that it states; voxels count as cubes, and
// beyond the border as the outermost ones. sigma is in voxels, from 0.5 to 50. Arguments without
// a meaning throw UsageError. The same input gives the same bits as far as the library and the C
// library's exp, cos and acos do.
#pragma once

#include "host/natural.h"

namespace vorlane::host {

// The eigenvalues of the matrix of second derivatives, in gray levels a voxel squared, by value:
// on a bright line one about 0 and two far below it. Derivatives are differences of fourth order of
// the smoothed volume. Memory: the results, and at a time two volumes
// with a margin of 4 sigma.
struct HessianEigenvalues {
    VolumePtr smallest, middle, largest;
};
HessianEigenvalues hessian_eigenvalues(const CVolume& volume, double sigma);

enum class Structure { line, sheet, blob };

// With l1 >= l2 >= l3 the eigenvalues times sigma^2, of the negated volume for dark structures:
//
//   sato     line   -l2 exp(-l1^2 / (2 (a l2)^2)), a = 0.5 for l1 below 0 and 2 above
//            sheet  -l3 w(l1) w(l2), w(l) = 1 + l / |l3| for l below 0 and 1 - l / (4 |l3|) above
//            blob   -l1
//            Gray levels: how much the structure stands out. Y. Sato et al., "Three-dimensional
//            multi-scale line filter for segmentation and visualization of curvilinear structures
//            in medical images", 1998; sheets and blobs: "Tissue classification based on 3D local
//            intensity structures for volume rendering", 2000.
//   frangi   with |m1| <= |m2| <= |m3| the same values by size: A = |m2| / |m3|,
//            B = |m1| / sqrt(|m2 m3|), S = sqrt(m1^2 + m2^2 + m3^2), e(x, w) = exp(-x^2 / (2 w^2))
//            line   (1 - e(A, alpha)) e(B, beta) (1 - e(S, c))
//            sheet  e(A, alpha) (1 - e(S, c))
//            blob   (1 - e(A, alpha)) (1 - e(B, beta)) (1 - e(S, c))
//            From 0 to 1. A. Frangi et al., "Multiscale vessel enhancement filtering", 1998;
//            sheets and blobs: L. Antiga, "Generalizing vesselness with respect to dimensionality
//            and shape", 2007.
//
// All are 0 where an eigenvalue that should stand out has the wrong sign.
enum class VesselMeasure { sato, frangi };

struct VesselOptions {
    double from = 1.0, to = 3.0; // scales; a line of radius r answers most at about r
    int count = 3;               // in equal steps, 1 to 1000
    bool dark = false;           // darker than what lies around
    Structure structure = Structure::line;
    VesselMeasure measure = VesselMeasure::sato;
    double alpha = 0.5, beta = 0.5;
    double c = 0.0; // gray levels; 0 stands for half of the largest S of each scale
};

// The strongest answer of all scales at each voxel, and the sigma that gave it (0 where there is
// none). Memory: the results, and at a time up to two volumes
// with a margin of 4 sigma.
struct VesselMap {
    VolumePtr strength, scale;
};
VesselMap find_vessels(const CVolume& volume, const VesselOptions& options,
                       const ScaleProgress& progress = {});

} // namespace vorlane::host
