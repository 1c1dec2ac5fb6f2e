// open_picture: every format of pictures that the hosts read, told by its first bytes.

#include <host/pictures.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = input_path(data, size);
    for (const bool allow_truncated : {false, true}) {
        try {
            vorlane::host::OpenOptions options;
            options.allow_truncated = allow_truncated;
            touch_last(*vorlane::host::open_picture(path, options).image);
        } catch (const vorlane::host::Error&) {
        }
    }
    return 0;
}
