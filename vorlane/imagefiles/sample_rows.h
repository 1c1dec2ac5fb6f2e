// Private: rows of samples between planes and files, in blocks.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <vorlane/platform/input_file.h>

namespace vorlane {

// Fills `rows` rows of `samples` samples from a file of `unit` bytes a sample, with
// decode(bytes, out, count). What the file lacks repeats the last sample; if there was none, or it
// was 0, the rest stays as it was, so the plane comes in as zeros.
template<class Decode>
void read_sample_rows(std::FILE* file, float* const* plane, int rows, std::size_t samples,
                      std::size_t unit, Decode decode) {
    BlockReader reader(file);
    float last = 0.0f;
    for (int i = 0; i < rows; ++i) {
        std::size_t j = 0;
        while (j < samples) {
            const auto bytes = reader.take((samples - j) * unit, unit);
            if (bytes.empty())
                break;
            decode(bytes.data(), plane[i] + j, bytes.size() / unit);
            j += bytes.size() / unit;
            last = plane[i][j - 1];
        }
        if (j < samples && std::bit_cast<std::uint32_t>(last) == 0)
            return;
        std::fill(plane[i] + j, plane[i] + samples, last);
    }
}

// Writes rows x cols units of `unit` bytes: encode(i, j, count, out) gives `count` of them, from
// unit j of row i on. False if they weren't all written.
template<class Encode>
bool write_unit_rows(std::FILE* file, int rows, int cols, std::size_t unit, Encode encode) {
    BlockWriter writer(file);
    const auto units = static_cast<std::size_t>(std::max(cols, 0));
    for (int i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < units;) {
            const auto bytes = writer.room((units - j) * unit, unit);
            const std::size_t count = bytes.size() / unit;
            encode(i, j, count, bytes.data());
            j += count;
        }
    }
    return writer.flush();
}

// Closes a file that was written. False if something didn't reach it.
inline bool close_written(FileHandle& file) {
    const bool failed = std::ferror(file.get()) != 0;
    return std::fclose(file.release()) == 0 && !failed;
}

} // namespace vorlane
