// Private: rounding to whole numbers as this library does it.
#pragma once

namespace vorlane {

// Half a unit away from zero, yet to be truncated: then it is the nearest whole number, the one
// further from zero where two are as near.
constexpr double half_away(double value) {
    return value < 0.0 ? value - 0.5 : value + 0.5;
}

} // namespace vorlane
