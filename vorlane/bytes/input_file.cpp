#include <vorlane/bytes/input_file.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <limits>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/stat.h>
#endif

namespace vorlane {

namespace {

constexpr std::int64_t always_believed_samples = std::int64_t{1} << 26;
constexpr std::int64_t believable_ratio = 1000;
constexpr std::int64_t smallest_row = 16; // samples of memory that even a row of one takes
constexpr std::size_t block_size = std::size_t{1} << 18;

// The product of factors that are positive, or the largest number if it doesn't fit.
std::int64_t saturating_product(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    return a > largest / b ? largest : a * b;
}

bool seek(std::FILE* stream, std::int64_t offset, int origin) {
#if defined(__unix__) || defined(__APPLE__)
    return fseeko(stream, offset, origin) == 0;
#else
    return offset <= std::numeric_limits<long>::max() &&
           offset >= std::numeric_limits<long>::min() &&
           std::fseek(stream, static_cast<long>(offset), origin) == 0;
#endif
}

} // namespace

std::FILE* open_file(const char* path, const char* mode) {
    if (!path) {
        errno = ENOENT;
        return nullptr;
    }
    std::FILE* const stream = std::fopen(path, mode);
#if defined(__unix__) || defined(__APPLE__)
    struct stat status;
    if (stream && fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(stream);
        errno = EISDIR;
        return nullptr;
    }
#endif
    return stream;
}

std::int64_t bytes_left(std::FILE* stream) {
#if defined(__unix__) || defined(__APPLE__)
    struct stat status;
    const std::int64_t position = position_of(stream);
    if (position < 0 || fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    return status.st_size > position ? status.st_size - position : 0;
#else
    const long position = std::ftell(stream);
    if (position < 0 || std::fseek(stream, 0, SEEK_END) != 0)
        return 0;
    const long end = std::ftell(stream);
    std::fseek(stream, position, SEEK_SET);
    return end - position;
#endif
}

std::int64_t position_of(std::FILE* stream) {
#if defined(__unix__) || defined(__APPLE__)
    return ftello(stream);
#else
    return std::ftell(stream);
#endif
}

bool seek_to(std::FILE* stream, std::int64_t offset) {
    return offset >= 0 && seek(stream, offset, SEEK_SET);
}

bool seek_by(std::FILE* stream, std::int64_t offset) {
    return seek(stream, offset, SEEK_CUR);
}

bool seek_from_end(std::FILE* stream, std::int64_t offset) {
    return seek(stream, offset, SEEK_END);
}

bool header_is_believable(std::int64_t rows, std::int64_t cols, std::int64_t planes,
                          std::int64_t samples_per_pixel, std::int64_t bytes_per_sample,
                          std::int64_t available) {
    if (rows < 1 || cols < 1 || planes < 1)
        return false;
    const std::int64_t row = std::max(saturating_product(cols, samples_per_pixel), smallest_row);
    const std::int64_t samples = saturating_product(saturating_product(row, rows), planes);
    if (samples <= always_believed_samples)
        return true;
    return available >= saturating_product(samples, bytes_per_sample) / believable_ratio;
}

bool read_line(std::FILE* stream, char* line, std::size_t size) {
    line[0] = '\0';
    return std::fgets(line, static_cast<int>(size), stream) != nullptr;
}

int scan_ints(const char* text, int* values, int count) {
    int stored = 0;
    for (; stored < count; ++stored) {
        while (std::isspace(static_cast<unsigned char>(*text)))
            ++text;
        const bool negative = *text == '-';
        if (*text == '-' || *text == '+')
            ++text;
        if (!std::isdigit(static_cast<unsigned char>(*text)))
            break;
        std::int64_t value = 0;
        constexpr std::int64_t limit = std::numeric_limits<int>::max();
        for (; std::isdigit(static_cast<unsigned char>(*text)); ++text) {
            if (value <= limit)
                value = value * 10 + (*text - '0');
        }
        value = negative ? -value : value;
        if (value > limit || value < std::numeric_limits<int>::min())
            break;
        values[stored] = static_cast<int>(value);
    }
    return stored;
}

BlockReader::BlockReader(std::FILE* stream, std::size_t limit)
    : stream_(stream), limit_(limit),
      block_(std::make_unique_for_overwrite<unsigned char[]>(block_size)) {}

std::span<const unsigned char> BlockReader::take(std::size_t wanted, std::size_t unit) {
    if (end_ - begin_ < unit) {
        std::memmove(block_.get(), block_.get() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
        const std::size_t wish = std::min(block_size - end_, limit_);
        const std::size_t read = std::fread(block_.get() + end_, 1, wish, stream_);
        end_ += read;
        limit_ -= read;
    }
    const std::size_t count = std::min(wanted, (end_ - begin_) / unit * unit);
    const unsigned char* const first = block_.get() + begin_;
    begin_ += count;
    return {first, count};
}

BlockWriter::BlockWriter(std::FILE* stream)
    : stream_(stream), block_(std::make_unique_for_overwrite<unsigned char[]>(block_size)) {}

std::span<unsigned char> BlockWriter::room(std::size_t wanted, std::size_t unit) {
    if (block_size - used_ < unit)
        flush();
    const std::size_t count = std::min(wanted, (block_size - used_) / unit * unit);
    unsigned char* const first = block_.get() + used_;
    used_ += count;
    return {first, count};
}

bool BlockWriter::flush() {
    failed_ = failed_ || std::fwrite(block_.get(), 1, used_, stream_) < used_;
    used_ = 0;
    return !failed_;
}

} // namespace vorlane
