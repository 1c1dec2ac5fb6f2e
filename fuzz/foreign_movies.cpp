// open_movie: movies of every codec that the hosts read, stepped through and gone about in.

#include <host/movies.h>

#include "input_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = input_path(data, size);
    for (const bool allow_truncated : {false, true}) {
        try {
            const auto movie = vorlane::host::open_movie(path, {allow_truncated});
            constexpr int most_frames = 8;
            for (int n = 0; n < most_frames; ++n) {
                const CImage* const frame = movie->next();
                if (!frame)
                    break;
                touch_last(*frame);
            }
            movie->seek(1);
            movie->next();
            movie->count_frames();
        } catch (const vorlane::host::Error&) {
        }
    }
    return 0;
}
