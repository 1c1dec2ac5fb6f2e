// Raw2Img: the first bytes of the input choose its arguments.

#include <memory>

#include <vorlane/image/image.h>
#include <vorlane/imagefiles/image_files.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t arguments = 6;
    if (size < arguments)
        return 0;
    const char* const path = input_path(data + arguments, size - arguments);
    const auto argument = [&](std::size_t k) { return static_cast<signed char>(data[k]); };
    const std::unique_ptr<CImage> image(Raw2Img(path, argument(0), argument(1), argument(2) % 3,
                                                argument(3) % 6, argument(4), argument(5)));
    if (image)
        touch_last(*image);
    return 0;
}
