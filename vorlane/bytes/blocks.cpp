#include <vorlane/bytes/blocks.h>

#include <algorithm>
#include <cstring>

namespace vorlane {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;

} // namespace

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
