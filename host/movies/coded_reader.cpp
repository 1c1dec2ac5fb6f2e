// Movies of every codec that FFmpeg's libraries decode.
#include <algorithm>
#include <cerrno>
#include <cmath>

#include "host/movies/ffmpeg.h"
#include "host/movies/parts.h"
#include "host/natural.h"

namespace vorlane::host {

namespace {

constexpr int io_block = 1 << 16;

int read_block(void* opaque, std::uint8_t* to, int count);
std::int64_t seek_block(void* opaque, std::int64_t offset, int whence);

// The file behind FFmpeg's reader: bytes of this one file, and no way to another.
struct Input {
    explicit Input(std::unique_ptr<Source> from) : source(std::move(from)) {
        auto* const block = static_cast<unsigned char*>(av_malloc(io_block));
        io.reset(block
                     ? avio_alloc_context(block, io_block, 0, this, read_block, nullptr, seek_block)
                     : nullptr);
        if (!io)
            throw Error("there is no memory for a movie");
    }
    std::unique_ptr<Source> source;
    std::int64_t position = 0;
    Coded<AVIOContext> io;
};

int read_block(void* opaque, std::uint8_t* to, int count) {
    Input& input = *static_cast<Input*>(opaque);
    const std::size_t got = input.source->read(input.position, to, static_cast<std::size_t>(count));
    input.position += static_cast<std::int64_t>(got);
    return got == 0 ? AVERROR_EOF : static_cast<int>(got);
}

std::int64_t seek_block(void* opaque, std::int64_t offset, int whence) {
    Input& input = *static_cast<Input*>(opaque);
    if (whence == AVSEEK_SIZE)
        return input.source->size();
    const std::int64_t from = whence == SEEK_CUR   ? input.position
                              : whence == SEEK_END ? input.source->size()
                                                   : 0;
    if (offset + from < 0)
        return AVERROR(EINVAL);
    return input.position = from + offset;
}

int refuse_file(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

struct CloseInput {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};

// Lists of other files, and text that could be drawn.
bool is_refused(const std::string& format) {
    for (const char* const name :
         {"concat", "hls", "dash", "imf", "tty", "sdp", "rtsp", "applehttp", "ffmetadata", "lavfi",
          "bin", "xbin", "adf", "idf"}) {
        if (format == name || format.starts_with(std::string(name) + ","))
            return true;
    }
    return false;
}

class CodedReader : public MovieReader {
public:
    CodedReader(std::unique_ptr<Source> source, const OpenMovieOptions& options)
        : name_(source->name()), allow_truncated_(options.allow_truncated),
          input_(std::make_unique<Input>(std::move(source))) {
        silence_codecs();
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        if (!packet_ || !frame_)
            throw Error(name_ + ": there is no memory for a movie");
        if (!allow_truncated_ && is_cut_short(*input_->source))
            throw Error(name_ +
                        ": is cut short; --allow-truncated takes the frames that are there");
        open_file();
        open_codec();
        find_rotation();
        // The first frame tells what kind all of them are.
        if (!decode())
            throw Error(name_ + ": has no frame that can be read");
        has_decoded_ = true;
        describe();
    }

    const CImage* next() override {
        if (!has_decoded_ && !decode())
            return nullptr;
        has_decoded_ = false;
        ++next_;
        return image_of_frame();
    }

    void seek(std::int64_t frame) override {
        if (frame < 0 || (info_.frame_count >= 0 && frame >= info_.frame_count && !times_.empty()))
            fail_seek();
        if (frame == next_)
            return;
        if (frame > next_ && frame - next_ <= near)
            return skip_to(frame);
        list_times();
        if (frame >= static_cast<std::int64_t>(times_.size()) && !times_.empty())
            fail_seek();
        const bool is_listed = !times_.empty();
        const std::int64_t time = is_listed ? times_[static_cast<std::size_t>(frame)] : 0;
        if (!is_listed || !rewind_to(time)) {
            rewind_to_begin();
            return skip_to(frame);
        }
        while (decode()) {
            if (frame_->best_effort_timestamp == time) {
                has_decoded_ = true;
                next_ = frame;
                return;
            }
            if (frame_->best_effort_timestamp > time)
                break;
        }
        rewind_to_begin(); // the file's times don't hold what they promise
        skip_to(frame);
    }

    std::int64_t count_frames() override {
        if (info_.frame_count < 0) {
            const std::int64_t here = next_;
            list_times();
            info_.frame_count = packets_;
            rewind_to_begin();
            skip_to(here);
        }
        return info_.frame_count;
    }

private:
    static constexpr std::int64_t near = 16; // frames that are sooner decoded than sought

    [[noreturn]] void fail_seek() const {
        throw UsageError(name_ + ": it has frames 0 to " +
                         std::to_string(std::max(info_.frame_count, packets_) - 1));
    }

    void open_file() {
        AVFormatContext* format = avformat_alloc_context();
        if (!format)
            throw Error(name_ + ": there is no memory for a movie");
        format->pb = input_->io.get();
        format->io_open = refuse_file;
        const int error = avformat_open_input(&format, "", nullptr, nullptr); // frees on failure
        if (error < 0)
            throw Error(name_ + ": isn't a movie that can be read, or is cut short (" +
                        codec_error(error) + ")");
        format_.reset(format);
        constexpr int believable = AVPROBE_SCORE_MAX / 4;
        if (is_refused(format->iformat->name) || format->probe_score < believable)
            throw Error(name_ + ": isn't a movie of a known kind");
        if (const int found = avformat_find_stream_info(format, nullptr); found < 0)
            throw Error(name_ + ": isn't a movie that can be read (" + codec_error(found) + ")");
    }

    void open_codec() {
        const AVCodec* decoder = nullptr;
        const int index =
            av_find_best_stream(format_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
        if (index < 0 || !decoder)
            throw Error(name_ + ": has no video that can be read");
        stream_ = format_->streams[index];
        for (unsigned n = 0; n < format_->nb_streams; ++n) {
            if (static_cast<int>(n) != index)
                format_->streams[n]->discard = AVDISCARD_ALL;
        }
        const AVCodecParameters& coded = *stream_->codecpar;
        if (!sizes_are_believable(coded.height, coded.width, 3, 1, input_->source->size()))
            throw Error(name_ + ": frames of " + std::to_string(coded.height) + " x " +
                        std::to_string(coded.width) + " pixels aren't believable of this file");
        codec_.reset(avcodec_alloc_context3(decoder));
        if (!codec_ || avcodec_parameters_to_context(codec_.get(), &coded) < 0)
            throw Error(name_ + ": there is no memory for a movie");
        codec_->pkt_timebase = stream_->time_base;
        codec_->max_pixels =
            std::max<std::int64_t>(std::int64_t{1} << 26, std::int64_t{coded.width} * coded.height);
        if (const int error = avcodec_open2(codec_.get(), decoder, nullptr); error < 0)
            throw Error(name_ + ": its codec " + std::string(decoder->name) + " can't be opened (" +
                        codec_error(error) + ")");
    }

    // In degrees counter-clockwise.
    void find_rotation() {
        const std::uint8_t* const matrix =
            av_stream_get_side_data(stream_, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
        if (!matrix)
            return;
        const double angle = av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
        if (std::isfinite(angle))
            rotation_ = ((static_cast<int>(std::lround(angle / 90.0)) % 4) + 4) % 4 * 90;
    }

    void describe() {
        const AVPixFmtDescriptor& pixels = descriptor();
        const bool is_gray = pixels.nb_components <= 2 && !(pixels.flags & AV_PIX_FMT_FLAG_PAL) &&
                             !(pixels.flags & AV_PIX_FMT_FLAG_RGB);
        info_.image_type = is_gray ? ImageType::gray : ImageType::colour;
        info_.pixel_format =
            is_gray && pixels.comp[0].depth > 8 ? PixelFormat::int16 : PixelFormat::byte;
        rows_ = frame_->height;
        cols_ = frame_->width;
        info_.rows = rotation_ % 180 == 0 ? rows_ : cols_;
        info_.cols = rotation_ % 180 == 0 ? cols_ : rows_;
        info_.format =
            format_->iformat->long_name ? format_->iformat->long_name : format_->iformat->name;
        info_.codec = codec_->codec->name;
        if (stream_->nb_frames > 0)
            info_.frame_count = stream_->nb_frames;
        const AVRational rate = av_guess_frame_rate(format_.get(), stream_, nullptr);
        if (rate.num > 0 && rate.den > 0)
            info_.rate = av_q2d(rate);
        info_.facts.emplace_back("pixels",
                                 av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame_->format)));
        if (rotation_ != 0)
            info_.facts.emplace_back("turned", std::to_string(rotation_) + " degrees");
    }

    const AVPixFmtDescriptor& descriptor() const {
        const auto* const pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame_->format));
        if (!pixels)
            throw Error(name_ + ": has frames of an unknown kind");
        return *pixels;
    }

    // Brings the next frame into frame_; false behind the last one.
    bool decode() {
        for (;;) {
            const int received = avcodec_receive_frame(codec_.get(), frame_.get());
            if (received == 0) {
                if (frame_->decode_error_flags != 0 && !allow_truncated_)
                    fail_frame("is damaged");
                ++decoded_;
                return true;
            }
            if (received == AVERROR_EOF)
                return false;
            if (received != AVERROR(EAGAIN))
                fail_frame("can't be read (" + codec_error(received) + ")");
            send_packet();
        }
    }

    [[noreturn]] void fail_frame(const std::string& what) const {
        throw Error(name_ + ": frame " + std::to_string(next_) + " " + what +
                    "; --allow-truncated takes what is there");
    }

    void send_packet() {
        for (;;) {
            av_packet_unref(packet_.get());
            const int error = av_read_frame(format_.get(), packet_.get());
            if (error < 0) {
                if (error != AVERROR_EOF && !allow_truncated_)
                    fail_frame("can't be read, the file is cut short or damaged");
                avcodec_send_packet(codec_.get(), nullptr);
                return;
            }
            if (packet_->stream_index != stream_->index)
                continue;
            if ((packet_->flags & AV_PKT_FLAG_CORRUPT) != 0) {
                if (!allow_truncated_)
                    fail_frame("is damaged");
                continue;
            }
            const int sent = avcodec_send_packet(codec_.get(), packet_.get());
            if (sent < 0 && !allow_truncated_)
                fail_frame("can't be read (" + codec_error(sent) + ")");
            if (sent >= 0)
                return;
        }
    }

    // The times of all frames in the order in which they are shown.
    void list_times() {
        if (is_listed_)
            return;
        is_listed_ = true;
        rewind_to_begin();
        bool have_times = true;
        for (;;) {
            av_packet_unref(packet_.get());
            if (av_read_frame(format_.get(), packet_.get()) < 0)
                break;
            if (packet_->stream_index != stream_->index ||
                (packet_->flags & (AV_PKT_FLAG_DISCARD | AV_PKT_FLAG_CORRUPT)) != 0)
                continue;
            ++packets_;
            have_times = have_times && packet_->pts != AV_NOPTS_VALUE;
            if (have_times)
                times_.push_back(packet_->pts);
        }
        if (have_times)
            std::sort(times_.begin(), times_.end());
        if (!have_times || std::adjacent_find(times_.begin(), times_.end()) != times_.end())
            times_.clear();
        rewind_to_begin();
    }

    bool rewind_to(std::int64_t time) {
        avcodec_flush_buffers(codec_.get());
        has_decoded_ = false;
        return av_seek_frame(format_.get(), stream_->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
    }

    // By opening the file once more: not every format can be rewound.
    void rewind_to_begin() {
        codec_.reset();
        format_.reset();
        input_->position = 0;
        auto fresh = std::make_unique<Input>(std::move(input_->source));
        input_ = std::move(fresh);
        open_file();
        open_codec();
        has_decoded_ = false;
        next_ = 0;
    }

    void skip_to(std::int64_t frame) {
        while (next_ < frame) {
            if (!has_decoded_ && !decode())
                fail_seek();
            has_decoded_ = false;
            ++next_;
        }
    }

    const CImage* image_of_frame() {
        if (frame_->height != rows_ || frame_->width != cols_)
            throw Error(name_ + ": frame " + std::to_string(next_ - 1) +
                        " has another size than the first");
        if (!plain_)
            plain_ = std::make_unique<CImage>(rows_, cols_, info_.image_type, FileFormat::none,
                                              info_.pixel_format);
        if (!plain_->pixels)
            throw Error(name_ + ": there is no memory for a frame");
        const AVPixFmtDescriptor& pixels = descriptor();
        if (info_.image_type == ImageType::gray && pixels.nb_components <= 2)
            copy_gray(pixels);
        else
            copy_colour(pixels);
        if (rotation_ == 0)
            return plain_.get();
        turned_ = rotate(*plain_, rotation_);
        turned_->pixel_format = info_.pixel_format;
        return turned_.get();
    }

    // The levels as they are; those of a range of video are stretched to the full one.
    void copy_gray(const AVPixFmtDescriptor& pixels) {
        const int depth = pixels.comp[0].depth;
        const bool is_video = frame_->color_range == AVCOL_RANGE_MPEG;
        const double unit = std::ldexp(1.0, depth - 8);
        const double largest = std::ldexp(1.0, depth) - 1.0;
        std::vector<std::uint16_t> line(static_cast<std::size_t>(cols_));
        const std::uint8_t* data[4];
        std::copy(std::begin(frame_->data), std::begin(frame_->data) + 4, data);
        for (int i = 0; i < rows_; ++i) {
            av_read_image_line(line.data(), data, frame_->linesize, &pixels, 0, i, 0, cols_, 0);
            float* const out = plain_->pixels[i];
            for (std::size_t j = 0; j < line.size(); ++j) {
                const double level =
                    is_video
                        ? std::nearbyint(std::clamp(
                              (line[j] - 16.0 * unit) * largest / (219.0 * unit), 0.0, largest))
                        : line[j];
                out[j] = static_cast<float>(depth < 8 ? level * 255.0 / largest : level);
            }
        }
    }

    void copy_colour(const AVPixFmtDescriptor& pixels) {
        Converter::Colours from;
        from.matrix = frame_->colorspace;
        constexpr int rows_of_small_frames = 576;
        if (from.matrix == AVCOL_SPC_UNSPECIFIED || from.matrix == AVCOL_SPC_RGB)
            from.matrix = rows_ > rows_of_small_frames ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
        const std::string name = pixels.name;
        from.is_full = frame_->color_range == AVCOL_RANGE_JPEG || name.starts_with("yuvj") ||
                       (pixels.flags & AV_PIX_FMT_FLAG_RGB) != 0 ||
                       (pixels.nb_components <= 2 && frame_->color_range != AVCOL_RANGE_MPEG);
        const int stride = FFALIGN(3 * cols_, 64);
        rgb_.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(rows_) + 64);
        std::uint8_t* const to[4] = {rgb_.data(), nullptr, nullptr, nullptr};
        const int strides[4] = {stride, 0, 0, 0};
        try {
            converter_.convert(*frame_, from, AV_PIX_FMT_RGB24, {from.matrix, true}, to, strides);
        } catch (const Error& error) {
            throw Error(name_ + ": " + error.what());
        }
        if (info_.image_type == ImageType::gray)
            throw Error(name_ + ": frame " + std::to_string(next_ - 1) +
                        " has colour, and the movie began gray");
        for (int i = 0; i < rows_; ++i) {
            const std::uint8_t* const in = rgb_.data() + static_cast<std::ptrdiff_t>(i) * stride;
            std::copy_n(in, std::size_t{3} * static_cast<std::size_t>(cols_), plain_->pixels[i]);
        }
    }

    std::string name_;
    bool allow_truncated_;
    std::unique_ptr<Input> input_;
    std::unique_ptr<AVFormatContext, CloseInput> format_; // before its input goes
    Coded<AVCodecContext> codec_;
    Coded<AVPacket> packet_;
    Coded<AVFrame> frame_;
    AVStream* stream_ = nullptr;
    Converter converter_;
    ImagePtr plain_, turned_;
    std::vector<std::uint8_t> rgb_;
    std::vector<std::int64_t> times_;
    bool is_listed_ = false;
    bool has_decoded_ = false; // frame_ holds the frame that comes next
    std::int64_t packets_ = 0;
    std::int64_t next_ = 0;
    std::int64_t decoded_ = 0;
    int rows_ = 0, cols_ = 0; // as coded
    int rotation_ = 0;
};

} // namespace

std::unique_ptr<MovieReader> open_coded_movie(std::unique_ptr<Source> source,
                                              const OpenMovieOptions& options) {
    return std::make_unique<CodedReader>(std::move(source), options);
}

} // namespace vorlane::host
