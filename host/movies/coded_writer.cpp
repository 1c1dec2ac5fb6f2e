// Movies by the encoders of FFmpeg's libraries.
#include <cctype>
#include <cmath>
#include <cstring>
#include <vector>

#include "host/file_kinds.h"
#include "host/movies/ffmpeg.h"
#include "host/movies/parts.h"

namespace vorlane::host {

namespace {

struct CloseOutput {
    void operator()(AVFormatContext* format) const {
        if (format->pb)
            avio_closep(&format->pb);
        avformat_free_context(format);
    }
};

struct Target {
    const char* container;
    const AVCodec* encoder;
    AVPixelFormat pixels;
};

Target target_of(const std::string& path, const MovieSettings& settings) {
    const std::string ending = ending_of(path);
    const bool is_gray = settings.image_type == ImageType::gray;
    if (ending == ".gif")
        return {"gif", avcodec_find_encoder(AV_CODEC_ID_GIF),
                is_gray ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_PAL8};
    if (ending == ".mkv")
        return {"matroska", avcodec_find_encoder(AV_CODEC_ID_FFV1),
                !is_gray                                      ? AV_PIX_FMT_BGR0
                : settings.pixel_format == PixelFormat::int16 ? AV_PIX_FMT_GRAY16LE
                                                              : AV_PIX_FMT_GRAY8};
    const AVCodec* encoder = avcodec_find_encoder_by_name("libx264");
    // Half of the chroma needs even sides.
    const bool is_odd = encoder && (settings.rows % 2 != 0 || settings.cols % 2 != 0);
    if (!encoder)
        encoder = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
    return {ending == ".mov" ? "mov" : "mp4", encoder,
            is_odd ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV420P};
}

class CodedWriter : public MovieWriter {
public:
    CodedWriter(const std::string& path, const MovieSettings& settings)
        : path_(path), settings_(settings), mapper_(path, settings), pending_(path),
          target_(target_of(path, settings)) {
        silence_codecs();
        if (!target_.encoder)
            throw Error(path + ": FFmpeg's libraries on this machine have no encoder for it");
        AVFormatContext* format = nullptr;
        check(avformat_alloc_output_context2(&format, nullptr, target_.container, nullptr));
        format_.reset(format);
        open_encoder();
        AVStream* const stream = avformat_new_stream(format, nullptr);
        if (!stream)
            fail("there is no memory for a movie");
        stream->time_base = encoder_->time_base;
        stream->avg_frame_rate = encoder_->framerate;
        check(avcodec_parameters_from_context(stream->codecpar, encoder_.get()));
        check(avio_open(&format->pb, ("file:" + pending_.path()).c_str(), AVIO_FLAG_WRITE));
        check(avformat_write_header(format, nullptr));
        needs_trailer_ = true;
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        raw_.reset(av_frame_alloc());
        if (!packet_ || !frame_ || !raw_)
            fail("there is no memory for a movie");
        make_buffer(*frame_, target_.pixels);
        if (is_luma_and_chroma())
            make_buffer(*raw_, AV_PIX_FMT_RGB24);
    }

    ~CodedWriter() override {
        // Some formats hold a frame back until the trailer, also in a file that is given up.
        if (needs_trailer_)
            av_write_trailer(format_.get());
    }
    CodedWriter(const CodedWriter&) = delete;
    CodedWriter& operator=(const CodedWriter&) = delete;

    void add(const CImage& image) override {
        mapper_.check(image);
        check(av_frame_make_writable(frame_.get()));
        fill(image);
        frame_->pts = is_gif() ? std::llround(static_cast<double>(frames_) * 100.0 / settings_.rate)
                               : frames_;
        ++frames_;
        check(avcodec_send_frame(encoder_.get(), frame_.get()));
        drain();
    }

    void finish() override {
        check(avcodec_send_frame(encoder_.get(), nullptr));
        drain();
        needs_trailer_ = false;
        check(av_write_trailer(format_.get()));
        check(avio_closep(&format_->pb));
        pending_.commit();
    }

private:
    [[noreturn]] void fail(const std::string& reason) const { throw Error(path_ + ": " + reason); }

    void check(int result) const {
        if (result < 0)
            fail("can't be written (" + codec_error(result) + ")");
    }

    bool is_gif() const { return target_.encoder->id == AV_CODEC_ID_GIF; }

    bool is_luma_and_chroma() const {
        return target_.pixels == AV_PIX_FMT_YUV420P || target_.pixels == AV_PIX_FMT_YUV444P;
    }

    void open_encoder() {
        encoder_.reset(avcodec_alloc_context3(target_.encoder));
        if (!encoder_)
            fail("there is no memory for a movie");
        const Fraction rate = fraction_of(settings_.rate);
        encoder_->width = settings_.cols;
        encoder_->height = settings_.rows;
        encoder_->pix_fmt = target_.pixels;
        encoder_->framerate = {rate.numerator, rate.denominator};
        encoder_->time_base =
            is_gif() ? AVRational{1, 100} : AVRational{rate.denominator, rate.numerator};
        encoder_->sample_aspect_ratio = {1, 1};
        if (is_luma_and_chroma()) {
            encoder_->colorspace = AVCOL_SPC_BT709;
            encoder_->color_primaries = AVCOL_PRI_BT709;
            encoder_->color_trc = AVCOL_TRC_BT709;
            encoder_->color_range = AVCOL_RANGE_MPEG;
        }
        if (format_->oformat->flags & AVFMT_GLOBALHEADER)
            encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        AVDictionary* options = nullptr;
        if (is_gif()) {
            av_dict_set(&options, "gifflags", "0", 0); // frames have palettes of their own
        } else if (std::strcmp(target_.encoder->name, "libx264") == 0) {
            av_dict_set(&options, "preset", "medium", 0);
            av_dict_set(&options, "crf", "16", 0); // no difference meets the eye
        } else if (target_.encoder->id == AV_CODEC_ID_MPEG4) {
            encoder_->flags |= AV_CODEC_FLAG_QSCALE;
            encoder_->global_quality = 2 * FF_QP2LAMBDA;
        }
        const int error = avcodec_open2(encoder_.get(), target_.encoder, &options);
        av_dict_free(&options);
        if (error < 0)
            fail("frames of " + std::to_string(settings_.rows) + " x " +
                 std::to_string(settings_.cols) + " pixels can't be written as " +
                 target_.encoder->name + " (" + codec_error(error) + ")");
    }

    void make_buffer(AVFrame& frame, AVPixelFormat pixels) const {
        frame.format = pixels;
        frame.width = settings_.cols;
        frame.height = settings_.rows;
        check(av_frame_get_buffer(&frame, 0));
    }

    static std::uint8_t* row_of(const AVFrame& frame, int row) {
        return frame.data[0] + std::ptrdiff_t{row} * frame.linesize[0];
    }

    void fill(const CImage& image) {
        const auto cols = static_cast<std::size_t>(settings_.cols);
        line_.resize(3 * cols);
        switch (target_.pixels) {
        case AV_PIX_FMT_GRAY8:
            for (int i = 0; i < settings_.rows; ++i)
                mapper_.bytes(image, i, row_of(*frame_, i));
            return;
        case AV_PIX_FMT_GRAY16LE:
            numbers_.resize(cols);
            for (int i = 0; i < settings_.rows; ++i) {
                mapper_.numbers(image, i, 0.0, 65535.0, numbers_.data());
                std::uint8_t* out = row_of(*frame_, i);
                for (const double number : numbers_) {
                    const auto word = static_cast<unsigned>(number);
                    *out++ = static_cast<std::uint8_t>(word & 255);
                    *out++ = static_cast<std::uint8_t>(word >> 8);
                }
            }
            return;
        case AV_PIX_FMT_BGR0:
            for (int i = 0; i < settings_.rows; ++i) {
                mapper_.bytes(image, i, line_.data());
                std::uint8_t* out = row_of(*frame_, i);
                for (std::size_t j = 0; j < line_.size(); j += 3) {
                    *out++ = line_[j + 2];
                    *out++ = line_[j + 1];
                    *out++ = line_[j];
                    *out++ = 0;
                }
            }
            return;
        case AV_PIX_FMT_PAL8:
            fill_with_palette(image);
            return;
        default:
            fill_luma_and_chroma(image);
        }
    }

    void fill_with_palette(const CImage& image) {
        const auto cols = static_cast<std::size_t>(settings_.cols);
        rgb_.resize(3 * cols * static_cast<std::size_t>(settings_.rows));
        for (int i = 0; i < settings_.rows; ++i)
            mapper_.bytes(image, i, rgb_.data() + 3 * cols * static_cast<std::size_t>(i));
        const Palette palette = palette_of(rgb_);
        std::uint32_t colours[256];
        for (std::size_t n = 0; n < 256; ++n) {
            const std::uint8_t* const rgb =
                3 * n < palette.colours.size() ? palette.colours.data() + 3 * n : nullptr;
            colours[n] =
                0xFF000000u |
                (rgb ? std::uint32_t{rgb[0]} << 16 | std::uint32_t{rgb[1]} << 8 | rgb[2] : 0u);
        }
        std::memcpy(frame_->data[1], colours, sizeof colours);
        for (int i = 0; i < settings_.rows; ++i)
            std::memcpy(row_of(*frame_, i),
                        palette.indices.data() + cols * static_cast<std::size_t>(i), cols);
    }

    void fill_luma_and_chroma(const CImage& image) {
        for (int i = 0; i < settings_.rows; ++i) {
            mapper_.bytes(image, i, line_.data());
            std::uint8_t* out = row_of(*raw_, i);
            if (settings_.image_type == ImageType::colour) {
                std::memcpy(out, line_.data(), line_.size());
                continue;
            }
            for (int j = 0; j < settings_.cols; ++j, out += 3)
                out[0] = out[1] = out[2] = line_[static_cast<std::size_t>(j)];
        }
        converter_.convert(*raw_, {AVCOL_SPC_BT709, true}, target_.pixels, {AVCOL_SPC_BT709, false},
                           frame_->data, frame_->linesize);
    }

    void drain() {
        for (;;) {
            const int received = avcodec_receive_packet(encoder_.get(), packet_.get());
            if (received == AVERROR(EAGAIN) || received == AVERROR_EOF)
                return;
            check(received);
            AVStream* const stream = format_->streams[0];
            if (packet_->duration == 0 && !is_gif())
                packet_->duration = 1;
            av_packet_rescale_ts(packet_.get(), encoder_->time_base, stream->time_base);
            packet_->stream_index = 0;
            check(av_interleaved_write_frame(format_.get(), packet_.get()));
        }
    }

    std::string path_;
    MovieSettings settings_;
    FrameMapper mapper_;
    PendingFile pending_;
    Target target_;
    std::unique_ptr<AVFormatContext, CloseOutput> format_;
    Coded<AVCodecContext> encoder_;
    Coded<AVPacket> packet_;
    Coded<AVFrame> frame_, raw_;
    Converter converter_;
    std::vector<std::uint8_t> line_, rgb_;
    std::vector<double> numbers_;
    std::int64_t frames_ = 0;
    bool needs_trailer_ = false;
};

} // namespace

std::unique_ptr<MovieWriter> create_coded_movie(const std::string& path,
                                                const MovieSettings& settings) {
    return std::make_unique<CodedWriter>(path, settings);
}

} // namespace vorlane::host
