// Files that appear under their name only when they are whole.
#pragma once

#include <string>

namespace vorlane::host {

// A file that a writer fills under a temporary name, beside the final one, until commit() gives it
// its name. Without a commit nothing is left behind. A link is followed; a file that is replaced
// hands its permissions on.
//
// What can't be replaced, standard output ("-"), a device or a pipe, gets a copy at commit().
class PendingFile {
public:
    explicit PendingFile(const std::string& path);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // Where to write. The file is there already, and empty.
    const std::string& path() const { return temporary_; }

    // Throws Error if the file can't have its name, or if not all of it reaches the device.
    void commit();

private:
    std::string name_;  // for messages
    std::string final_; // empty: standard output
    std::string temporary_;
    bool is_copied_ = false;
    bool is_pending_ = true;
    int slot_ = -1; // among the files that a signal removes
};

// A path of a new empty file in the folder for temporary files, removed when the object goes, or
// when a signal ends the program.
class ScratchFile {
public:
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
    int slot_ = -1;
};

// From now on SIGINT, SIGTERM, SIGHUP and SIGPIPE, or what the system has for them, remove the files that are
// pending before they end the program; one that is ignored stays so. For programs, not for modules inside another.
void remove_pending_files_on_signals();

} // namespace vorlane::host
