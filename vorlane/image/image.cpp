#include <vorlane/image/image.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include <vorlane/image/colour_weights.h>
#include <vorlane/image/range.h>
#include <vorlane/image/results.h>
#include <vorlane/platform/arithmetic.h>

namespace {

using namespace vorlane;

void copy_samples(const float* const* from, float* const* to, Index rows, Index cols) {
    for (Index i = 0; i < rows && cols > 0; ++i)
        std::copy_n(from[i], cols, to[i]);
}

// A plane of rows x cols with what `source` has of it, or none of none. The size of an image's
// planes may differ from its fields; samples that the source lacks are 0.
Plane copy_of(const float* const* source, Index rows, Index cols) {
    if (!source)
        return {};
    Plane copy(rows, cols, plane_holds(source, rows, cols) ? Fill::none : Fill::zeros);
    copy_samples(source, copy.get(), std::min(rows, plane_rows(source)),
                 std::min(cols, plane_cols(source)));
    return copy;
}

} // namespace

constinit CRuntimeClass CImage::classCImage = {
    "CImage", sizeof(CImage), 0, &CImage::CreateObject, &CObject::_GetBaseClass, nullptr};

CObject* CImage::CreateObject() {
    return guarded([] { return std::make_unique<CImage>(); });
}

CRuntimeClass* CImage::GetRuntimeClass() const {
    return &classCImage;
}

CImage::CImage()
    : nrows(0), ncols(0), image_type(0), pixel_format(PixelFormat::float32),
      file_format(FileFormat::tq), pixels(nullptr), mag_plane(nullptr), dir_plane(nullptr),
      scale_plane(nullptr) {}

CImage::CImage(int rows, int cols, int type, int file_code, int pixel_code)
    : nrows(rows), ncols(cols), image_type(type), pixel_format(pixel_code), file_format(file_code),
      pixels(nullptr), mag_plane(nullptr), dir_plane(nullptr), scale_plane(nullptr) {
    if (const int channels = channel_count(type))
        pixels = make_plane(rows, Index{channels} * cols);
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
    guarded([&] {
        const int channels = channel_count(source.image_type);
        const auto copy = [&](const float* const* plane, int samples) {
            return copy_of(plane, source.nrows, Index{samples} * source.ncols);
        };
        Plane copies[] = {copy(channels > 0 ? source.pixels : nullptr, channels),
                          copy(source.mag_plane, 1), copy(source.dir_plane, 1),
                          copy(source.scale_plane, 1)};
        set_form(*this, form_of(source));
        float*** const fields[] = {&pixels, &mag_plane, &dir_plane, &scale_plane};
        for (int k = 0; k < 4; ++k) {
            if (copies[k])
                copies[k].hand_to(*fields[k]);
        }
    });
}

void CImage::SetPixel(int row, int col, float value) {
    if (image_type == ImageType::gray) {
        pixels[row][col] = value;
        return;
    }
    float* const pixel = pixels[row] + Index{3} * col;
    pixel[0] = pixel[1] = pixel[2] = value;
}

void CImage::SetPixel(int row, int col, unsigned long colour) {
    const auto channel = [colour](int shift) { return static_cast<int>(colour >> shift & 0xFF); };
    const int r = channel(0);
    const int g = channel(8);
    const int b = channel(16);
    if (image_type == ImageType::gray) {
        pixels[row][col] = static_cast<float>((r + g + b) * double{one_third});
        return;
    }
    float* const pixel = pixels[row] + Index{3} * col;
    pixel[0] = static_cast<float>(r);
    pixel[1] = static_cast<float>(g);
    pixel[2] = static_cast<float>(b);
}

void CImage::Normalize(float lo, float hi) {
    const DefaultArithmetic arithmetic;
    pixel_format = PixelFormat::byte;
    if (!has_rows_and_columns(*this) || !holds_channels(*this, 1))
        return;
    const Range range = find_range(pixels, nrows, ncols);
    const RangeKernels& kernels = pick_range_kernels();
    for (int i = 0; i < nrows; ++i)
        kernels.stretch(pixels[i], ncols, 1, &range, double{hi} - double{lo}, lo);
}

void CImage::WindowCenter(const int* table) {
    if (!table || !has_rows_and_columns(*this) || !holds_channels(*this, 1))
        return;
    for (int i = 0; i < nrows; ++i) {
        float* const row = pixels[i];
        for (int j = 0; j < ncols; ++j)
            row[j] = static_cast<float>(table[std::isnan(row[j]) ? 0 : static_cast<Index>(row[j])]);
    }
}
