// Private: how the library's readers and writers meet files. One gate decides what a header may
// promise, and blocks move between file and memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace vorlane {

struct CloseFile {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

// fopen, but a folder can't be opened in any mode (errno is EISDIR then), nor can a null path.
std::FILE* open_file(const char* path, const char* mode);

// Bytes from the current position to the end of the file. A pipe or a device has no end to look at
// and counts as 0, so that nothing large is believed of it.
std::int64_t bytes_left(std::FILE* stream);

// The place of the next byte from the start of the file; negative if it has none.
std::int64_t position_of(std::FILE* stream);

// 64-bit seek from the start of the file; false if that fails.
bool seek_to(std::FILE* stream, std::int64_t offset);

// The same from the current position, and from the end. A target before the start of the file fails
// and leaves the position as it was.
bool seek_by(std::FILE* stream, std::int64_t offset);
bool seek_from_end(std::FILE* stream, std::int64_t offset);

// The gate before every reader's allocation. True if `rows`, `cols` and `planes` (frames or slices)
// are positive and the samples that they promise, `samples_per_pixel` each, may be believed: up to
// 2^26 samples always; more only if `available` bytes are at least a thousandth of the promised
// ones. A row counts as at least 16 samples, since that is the memory it takes.
bool header_is_believable(std::int64_t rows, std::int64_t cols, std::int64_t planes,
                          std::int64_t samples_per_pixel, std::int64_t bytes_per_sample,
                          std::int64_t available);

// A line as the text headers of all formats have it: at most size - 1 bytes, up to and with the
// newline, and a zero byte behind. False, with an empty line, at the end of the file.
bool read_line(std::FILE* stream, char* line, std::size_t size);

// The decimal integers at the start of `text`, as scanf takes them with "%d %d ...": blanks before
// each, a sign, digits; the first that doesn't parse or doesn't fit an int ends the row. Returns
// how many were stored; the others stay as they were.
int scan_ints(const char* text, int* values, int count);

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
