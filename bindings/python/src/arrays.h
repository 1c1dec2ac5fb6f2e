// NumPy arrays as pictures and volumes, and back, without a copy where the samples are 32-bit
// floats.
//
// Shapes: (rows, columns) gray, (rows, columns, 3) colour, (slices, rows, columns) a volume. Where
// both are allowed, a last axis of 3 means colour.
#pragma once

#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <vorlane/vorlane.h>

#include "host/messages.h"

namespace vorlane::python {

namespace py = pybind11;
using host::ImagePtr;

// "(480, 640, 3)", for messages.
std::string shape_text(const py::array& array);

// The array with samples of 32-bit floats that lie side by side in a pixel row: itself, or a
// converted copy. TypeError for samples that aren't real numbers.
py::array float_samples(py::handle object, const char* name);

// An argument seen as a picture. The picture's rows are those of the array (or of its float copy),
// which lives as long as this.
class PictureArgument {
public:
    explicit PictureArgument(py::handle object, const char* name = "image");

    const CImage& operator*() const { return image_; }
    const CImage* operator->() const { return &image_; }
    CImage& writable() { return image_; }
    const CImage* get() const { return &image_; }
    bool is_colour() const { return image_.image_type == ImageType::colour; }
    const py::array& array() const { return array_; }

private:
    py::array array_;
    CImage image_;
};

// Where gray is asked for: ValueError for colour.
void demand_gray(const PictureArgument& picture, const char* name = "image");

// Where a colour picture is asked for: ValueError for gray.
void demand_colour(const PictureArgument& picture, const char* name = "image");

// ValueError unless `other` has rows and columns of `picture`.
void demand_same_size(const PictureArgument& picture, const PictureArgument& other,
                      const char* name);

// An argument of three dimensions seen as a volume.
class VolumeArgument {
public:
    explicit VolumeArgument(py::handle object, const char* name = "volume");

    const CVolume& operator*() const { return volume_; }
    const py::array& array() const { return array_; }
    CVolume& writable() { return volume_; }

private:
    py::array array_;
    CVolume volume_;
};

// True for an array that stands for a volume: three dimensions, the last of them not 3.
bool is_volume(py::handle object);

// The picture's samples as an array that owns the picture; no copy.
py::array adopt(ImagePtr image);

// A plane of rows x cols samples as an array that owns it; null gives None.
py::object adopt_plane(float**& plane, int rows, int cols);

// The slices' samples as one array of three dimensions. A copy: slices needn't be evenly spaced.
py::array copy_volume(const CVolume& volume);

// The same of another plane of the slices.
py::array copy_volume_planes(const CVolume& volume, float** CImage::*plane);

// Samples that aren't 0 as True.
py::array as_booleans(const CImage& image);

// Runs `work` with the interpreter's lock released.
template<class Work>
auto unlocked(Work&& work) {
    const py::gil_scoped_release released;
    return work();
}

// The same for an operation of the library that gives a picture, or null after a message.
template<class Work>
py::array picture_of(const char* what, Work&& work) {
    return adopt(unlocked([&] { return host::checked(work(), what); }));
}

} // namespace vorlane::python
