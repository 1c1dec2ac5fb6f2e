#include <vorlane/volume/volume.h>

#include <memory>
#include <utility>

#include <vorlane/image/guard.h>
#include <vorlane/image/plane.h>

using namespace vorlane;

constinit CRuntimeClass CVolume::classCVolume = {
    "CVolume", sizeof(CVolume), 0, &CVolume::CreateObject, &CObject::_GetBaseClass, nullptr};

CObject* CVolume::CreateObject() {
    return guarded([] { return std::make_unique<CVolume>(); });
}

CRuntimeClass* CVolume::GetRuntimeClass() const {
    return &classCVolume;
}

CVolume::CVolume()
    : nrows(0), ncols(0), nslices(0), image_type(0), pixel_format(PixelFormat::float32),
      file_format(FileFormat::tq), slices(nullptr) {}

CVolume::CVolume(int slice_count, int rows, int cols, int type, int file_code, int pixel_code)
    : nrows(rows), ncols(cols), nslices(slice_count), image_type(type), pixel_format(pixel_code),
      file_format(file_code), slices(nullptr) {
    guarded([&] { make_slices(slice_count); });
    if (!slices)
        return;
    const int channels = type == ImageType::colour ? 3 : 1;
    for (int k = 0; k < slice_count; ++k) {
        CImage& slice = slices[k];
        slice.nrows = rows;
        slice.ncols = cols;
        slice.image_type = type;
        slice.pixel_format = pixel_code;
        slice.pixels = make_plane(rows, Index{channels} * cols);
    }
}

CVolume::~CVolume() {
    delete[] slices;
}

void CVolume::make_slices(int count) {
    CImage* const made = count < 1 ? nullptr : new CImage[count];
    delete[] std::exchange(slices, made);
}
