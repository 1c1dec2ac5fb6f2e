#include <support/bad_places.h>

#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {
constexpr uid_t nobody = 65534;
}

WithoutPrivilege::WithoutPrivilege() : former_(geteuid()) {
    if (former_ == 0) {
        EXPECT_EQ(seteuid(nobody), 0);
    }
}

WithoutPrivilege::~WithoutPrivilege() {
    if (former_ == 0) {
        EXPECT_EQ(seteuid(former_), 0);
    }
}

FullDisk::FullDisk(rlim_t bytes) : former_(), former_handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &former_), 0);
    rlimit limit = former_;
    limit.rlim_cur = bytes;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

FullDisk::~FullDisk() {
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &former_), 0);
    std::signal(SIGXFSZ, former_handler_);
}

BadPlaces::BadPlaces()
    : missing(folder.path("missing/file")), pipe(folder.path("pipe")),
      unreadable(folder.write("unreadable", "kept")),
      unwritable(folder.write("unwritable", "kept")), dangling(folder.path("dangling")),
      in_closed_folder(folder.path("closed/file")) {
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(unreadable, fs::perms::none);
    fs::permissions(unwritable, fs::perms::owner_read | fs::perms::others_read);
    fs::create_symlink("missing/file", dangling);
    fs::create_directory(folder.path("closed"));
    fs::permissions(folder.path("closed"), fs::perms::owner_read | fs::perms::owner_exec |
                                               fs::perms::others_read | fs::perms::others_exec);
    EXPECT_EQ(mkfifo(pipe.c_str(), 0666), 0);
}

BadPlaces::~BadPlaces() {
    fs::permissions(folder.path("closed"), fs::perms::all);
}
