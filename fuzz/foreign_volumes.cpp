// open_volume: descriptions, whose data file is the input itself, DICOM files of frames, and pictures
// of pages.

#include <filesystem>

#include <host/volumes.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = input_path(data, size);
    try {
        const vorlane::host::Volume volume = vorlane::host::open_volume(path);
        touch_last(volume.volume->slices[volume.volume->nslices - 1]);
    } catch (const vorlane::host::Error&) {
    }
    return 0;
}
