// DICOM images as pictures. Frames are pages.

#include <cstdio>

#include "host/dicom.h"
#include "host/formats/format.h"

namespace vorlane::host {

namespace {

// Turns over what is meant to be shown with its smallest value white, within the range of the
// stored numbers.
void turn_over(CImage& image, const DicomFile& file, const DicomPlace& place) {
    const double count = static_cast<double>(std::int64_t{1} << file.bits);
    const double low = file.has_sign ? -count / 2.0 : 0.0;
    const double both_ends = place.slope * (2.0 * low + count - 1.0) + 2.0 * place.intercept;
    for (int i = 0; i < image.nrows; ++i)
        for (int j = 0; j < image.ncols; ++j)
            image.pixels[i][j] = static_cast<float>(both_ends - double{image.pixels[i][j]});
}

Picture read_dicom(const ReadRequest& request) {
    DicomFile file(request.source.path_on_disk(), request.source.name());
    request.check_page(file.frames);
    Picture picture;
    picture.page_count = file.frames;
    picture.bits = file.is_gray ? file.bits : 8;
    picture.image = file.image(request.page - 1);
    const DicomPlace place = file.place(request.page - 1);
    picture.row_spacing = place.row_spacing;
    picture.col_spacing = place.col_spacing;
    const auto tell = [&](const char* name, const std::string& text) {
        if (!text.empty())
            picture.facts.emplace_back(name, text);
    };
    tell("modality", file.modality);
    tell("series", file.description);
    if (file.is_gray && file.is_inverted) {
        turn_over(*picture.image, file, place);
        tell("inverted", "its smallest value is meant to be white");
    }
    if (file.is_gray && (place.slope != 1.0 || place.intercept != 0.0)) {
        char text[80];
        std::snprintf(text, sizeof text, "%g x stored number + %g", place.slope, place.intercept);
        tell("values", text);
    }
    return picture;
}

} // namespace

const Format dicom_format = {.name = "DICOM", .endings = {}, .read = read_dicom, .write = nullptr};

} // namespace vorlane::host
