// What the viewer remembers from one run to the next, in the user's configuration folder.
#pragma once

#include <string>
#include <vector>

namespace vorlane::viewer {

struct Settings {
    std::vector<std::string> recent; // files, the latest first
    int colours = 0;                 // of the colour tables
    bool shows_grid = true;

    static Settings read();
    // What can't be written is not worth a word.
    void write() const;

    void opened(const std::string& path);
};

} // namespace vorlane::viewer
