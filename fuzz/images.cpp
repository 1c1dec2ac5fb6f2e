// CImage::ReadImage: every image format, told by its first bytes.

#include <vorlane/image/image.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CImage image;
    if (image.ReadImage(input_path(data, size))) {
        const int channels = image.image_type == 1 ? 3 : 1;
        volatile float last = 0.0f;
        if (image.nrows > 0 && image.ncols > 0)
            last = image.pixels[image.nrows - 1]
                               [static_cast<std::ptrdiff_t>(image.ncols) * channels - 1];
        (void)last;
    }
    return 0;
}
