// Private: the numbers by which the drawing calls know what is asked of them.
#pragma once

namespace vorlane {

// Of GetDeviceCaps.
inline constexpr int number_of_colours = 24;
inline constexpr int size_of_palette = 104;

// Of StretchDIBits: colours stand in the table as they are, pixels replace those that are there.
inline constexpr unsigned use_colours = 0;
inline constexpr unsigned copy_source = 0xCC0020;

} // namespace vorlane
