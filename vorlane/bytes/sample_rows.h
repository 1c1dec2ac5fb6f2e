// Private: rows of samples between planes and files, in blocks.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <vorlane/bytes/blocks.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

// What stands for samples that the file lacks.
enum class Missing {
    repeats_last, // sample, or `last` if there was none
    is_255        // each byte; a broken sample keeps the bytes that it has
};

// Fills `rows` rows of `samples` samples, of zeros, from a file of `unit` bytes a sample, at most
// 4, with decode(bytes, out, count). The file then stands behind the last of them.
template<class Decode>
void read_sample_rows(std::FILE* file, float* const* plane, int rows, std::size_t samples,
                      std::size_t unit, Decode decode, Missing missing = Missing::repeats_last,
                      float last = 0.0f) {
    BlockReader reader(file, static_cast<std::size_t>(std::max(rows, 0)) * samples * unit);
    bool at_end = false;
    for (int i = 0; i < rows; ++i) {
        float* out = plane[i];
        float* const end = out + samples;
        while (!at_end && out < end) {
            const auto bytes = reader.take(static_cast<std::size_t>(end - out) * unit, unit);
            at_end = bytes.empty();
            if (at_end && missing == Missing::is_255) {
                unsigned char broken[] = {255, 255, 255, 255};
                decode(broken, &last, 1);
                const auto rest = reader.take(unit);
                std::copy(rest.begin(), rest.end(), broken);
                decode(broken, out++, 1);
            } else if (!at_end) {
                decode(bytes.data(), out, bytes.size() / unit);
                out += bytes.size() / unit;
                last = out[-1];
            }
        }
        if (at_end && std::bit_cast<std::uint32_t>(last) == 0)
            return;
        std::fill(out, end, last);
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

} // namespace vorlane
