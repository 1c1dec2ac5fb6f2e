// open_picture: every format of pictures that the hosts read, told by its first bytes.

#include <host/pictures.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = input_path(data, size);
    for (const bool allow_truncated : {false, true}) {
        try {
            vorlane::host::OpenOptions options;
            options.allow_truncated = allow_truncated;
            const auto picture = vorlane::host::open_picture(path, options);
            const CImage& image = *picture.image;
            const int channels = image.image_type == 1 ? 3 : 1;
            volatile float last =
                image.pixels[image.nrows - 1]
                            [static_cast<std::ptrdiff_t>(image.ncols) * channels - 1];
            (void)last;
        } catch (const vorlane::host::Error&) {
        }
    }
    return 0;
}
