#include "host/movies/parts.h"
#include "host/parts/parts.h"

extern "C" [[gnu::visibility("default")]] const vorlane::host::MoviePart vorlane_part;
const vorlane::host::MoviePart vorlane_part = {vorlane::host::open_coded_movie,
                                               vorlane::host::create_coded_movie};
