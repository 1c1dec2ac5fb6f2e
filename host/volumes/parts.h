// Private to the host: readers of volumes.
#pragma once

#include "host/volumes.h"

namespace vorlane::host {

Volume open_description(const std::string& path, const OpenVolumeOptions& options);
Volume open_dicom_volume(const std::vector<std::string>& files, const std::string& name,
                         const OpenVolumeOptions& options);

// Hands the slices over to a volume: gray, of one size, which `names` tell apart in messages.
VolumePtr volume_of(std::vector<ImagePtr> slices, const std::vector<std::string>& names);

} // namespace vorlane::host
