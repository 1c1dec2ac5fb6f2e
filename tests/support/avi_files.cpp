#include <support/avi_files.h>

namespace avi {

std::string little16(unsigned value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8)};
}

std::string little32(std::uint32_t value) {
    return little16(value & 0xFFFF) + little16(value >> 16);
}

std::string chunk(std::string_view name, std::string_view bytes) {
    std::string all = std::string(name) + little32(static_cast<std::uint32_t>(bytes.size()));
    all += bytes;
    return bytes.size() % 2 == 0 ? all : all + '\0';
}

std::string list(std::string_view type, std::string_view bytes) {
    return chunk("LIST", std::string(type) + std::string(bytes));
}

std::string format(int width, int height, int bit_count, std::uint32_t compression,
                   std::string_view table) {
    return little32(40) + little32(static_cast<std::uint32_t>(width)) +
           little32(static_cast<std::uint32_t>(height)) + little16(1) +
           little16(static_cast<unsigned>(bit_count)) + little32(compression) + little32(0) +
           std::string(8, '\0') + little32(static_cast<std::uint32_t>(table.size() / 4)) +
           little32(0) + std::string(table);
}

std::string stream(std::string_view type, std::string_view format) {
    std::string header = std::string(type) + std::string(16, '\0') + little32(1) + little32(5);
    header.resize(56);
    return list("strl", chunk("strh", header) + chunk("strf", format));
}

std::string file(int width, int height, std::string_view streams, std::string_view frames,
                 std::string_view behind) {
    std::string header = little32(200000) + std::string(28, '\0') +
                         little32(static_cast<std::uint32_t>(width)) +
                         little32(static_cast<std::uint32_t>(height));
    header.resize(56);
    return chunk("RIFF", "AVI " + list("hdrl", chunk("avih", header) + std::string(streams)) +
                             list("movi", frames) + std::string(behind));
}

std::string video(std::string_view format, std::string_view frames) {
    return file(0, 0, stream("vids", format), frames);
}

} // namespace avi
