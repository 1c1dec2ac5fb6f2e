// Private: the gate before every reader's allocation.
#pragma once

#include <cstdint>

namespace vorlane {

// True if the samples that a header promises may be believed: rows x cols x planes (frames or
// slices) of `samples_per_pixel` each. Up to 2^26 samples always; up to 2^28 if `available` bytes
// are at least a thousandth of the promised ones, and beyond if they are a hundredth. Where an
// encoding has no bytes (0 a sample) the file can't bear anything out, and 2^26 is the limit.
//
// Rows and columns may be 0; then one of a kind counts as one sample, so that nothing grows without
// bound. A negative size and no plane at all are false.
bool header_is_believable(std::int64_t rows, std::int64_t cols, std::int64_t planes,
                          std::int64_t samples_per_pixel, std::int64_t bytes_per_sample,
                          std::int64_t available);

} // namespace vorlane
