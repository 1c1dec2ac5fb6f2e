// CVolume::ReadVolume: descriptions of both kinds, with the input itself as the raw data, and what
// is computed of small volumes.

#include <string>

#include <vorlane/volume/volume.h>

#include "input_path.h"

namespace {

// The input with each @ replaced by the path of a file that exists, so that mutations can reach
// what comes behind the names.
std::string with_paths(const std::uint8_t* data, std::size_t size, const std::string& path) {
    std::string text;
    for (std::size_t k = 0; k < size; ++k)
        data[k] == '@' ? text += path : text += static_cast<char>(data[k]);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = input_path(data, 0);
    const std::string text = with_paths(data, size, path);
    CVolume volume;
    if (!volume.ReadVolume(
            input_path(reinterpret_cast<const std::uint8_t*>(text.data()), text.size())))
        return 0;
    for (int k = 0; k < volume.nslices; ++k)
        if (volume.slices[k].pixels)
            touch_last(volume.slices[k]);
    constexpr std::int64_t affordable = 1 << 16;
    const std::int64_t voxels = std::int64_t{volume.nrows} * volume.ncols;
    if (voxels <= affordable && voxels * volume.nslices <= affordable)
        volume.ridges(1.0f, 0.0f, 0, 0, 0);
    return 0;
}
