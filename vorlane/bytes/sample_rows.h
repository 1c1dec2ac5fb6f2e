// Private: rows of samples between planes and files, in blocks.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <vorlane/bytes/blocks.h>

namespace vorlane {

// Where reading ended: at unit `unit` of row `row`.
struct UnitPosition {
    int row;
    std::size_t unit;
};

// Reads rows x cols units of `unit` bytes: decode(i, j, count, bytes) takes `count` of them, from
// unit j of row i on, and returns false to stop before them. Gives the first unit that wasn't
// taken.
template<class Decode>
UnitPosition read_unit_rows(BlockReader& reader, int rows, std::size_t cols, std::size_t unit,
                            Decode decode) {
    for (int i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < cols;) {
            const auto bytes = reader.take((cols - j) * unit, unit);
            const std::size_t count = bytes.size() / unit;
            if (count == 0 || !decode(i, j, count, bytes.data()))
                return {i, j};
            j += count;
        }
    }
    return {std::max(rows, 0), 0};
}

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
    auto [row, at] =
        read_unit_rows(reader, rows, samples, unit,
                       [&](int i, std::size_t j, std::size_t count, const unsigned char* bytes) {
                           decode(bytes, plane[i] + j, count);
                           last = plane[i][j + count - 1];
                           return true;
                       });
    if (row < rows && missing == Missing::is_255) {
        unsigned char broken[] = {255, 255, 255, 255};
        decode(broken, &last, 1);
        const auto rest = reader.take(unit);
        std::copy(rest.begin(), rest.end(), broken);
        decode(broken, plane[row] + at++, 1);
    }
    if (std::bit_cast<std::uint32_t>(last) == 0)
        return;
    for (; row < rows; ++row, at = 0)
        std::fill(plane[row] + at, plane[row] + samples, last);
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
