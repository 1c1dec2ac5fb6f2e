#include <support/scratch_folder.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace {

// Of UTF-8, which a path of narrow letters isn't on every system.
std::filesystem::path path_of(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}

} // namespace

ScratchFolder::ScratchFolder() {
    // A name that is taken already isn't this test's own.
    std::random_device random;
    constexpr int most_tries = 100;
    std::error_code ignored;
    for (int k = 0; k < most_tries && folder_.empty(); ++k) {
        const std::filesystem::path folder =
            std::filesystem::temp_directory_path() / ("vorlane-test-" + std::to_string(random()));
        if (std::filesystem::create_directory(folder, ignored))
            folder_ = folder.generic_string();
    }
    EXPECT_FALSE(folder_.empty());
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_of(folder_), ignored);
}

std::string ScratchFolder::path(std::string_view name) const {
    return folder_ + "/" + std::string(name);
}

std::string ScratchFolder::write(std::string_view name, std::string_view bytes) const {
    std::ofstream(path_of(path(name)), std::ios::binary) << bytes;
    return path(name);
}

std::string ScratchFolder::read(std::string_view name) const {
    std::ifstream file(path_of(path(name)), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string ScratchFolder::pipe(std::string_view name) const {
#ifndef _WIN32
    EXPECT_EQ(mkfifo(path(name).c_str(), 0600), 0);
#endif
    return path(name);
}

bool ScratchFolder::has(std::string_view name) const {
    return std::filesystem::exists(path_of(path(name)));
}
