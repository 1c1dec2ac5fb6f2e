// CImage::ReadImage: every image format, told by its first bytes.

#include <vorlane/image/image.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CImage image;
    if (image.ReadImage(input_path(data, size)))
        touch_last(image);
    return 0;
}
