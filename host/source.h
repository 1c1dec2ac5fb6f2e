// What a picture is read from: a file, a device, or standard input, at any offset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/pending_file.h"
#include "host/platform/files.h"

namespace vorlane::host {

class Source {
public:
    // "-" is standard input. Throws Error, also for a folder.
    explicit Source(const std::string& path);

    // For messages: the path, or "standard input".
    const std::string& name() const { return name_; }

    // The first bytes, up to 4096.
    std::span<const unsigned char> head() const { return head_; }

    // What comes from a pipe or a device is kept in memory when its length or anything behind the
    // head is asked for; beyond 4 GB that is an Error.
    std::int64_t size();

    // Fewer than `count` at the end of the file.
    std::size_t read(std::int64_t offset, void* to, std::size_t count);

    // For readers that want a path: the file itself, or a temporary one.
    const std::string& path_on_disk();

private:
    void keep_all();

    std::string path_;
    std::string name_;
    InputFile input_;
    bool is_kept_ = false;
    std::int64_t size_ = 0;
    std::vector<unsigned char> head_;
    std::vector<unsigned char> kept_;
    std::unique_ptr<ScratchFile> copy_;
};

// Reads a source from an offset on.
class SourceStream {
public:
    explicit SourceStream(Source& source, std::int64_t offset = 0);

    // The next byte, or -1 at the end.
    int next() {
        if (begin_ == end_ && !fill())
            return -1;
        return block_[begin_++];
    }

    // What is there in one piece: at least one byte unless the source is at its end. Valid until
    // the next call; skip() says how many were used.
    std::span<const unsigned char> ahead() {
        if (begin_ == end_)
            fill();
        return {block_.get() + begin_, end_ - begin_};
    }
    void skip(std::int64_t count);

    // Fewer than `count` at the end.
    std::size_t read(void* to, std::size_t count);

    std::int64_t position() const { return offset_ - static_cast<std::int64_t>(end_ - begin_); }
    std::int64_t left() { return source_.size() - position(); }

private:
    bool fill();

    Source& source_;
    std::int64_t offset_; // of what follows the block
    std::unique_ptr<unsigned char[]> block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

// The gate before every allocation: true if the sizes are positive and the samples that they
// promise may be believed of a source of that many bytes. Up to 2^26 always, more if it holds at
// least a thousandth of them, from 2^28 on a hundredth.
bool sizes_are_believable(std::int64_t rows, std::int64_t cols, std::int64_t channels,
                          std::int64_t bytes_per_sample, std::int64_t available);

} // namespace vorlane::host
