// BMP files composed byte by byte.
#pragma once

#include <cstdint>
#include <string>

// The fields of a file, as they stand in it; `table` and `pixels` follow the headers as they are.
struct BmpBytes {
    std::int32_t width = 1;
    std::int32_t height = 1;
    int depth = 24;
    std::uint32_t size_image = 0;
    std::uint32_t colours_used = 0;
    std::uint32_t info_size = 40;
    std::uint32_t compression = 0;
    std::string table = "";
    std::string pixels = "";
    std::int64_t pixels_at = -1; // as the table gives it

    std::string text() const {
        std::string bytes = "BM";
        const auto put = [&](std::int64_t value, int count) {
            for (int k = 0; k < count; ++k)
                bytes += static_cast<char>(value >> (8 * k));
        };
        put(12345, 4); // the length of the file, which no one looks at
        put(0, 4);
        put(pixels_at < 0 ? 54 + static_cast<std::int64_t>(table.size()) : pixels_at, 4);
        put(info_size, 4);
        put(width, 4);
        put(height, 4);
        put(1, 2);
        put(depth, 2);
        put(compression, 4);
        put(size_image, 4);
        put(2835, 4);
        put(2835, 4);
        put(colours_used, 4);
        put(0, 4);
        return bytes + table + pixels;
    }
};
