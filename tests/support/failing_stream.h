// A file that the system can't read to its end.
#pragma once

#include <string>

#include <vorlane/platform/system_files.h>

// Gives these bytes, and then an error.
vorlane::FileHandle failing_stream(const std::string& bytes);
