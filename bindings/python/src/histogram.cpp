#include <memory>
#include <string>

#include <vorlane/vorlane.h>

#include "arrays.h"
#include "parts.h"

namespace vorlane::python {

namespace {

// What the counts are made of is copied first: another thread may change an array meanwhile, and
// the bins are made from a first look at it.
std::unique_ptr<CHistogram> count(py::handle object, py::handle mask_object) {
    const PictureArgument image(object);
    const CImage copy(image.get());
    if (!copy.pixels)
        throw std::bad_alloc();
    if (mask_object.is_none()) {
        return unlocked([&] {
            const CImage* const none = nullptr;
            return std::make_unique<CHistogram>(&copy, none);
        });
    }
    const PictureArgument mask(mask_object, "mask");
    demand_gray(mask, "mask");
    demand_same_size(image, mask, "mask");
    const CImage mask_copy(mask.get());
    if (!mask_copy.pixels)
        throw std::bad_alloc();
    return unlocked([&] { return std::make_unique<CHistogram>(&copy, &mask_copy); });
}

// Works on a copy with the interpreter's lock released, and takes the result over with the lock
// held: another thread may look at the histogram meanwhile.
template<class Work>
auto on_a_copy(CHistogram& histogram, Work work) {
    CHistogram copy;
    copy = histogram;
    auto result = unlocked([&] { return work(copy); });
    histogram = copy;
    return result;
}

py::array params_of(const CHistogram& histogram) {
    const py::ssize_t n = histogram.params ? histogram.nparams / 3 : 0;
    py::array_t<float> table({n, py::ssize_t{3}});
    std::copy(histogram.params, histogram.params + 3 * n, table.mutable_data());
    return table;
}

} // namespace

void add_histogram(py::module_& module) {
    py::class_<CHistogram>(module, "Histogram")
        .def(py::init(&count))
        .def_property_readonly("counts",
                               [](const CHistogram& histogram) {
                                   return py::array_t<int>(histogram.nbins, histogram.bins);
                               })
        .def_readonly("peak", &CHistogram::peak)
        .def_property_readonly("parameters", params_of)
        .def("smooth",
             [](CHistogram& histogram, int width) {
                 if (width < 1)
                     throw py::value_error("width must be 1 or more, not " + std::to_string(width));
                 histogram.Smooth(width);
             })
        .def("fit",
             [](CHistogram& histogram, int n) {
                 if (n < 1)
                     throw py::value_error("n must be 1 or more, not " + std::to_string(n));
                 return on_a_copy(histogram,
                                  [&](CHistogram& copy) { return copy.FitNGaussians(n); });
             })
        .def("fit_best", [](CHistogram& histogram, int first, int last, float threshold) {
            if (first < 1 || last <= first)
                throw py::value_error("first must be 1 or more and last above first, not " +
                                      std::to_string(first) + " and " + std::to_string(last));
            float* const misfits = on_a_copy(histogram, [&](CHistogram& copy) {
                return copy.FitGaussians(first, last, threshold);
            });
            if (!misfits)
                throw py::value_error("there is nothing to fit in an empty histogram");
            const py::capsule owner(
                misfits, [](void* array) { free_1D_float_array(static_cast<float*>(array)); });
            return py::array_t<float>({py::ssize_t{last - first}}, {sizeof(float)}, misfits + first,
                                      owner);
        });
}

} // namespace vorlane::python
