// TQ movies, by the library's CVideo.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

#include "host/movies/parts.h"
#include "host/platform/files.h"

namespace vorlane::host {

namespace {

// CVideo takes paths of up to 99 bytes: a longer one is reached through a short link to it, or, where there are
// no links, a copy.
class ShortPath {
public:
    explicit ShortPath(const std::string& path) : path_(path) {
        constexpr std::size_t longest = 99;
        if (path.size() <= longest)
            return;
        namespace fs = std::filesystem;
        link_ = std::make_unique<ScratchFile>();
        remove_file(link_->path());
        const fs::path link = path_of(link_->path());
        std::error_code error;
        const fs::path whole = fs::absolute(path_of(path), error);
        fs::create_symlink(whole, link, error);
        if (error)
            fs::create_hard_link(whole, link, error);
        if (error)
            fs::copy_file(whole, link, error);
        if (error)
            throw Error(path + ": the path is too long");
    }
    const char* c_str() const { return link_ ? link_->path().c_str() : path_.c_str(); }

private:
    std::string path_;
    std::unique_ptr<ScratchFile> link_;
};

struct CloseMovie {
    void operator()(CVideo* movie) const {
        movie->CloseVideo();
        delete movie;
    }
};
using MoviePtr = std::unique_ptr<CVideo, CloseMovie>;

std::int64_t bytes_per_pixel(int image_type, int pixel_format) {
    return image_type == ImageType::colour        ? 3
           : pixel_format == PixelFormat::byte    ? 1
           : pixel_format == PixelFormat::int16   ? 2
           : pixel_format == PixelFormat::int32   ? 4
           : pixel_format == PixelFormat::float32 ? 4
                                                  : 0;
}

std::string header_of(const MovieSettings& s, std::int64_t frames) {
    return "TQ\n" + std::to_string(s.rows) + " " + std::to_string(s.cols) + " " +
           std::to_string(frames) + "\n" + std::to_string(s.pixel_format) + "\n" +
           std::to_string(s.image_type) + "\n";
}

class TqReader : public MovieReader {
public:
    TqReader(const std::string& name, Source& source, const OpenMovieOptions& options)
        : name_(name), path_(source.path_on_disk()), movie_(new CVideo) {
        if (!movie_->OpenVideo(path_.c_str()))
            throw Error(name +
                        ": can't be read as a TQ movie: " + take_message("its header isn't whole"));
        const std::int64_t frame_bytes = bytes_per_pixel(movie_->image_type, movie_->pixel_format) *
                                         movie_->nrows * movie_->ncols;
        if (frame_bytes < 1 || !movie_->image || !movie_->image->pixels)
            throw Error(name + ": is a TQ file without pixels");
        info_.format = "TQ";
        info_.codec = "uncompressed";
        info_.rows = movie_->nrows;
        info_.cols = movie_->ncols;
        info_.image_type = movie_->image_type;
        info_.pixel_format = movie_->pixel_format;
        info_.frame_count = std::max(movie_->nframes, 1); // a TQ image states none
        // Frames are found from the end of the file.
        const std::int64_t held = source.size() / frame_bytes;
        if (held < info_.frame_count) {
            if (!options.allow_truncated)
                throw Error(name + ": is cut short: it has " + std::to_string(held) + " of " +
                            std::to_string(info_.frame_count) + " frames");
            throw Error(name + ": is cut short, and frames of a TQ movie are found from its end");
        }
    }

    const CImage* next() override {
        if (next_ >= info_.frame_count)
            return nullptr;
        const bool is_there = next_ == 0 && movie_->nframes < 1
                                  ? true
                                  : movie_->GetFrame(static_cast<int>(next_), nullptr) != 0;
        if (!is_there)
            throw Error(name_ + ": frame " + std::to_string(next_) + " can't be read");
        ++next_;
        movie_->image->pixel_format = info_.pixel_format;
        return movie_->image;
    }

    void seek(std::int64_t frame) override {
        if (frame < 0 || frame >= info_.frame_count)
            throw UsageError(name_ + ": it has frames 0 to " +
                             std::to_string(info_.frame_count - 1));
        next_ = frame;
    }

private:
    std::string name_;
    ShortPath path_;
    MoviePtr movie_;
    std::int64_t next_ = 0;
};

// The number of frames stands in the header, which is written before they are counted: frames go to
// a file of their own, and behind the header in the end.
class TqWriter : public MovieWriter {
public:
    TqWriter(const std::string& path, const MovieSettings& settings)
        : path_(path), settings_(settings), mapper_(path, settings), file_(path),
          stream_(open_file(file_.path().c_str(), "w+b")) {
        if (settings_.image_type == ImageType::colour ||
            bytes_per_pixel(settings_.image_type, settings_.pixel_format) == 0)
            settings_.pixel_format = PixelFormat::byte;
        if (!stream_)
            fail();
        constexpr std::int64_t longest = std::numeric_limits<std::int64_t>::max();
        room_ = header_of(settings_, settings_.frame_count < 0 ? longest : settings_.frame_count)
                    .size();
        write(std::string(room_, ' ').data(), room_);
    }
    ~TqWriter() override {
        if (stream_)
            std::fclose(stream_);
    }
    TqWriter(const TqWriter&) = delete;
    TqWriter& operator=(const TqWriter&) = delete;

    void add(const CImage& frame) override {
        mapper_.check(frame);
        if (settings_.pixel_format == PixelFormat::byte) {
            row_.resize(std::size_t{3} * static_cast<std::size_t>(settings_.cols));
            const std::size_t bytes = static_cast<std::size_t>(settings_.cols) *
                                      (settings_.image_type == ImageType::colour ? 3 : 1);
            for (int i = 0; i < settings_.rows; ++i) {
                mapper_.bytes(frame, i, row_.data());
                write(row_.data(), bytes);
            }
        } else {
            for (int i = 0; i < settings_.rows; ++i)
                write_wide_row(frame, i);
        }
        ++frames_;
    }

    void finish() override {
        const std::string header = header_of(settings_, frames_);
        if (std::fflush(stream_) != 0)
            fail();
        auto from = static_cast<std::int64_t>(std::max(room_, header.size()));
        auto to = static_cast<std::int64_t>(header.size());
        if (header.size() > room_)
            throw Error(path_ + ": there are more frames than were announced");
        if (!seek_to(stream_, 0))
            fail();
        write(header.data(), header.size());
        if (from == to) {
            close();
            return;
        }
        // Moves the frames up against the header.
        std::vector<char> block(1 << 20);
        for (;;) {
            if (!seek_to(stream_, from))
                fail();
            const std::size_t count = std::fread(block.data(), 1, block.size(), stream_);
            if (std::ferror(stream_) || !seek_to(stream_, to))
                fail();
            if (count == 0)
                break;
            write(block.data(), count);
            from += static_cast<std::int64_t>(count);
            to += static_cast<std::int64_t>(count);
        }
        if (std::fflush(stream_) != 0 || !set_length(stream_, to))
            fail();
        close();
    }

private:
    void close() {
        if (std::fclose(std::exchange(stream_, nullptr)) != 0)
            fail();
        file_.commit();
    }

    [[noreturn]] void fail() const { throw Error(path_ + ": Can't write all the data"); }

    void write(const void* from, std::size_t count) {
        if (std::fwrite(from, 1, count, stream_) < count)
            fail();
    }

    // Low byte first.
    void write_wide_row(const CImage& frame, int row) {
        const auto cols = static_cast<std::size_t>(settings_.cols);
        numbers_.resize(cols);
        row_.clear();
        const auto put = [&](std::uint32_t bits, int bytes) {
            for (int n = 0; n < bytes; ++n)
                row_.push_back(static_cast<std::uint8_t>(bits >> (8 * n)));
        };
        if (settings_.pixel_format == PixelFormat::float32) {
            for (std::size_t j = 0; j < cols; ++j)
                put(std::bit_cast<std::uint32_t>(frame.pixels[row][j]), 4);
        } else {
            const bool is_short = settings_.pixel_format == PixelFormat::int16;
            mapper_.numbers(frame, row, is_short ? -32768.0 : -2147483648.0,
                            is_short ? 32767.0 : 2147483647.0, numbers_.data());
            for (const double number : numbers_)
                put(static_cast<std::uint32_t>(static_cast<std::int32_t>(number)),
                    is_short ? 2 : 4);
        }
        write(row_.data(), row_.size());
    }

    std::string path_;
    MovieSettings settings_;
    FrameMapper mapper_;
    PendingFile file_;
    std::FILE* stream_;
    std::size_t room_ = 0; // for the header
    std::vector<std::uint8_t> row_;
    std::vector<double> numbers_;
    std::int64_t frames_ = 0;
};

} // namespace

std::unique_ptr<MovieReader> open_tq_movie(const std::string& path, Source& source,
                                           const OpenMovieOptions& options) {
    return std::make_unique<TqReader>(path, source, options);
}

std::unique_ptr<MovieWriter> create_tq_movie(const std::string& path,
                                             const MovieSettings& settings) {
    return std::make_unique<TqWriter>(path, settings);
}

} // namespace vorlane::host
