// AVI files composed byte by byte.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace avi {

std::string little16(unsigned value);
std::string little32(std::uint32_t value);

// A chunk with its size, filled up to an even length.
std::string chunk(std::string_view name, std::string_view bytes);
std::string list(std::string_view type, std::string_view bytes);

// A BITMAPINFOHEADER and a colour table of blue, green, red, 0.
std::string format(int width, int height, int bit_count, std::uint32_t compression = 0,
                   std::string_view table = "");

// The list of one stream.
std::string stream(std::string_view type, std::string_view format);

// A whole file with the main header, these streams and these chunks of frames; `behind` follows the
// frames.
std::string file(int width, int height, std::string_view streams, std::string_view frames,
                 std::string_view behind = "");

// A file of one video stream.
std::string video(std::string_view format, std::string_view frames);

} // namespace avi
