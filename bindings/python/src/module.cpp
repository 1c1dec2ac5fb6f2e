// The extension module under the package `vorlane`, whose Python files give its functions their
// signatures and documents.

#include <pybind11/pybind11.h>

#include "host/error.h"
#include "host/messages.h"
#include "parts.h"

namespace py = pybind11;

PYBIND11_MODULE(_core, module) {
    using namespace vorlane;

    host::collect_messages();
    module.attr("__version__") = VORLANE_VERSION;
    // Later ones are tried first: a wrong argument is a ValueError, the rest is told by the library.
    static py::exception<host::Error> failure(module, "Error");
    py::register_exception_translator([](std::exception_ptr thrown) { // NOLINT: its type is given
        try {
            if (thrown)
                std::rethrow_exception(thrown);
        } catch (const host::UsageError& error) {
            PyErr_SetString(PyExc_ValueError, error.what());
        } catch (const host::Error& error) {
            PyErr_SetString(failure.ptr(), error.what());
        }
    });

    python::add_files(module);
    python::add_filters(module);
    python::add_operators(module);
    python::add_drawing(module);
    python::add_histogram(module);
    python::add_movies(module);
    python::add_volumes(module);
}
