// Volumes for tests.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <support/pictures.h>
#include <vorlane/image/plane.h>
#include <vorlane/volume/volume.h>

using vorlane::Plane;
using VolumePtr = std::unique_ptr<CVolume>;
using Line = std::vector<float>;

// A gray volume of the samples value(k, i, j).
VolumePtr make_volume(int slices, int rows, int cols,
                      const std::function<float(int, int, int)>& value);

// Samples from 0 to 256, the same for the same seed.
VolumePtr make_random_volume(int slices, int rows, int cols, unsigned seed);
