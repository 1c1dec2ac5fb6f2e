#include <vorlane/imagefiles/image_files.h>

#include <utility>

#include <vorlane/image/guard.h>
#include <vorlane/imagefiles/bmp_pixels.h>
#include <vorlane/imagefiles/reading.h>
#include <vorlane/imagefiles/writing.h>
#include <vorlane/platform/string.h>

namespace vorlane {

namespace {

void read_bmp(CFile& file, Picture& picture) {
    const BitmapBlocks bitmap = read_bitmap(file);
    if (!bitmap.header)
        return;
    picture.nrows = bitmap.height;
    picture.ncols = bitmap.width;
    int image_type;
    picture.plane = samples_of_bitmap(view_of(bitmap), image_type);
    if (picture.plane)
        picture.image_type = image_type;
}

void read_open_bmp(FileHandle& file, const char* path, Picture& picture) {
    CFile bmp = file_on(file.get(), path);
    static_cast<void>(file.release()); // it is the CFile's now
    read_bmp(bmp, picture);
}

CString text_of(const char* path) {
    CString name;
    name.Format("%s", path ? path : "");
    return name;
}

} // namespace

const ImageReader bmp_reader = {nullptr, read_open_bmp};

} // namespace vorlane

using namespace vorlane;

float** read_bmp_image(const char* path, int* nrows, int* ncols, int* image_type) {
    Picture picture = guarded([&] {
        CFile file(text_of(path), CFile::modeRead);
        Picture found;
        read_bmp(file, found);
        return found;
    });
    store(picture.nrows, nrows);
    store(picture.ncols, ncols);
    store(picture.image_type, image_type);
    return picture.plane.release();
}

int write_bmp_image(const float* const* plane, const char* path, int nrows, int ncols,
                    int image_type) {
    if (!plane)
        return 0;
    return guarded([&] {
        const BitmapBlocks bitmap = make_bitmap(ncols, nrows, BitDepth::of(image_type));
        if (!bitmap.header)
            return 0;
        const BitmapView view = view_of(bitmap);
        put_samples(view, plane, image_type);
        set_grays(view);
        CFile file(text_of(path), CFile::modeCreate | CFile::modeWrite);
        write_bitmap(file, view.header, view.bits, bitmap.image_size, bitmap.ncolors);
        file.Close();
        return 1;
    });
}
