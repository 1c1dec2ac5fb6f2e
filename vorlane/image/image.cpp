#include <vorlane/image/image.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/image/plane.h>
#include <vorlane/image/range.h>

namespace {

using namespace vorlane;

void copy_samples(const float* const* from, float* const* to, std::int64_t rows,
                  std::int64_t cols) {
    if (cols <= 0)
        return;
    for (std::int64_t i = 0; i < rows; ++i)
        std::memcpy(to[i], from[i], static_cast<std::size_t>(cols) * sizeof(float));
}

// A plane of rows x cols with what `source` has of it. The size of an image's planes may differ
// from its fields; samples that the source lacks are 0.
float** copy_plane(const float* const* source, std::int64_t rows, std::int64_t cols) {
    const bool is_whole = plane_holds(source, rows, cols);
    float** const copy = make_plane(rows, cols, is_whole ? Fill::none : Fill::zeros);
    if (copy)
        copy_samples(source, copy, std::min(rows, plane_rows(source)),
                     std::min(cols, plane_cols(source)));
    return copy;
}

void replace(float**& plane, float** by) {
    free_2D_float_array(std::exchange(plane, by));
}

} // namespace

constinit CRuntimeClass CImage::classCImage = {
    "CImage", sizeof(CImage), 0, &CImage::CreateObject, &CObject::_GetBaseClass, nullptr};

CObject* CImage::CreateObject() {
    return new (std::nothrow) CImage;
}

CRuntimeClass* CImage::GetRuntimeClass() const {
    return &classCImage;
}

CImage::CImage()
    : nrows(0), ncols(0), image_type(0), pixel_format(6), file_format(4), pixels(nullptr),
      mag_plane(nullptr), dir_plane(nullptr), scale_plane(nullptr) {}

CImage::CImage(int rows, int cols, int type, int file_code, int pixel_code)
    : nrows(rows), ncols(cols), image_type(type), pixel_format(pixel_code), file_format(file_code),
      pixels(nullptr), mag_plane(nullptr), dir_plane(nullptr), scale_plane(nullptr) {
    if (const int channels = channel_count(type))
        pixels = make_plane(rows, std::int64_t{channels} * cols);
}

CImage::CImage(int rows, int cols, int type, const float* const* source, int file_code,
               int pixel_code)
    : CImage(rows, cols, type, file_code, pixel_code) {
    if (pixels && source)
        copy_samples(source, pixels, rows, plane_cols(pixels));
}

CImage::CImage(const CImage* source) : CImage() {
    if (source)
        *this = *source;
}

CImage::CImage(const CImage& source) : CImage(&source) {}

CImage::~CImage() {
    free_2D_float_array(pixels);
    free_2D_float_array(mag_plane);
    free_2D_float_array(dir_plane);
    free_2D_float_array(scale_plane);
}

void CImage::operator=(const CImage& source) {
    if (this == &source)
        return;
    nrows = source.nrows;
    ncols = source.ncols;
    image_type = source.image_type;
    pixel_format = source.pixel_format;
    file_format = source.file_format;
    const int channels = channel_count(image_type);
    if (channels == 0)
        return;
    if (source.pixels)
        replace(pixels, copy_plane(source.pixels, nrows, std::int64_t{channels} * ncols));
    if (source.mag_plane)
        replace(mag_plane, copy_plane(source.mag_plane, nrows, ncols));
    if (source.dir_plane)
        replace(dir_plane, copy_plane(source.dir_plane, nrows, ncols));
    if (source.scale_plane)
        replace(scale_plane, copy_plane(source.scale_plane, nrows, ncols));
}

void CImage::SetPixel(int row, int col, float value) {
    if (image_type == 0) {
        pixels[row][col] = value;
        return;
    }
    float* const pixel = pixels[row] + std::int64_t{3} * col;
    pixel[0] = pixel[1] = pixel[2] = value;
}

void CImage::SetPixel(int row, int col, unsigned long colour) {
    const auto channel = [colour](int shift) { return static_cast<int>(colour >> shift & 0xFF); };
    const int r = channel(0);
    const int g = channel(8);
    const int b = channel(16);
    if (image_type == 0) {
        pixels[row][col] = static_cast<float>((r + g + b) * double{one_third});
        return;
    }
    float* const pixel = pixels[row] + std::int64_t{3} * col;
    pixel[0] = static_cast<float>(r);
    pixel[1] = static_cast<float>(g);
    pixel[2] = static_cast<float>(b);
}

void CImage::Normalize(float lo, float hi) {
    pixel_format = 4;
    if (!has_pixels(*this))
        return;
    const Range range = find_range(pixels, nrows, ncols);
    const RangeKernels& kernels = pick_range_kernels();
    for (int i = 0; i < nrows; ++i)
        kernels.stretch(pixels[i], static_cast<std::size_t>(ncols), 1, &range,
                        double{hi} - double{lo}, lo);
}

void CImage::WindowCenter(const int* table) {
    if (!has_pixels(*this) || !table)
        return;
    for (int i = 0; i < nrows; ++i) {
        float* const row = pixels[i];
        for (int j = 0; j < ncols; ++j)
            row[j] = static_cast<float>(table[static_cast<std::int64_t>(row[j])]);
    }
}
