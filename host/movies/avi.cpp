// AVI files, by the library's AVIFile calls.
#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "host/movies/parts.h"

namespace vorlane::host {

namespace {

// The calls take sizes of pixel blocks below 2^31 bytes, rows of a multiple of 4.
std::int64_t row_bytes(int cols) {
    return (std::int64_t{3} * cols + 3) / 4 * 4;
}

// 24 bits, bottom row first.
BITMAPINFOHEADER frame_format(int rows, int cols) {
    BITMAPINFOHEADER format{};
    format.biSize = sizeof format;
    format.biWidth = cols;
    format.biHeight = rows;
    format.biPlanes = 1;
    format.biBitCount = 24;
    return format;
}

std::uint32_t word_at(const std::vector<unsigned char>& bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t n = 0; n < 4; ++n)
        word |= std::uint32_t{bytes[at + n]} << (8 * n);
    return word;
}

// The codec of the first video stream, by the format chunk behind its header.
std::string codec_of(Source& source) {
    std::vector<unsigned char> head(1 << 16);
    head.resize(source.read(0, head.data(), head.size()));
    constexpr unsigned char mark[] = {'v', 'i', 'd', 's'}, format[] = {'s', 't', 'r', 'f'};
    const auto stream = std::search(head.begin(), head.end(), std::begin(mark), std::end(mark));
    const auto chunk = std::search(stream, head.end(), std::begin(format), std::end(format));
    if (head.end() - chunk < 28)
        return "unknown";
    const auto at = static_cast<std::size_t>(chunk - head.begin()) + 8;
    const std::uint32_t compression = word_at(head, at + 16);
    if (compression == 0 || compression == 3)
        return "uncompressed, " + std::to_string(head[at + 14]) + " bits";
    if (compression == 1)
        return "run lengths";
    std::string name;
    for (int n = 0; n < 4; ++n) {
        const char c = static_cast<char>(compression >> (8 * n));
        name += c > ' ' && c < 127 ? c : '?';
    }
    return name;
}

struct GiveBack {
    void operator()(IAVIFile* file) const { AVIFileRelease(file); }
    void operator()(IAVIStream* stream) const { AVIStreamRelease(stream); }
    void operator()(IGetFrame* frames) const { AVIStreamGetFrameClose(frames); }
};
using FilePtr = std::unique_ptr<IAVIFile, GiveBack>;
using StreamPtr = std::unique_ptr<IAVIStream, GiveBack>;
using FramesPtr = std::unique_ptr<IGetFrame, GiveBack>;

// Given back from the last to the first.
struct OpenAvi {
    FilePtr file;
    StreamPtr stream;
    FramesPtr frames;
};

class AviReader : public MovieReader {
public:
    AviReader(const std::string& name, OpenAvi avi, const AVISTREAMINFOA& stream_info,
              const AVIFILEINFOA& file_info)
        : name_(name), avi_(std::move(avi)) {
        info_.format = "AVI";
        info_.rows = static_cast<int>(file_info.dwHeight);
        info_.cols = static_cast<int>(file_info.dwWidth);
        info_.frame_count = stream_info.dwLength;
        if (stream_info.dwScale > 0)
            info_.rate = double{1} * stream_info.dwRate / stream_info.dwScale;
        gray_ = std::make_unique<CImage>(info_.rows, info_.cols, ImageType::gray, FileFormat::none,
                                         PixelFormat::byte);
        colour_ = std::make_unique<CImage>(info_.rows, info_.cols, ImageType::colour,
                                           FileFormat::none, PixelFormat::byte);
        if (!gray_->pixels || !colour_->pixels)
            throw Error(name + ": there is no memory for a frame");
        // A movie may begin with black: the middle and the end have a say too.
        for (const std::int64_t n :
             {std::int64_t{0}, info_.frame_count / 2, info_.frame_count - 1}) {
            next_ = n;
            if (AviReader::next()->image_type == ImageType::colour) {
                info_.image_type = ImageType::colour;
                break;
            }
        }
        next_ = 0;
    }

    void set_codec(const std::string& codec) { info_.codec = codec; }

    const CImage* next() override {
        if (next_ >= info_.frame_count)
            return nullptr;
        const void* const frame = AVIStreamGetFrame(avi_.frames.get(), static_cast<int>(next_));
        if (!frame)
            throw Error(name_ + ": frame " + std::to_string(next_) + " can't be read");
        ++next_;
        const auto* const bits =
            static_cast<const unsigned char*>(frame) + sizeof(BITMAPINFOHEADER);
        const bool is_gray = info_.image_type == ImageType::gray && copy_gray(bits);
        if (!is_gray)
            copy_colour(bits);
        return is_gray ? gray_.get() : colour_.get();
    }

    void seek(std::int64_t frame) override {
        if (frame < 0 || frame >= info_.frame_count)
            throw UsageError(name_ + ": it has frames 0 to " +
                             std::to_string(info_.frame_count - 1));
        next_ = frame;
    }

private:
    const unsigned char* row_of(const unsigned char* bits, int row) const {
        return bits + (info_.rows - 1 - row) * row_bytes(info_.cols);
    }

    // False at the first pixel that isn't gray.
    bool copy_gray(const unsigned char* bits) {
        for (int i = 0; i < info_.rows; ++i) {
            const unsigned char* in = row_of(bits, i);
            float* const out = gray_->pixels[i];
            for (int j = 0; j < info_.cols; ++j, in += 3) {
                if (in[0] != in[1] || in[1] != in[2])
                    return false;
                out[j] = in[0];
            }
        }
        return true;
    }

    void copy_colour(const unsigned char* bits) {
        for (int i = 0; i < info_.rows; ++i) {
            const unsigned char* in = row_of(bits, i);
            float* out = colour_->pixels[i];
            for (int j = 0; j < info_.cols; ++j, in += 3, out += 3) {
                out[0] = in[2];
                out[1] = in[1];
                out[2] = in[0];
            }
        }
    }

    std::string name_;
    OpenAvi avi_;
    ImagePtr gray_, colour_;
    std::int64_t next_ = 0;
};

class AviWriter : public MovieWriter {
public:
    AviWriter(const std::string& path, const MovieSettings& settings)
        : path_(path), settings_(settings), mapper_(path, settings_), pending_(path) {
        settings_.image_type = ImageType::colour;
        bits_.resize(static_cast<std::size_t>(row_bytes(settings.cols) * settings.rows));
        AVIFileInit();
        PAVIFILE file = nullptr;
        PAVISTREAM stream = nullptr;
        constexpr unsigned creates = 0x1002;
        if (open_avi(&file, pending_.path().c_str(), creates) != AVIERR_OK)
            fail();
        file_.reset(file);
        const Fraction rate = fraction_of(settings.rate);
        AVISTREAMINFOA info{};
        info.fccType = streamtypeVIDEO;
        info.dwRate = static_cast<std::uint32_t>(rate.numerator);
        info.dwScale = static_cast<std::uint32_t>(rate.denominator);
        if (AVIFileCreateStreamA(file, &stream, &info) != AVIERR_OK)
            fail();
        stream_.reset(stream);
        BITMAPINFOHEADER header = frame_format(settings.rows, settings.cols);
        header.biSizeImage = static_cast<std::uint32_t>(bits_.size());
        if (AVIStreamSetFormat(stream, 0, &header, sizeof header) != AVIERR_OK)
            fail();
    }

    void add(const CImage& frame) override {
        mapper_.check(frame);
        rgb_.resize(std::size_t{3} * static_cast<std::size_t>(settings_.cols));
        for (int i = 0; i < settings_.rows; ++i) {
            colours_.bytes(frame, i, rgb_.data());
            unsigned char* out =
                bits_.data() + (settings_.rows - 1 - i) * row_bytes(settings_.cols);
            for (std::size_t j = 0; j < rgb_.size(); j += 3) {
                *out++ = rgb_[j + 2];
                *out++ = rgb_[j + 1];
                *out++ = rgb_[j];
            }
        }
        constexpr unsigned key_frame = 16;
        if (AVIStreamWrite(stream_.get(), -1, 1, bits_.data(),
                           static_cast<std::int32_t>(bits_.size()), key_frame, nullptr,
                           nullptr) != AVIERR_OK)
            fail();
    }

    void finish() override {
        if (close_avi(file_.release(), stream_.release()) != AVIERR_OK)
            fail();
        pending_.commit();
    }

private:
    [[noreturn]] void fail() const { throw Error(path_ + ": Can't write all the data"); }

    std::string path_;
    MovieSettings settings_;
    FrameMapper mapper_; // refuses colour in a gray movie
    FrameMapper colours_{path_, in_colour(settings_)};
    PendingFile pending_;
    FilePtr file_;
    StreamPtr stream_;
    std::vector<unsigned char> bits_;
    std::vector<std::uint8_t> rgb_;

    static MovieSettings in_colour(MovieSettings settings) {
        settings.image_type = ImageType::colour;
        return settings;
    }
};

} // namespace

std::unique_ptr<MovieReader> open_avi_movie(const std::string& path, Source& source,
                                            const OpenMovieOptions& options) {
    AVIFileInit();
    PAVIFILE file = nullptr;
    // Short memory is no reason to leave the file to other codecs, which give other values.
    const auto is_done = [](int result) {
        if (result == AVIERR_MEMORY)
            throw std::bad_alloc();
        return result == AVIERR_OK;
    };
    if (!is_done(open_avi(&file, source.path_on_disk().c_str(), 0)))
        return nullptr;
    OpenAvi avi;
    avi.file.reset(file);
    PAVISTREAM stream = nullptr;
    if (!is_done(AVIFileGetStream(file, &stream, streamtypeVIDEO, 0)))
        return nullptr;
    avi.stream.reset(stream);
    AVISTREAMINFOA stream_info{};
    AVIFILEINFOA file_info{};
    constexpr std::uint32_t largest = std::numeric_limits<int>::max() / 4;
    if (AVIStreamInfoA(stream, &stream_info, sizeof stream_info) != AVIERR_OK ||
        AVIFileInfoA(file, &file_info, sizeof file_info) != AVIERR_OK || stream_info.dwLength < 1 ||
        file_info.dwHeight < 1 || file_info.dwWidth < 1 || file_info.dwHeight > largest ||
        file_info.dwWidth > largest)
        return nullptr;
    const BITMAPINFOHEADER wanted =
        frame_format(static_cast<int>(file_info.dwHeight), static_cast<int>(file_info.dwWidth));
    errno = 0;
    avi.frames.reset(open_avi_frames(stream, &wanted));
    if (!avi.frames && errno == ENOMEM)
        throw std::bad_alloc();
    if (!avi.frames)
        return nullptr;
    if (!options.allow_truncated && is_cut_short(source))
        throw Error(path + ": is cut short; it holds " + std::to_string(stream_info.dwLength) +
                    " whole frames, which --allow-truncated takes");
    auto reader = std::make_unique<AviReader>(path, std::move(avi), stream_info, file_info);
    reader->set_codec(codec_of(source));
    return reader;
}

std::unique_ptr<MovieWriter> create_avi_movie(const std::string& path,
                                              const MovieSettings& settings) {
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    if (row_bytes(settings.cols) > largest / settings.rows)
        throw Error(path + ": frames of an AVI movie have less than 2^31 bytes");
    return std::make_unique<AviWriter>(path, settings);
}

} // namespace vorlane::host
