// Private: what reading and writing TQ movies share.
#pragma once

#include <cstdint>
#include <cstdio>

#include <vorlane/imagefiles/tq.h>
#include <vorlane/movie/video.h>

namespace vorlane {

// The fields of a movie that its header has.
TqHeader tq_header_of(const CVideo& movie);

// Bytes of a frame. A colour frame has three a pixel, also where the format has no encoding for it;
// of an unknown gray sample the number stays as it was. The largest int for one that is longer.
int tq_frame_bytes(const CVideo& movie);

// Bytes from one frame to the next: those that the field states, whatever the sizes say.
std::int64_t tq_frame_distance(const CVideo& movie);

// What a stream was opened for. True of both if it doesn't tell.
bool can_read(std::FILE* stream);
bool can_write(std::FILE* stream);

} // namespace vorlane
