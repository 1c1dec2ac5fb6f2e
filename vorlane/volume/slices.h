// Private: the slices of a volume that smoothing and ridges work on.
#pragma once

#include <vector>

#include <vorlane/volume/volume.h>

namespace vorlane {

// Indices of the slices that have pixels. None if the array is shorter than the volume states, or
// if one of these is smaller than the volume or has a type without pixels.
std::vector<int> slices_to_process(const CVolume& volume);

} // namespace vorlane
