#include "host/source.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <system_error>

#include <vorlane/platform/system_files.h>

#include "host/error.h"

namespace vorlane::host {

namespace {

constexpr std::size_t head_size = 4096;
constexpr std::size_t block_size = 1 << 16;
constexpr std::int64_t largest_stream = std::int64_t{1} << 32;

std::int64_t saturating_product(std::int64_t a, std::int64_t b) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    return a > largest / b ? largest : a * b;
}

} // namespace

Source::Source(const std::string& path)
    : path_(path), name_(path == "-" ? "standard input" : path) {
    const int failure = input_.open(path);
    if (failure == EISDIR)
        throw Error(name_ + ": is a folder; name a file in it");
    if (failure != 0)
        throw Error(name_ + ": can't be opened: " + std::generic_category().message(failure));
    size_ = input_.size();
    head_.resize(head_size);
    head_.resize(input_.read(head_.data(), head_.size()));
}

void Source::keep_all() {
    if (input_.is_plain_file() || is_kept_)
        return;
    kept_ = head_;
    for (;;) {
        const std::size_t done = kept_.size();
        if (static_cast<std::int64_t>(done) > largest_stream)
            throw Error(name_ + ": gives more than 4 GB; name a file instead");
        kept_.resize(done + std::max(block_size, done / 2));
        const std::size_t got = input_.read(kept_.data() + done, kept_.size() - done);
        kept_.resize(done + got);
        if (got == 0)
            break;
    }
    size_ = static_cast<std::int64_t>(kept_.size());
    is_kept_ = true;
}

std::int64_t Source::size() {
    keep_all();
    return size_;
}

std::size_t Source::read(std::int64_t offset, void* to, std::size_t count) {
    keep_all();
    if (offset < 0 || offset >= size_)
        return 0;
    if (!input_.is_plain_file()) {
        count = std::min(count, static_cast<std::size_t>(size_ - offset));
        std::memcpy(to, kept_.data() + offset, count);
        return count;
    }
    return input_.read_at(offset, to, count);
}

const std::string& Source::path_on_disk() {
    if (input_.is_plain_file())
        return path_;
    if (!copy_) {
        keep_all();
        copy_ = std::make_unique<ScratchFile>();
        FileHandle to(open_file(copy_->path().c_str(), "wb"));
        if (to)
            std::fwrite(kept_.data(), 1, kept_.size(), to.get());
        if (!to || !close_written(to))
            throw Error(name_ + ": can't be kept in a temporary file; name a file instead");
    }
    return copy_->path();
}

SourceStream::SourceStream(Source& source, std::int64_t offset)
    : source_(source), offset_(offset),
      block_(std::make_unique_for_overwrite<unsigned char[]>(block_size)) {}

bool SourceStream::fill() {
    begin_ = 0;
    end_ = source_.read(offset_, block_.get(), block_size);
    offset_ += static_cast<std::int64_t>(end_);
    return end_ > 0;
}

void SourceStream::skip(std::int64_t count) {
    const auto there = static_cast<std::int64_t>(end_ - begin_);
    if (count <= there) {
        begin_ += static_cast<std::size_t>(count);
        return;
    }
    offset_ = count - there > std::numeric_limits<std::int64_t>::max() - offset_
                  ? std::numeric_limits<std::int64_t>::max()
                  : offset_ + count - there;
    begin_ = end_ = 0;
}

std::size_t SourceStream::read(void* to, std::size_t count) {
    auto* out = static_cast<unsigned char*>(to);
    std::size_t done = std::min(count, end_ - begin_);
    std::memcpy(out, block_.get() + begin_, done);
    begin_ += done;
    if (count - done >= block_size) {
        const std::size_t got = source_.read(offset_, out + done, count - done);
        offset_ += static_cast<std::int64_t>(got);
        return done + got;
    }
    while (done < count && fill()) {
        const std::size_t more = std::min(count - done, end_);
        std::memcpy(out + done, block_.get(), more);
        begin_ = more;
        done += more;
    }
    return done;
}

bool sizes_are_believable(std::int64_t rows, std::int64_t cols, std::int64_t channels,
                          std::int64_t bytes_per_sample, std::int64_t available) {
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    constexpr std::int64_t always_believed = std::int64_t{1} << 20; // see vorlane/bytes/gate.cpp
#else
    constexpr std::int64_t always_believed = std::int64_t{1} << 26;
#endif
    constexpr std::int64_t large = std::int64_t{1} << 28;
    constexpr std::int64_t smallest_row = 16; // samples of memory that even a row of one takes
    constexpr std::int64_t largest_side = std::numeric_limits<int>::max();
    if (rows < 1 || cols < 1 || channels < 1 || rows > largest_side || cols > largest_side)
        return false;
    const std::int64_t row = std::max(saturating_product(cols, channels), smallest_row);
    const std::int64_t samples = saturating_product(row, rows);
    if (samples <= always_believed)
        return true;
    return bytes_per_sample > 0 && available >= saturating_product(samples, bytes_per_sample) /
                                                    (samples < large ? 1000 : 100);
}

} // namespace vorlane::host
