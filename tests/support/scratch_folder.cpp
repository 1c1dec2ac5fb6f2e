#include <support/scratch_folder.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

ScratchFolder::ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vorlane-test-XXXXXX").string();
    if (mkdtemp(pattern.data()))
        folder_ = pattern;
    EXPECT_FALSE(folder_.empty());
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string ScratchFolder::path(std::string_view name) const {
    return folder_ + "/" + std::string(name);
}

std::string ScratchFolder::write(std::string_view name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
}

std::string ScratchFolder::read(std::string_view name) const {
    std::ifstream file(path(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool ScratchFolder::has(std::string_view name) const {
    return std::filesystem::exists(path(name));
}
