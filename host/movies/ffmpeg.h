// Private to the host: owners of what FFmpeg's libraries hand out, and their messages.
#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace vorlane::host {

struct FreeCoded {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
    void operator()(AVIOContext* io) const {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};
template<class T>
using Coded = std::unique_ptr<T, FreeCoded>;

// Nothing of what the libraries have to say reaches the terminal.
void silence_codecs();

std::string codec_error(int error);

// Converts frames between pixel formats of one size, exactly where that is possible.
class Converter {
public:
    // `coded` has luma and chroma by a matrix (AVCOL_SPC_...) and in a range, full or that of video.
    struct Colours {
        int matrix = AVCOL_SPC_UNSPECIFIED;
        bool is_full = false;
    };
    void convert(const AVFrame& from, const Colours& from_colours, AVPixelFormat to_format,
                 const Colours& to_colours, std::uint8_t* const* to, const int* to_strides);

private:
    Coded<SwsContext> scaler_;
    int rows_ = 0, cols_ = 0, from_ = AV_PIX_FMT_NONE, to_ = AV_PIX_FMT_NONE;
};

} // namespace vorlane::host
