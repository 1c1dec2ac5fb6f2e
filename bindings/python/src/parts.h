// The parts of the module, one file a subject.
#pragma once

#include <pybind11/pybind11.h>

namespace vorlane::python {

void add_files(pybind11::module_& module);
void add_filters(pybind11::module_& module);
void add_operators(pybind11::module_& module);
void add_drawing(pybind11::module_& module);
void add_histogram(pybind11::module_& module);
void add_movies(pybind11::module_& module);
void add_volumes(pybind11::module_& module);

} // namespace vorlane::python
