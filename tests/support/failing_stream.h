// A file that the system can't read to its end.
#pragma once

#include <string>

#include <vorlane/platform/system_files.h>

// Gives these bytes, and then an error. Null where the C library has no streams of one's own.
vorlane::FileHandle failing_stream(const std::string& bytes);
