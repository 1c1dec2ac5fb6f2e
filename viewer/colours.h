// Colour tables for gray pictures.
#pragma once

#include <array>
#include <span>

namespace vorlane::viewer {

struct Colour {
    unsigned char red = 0, green = 0, blue = 0;
};

// A table of a colour for each of 256 levels.
struct ColourTable {
    const char* name;
    std::array<Colour, 256> colours;
};

// Gray first, then those for false colours: viridis, magma, and a diverging one.
std::span<const ColourTable> colour_tables();

} // namespace vorlane::viewer
