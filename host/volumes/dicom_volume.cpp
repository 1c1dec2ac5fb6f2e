// Volumes of DICOM files.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "host/volumes/parts.h"

#ifdef VORLANE_HAS_DCMTK
#include "host/dicom.h"
#endif

namespace vorlane::host {

#ifndef VORLANE_HAS_DCMTK
Volume open_dicom_volume(const std::vector<std::string>&, const std::string& name,
                         const OpenVolumeOptions&) {
    throw Error(name + ": DICOM files aren't read by this build, which lacks DCMTK; see vorlane "
                       "--version");
}
#else

namespace {

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector normal_of(const std::array<double, 6>& o) {
    return {o[1] * o[5] - o[2] * o[4], o[2] * o[3] - o[0] * o[5], o[0] * o[4] - o[1] * o[3]};
}

struct Slice {
    DicomFile* file;
    std::string name;
    int frame;
    DicomPlace place;
    double height = 0.0; // along the normal
};

using Files = std::vector<std::pair<std::string, std::unique_ptr<DicomFile>>>;

// The files of one series.
Files choose_series(Files files, const std::string& folder, const std::string& chosen) {
    std::map<std::string, std::pair<int, const DicomFile*>> series;
    for (const auto& [name, file] : files) {
        auto& [count, first] = series[file->series];
        ++count;
        first = first ? first : file.get();
    }
    std::vector<std::string> fitting;
    for (const auto& [number, about] : series) {
        if (chosen.empty() || number.ends_with(chosen))
            fitting.push_back(number);
    }
    if (fitting.size() != 1) {
        std::string list;
        for (const auto& [number, about] : series)
            list += (list.empty() ? "" : "; ") + (number.empty() ? "without a number" : number) +
                    " (" + std::to_string(about.first) + " files, " + about.second->modality + " " +
                    about.second->description + ")";
        throw Error(folder + ": " +
                    (fitting.empty() ? "has no series that ends in " + chosen
                                     : "has several series, choose one with --series") +
                    ": " + list);
    }
    std::erase_if(files, [&](const auto& entry) { return entry.second->series != fitting[0]; });
    return files;
}

// Sorts along the normal, and gives the distance of slices.
double sort_by_place(std::vector<Slice>& slices, const std::string& name, Volume& result) {
    const bool have_places = std::all_of(slices.begin(), slices.end(), [](const Slice& slice) {
        return slice.place.position && slice.place.orientation;
    });
    if (!have_places) {
        std::stable_sort(slices.begin(), slices.end(), [](const Slice& a, const Slice& b) {
            return std::pair(a.file->number, a.frame) < std::pair(b.file->number, b.frame);
        });
        if (slices.size() > 1)
            result.notes.push_back(name + ": doesn't state where its slices lie; they are in the "
                                          "order of their numbers");
        return slices[0].place.thickness;
    }
    const auto& first = *slices[0].place.orientation;
    const Vector normal = normal_of(first);
    for (Slice& slice : slices) {
        for (std::size_t n = 0; n < 6; ++n) {
            constexpr double same = 1e-3;
            if (std::abs((*slice.place.orientation)[n] - first[n]) > same)
                throw Error(slice.name + ": lies at an angle to " + slices[0].name +
                            "; a volume has parallel slices");
        }
        slice.height = dot(*slice.place.position, normal);
    }
    std::stable_sort(slices.begin(), slices.end(),
                     [](const Slice& a, const Slice& b) { return a.height < b.height; });
    std::vector<double> steps;
    for (std::size_t k = 1; k < slices.size(); ++k) {
        steps.push_back(slices[k].height - slices[k - 1].height);
        constexpr double same = 1e-4; // mm
        if (steps.back() < same)
            throw Error(slices[k].name + ": lies where " + slices[k - 1].name +
                        " does; the series has several volumes");
    }
    if (steps.empty())
        return slices[0].place.thickness;
    std::vector<double> sorted = steps;
    std::nth_element(sorted.begin(),
                     sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2), sorted.end());
    const double usual = sorted[sorted.size() / 2];
    for (std::size_t k = 0; k < steps.size(); ++k) {
        constexpr double uneven = 0.02;
        if (std::abs(steps[k] - usual) > uneven * usual) {
            char text[120];
            std::snprintf(text, sizeof text, "slices %zu and %zu are %.4g mm apart, others %.4g", k,
                          k + 1, steps[k], usual);
            result.notes.push_back(name + ": " + text + "; some may be missing");
            break;
        }
    }
    return usual;
}

} // namespace

Volume open_dicom_volume(const std::vector<std::string>& paths, const std::string& name,
                         const OpenVolumeOptions& options) {
    Volume result;
    Files files;
    for (const std::string& path : paths) {
        auto file = std::make_unique<DicomFile>(path, path);
        if (file->rows > 0)
            files.emplace_back(path, std::move(file));
    }
    if (files.empty())
        throw Error(name + ": has no DICOM images");
    files = choose_series(std::move(files), name, options.series);
    std::vector<Slice> slices;
    for (const auto& [path, file] : files) {
        for (int frame = 0; frame < file->frames; ++frame)
            slices.push_back(
                {file.get(),
                 file->frames > 1 ? path + ": image " + std::to_string(frame + 1) : path, frame,
                 file->place(frame)});
    }
    result.slice_spacing = sort_by_place(slices, name, result);
    result.row_spacing = slices[0].place.row_spacing;
    result.col_spacing = slices[0].place.col_spacing;
    const DicomFile& first = *slices[0].file;
    result.format = files.size() == 1 ? "a DICOM file" : "a folder of DICOM files";
    result.centre = first.centre;
    result.width = first.width;
    for (const auto& [what, text] : {std::pair<const char*, std::string>("series", first.series),
                                     {"description", first.description},
                                     {"modality", first.modality},
                                     {"date", first.study_date}}) {
        if (!text.empty())
            result.facts.emplace_back(what, text);
    }
    std::vector<ImagePtr> images;
    std::vector<std::string> names;
    for (std::size_t k = 0; k < slices.size(); ++k) {
        if (options.progress)
            options.progress(static_cast<int>(k), static_cast<int>(slices.size()));
        images.push_back(slices[k].file->image(slices[k].frame));
        names.push_back(slices[k].name);
    }
    result.volume = volume_of(std::move(images), names);
    return result;
}

#endif

} // namespace vorlane::host
