// Private: paths between their UTF-8 and what the C++ library knows as a path, which takes narrow letters for
// those of a code page on some systems.
#pragma once

#include <filesystem>
#include <string>

namespace vorlane {

std::filesystem::path path_of(const std::string& utf8);
std::string utf8_of(const std::filesystem::path& path);

} // namespace vorlane
