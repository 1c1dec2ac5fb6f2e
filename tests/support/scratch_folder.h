// A folder for the files of one test, removed with all that is in it.
#pragma once

#include <string>
#include <string_view>

class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    // The path of `name` in the folder.
    std::string path(std::string_view name = "") const;

    // Writes a file of these bytes and returns its path.
    std::string write(std::string_view name, std::string_view bytes) const;

    // The bytes of a file in the folder; fails the test if it isn't there.
    std::string read(std::string_view name) const;

    // The path of a pipe to which nobody writes; of nothing where the system has no such files.
    std::string pipe(std::string_view name) const;

    bool has(std::string_view name) const;

private:
    std::string folder_;
};
