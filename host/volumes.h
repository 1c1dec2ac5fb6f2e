// Volumes in and out of files: descriptions of the library's two kinds, folders of DICOM files, and
// DICOM files of many frames.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/error.h"
#include "host/messages.h"
#include "host/natural.h"

namespace vorlane::host {

struct Volume {
    VolumePtr volume; // gray slices of one size, all of them there
    std::string format;
    double slice_spacing = 0.0; // mm from a slice, row, column to the next; 0 not stated
    double row_spacing = 0.0;
    double col_spacing = 0.0;
    double centre = 0.0; // of the window to show; of use if width is above 0
    double width = 0.0;
    std::vector<std::pair<std::string, std::string>> facts; // whatever else is worth telling
    std::vector<std::string> notes; // what the user should know, a line each
};

struct OpenVolumeOptions {
    std::string series = {}; // of a folder: the series, by its unique number or its end
    bool leave_out = false;  // slices that can't be read are left out, with a note
    std::function<void(int done, int count)> progress = {}; // slices; may throw
};

// Opens
//
//  - a description V1 (a numbered series of pictures, each in any format that open_picture reads;
//    the number may have leading zeros on disk) or V2 (samples in one file). A name is the rest of
//    its line, blanks included; it is taken as it stands and then relative to the description's
//    folder. Messages name the file that failed.
//  - a folder of DICOM files, sorted along the normal of its slices, slope and intercept applied.
//    Files that aren't DICOM are left alone. A folder of several series is refused with their
//    numbers unless one is chosen, and so are slices that differ in size or orientation.
//  - a DICOM file of several frames, and a picture file of several pages.
//
// Throws Error, which names the file.
Volume open_volume(const std::string& path, const OpenVolumeOptions& options = {});

struct SaveVolumeOptions {
    bool force = false;                      // overwrite the data file beside the description
    int pixel_format = PixelFormat::float32; // of the samples: byte, int16, int32 or float32
    std::function<void(int done, int count)> progress = {};
};

// Writes a V2 description and its samples to a file of the same name that ends in .raw. The
// description names it as a file of its own folder, and is read from everywhere by open_volume; the
// library itself reads it from that folder. Whole numbers are rounded and clamped. Throws Error if
// the data file is there already, unless `force`.
void save_volume(const CVolume& volume, const std::string& path,
                 const SaveVolumeOptions& options = {});

// The encoding that holds all values of a volume without loss: whole numbers where they are.
int encoding_of_values(const CVolume& volume);

} // namespace vorlane::host
