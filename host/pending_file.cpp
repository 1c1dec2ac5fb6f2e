#include "host/pending_file.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

#include "host/error.h"
#include "host/platform/files.h"
#include "host/platform/program.h"

// Names that a signal handler can reach. A slot is taken before its name is complete and freed
// after the file is gone, so the worst that a handler meets is a name that isn't there.
struct PendingSlot {
    std::atomic<bool> is_taken = false;
    std::atomic<bool> has_name = false;
    char name[4096] = "";
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

void remove_all() {
    for (const PendingSlot& slot : slots) {
        if (slot.has_name)
            remove_at_end(slot.name);
    }
}

void check_failure(int failure, const std::string& name) {
    if (failure != 0)
        throw Error(name + ": can't be written: " + std::generic_category().message(failure));
}

} // namespace

PendingFile::PendingFile(const std::string& path) : name_(path), final_(path) {
    const Place place = path == "-" ? Place::device : place_of(path);
    if (place == Place::folder)
        throw Error(path + ": is a folder; name a file in it");
    is_copied_ = place == Place::device;
    if (path == "-") {
        name_ = "standard output";
        final_.clear();
    } else if (place == Place::file) {
        std::error_code error;
        const auto target = std::filesystem::canonical(path_of(path), error);
        if (!error)
            final_ = utf8_of(target);
    }
    check_failure(is_copied_ ? make_temporary_file(temporary_)
                             : make_file(final_, final_, temporary_),
                  name_);
    slot_ = remember(temporary_);
}

PendingFile::~PendingFile() {
    if (is_pending_)
        remove_file(temporary_);
    forget(slot_);
}

void PendingFile::commit() {
    if (!is_pending_)
        return;
    if (is_copied_) {
        check_failure(copy_file_to(temporary_, final_), name_);
        return;
    }
    check_failure(replace_file(temporary_, final_) ? 0 : errno, name_);
    is_pending_ = false;
}

ScratchFile::ScratchFile() {
    check_failure(make_temporary_file(path_), "a temporary file");
    slot_ = remember(path_);
}

ScratchFile::~ScratchFile() {
    remove_file(path_);
    forget(slot_);
}

void remove_pending_files_on_signals() {
    call_before_end(remove_all);
}

} // namespace vorlane::host
