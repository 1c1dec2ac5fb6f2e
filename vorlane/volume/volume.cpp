#include <vorlane/volume/volume.h>

#include <cstdint>
#include <new>

#include <vorlane/image/plane.h>

using namespace vorlane;

constinit CRuntimeClass CVolume::classCVolume = {
    "CVolume", sizeof(CVolume), 0, &CVolume::CreateObject, &CObject::_GetBaseClass, nullptr};

CObject* CVolume::CreateObject() {
    return new (std::nothrow) CVolume;
}

CRuntimeClass* CVolume::GetRuntimeClass() const {
    return &classCVolume;
}

CVolume::CVolume()
    : nrows(0), ncols(0), nslices(0), image_type(0), pixel_format(6), file_format(4),
      slices(nullptr), made_(nullptr), made_count_(0) {}

CVolume::CVolume(int slice_count, int rows, int cols, int type, int file_code, int pixel_code)
    : nrows(rows), ncols(cols), nslices(slice_count), image_type(type), pixel_format(pixel_code),
      file_format(file_code), slices(nullptr), made_(nullptr), made_count_(0) {
    if (!make_slices(slice_count))
        return;
    const int channels = type == ImageType::colour ? 3 : 1;
    for (int k = 0; k < slice_count; ++k) {
        CImage& slice = slices[k];
        slice.nrows = rows;
        slice.ncols = cols;
        slice.image_type = type;
        slice.pixel_format = pixel_code;
        slice.pixels = make_plane(rows, std::int64_t{channels} * cols);
    }
}

CVolume::~CVolume() {
    delete[] slices;
}

bool CVolume::make_slices(int count) {
    delete[] slices;
    slices = count < 1 ? nullptr : new (std::nothrow) CImage[static_cast<std::size_t>(count)];
    made_ = slices;
    made_count_ = slices ? count : 0;
    return slices != nullptr;
}

bool CVolume::has_slices() const {
    return slices && nslices > 0 && (slices != made_ || nslices <= made_count_);
}
