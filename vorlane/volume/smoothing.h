// Private: what smoothing and ridges of a volume share.
#pragma once

#include <cstddef>
#include <vector>

#include <vorlane/volume/volume.h>

namespace vorlane {

// Indices of the slices that have pixels, out of `nslices`. None if one of these has another size
// than the volume or a type without pixels.
std::vector<int> slices_to_process(const CVolume& volume);

// Smooths a stack of planes along all three axes, in[k] into out[k]. False if sigma isn't valid or
// there is no memory for some lines.
bool smooth_planes(const std::vector<const float* const*>& in, const std::vector<float**>& out,
                   std::size_t rows, std::size_t cols, float sigma);

} // namespace vorlane
