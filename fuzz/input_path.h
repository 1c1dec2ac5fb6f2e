// The bytes of one input as a file, for readers that take a path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include <vorlane/image/image.h>
#include <vorlane/platform/message_box.h>

// Writes the bytes over the last input and returns the path, in a folder of this run's own. Message
// boxes are answered OK and shown nowhere.
inline const char* input_path(const std::uint8_t* data, std::size_t size) {
    struct Folder {
        std::filesystem::path path = std::filesystem::temp_directory_path() /
                                     ("vorlane-fuzz-" + std::to_string(std::random_device()()));
        std::string file = (path / "input").string();
        Folder() {
            if (!std::filesystem::create_directory(path))
                std::abort();
            SetMessageBoxHandler([](const char*, unsigned, unsigned) { return 1; });
        }
        ~Folder() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static const Folder folder;
    std::FILE* const file = std::fopen(folder.file.c_str(), "wb");
    if (!file || (size > 0 && std::fwrite(data, 1, size, file) < size) || std::fclose(file) != 0)
        std::abort();
    return folder.file.c_str();
}

// Reads the last sample that the fields of an image promise.
inline void touch_last(const CImage& image) {
    if (image.nrows < 1 || image.ncols < 1)
        return;
    const std::ptrdiff_t channels = image.image_type == 1 ? 3 : 1;
    volatile float last = image.pixels[image.nrows - 1][channels * image.ncols - 1];
    static_cast<void>(last);
}
