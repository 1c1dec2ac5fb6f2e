// For programs that load the parts of the host when they are needed.
#pragma once

#include <string>

namespace vorlane::host {

// Where the modules are; before the first is needed.
void set_module_folder(const std::string& folder);

} // namespace vorlane::host
