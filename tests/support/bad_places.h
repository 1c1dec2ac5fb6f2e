// Places that refuse to be read or written, or to take all that is written.
#pragma once

#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include <support/scratch_folder.h>

// While it lives, the process has no more rights than a user's, to whom permissions mean something.
class WithoutPrivilege {
public:
    WithoutPrivilege();
    ~WithoutPrivilege();
    WithoutPrivilege(const WithoutPrivilege&) = delete;
    WithoutPrivilege& operator=(const WithoutPrivilege&) = delete;

private:
    uid_t former_;
};

// While it lives, no file grows beyond so many bytes, as on a disk that is full.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes);
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit former_;
    void (*former_handler_)(int);
};

// A folder with such places, which can be gone into by everybody.
class BadPlaces {
public:
    BadPlaces();
    ~BadPlaces();
    BadPlaces(const BadPlaces&) = delete;
    BadPlaces& operator=(const BadPlaces&) = delete;

    ScratchFolder folder;
    std::string missing, pipe, unreadable, unwritable, dangling, in_closed_folder;
};
