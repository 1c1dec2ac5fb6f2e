#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <pybind11/stl.h>

#include <vorlane/vorlane.h>

#include "arrays.h"
#include "files.h"
#include "host/vessels.h"
#include "host/volumes.h"
#include "parts.h"

namespace vorlane::python {

namespace {

// The samples, and the distances of slices, rows and columns in mm, or None.
py::tuple read_volume(const std::string& path) {
    demand_openable(path);
    const auto read = unlocked([&] { return host::open_volume(path); });
    const bool has_spacing =
        read.slice_spacing > 0.0 && read.row_spacing > 0.0 && read.col_spacing > 0.0;
    return py::make_tuple(copy_volume(*read.volume),
                          has_spacing ? py::object(py::make_tuple(
                                            read.slice_spacing, read.row_spacing, read.col_spacing))
                                      : py::object(py::none()));
}

// Three volumes as one array.
py::array stacked(const std::vector<py::array>& volumes) {
    return py::module_::import("numpy").attr("stack")(volumes);
}

py::array hessian_eigenvalues(py::handle object, double sigma, bool plain) {
    VolumeArgument volume(object);
    if (!plain) {
        const auto values = unlocked([&] { return host::hessian_eigenvalues(*volume, sigma); });
        return stacked({copy_volume(*values.smallest), copy_volume(*values.middle),
                        copy_volume(*values.largest)});
    }
    const auto as_float = static_cast<float>(sigma);
    if (!(std::isfinite(as_float) && as_float > 0.0f))
        throw py::value_error("sigma must be above 0 and finite");
    unlocked([&] { volume.writable().ridges(as_float, as_float, 1, 1, 1); });
    return stacked({copy_volume_planes(*volume, &CImage::mag_plane),
                    copy_volume_planes(*volume, &CImage::dir_plane),
                    copy_volume_planes(*volume, &CImage::scale_plane)});
}

template<class Value>
Value choice(const std::string& argument, const std::string& name,
             const std::vector<std::pair<std::string, Value>>& values) {
    std::string known;
    for (const auto& [word, value] : values) {
        if (word == name)
            return value;
        known += (known.empty() ? "'" : ", '") + word + "'";
    }
    throw py::value_error(argument + " must be one of " + known + ", not '" + name + "'");
}

py::tuple vessels(py::handle object, const std::vector<double>& sigmas, const std::string& measure,
                  const std::string& structure, bool dark) {
    using host::Structure;
    using host::VesselMeasure;
    if (sigmas.empty())
        throw py::value_error("sigmas must name at least one scale");
    host::VesselOptions options;
    options.count = 1;
    options.dark = dark;
    options.measure = choice<VesselMeasure>(
        "measure", measure, {{"sato", VesselMeasure::sato}, {"frangi", VesselMeasure::frangi}});
    options.structure = choice<Structure>(
        "structure", structure,
        {{"line", Structure::line}, {"sheet", Structure::sheet}, {"blob", Structure::blob}});
    const VolumeArgument volume(object);
    host::VesselMap best;
    unlocked([&] {
        for (const double sigma : sigmas) {
            options.from = options.to = sigma;
            host::VesselMap map = host::find_vessels(*volume, options);
            if (!best.strength) {
                best = std::move(map);
                continue;
            }
            for (int k = 0; k < best.strength->nslices; ++k)
                for (int i = 0; i < best.strength->nrows; ++i)
                    for (int j = 0; j < best.strength->ncols; ++j) {
                        const float answer = map.strength->slices[k].pixels[i][j];
                        if (answer > best.strength->slices[k].pixels[i][j]) {
                            best.strength->slices[k].pixels[i][j] = answer;
                            best.scale->slices[k].pixels[i][j] = map.scale->slices[k].pixels[i][j];
                        }
                    }
        }
    });
    return py::make_tuple(copy_volume(*best.strength), copy_volume(*best.scale));
}

} // namespace

void add_volumes(py::module_& module) {
    module.def("read_volume", read_volume);
    module.def("hessian_eigenvalues", hessian_eigenvalues);
    module.def("vessels", vessels);
}

} // namespace vorlane::python
