// Private: the most lanes that a vector has with any instruction set.
#pragma once

#include <cstddef>

namespace vorlane {

constexpr std::size_t most_double_lanes = 8;
constexpr std::size_t most_float_lanes = 2 * most_double_lanes;
constexpr std::size_t widest_lane_bytes = most_float_lanes * sizeof(float);

} // namespace vorlane
