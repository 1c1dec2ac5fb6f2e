#include "host/movies/ffmpeg.h"

#include "host/error.h"

namespace vorlane::host {

void silence_codecs() {
    static const bool is_silent = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    static_cast<void>(is_silent);
}

std::string codec_error(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return text;
}

void Converter::convert(const AVFrame& from, const Colours& from_colours, AVPixelFormat to_format,
                        const Colours& to_colours, std::uint8_t* const* to, const int* to_strides) {
    if (!scaler_ || rows_ != from.height || cols_ != from.width || from_ != from.format ||
        to_ != to_format) {
        constexpr int exact =
            SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;
        scaler_.reset(sws_getContext(from.width, from.height,
                                     static_cast<AVPixelFormat>(from.format), from.width,
                                     from.height, to_format, exact, nullptr, nullptr, nullptr));
        if (!scaler_)
            throw Error("frames of the kind " +
                        std::string(av_get_pix_fmt_name(static_cast<AVPixelFormat>(from.format))) +
                        " can't be converted");
        rows_ = from.height;
        cols_ = from.width;
        from_ = from.format;
        to_ = to_format;
        constexpr int one = 1 << 16;
        sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(from_colours.matrix),
                                 from_colours.is_full, sws_getCoefficients(to_colours.matrix),
                                 to_colours.is_full, 0, one, one);
    }
    sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, to, to_strides);
}

} // namespace vorlane::host
