#include "settings.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "colours.h"

namespace vorlane::viewer {

namespace {

constexpr std::size_t most_recent = 12;

std::filesystem::path file_of_settings() {
    std::filesystem::path folder;
    if (const char* const config = std::getenv("XDG_CONFIG_HOME"); config && *config)
        folder = config;
    else if (const char* const home = std::getenv("HOME"); home && *home)
        folder = std::filesystem::path(home) / ".config";
    return folder.empty() ? folder : folder / "vorlane" / "viewer.conf";
}

} // namespace

Settings Settings::read() {
    Settings settings;
    std::ifstream file(file_of_settings());
    const int tables = static_cast<int>(colour_tables().size());
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        const std::string name = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (name == "recent" && settings.recent.size() < most_recent)
            settings.recent.push_back(value);
        else if (name == "colours")
            settings.colours = std::clamp(std::atoi(value.c_str()), 0, tables - 1);
        else if (name == "grid")
            settings.shows_grid = value != "0";
    }
    return settings;
}

void Settings::write() const {
    const std::filesystem::path path = file_of_settings();
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    // Whole or not at all: another viewer may read it now.
    const std::filesystem::path next = path.string() + ".new";
    {
        std::ofstream file(next);
        file << "colours=" << colours << "\ngrid=" << shows_grid << '\n';
        for (const std::string& each : recent)
            file << "recent=" << each << '\n';
        if (!file.flush())
            return;
    }
    std::filesystem::rename(next, path, error);
}

void Settings::opened(const std::string& path) {
    std::error_code error;
    const std::string whole = std::filesystem::absolute(path, error).string();
    if (whole.find('\n') != std::string::npos)
        return;
    std::erase(recent, whole);
    recent.insert(recent.begin(), whole);
    recent.resize(std::min(recent.size(), most_recent));
}

} // namespace vorlane::viewer
