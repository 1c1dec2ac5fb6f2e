#include "host/pending_file.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/error.h"

// Names that a signal handler can reach. A slot is taken before its name is complete and freed
// after the file is gone, so the worst that a handler meets is a name that isn't there.
struct PendingSlot {
    std::atomic<bool> is_taken = false;
    std::atomic<bool> has_name = false;
    char name[PATH_MAX] = "";
};

// Inline and shown to modules: they hold copies of this code, which all use the program's own table then.
extern "C" {
[[gnu::visibility("default")]] inline constinit PendingSlot vorlane_pending_slots[256];
}

namespace vorlane::host {

namespace {

auto& slots = vorlane_pending_slots;

// More files at once than there are slots are pending all the same, just not known to the handler.
int remember(const std::string& path) {
    if (path.size() >= sizeof slots[0].name)
        return -1;
    int index = 0;
    for (PendingSlot& slot : slots) {
        if (!slot.is_taken.exchange(true)) {
            std::memcpy(slot.name, path.c_str(), path.size() + 1);
            slot.has_name = true;
            return index;
        }
        ++index;
    }
    return -1;
}

void forget(int index) {
    if (index < 0)
        return;
    slots[index].has_name = false;
    slots[index].is_taken = false;
}

extern "C" void remove_and_end(int signal_number) {
    for (PendingSlot& slot : slots) {
        if (slot.has_name)
            unlink(slot.name);
    }
    std::signal(signal_number, SIG_DFL);
    raise(signal_number);
}

std::string reason_of(int error) {
    return std::generic_category().message(error);
}

// Makes a new file of the name that ends with XXXXXX.
int make_file(std::string& pattern, const std::string& name) {
    const int file = mkstemp(pattern.data());
    if (file < 0)
        throw Error(name + ": can't be written: " + reason_of(errno));
    return file;
}

std::string scratch_pattern() {
    std::error_code error;
    const auto folder = std::filesystem::temp_directory_path(error);
    return (error ? std::filesystem::path("/tmp") : folder) / "vorlane-XXXXXX";
}

// The mask can be read only by setting it, which isn't for several threads at once.
mode_t usual_permissions() {
    static const mode_t mask = [] {
        const mode_t found = umask(0);
        umask(found);
        return found;
    }();
    return 0666 & ~mask;
}

// Copies a file to an open one; 0, or an error number.
int copy_to(const std::string& from, int to) {
    const int source = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return errno;
    constexpr std::size_t block_size = 1 << 16;
    const auto block = std::make_unique_for_overwrite<char[]>(block_size);
    int error = 0;
    ssize_t count = 0;
    while (error == 0 && (count = read(source, block.get(), block_size)) > 0) {
        for (ssize_t done = 0; done < count && error == 0;) {
            const ssize_t written = write(to, block.get() + done, count - done);
            if (written > 0)
                done += written;
            else if (errno != EINTR)
                error = errno;
        }
    }
    if (count < 0)
        error = errno;
    close(source);
    return error;
}

} // namespace

PendingFile::PendingFile(const std::string& path) : name_(path), final_(path) {
    struct stat status;
    mode_t permissions = usual_permissions();
    if (path == "-") {
        name_ = "standard output";
        final_.clear();
        is_copied_ = true;
    } else if (stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode))
            throw Error(path + ": is a folder; name a file in it");
        is_copied_ = !S_ISREG(status.st_mode);
        permissions = status.st_mode & 0777;
        std::error_code error;
        const auto target = std::filesystem::canonical(path, error);
        if (!error && !is_copied_)
            final_ = target.string();
    }
    temporary_ = is_copied_ ? scratch_pattern() : final_ + ".XXXXXX";
    const int file = make_file(temporary_, name_);
    slot_ = remember(temporary_);
    if (!is_copied_)
        fchmod(file, permissions);
    close(file);
}

PendingFile::~PendingFile() {
    if (is_pending_)
        unlink(temporary_.c_str());
    forget(slot_);
}

void PendingFile::commit() {
    if (!is_pending_)
        return;
    if (!is_copied_) {
        if (rename(temporary_.c_str(), final_.c_str()) != 0)
            throw Error(name_ + ": can't be written: " + reason_of(errno));
        is_pending_ = false;
        return;
    }
    const int to = final_.empty() ? dup(STDOUT_FILENO) : open(final_.c_str(), O_WRONLY | O_CLOEXEC);
    int error = to < 0 ? errno : copy_to(temporary_, to);
    if (to >= 0 && close(to) != 0 && error == 0)
        error = errno;
    if (error != 0)
        throw Error(name_ + ": can't be written: " + reason_of(error));
}

ScratchFile::ScratchFile() : path_(scratch_pattern()) {
    close(make_file(path_, "a temporary file"));
    slot_ = remember(path_);
}

ScratchFile::~ScratchFile() {
    unlink(path_.c_str());
    forget(slot_);
}

void remove_pending_files_on_signals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        if (std::signal(number, remove_and_end) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
}

} // namespace vorlane::host
