#include "host/volumes.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

#include <vorlane/platform/system_paths.h>

#include "host/file_kinds.h"
#include "host/natural_parts.h"
#include "host/pictures.h"
#include "host/source.h"
#include "host/volumes/parts.h"

namespace vorlane::host {

namespace {

std::vector<std::string> files_of(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(path_of(folder), error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (entry->is_regular_file(error))
            files.push_back(utf8_of(entry->path()));
    }
    if (error)
        throw Error(folder + ": can't be read: " + error.message());
    std::sort(files.begin(), files.end());
    return files;
}

std::string kind_of_file(const std::string& path) {
    const Source source(path);
    const FileKind* const kind = kind_of(source.head());
    return kind ? std::string(kind->name) : "";
}

Volume open_folder(const std::string& path, const OpenVolumeOptions& options) {
    std::vector<std::string> dicom;
    for (const std::string& file : files_of(path)) {
        if (kind_of_file(file) == "DICOM")
            dicom.push_back(file);
    }
    if (dicom.empty())
        throw Error(path + ": is a folder without DICOM files; a series of pictures needs a "
                           "description");
    return open_dicom_volume(dicom, path, options);
}

Volume open_pages(const std::string& path, const OpenVolumeOptions& options) {
    std::vector<ImagePtr> slices;
    std::vector<std::string> names;
    Volume result;
    for (int page = 1, count = 1; page <= count; ++page) {
        Picture picture = open_picture(path, {.page = page});
        if (page == 1) {
            count = picture.page_count;
            if (count == 1)
                throw Error(path + ": is a picture of one page, not a volume");
            result.format = picture.format + " of " + std::to_string(count) + " pages";
            result.row_spacing = picture.row_spacing;
            result.col_spacing = picture.col_spacing;
        }
        if (options.progress)
            options.progress(page - 1, count);
        slices.push_back(std::move(picture.image));
        names.push_back(path + ": page " + std::to_string(page));
    }
    result.volume = volume_of(std::move(slices), names);
    return result;
}

} // namespace

VolumePtr volume_of(std::vector<ImagePtr> slices, const std::vector<std::string>& names) {
    const CImage& first = *slices.at(0);
    auto volume = std::make_unique<CVolume>();
    volume->slices = new CImage[slices.size()];
    volume->nslices = static_cast<int>(slices.size());
    volume->nrows = first.nrows;
    volume->ncols = first.ncols;
    volume->pixel_format = first.pixel_format;
    for (std::size_t k = 0; k < slices.size(); ++k) {
        CImage& from = *slices[k];
        if (from.nrows != first.nrows || from.ncols != first.ncols)
            throw Error(names[k] + ": has " + std::to_string(from.nrows) + " rows x " +
                        std::to_string(from.ncols) + " columns, and the first slice " +
                        std::to_string(first.nrows) + " x " + std::to_string(first.ncols));
        if (from.image_type != ImageType::gray)
            throw Error(names[k] + ": has colour; slices of a volume are gray");
        if (from.pixel_format != first.pixel_format)
            volume->pixel_format = PixelFormat::float32;
        CImage& to = volume->slices[k];
        to.nrows = from.nrows;
        to.ncols = from.ncols;
        to.image_type = from.image_type;
        to.pixel_format = from.pixel_format;
        to.file_format = from.file_format;
        std::swap(to.pixels, from.pixels);
    }
    return volume;
}

Volume open_volume(const std::string& path, const OpenVolumeOptions& options) {
    std::error_code error;
    if (std::filesystem::is_directory(path_of(path), error))
        return open_folder(path, options);
    const std::string kind = kind_of_file(path);
    if (kind == "DICOM")
        return open_dicom_volume({path}, path, options);
    if (kind == "TIFF")
        return open_pages(path, options);
    if (kind == "volume description")
        return open_description(path, options);
    throw Error(path + ": is " + (kind.empty() ? "of an unknown kind" : kind) +
                ", not a description of a volume or a folder of DICOM files");
}

int encoding_of_values(const CVolume& volume) {
    double low = 0.0, high = 0.0;
    for (int k = 0; k < volume.nslices; ++k) {
        for (int i = 0; i < volume.nrows; ++i) {
            for (int j = 0; j < volume.ncols; ++j) {
                const double value = volume.slices[k].pixels[i][j];
                if (value != std::floor(value) || !std::isfinite(value))
                    return PixelFormat::float32;
                low = std::min(low, value);
                high = std::max(high, value);
            }
        }
    }
    return low >= 0.0 && high <= 255.0            ? PixelFormat::byte
           : low >= -32768.0 && high <= 32767.0   ? PixelFormat::int16
           : low >= -0x1p31 && high <= 0x1p31 - 1 ? PixelFormat::int32
                                                  : PixelFormat::float32;
}

} // namespace vorlane::host
