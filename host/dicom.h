// DICOM files: their images as values, and where those lie in the patient. Of use where this build
// has DCMTK; VORLANE_HAS_DCMTK says so.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "host/messages.h"

namespace vorlane::host {

// What one image states. Lengths are in mm; empty or 0 is what the file doesn't say.
struct DicomPlace {
    std::optional<std::array<double, 3>> position;    // of the first pixel
    std::optional<std::array<double, 6>> orientation; // unit vectors along a row and down a column
    double row_spacing = 0.0;
    double col_spacing = 0.0;
    double thickness = 0.0;
    double slope = 1.0; // value = slope * stored number + intercept
    double intercept = 0.0;
};

class DicomFile {
public:
    // Reads a file's header, and its pixels when they are asked for. `name` stands in messages.
    // Throws Error. A file without an image, such as a report, has no rows.
    DicomFile(const std::string& path, const std::string& name);
    ~DicomFile();
    DicomFile(const DicomFile&) = delete;
    DicomFile& operator=(const DicomFile&) = delete;

    int rows = 0;
    int cols = 0;
    int frames = 1;
    bool is_gray = true;
    bool is_inverted = false; // gray, and its smallest value is meant to be white
    int bits = 8;             // of a stored number
    bool has_sign = false;
    std::string series;      // the series' unique number
    std::string description; // of the series
    std::string modality;
    std::string study_date;
    int number = 0;      // in the series
    double rate = 0.0;   // frames a second
    double centre = 0.0; // of the window to show, in values
    double width = 0.0;  // of it; 0 not stated

    DicomPlace place(int frame) const;

    // A frame, from 0: gray in values, slope and intercept applied, or colour in bytes. The
    // pixel_format is byte or int16 where the values are whole and fit, or float32.
    ImagePtr image(int frame);

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
    std::string name_;
};

} // namespace vorlane::host
