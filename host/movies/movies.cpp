#include "host/movies.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/file_kinds.h"
#include "host/movies/parts.h"

namespace vorlane::host {

namespace {

#ifdef VORLANE_HAS_FFMPEG
constexpr bool has_codecs = true;
#else
constexpr bool has_codecs = false;
#endif

bool is_coded(const std::string& ending) {
    return ending == ".gif" || ending == ".mp4" || ending == ".m4v" || ending == ".mov" ||
           ending == ".mkv";
}

bool is_own(const std::string& ending) {
    return ending == ".tq" || ending == ".avi";
}

// Some 5 hours of a large film at a time; a name in the messages rather than a limit of the files.
void check_settings(const std::string& path, const MovieSettings& settings) {
    if (settings.rows < 1 || settings.cols < 1)
        throw Error(path + ": a movie needs frames of at least one pixel");
    if (!(settings.rate >= 0.0 && settings.rate <= 1000.0) ||
        (settings.rate > 0.0 && settings.rate < 0.01))
        throw UsageError("the rate must be 0.01 to 1000 frames a second, not " +
                         std::to_string(settings.rate));
}

} // namespace

std::unique_ptr<MovieReader> open_movie(const std::string& path, const OpenMovieOptions& options) {
    auto source = std::make_unique<Source>(path);
    const std::string name = source->name();
    const FileKind* const kind = kind_of(source->head());
    const std::string kind_name(kind ? kind->name : "");
    if (kind_name == "TQ")
        return open_tq_movie(name, *source, options);
    if (kind_name == "AVI") {
        if (auto movie = open_avi_movie(name, *source, options))
            return movie;
    }
    // Of what is no movie by its first bytes, only pictures that may move are tried.
    const bool may_move = !kind || kind->family == Family::movie || kind_name == "PNG" ||
                          kind_name == "WebP" || kind_name == "AVIF";
    if (!may_move)
        throw Error(name + ": is " +
                    (kind->family == Family::other ? "" : "a picture or volume: ") + kind_name +
                    ", not a movie");
    return open_coded_movie(std::move(source), options);
}

std::unique_ptr<MovieWriter> create_movie(const std::string& path, const MovieSettings& settings) {
    const std::string ending = ending_of(path);
    if (!is_coded(ending) && !is_own(ending))
        throw UsageError(path + ": the ending isn't that of a movie; endings are " +
                         movie_endings());
    check_settings(path, settings);
    MovieSettings complete = settings;
    if (complete.rate == 0.0)
        complete.rate = default_rate;
    return ending == ".tq"    ? create_tq_movie(path, complete)
           : ending == ".avi" ? create_avi_movie(path, complete)
                              : create_coded_movie(path, complete);
}

std::string movie_endings() {
    return has_codecs ? ".tq .avi .mp4 .m4v .mov .mkv .gif" : ".tq .avi";
}

bool is_movie_path(const std::string& path) {
    const std::string ending = ending_of(path);
    return is_own(ending) || is_coded(ending);
}

bool movie_holds_bytes(const std::string& path, const MovieSettings& settings) {
    const std::string ending = ending_of(path);
    const bool is_gray = settings.image_type == ImageType::gray;
    if (ending == ".tq")
        return !is_gray || settings.pixel_format == PixelFormat::byte;
    return ending != ".mkv" || !is_gray || settings.pixel_format != PixelFormat::int16;
}

#ifndef VORLANE_HAS_FFMPEG
std::unique_ptr<MovieReader> open_coded_movie(std::unique_ptr<Source> source,
                                              const OpenMovieOptions&) {
    throw Error(source->name() + ": this build reads TQ movies and uncompressed AVI files only; it "
                                 "lacks FFmpeg's libraries, see vorlane --version");
}

std::unique_ptr<MovieWriter> create_coded_movie(const std::string& path, const MovieSettings&) {
    throw Error(path + ": this build writes .tq and .avi movies only; it lacks FFmpeg's libraries, "
                       "see vorlane --version");
}
#endif

Fraction fraction_of(double rate) {
    const double whole = std::round(rate);
    if (std::abs(rate - whole) < 1e-4 * rate)
        return {static_cast<int>(whole), 1};
    const double broadcast = std::round(rate * 1.001); // 29.97 is 30000 / 1001
    if (std::abs(rate * 1.001 - broadcast) < 3e-4 * rate)
        return {static_cast<int>(broadcast) * 1000, 1001};
    return {static_cast<int>(std::round(rate * 1000.0)), 1000};
}

FrameMapper::FrameMapper(const std::string& name, const MovieSettings& settings)
    : name_(name), settings_(settings) {
    if (settings.range.kind == RangeRule::stretch)
        throw UsageError("frames are stretched by the range of the whole movie, which isn't known");
}

void FrameMapper::check(const CImage& frame) {
    const std::string which = name_ + ": frame " + std::to_string(frames_++);
    if (!frame.pixels || frame.nrows != settings_.rows || frame.ncols != settings_.cols)
        throw Error(which + " has " + std::to_string(frame.nrows) + " rows x " +
                    std::to_string(frame.ncols) + " columns, and the movie " +
                    std::to_string(settings_.rows) + " x " + std::to_string(settings_.cols));
    if (frame.image_type == ImageType::colour && settings_.image_type == ImageType::gray)
        throw Error(which + " has colour, and the movie began gray; ask for a movie in colour");
}

double FrameMapper::mapped(float level) const {
    const RangeRule& rule = settings_.range;
    if (rule.kind == RangeRule::fixed)
        return (level - rule.low) * (255.0 / (rule.high - rule.low));
    if (rule.kind == RangeRule::wrap && std::abs(level) < 0x1p31f)
        return static_cast<double>(static_cast<std::int32_t>(level) & 255);
    return level;
}

void FrameMapper::bytes(const CImage& frame, int row, std::uint8_t* out) const {
    const float* const in = frame.pixels[row];
    const bool repeats =
        settings_.image_type == ImageType::colour && frame.image_type == ImageType::gray;
    const std::size_t samples =
        static_cast<std::size_t>(frame.ncols) * (frame.image_type == ImageType::colour ? 3 : 1);
    for (std::size_t j = 0; j < samples; ++j) {
        const double value = mapped(in[j]);
        const double inside = value > 0.0 ? std::min(value, 255.0) : 0.0; // not-a-numbers too
        const auto byte = static_cast<std::uint8_t>(std::nearbyint(inside));
        *out++ = byte;
        if (repeats) {
            *out++ = byte;
            *out++ = byte;
        }
    }
}

void FrameMapper::numbers(const CImage& frame, int row, double low, double high,
                          double* out) const {
    const float* const in = frame.pixels[row];
    for (int j = 0; j < frame.ncols; ++j)
        out[j] = in[j] > low ? std::nearbyint(std::min(double{in[j]}, high)) : low;
}

void RangeOfFrames::add(const CImage& frame) {
    const std::size_t samples =
        static_cast<std::size_t>(frame.ncols) * (frame.image_type == ImageType::colour ? 3 : 1);
    constexpr float largest = std::numeric_limits<float>::max();
    float low = INFINITY, high = -INFINITY;
    for (int i = 0; i < frame.nrows; ++i) {
        for (std::size_t j = 0; j < samples; ++j) {
            const float level = frame.pixels[i][j];
            low = level < low && level >= -largest ? level : low;
            high = level > high && level <= largest ? level : high;
        }
    }
    if (low > high)
        return;
    low_ = is_empty_ ? low : std::min(low_, double{low});
    high_ = is_empty_ ? high : std::max(high_, double{high});
    is_empty_ = false;
}

RangeRule RangeOfFrames::resolve(const RangeRule& rule) const {
    if (rule.kind != RangeRule::stretch)
        return rule;
    if (is_empty_ || low_ == high_ ||
        (std::nearbyint(low_) >= 0.0 && std::nearbyint(high_) <= 255.0))
        return {RangeRule::clamp};
    return {RangeRule::fixed, low_, high_};
}

} // namespace vorlane::host
