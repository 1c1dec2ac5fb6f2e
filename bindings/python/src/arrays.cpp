#include "arrays.h"

#include <climits>
#include <cstring>
#include <utility>

namespace vorlane::python {

namespace {

// Planes are counted in ints.
int side(const py::array& array, int axis, const char* name) {
    const py::ssize_t length = array.shape(axis);
    if (length > INT_MAX / 3)
        throw py::value_error(std::string(name) + " of shape " + shape_text(array) +
                              " is too large");
    return static_cast<int>(length);
}

// Rows that start `row_pitch` bytes apart as a plane, which reads where they stand.
float** view_of(const void* samples, int rows, int cols, py::ssize_t row_pitch) {
    float** const plane =
        make_2D_float_view(static_cast<float*>(const_cast<void*>(samples)), rows, cols,
                           row_pitch / static_cast<py::ssize_t>(sizeof(float)));
    if (!plane)
        throw std::bad_alloc();
    return plane;
}

void fill_codes(CImage& image, int rows, int cols, int type) {
    image.nrows = rows;
    image.ncols = cols;
    image.image_type = type;
    image.pixel_format = PixelFormat::float32;
    image.file_format = FileFormat::none;
}

py::ssize_t pitch_of(const float* const* plane, py::ssize_t rows, py::ssize_t samples) {
    constexpr auto size = static_cast<py::ssize_t>(sizeof(float));
    return rows > 1 ? (plane[1] - plane[0]) * size : samples * size;
}

void release_plane(void* plane) {
    free_2D_float_array(static_cast<float**>(plane));
}

} // namespace

std::string shape_text(const py::array& array) {
    return py::str(array.attr("shape"));
}

py::array float_samples(py::handle object, const char* name) {
    py::array array = py::array::ensure(object);
    if (!array) {
        PyErr_Clear();
        throw py::type_error(std::string(name) + " can't be made an array");
    }
    const char kind = array.dtype().kind();
    if (std::strchr("biuf", kind) == nullptr)
        throw py::type_error(std::string(name) + " of shape " + shape_text(array) +
                             " has samples of type " +
                             std::string(py::str(static_cast<py::handle>(array.dtype()))) +
                             "; real numbers are needed");
    const py::ssize_t last = array.ndim() - 1;
    const bool is_float =
        array.dtype().is(py::dtype::of<float>()) ||
        (kind == 'f' && array.itemsize() == 4 && array.dtype().byteorder() == '=');
    // Pixels lie side by side, a colour pixel's samples too, and rows a whole number of floats
    // apart.
    bool fits = is_float && array.ndim() >= 2 &&
                (reinterpret_cast<std::uintptr_t>(array.data()) % alignof(float)) == 0;
    py::ssize_t pitch = sizeof(float);
    for (py::ssize_t axis = last; fits && axis >= 0; --axis) {
        const bool in_row = axis == last || (axis == 1 && last == 2 && array.shape(2) == 3);
        fits = in_row ? array.strides(axis) == pitch
                      : array.strides(axis) % static_cast<py::ssize_t>(sizeof(float)) == 0;
        pitch *= array.shape(axis);
    }
    if (fits)
        return array;
    return py::array_t<float, py::array::c_style | py::array::forcecast>(array);
}

PictureArgument::PictureArgument(py::handle object, const char* name)
    : array_(float_samples(object, name)) {
    const bool is_gray = array_.ndim() == 2;
    if (!is_gray && !(array_.ndim() == 3 && array_.shape(2) == 3))
        throw py::value_error(std::string(name) + " has shape " + shape_text(array_) +
                              "; (rows, columns) or (rows, columns, 3) is needed");
    const int rows = side(array_, 0, name);
    const int cols = side(array_, 1, name);
    fill_codes(image_, rows, cols, is_gray ? ImageType::gray : ImageType::colour);
    image_.pixels = view_of(array_.data(), rows, is_gray ? cols : 3 * cols, array_.strides(0));
}

void demand_gray(const PictureArgument& picture, const char* name) {
    if (picture.is_colour())
        throw py::value_error(std::string(name) + " has shape " + shape_text(picture.array()) +
                              "; a gray one of shape (rows, columns) is needed");
}

void demand_colour(const PictureArgument& picture, const char* name) {
    if (!picture.is_colour())
        throw py::value_error(std::string(name) + " has shape " + shape_text(picture.array()) +
                              "; a colour one of shape (rows, columns, 3) is needed");
}

void demand_same_size(const PictureArgument& picture, const PictureArgument& other,
                      const char* name) {
    if (picture->nrows != other->nrows || picture->ncols != other->ncols)
        throw py::value_error(std::string(name) + " has shape " + shape_text(other.array()) +
                              ", which doesn't fit shape " + shape_text(picture.array()));
}

VolumeArgument::VolumeArgument(py::handle object, const char* name)
    : array_(float_samples(object, name)) {
    if (array_.ndim() != 3)
        throw py::value_error(std::string(name) + " has shape " + shape_text(array_) +
                              "; (slices, rows, columns) is needed");
    const bool fits = array_.strides(2) == static_cast<py::ssize_t>(sizeof(float));
    if (!fits)
        array_ = py::array_t<float, py::array::c_style | py::array::forcecast>(array_);
    const int slices = side(array_, 0, name);
    volume_.nrows = side(array_, 1, name);
    volume_.ncols = side(array_, 2, name);
    volume_.slices = new CImage[static_cast<std::size_t>(slices)];
    volume_.nslices = slices;
    for (int k = 0; k < slices; ++k) {
        CImage& slice = volume_.slices[k];
        fill_codes(slice, volume_.nrows, volume_.ncols, ImageType::gray);
        const auto* const samples =
            static_cast<const unsigned char*>(array_.data()) + k * array_.strides(0);
        slice.pixels = view_of(samples, volume_.nrows, volume_.ncols, array_.strides(1));
    }
}

bool is_volume(py::handle object) {
    const py::array array = py::array::ensure(object);
    if (!array) {
        PyErr_Clear();
        return false;
    }
    return array.ndim() == 3 && array.shape(2) != 3;
}

py::array adopt(ImagePtr image) {
    const py::ssize_t rows = image->nrows;
    const py::ssize_t cols = image->ncols;
    const bool is_colour = image->image_type == ImageType::colour;
    std::vector<py::ssize_t> shape = {rows, cols};
    if (is_colour)
        shape.push_back(3);
    if (rows == 0 || cols == 0 || !image->pixels)
        return py::array_t<float>(shape);
    constexpr auto size = static_cast<py::ssize_t>(sizeof(float));
    std::vector<py::ssize_t> strides = {pitch_of(image->pixels, rows, is_colour ? 3 * cols : cols),
                                        is_colour ? 3 * size : size};
    if (is_colour)
        strides.push_back(size);
    const float* const samples = image->pixels[0];
    const py::capsule owner(image.release(), [](void* held) { delete static_cast<CImage*>(held); });
    return py::array(py::dtype::of<float>(), shape, strides, samples, owner);
}

py::object adopt_plane(float**& plane, int rows, int cols) {
    if (!plane)
        return py::none();
    if (rows == 0 || cols == 0)
        return py::array_t<float>({py::ssize_t{rows}, py::ssize_t{cols}});
    const py::ssize_t pitch = pitch_of(plane, rows, cols);
    const float* const samples = plane[0];
    const py::capsule owner(std::exchange(plane, nullptr), release_plane);
    return py::array(py::dtype::of<float>(), {py::ssize_t{rows}, py::ssize_t{cols}},
                     {pitch, static_cast<py::ssize_t>(sizeof(float))}, samples, owner);
}

py::array copy_volume(const CVolume& volume) {
    return copy_volume_planes(volume, &CImage::pixels);
}

py::array copy_volume_planes(const CVolume& volume, float** CImage::*plane) {
    py::array_t<float> array(
        {py::ssize_t{volume.nslices}, py::ssize_t{volume.nrows}, py::ssize_t{volume.ncols}});
    float* target = array.mutable_data();
    const auto cols = static_cast<std::size_t>(volume.ncols);
    unlocked([&] {
        for (int k = 0; k < volume.nslices; ++k) {
            const float* const* const rows = volume.slices[k].*plane;
            for (int i = 0; i < volume.nrows; ++i, target += cols) {
                if (rows && volume.slices[k].nrows > i && volume.slices[k].ncols >= volume.ncols)
                    std::memcpy(target, rows[i], cols * sizeof(float));
                else
                    std::memset(target, 0, cols * sizeof(float));
            }
        }
    });
    return array;
}

py::array as_booleans(const CImage& image) {
    py::array_t<bool> array({py::ssize_t{image.nrows}, py::ssize_t{image.ncols}});
    bool* target = array.mutable_data();
    unlocked([&] {
        for (int i = 0; i < image.nrows; ++i)
            for (int j = 0; j < image.ncols; ++j)
                *target++ = image.pixels[i][j] != 0.0f;
    });
    return array;
}

} // namespace vorlane::python
