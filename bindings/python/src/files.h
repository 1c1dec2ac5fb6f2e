// What all functions that open files share.
#pragma once

#include <string>

namespace vorlane::python {

// Throws OSError, with the system's reason, for a file that can't be opened for reading.
void demand_openable(const std::string& path);

} // namespace vorlane::python
