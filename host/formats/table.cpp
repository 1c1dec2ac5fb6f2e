// Every format of pictures, in the order in which a user reads them.

#include <vector>

#include "host/formats/format.h"

namespace vorlane::host {

namespace {

using Endings = std::span<const std::string_view>;

// What stands for a format whose library this build lacks.
[[maybe_unused]] Format left_out(std::string_view name, Endings endings, std::string_view package) {
    Format format{name, endings, nullptr, nullptr};
    format.left_out = package;
    return format;
}

std::vector<Format> make_table() {
    [[maybe_unused]] static constexpr std::string_view png[] = {".png"};
    [[maybe_unused]] static constexpr std::string_view jpeg[] = {".jpg", ".jpeg"};
    [[maybe_unused]] static constexpr std::string_view tiff[] = {".tif", ".tiff"};
    [[maybe_unused]] static constexpr std::string_view dicom[] = {".dcm"};
    std::vector<Format> table;
#ifdef VORLANE_HAS_PNG
    table.push_back(png_format);
#else
    table.push_back(left_out("PNG", png, "libpng"));
#endif
#ifdef VORLANE_HAS_JPEG
    table.push_back(jpeg_format);
#else
    table.push_back(left_out("JPEG", jpeg, "libjpeg"));
#endif
#ifdef VORLANE_HAS_TIFF
    table.push_back(tiff_format);
#else
    table.push_back(left_out("TIFF", tiff, "libtiff"));
#endif
    for (const Format& format : portable_map_formats())
        table.push_back(format);
    for (const Format& format : own_formats())
        table.push_back(format);
#ifdef VORLANE_HAS_DCMTK
    table.push_back(dicom_format);
#else
    table.push_back(left_out("DICOM", dicom, "DCMTK"));
#endif
    return table;
}

} // namespace

std::span<const Format> formats() {
    static const std::vector<Format> table = make_table();
    return table;
}

} // namespace vorlane::host
