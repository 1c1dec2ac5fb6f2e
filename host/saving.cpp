#include "host/pictures.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <optional>

#include "host/file_kinds.h"
#include "host/formats/format.h"

namespace vorlane::host {

namespace {

const Format* format_of_ending(const std::string& ending) {
    for (const Format& format : formats()) {
        if (std::find(format.endings.begin(), format.endings.end(), ending) != format.endings.end())
            return &format;
    }
    return nullptr;
}

std::string known_endings() {
    std::string text;
    for (const Format& format : formats()) {
        if (format.write && !format.endings.empty())
            text += (text.empty() ? "" : " ") + std::string(format.endings[0]);
    }
    return text;
}

const Format& format_for(const std::string& path, const std::string& as) {
    std::string ending = ending_of(path);
    if (!as.empty())
        ending = ending_of("x." + as.substr(as[0] == '.' ? 1 : 0));
    if (ending.empty() && path == "-")
        throw UsageError("standard output needs a format, png for instance");
    const Format* const format = format_of_ending(ending);
    if (!format)
        throw UsageError(path + ": the format " +
                         (as.empty() ? "of its ending" : "\"" + as + "\"") +
                         " isn't known; endings are " + known_endings());
    if (!format->left_out.empty())
        throw Error(path + ": " + std::string(format->name) +
                    " isn't written by this build, which lacks " + std::string(format->left_out) +
                    "; see vorlane --version");
    if (!format->write)
        throw Error(path + ": " + std::string(format->name) +
                    " is read but not written; endings are " + known_endings());
    return *format;
}

struct Statistics {
    float low = 0.0f; // of the finite samples
    float high = 0.0f;
    bool has_finite = false;
    std::size_t infinite = 0;
    std::size_t not_numbers = 0;
};

// Several running results at once, which the compiler turns into lanes.
Statistics statistics_of(const CImage& image) {
    constexpr std::size_t lanes = 16;
    constexpr float largest = std::numeric_limits<float>::max();
    const std::size_t samples =
        std::size_t{1} * image.ncols * (image.image_type == ImageType::colour ? 3 : 1);
    std::array<float, lanes> lows, highs;
    lows.fill(INFINITY);
    highs.fill(-INFINITY);
    bool has_odd = false;
    for (int i = 0; i < image.nrows; ++i) {
        const float* const row = image.pixels[i];
        std::size_t j = 0;
        std::array<int, lanes> odd{};
        for (; j + lanes <= samples; j += lanes) {
            for (std::size_t k = 0; k < lanes; ++k) {
                const float v = row[j + k];
                lows[k] = v < lows[k] ? v : lows[k];
                highs[k] = v > highs[k] ? v : highs[k];
                odd[k] |= !(std::fabs(v) <= largest);
            }
        }
        for (; j < samples; ++j) {
            lows[0] = row[j] < lows[0] ? row[j] : lows[0];
            highs[0] = row[j] > highs[0] ? row[j] : highs[0];
            odd[0] |= !(std::fabs(row[j]) <= largest);
        }
        for (const int lane : odd)
            has_odd = has_odd || lane != 0;
    }
    Statistics result;
    result.low = *std::min_element(lows.begin(), lows.end());
    result.high = *std::max_element(highs.begin(), highs.end());
    result.has_finite = result.low <= result.high;
    if (!has_odd)
        return result;
    result.low = INFINITY;
    result.high = -INFINITY;
    for (int i = 0; i < image.nrows; ++i) {
        for (std::size_t j = 0; j < samples; ++j) {
            const float v = image.pixels[i][j];
            if (std::isnan(v)) {
                ++result.not_numbers;
            } else if (std::isinf(v)) {
                ++result.infinite;
            } else {
                result.low = std::min(result.low, v);
                result.high = std::max(result.high, v);
            }
        }
    }
    result.has_finite = result.low <= result.high;
    return result;
}

struct Range {
    double low, high;
};

Range range_of(const Format& format, Depth depth) {
    switch (depth) {
    case Depth::bits16:
        return format.bits16_are_signed ? Range{-32768.0, 32767.0} : Range{0.0, 65535.0};
    case Depth::bits32:
        return {-2147483648.0, 2147483520.0}; // the largest float that a 32-bit integer holds
    case Depth::float32:
        return {-INFINITY, INFINITY};
    default:
        return {0.0, 255.0};
    }
}

bool fit(const Statistics& values, Range range) {
    if (values.infinite > 0 && std::isfinite(range.high))
        return false;
    return !values.has_finite || (std::nearbyint(double{values.low}) >= range.low &&
                                  std::nearbyint(double{values.high}) <= range.high);
}

// What a filter may overshoot without a stretch of all values: half a level of 8 bits, as rounding
// to 8 bits allows by itself.
double slack(Range range, Depth depth) {
    return depth == Depth::bits16 ? (range.high - range.low) / 510.0 : 0.0;
}

bool has_depth(const Format& format, Depth depth, bool colour) {
    if (colour && format.colour_in_bytes_only)
        return depth == Depth::bits8;
    switch (depth) {
    case Depth::bits8:
        return format.bits8;
    case Depth::bits16:
        return format.bits16;
    case Depth::bits32:
        return format.bits32;
    case Depth::float32:
        return format.float32;
    default:
        return false;
    }
}

const char* name_of(Depth depth) {
    switch (depth) {
    case Depth::bits8:
        return "8-bit samples";
    case Depth::bits16:
        return "16-bit samples";
    case Depth::bits32:
        return "32-bit whole numbers";
    default:
        return "floats";
    }
}

Depth depth_of_image(const CImage& image) {
    switch (image.pixel_format) {
    case PixelFormat::byte:
        return Depth::bits8;
    case PixelFormat::int16:
        return Depth::bits16;
    case PixelFormat::int32:
        return Depth::bits32;
    default:
        return Depth::float32;
    }
}

Depth choose_depth(const Format& format, const CImage& image, const Statistics& values,
                   const SaveOptions& options) {
    const RangeRule& rule = options.range;
    const bool colour = image.image_type == ImageType::colour;
    const auto has = [&](Depth depth) { return has_depth(format, depth, colour); };
    Depth own = depth_of_image(image);
    if (own == Depth::float32 && !has(Depth::float32) && options.source_bits >= 16)
        own = Depth::bits16;
    const bool keeps_words = own == Depth::bits16 && has(Depth::bits16);
    if (rule.kind == RangeRule::stretch || !(has(Depth::bits8) || has(Depth::bits16))) {
        if (has(own) && fit(values, range_of(format, own)) &&
            (own == Depth::float32 || values.not_numbers == 0))
            return own;
        if (has(Depth::float32))
            return Depth::float32;
    }
    if (keeps_words && rule.kind != RangeRule::fixed && rule.kind != RangeRule::wrap)
        return Depth::bits16;
    return has(Depth::bits8) ? Depth::bits8 : Depth::bits16;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.7g", value);
    return text;
}

std::string values_of(const Statistics& values) {
    if (values.low == values.high)
        return "values of " + number(values.low);
    return "values " + number(values.low) + " to " + number(values.high);
}

// How the samples come into the file's range, and the note if that changes values.
SampleRows::Mapping make_mapping(const Format& format, Depth depth, const RangeRule& rule,
                                 const Statistics& values, std::string& note) {
    using Mapping = SampleRows::Mapping;
    Mapping mapping;
    mapping.is_whole = depth != Depth::float32;
    const bool fixed = rule.kind == RangeRule::fixed;
    if (!mapping.is_whole && !fixed)
        return mapping;
    const Range range = mapping.is_whole ? range_of(format, depth) : Range{0.0, 255.0};
    mapping.low = range.low;
    mapping.high = range.high;
    const double bottom = std::max(range.low, 0.0); // signed samples are stretched upwards of 0
    const std::string goal = number(bottom) + " to " + number(range.high);
    const auto map_linearly = [&](double from, double to) {
        mapping.kind = Mapping::linear;
        mapping.from = from;
        mapping.factor = (range.high - bottom) / (to - from);
        mapping.low = bottom;
    };
    if (fixed) {
        map_linearly(rule.low, rule.high);
    } else if (rule.kind == RangeRule::wrap) {
        mapping.kind = Mapping::wrapped;
        if (!fit(values, range))
            note = values_of(values) + " wrapped to " + goal;
    } else if (!fit(values, range)) {
        if (rule.kind == RangeRule::stretch && values.has_finite && values.low < values.high &&
            !fit(values, {range.low - slack(range, depth), range.high + slack(range, depth)})) {
            map_linearly(values.low, values.high);
            note = values_of(values) + " stretched to " + goal;
        } else {
            note = (values.has_finite ? values_of(values) : "values") + " clamped to " +
                   number(range.low) + " to " + number(range.high);
        }
    } else if (depth == Depth::bits8 && values.high <= 1.0f && values.high > 0.0f &&
               values.low >= 0.0f && !(values.low == 0.0f && values.high == 1.0f)) {
        note = values_of(values) + " rounded to whole numbers; a range of 0:1 shows them in full";
    }
    if (values.not_numbers > 0 && mapping.is_whole)
        note += (note.empty() ? "" : ", ") + std::to_string(values.not_numbers) +
                " not-a-numbers written as " +
                (mapping.kind == Mapping::linear ? number(bottom) : "0");
    return mapping;
}

constexpr double rounds_double = 6755399441055744.0; // 3 * 2^51: what is added is rounded to whole

float map_sample(float sample, const SampleRows::Mapping& mapping) {
    double value = (sample - mapping.from) * mapping.factor + mapping.low;
    value = value > mapping.low ? value : mapping.low; // not-a-number too
    value = value < mapping.high ? value : mapping.high;
    return static_cast<float>(mapping.is_whole ? (value + rounds_double) - rounds_double : value);
}

float whole(float sample, const SampleRows::Mapping& mapping) {
    if (std::isnan(sample))
        return 0.0f;
    const double value = std::clamp(double{sample}, mapping.low, mapping.high);
    return static_cast<float>((value + rounds_double) - rounds_double);
}

std::int64_t wrapped(float sample) {
    constexpr float limit = 9223372036854775808.0f; // 2^63
    return sample >= -limit && sample < limit ? static_cast<std::int64_t>(sample) : 0;
}

// Rounds and clamps to 0 to `high`; a not-a-number gives 0.
template<class Unit>
void round_row(const float* in, Unit* out, std::size_t count, float high) {
    constexpr float rounds_float = 12582912.0f; // 3 * 2^22
    for (std::size_t j = 0; j < count; ++j) {
        float value = in[j] > 0.0f ? in[j] : 0.0f;
        value = value < high ? value : high;
        out[j] = static_cast<Unit>(static_cast<int>((value + rounds_float) - rounds_float));
    }
}

template<class Unit>
void encode_row(const float* in, Unit* out, std::size_t count, const SampleRows::Mapping& mapping) {
    switch (mapping.kind) {
    case SampleRows::Mapping::none:
        round_row(in, out, count, static_cast<float>(mapping.high));
        return;
    case SampleRows::Mapping::linear:
        for (std::size_t j = 0; j < count; ++j)
            out[j] = static_cast<Unit>(static_cast<int>(map_sample(in[j], mapping)));
        return;
    case SampleRows::Mapping::wrapped:
        for (std::size_t j = 0; j < count; ++j)
            out[j] = static_cast<Unit>(wrapped(in[j]));
        return;
    }
}

} // namespace

void SampleRows::bytes(int row, std::uint8_t* out) const {
    encode_row(image_.pixels[row], out, row_samples(), mapping_);
}

void SampleRows::words(int row, std::uint16_t* out) const {
    encode_row(image_.pixels[row], out, row_samples(), mapping_);
}

void SampleRows::floats(int row, float* out) const {
    const float* const in = image_.pixels[row];
    const std::size_t count = row_samples();
    if (mapping_.kind == Mapping::linear)
        std::transform(in, in + count, out, [&](float v) { return map_sample(v, mapping_); });
    else if (mapping_.is_whole && mapping_.kind == Mapping::none)
        std::transform(in, in + count, out, [&](float v) { return whole(v, mapping_); });
    else
        std::copy(in, in + count, out);
}

Depth parse_depth(const std::string& text) {
    constexpr std::pair<const char*, Depth> names[] = {{"automatic", Depth::automatic},
                                                       {"8", Depth::bits8},
                                                       {"16", Depth::bits16},
                                                       {"32", Depth::bits32},
                                                       {"float", Depth::float32}};
    for (const auto& [name, depth] : names) {
        if (text == name)
            return depth;
    }
    throw UsageError("a depth is automatic, 8, 16, 32 or float, not \"" + text + "\"");
}

RangeRule RangeRule::parse(const std::string& text) {
    if (text == "stretch")
        return {stretch};
    if (text == "clamp")
        return {clamp};
    if (text == "wrap")
        return {wrap};
    RangeRule rule{fixed};
    const char* const end = text.data() + text.size();
    const auto low = std::from_chars(text.data(), end, rule.low);
    const bool has_colon = low.ec == std::errc() && low.ptr != end && *low.ptr == ':';
    const auto high = std::from_chars(has_colon ? low.ptr + 1 : end, end, rule.high);
    if (!has_colon || high.ec != std::errc() || high.ptr != end || !std::isfinite(rule.low) ||
        !std::isfinite(rule.high) || rule.low == rule.high)
        throw UsageError("a range is stretch, clamp, wrap or LO:HI, not \"" + text + "\"");
    return rule;
}

bool is_picture_path(const std::string& path) {
    return format_of_ending(ending_of(path)) != nullptr;
}

void save_picture(const CImage& image, const std::string& path, const SaveOptions& options,
                  const Note& note) {
    const Format& format = format_for(path, options.as);
    const std::string name = path == "-" ? "standard output" : path;
    const std::string format_name(format.name);
    if (image.nrows < 1 || image.ncols < 1 || !image.pixels ||
        (image.image_type != ImageType::gray && image.image_type != ImageType::colour))
        throw Error(name + ": the picture has no pixels, so nothing is written");
    if (options.quality < 1 || options.quality > 100)
        throw UsageError("a quality is a number from 1 to 100, not " +
                         std::to_string(options.quality));

    ImagePtr gray;
    if (image.image_type == ImageType::colour && options.gray) {
        gray = checked(image.MakeGray(), name + ": can't be turned into gray");
        gray->pixel_format = image.pixel_format;
    }
    const CImage& picture = gray ? *gray : image;
    const bool colour = picture.image_type == ImageType::colour;
    if (colour && !format.colour)
        throw Error(name + ": " + format_name +
                    " holds no colour; the option gray takes its luminance, or " + "write " +
                    (format_name == "PGM" || format_name == "PBM" ? ".ppm" : ".png or .tif"));

    if (options.depth != Depth::automatic && !has_depth(format, options.depth, colour))
        throw Error(name + ": " + format_name + " holds no " + name_of(options.depth) +
                    (colour && format.colour_in_bytes_only ? " in colour" : "") + "; write " +
                    (options.depth == Depth::float32  ? ".tif or .pfm"
                     : options.depth == Depth::bits32 ? ".tq or .raw"
                                                      : ".png or .tif") +
                    ", or another depth");
    const Statistics values = statistics_of(picture);
    const Depth depth = options.depth != Depth::automatic
                            ? options.depth
                            : choose_depth(format, picture, values, options);
    std::string changes;
    const auto mapping = make_mapping(format, depth, options.range, values, changes);
    const SampleRows samples(picture, depth, mapping);
    PendingFile file(path);
    format.write({samples, file.path(), name, options.quality});
    file.commit();
    if (note && !changes.empty())
        note(name + ": " + changes);
}

} // namespace vorlane::host
