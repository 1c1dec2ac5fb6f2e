#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <pybind11/stl.h>

#include "arrays.h"
#include "files.h"
#include "host/pictures.h"
#include "parts.h"

namespace vorlane::python {

void demand_openable(const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (file) {
        std::fclose(file);
        return;
    }
    PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
    throw py::error_already_set();
}

namespace {

py::array read(const std::string& path, bool scanner, bool allow_truncated) {
    demand_openable(host::split_page(path).first);
    host::OpenOptions options;
    options.scanner = scanner;
    options.allow_truncated = allow_truncated;
    return adopt(unlocked([&] { return host::open_picture(path, options).image; }));
}

// What a file is to hold of samples of this type, where the caller doesn't say.
int encoding_of(const py::array& array) {
    const char kind = array.dtype().kind();
    if (kind == 'b' || (kind == 'u' && array.itemsize() == 1))
        return PixelFormat::byte;
    if ((kind == 'u' || kind == 'i') && array.itemsize() == 2)
        return PixelFormat::int16;
    return PixelFormat::float32;
}

void write(const std::string& path, py::handle object, const std::string& depth,
           const std::string& range, bool gray) {
    PictureArgument picture(object, "array");
    const py::array given = py::array::ensure(object);
    host::SaveOptions options;
    if (!depth.empty())
        options.depth = host::parse_depth(depth);
    options.range = host::RangeRule::parse(range);
    options.gray = gray;
    picture.writable().pixel_format = encoding_of(given);
    ImagePtr scaled;
    if (given.dtype().kind() == 'b') {
        scaled = std::make_unique<CImage>(picture.get());
        for (int i = 0; i < scaled->nrows; ++i)
            for (int j = 0; j < (picture.is_colour() ? 3 : 1) * scaled->ncols; ++j)
                scaled->pixels[i][j] *= 255.0f;
    }
    std::string note;
    unlocked([&] {
        host::save_picture(scaled ? *scaled : *picture, path, options,
                           [&note](const std::string& line) { note = line; });
    });
    if (!note.empty() && PyErr_WarnEx(PyExc_UserWarning, note.c_str(), 2) != 0)
        throw py::error_already_set();
}

py::list formats() {
    py::list list;
    for (const host::PictureFormat& format : host::picture_formats()) {
        py::dict entry;
        entry["name"] = format.name;
        entry["endings"] = format.endings;
        entry["reads"] = format.reads;
        entry["writes"] = format.writes;
        entry["left_out"] = format.left_out;
        list.append(entry);
    }
    return list;
}

} // namespace

void add_files(py::module_& module) {
    module.def("read", read);
    module.def("write", write);
    module.def("formats", formats);
}

} // namespace vorlane::python
