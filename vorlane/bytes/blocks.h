// Private: bytes between files and memory, in large blocks.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>

namespace vorlane {

// Hands out what follows in a file in blocks, of whole units of some bytes.
class BlockReader {
public:
    // Reads no more than `limit` bytes of the file, behind which it then stands when all are taken.
    explicit BlockReader(std::FILE* stream, std::size_t limit = static_cast<std::size_t>(-1));

    // Up to `wanted` bytes in a row, a multiple of `unit`, valid until the next call; none at the
    // end of the file, whose last broken unit is never given. `unit` divides `wanted`.
    std::span<const unsigned char> take(std::size_t wanted, std::size_t unit = 1);

private:
    std::FILE* stream_;
    std::size_t limit_;
    std::unique_ptr<unsigned char[]> block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

// Gathers what goes to a file into blocks.
class BlockWriter {
public:
    explicit BlockWriter(std::FILE* stream);

    // Room for up to `wanted` bytes, a multiple of `unit` and at least one unit, which the caller
    // fills at once. `unit` divides `wanted`, which isn't 0.
    std::span<unsigned char> room(std::size_t wanted, std::size_t unit = 1);

    // Writes what is pending. False if anything since the start couldn't be written.
    bool flush();

private:
    std::FILE* stream_;
    std::unique_ptr<unsigned char[]> block_;
    std::size_t used_ = 0;
    bool failed_ = false;
};

} // namespace vorlane
