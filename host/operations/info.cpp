#include <algorithm>
#include <cmath>

#include "host/operations/parts.h"
#include "host/operations/statistics.h"

namespace vorlane::host {

namespace {

constexpr Option options[] = {
    {.name = "json", .purpose = "Print an object of JSON"},
    {.name = "brief", .purpose = "Print the first line only", .excludes = "json"},
};

constexpr int bin_count = 32;

const char* name_of_encoding(const CImage& image) {
    switch (image.pixel_format) {
    case PixelFormat::byte:
        return "unsigned bytes";
    case PixelFormat::int32:
        return "signed 32-bit integers";
    case PixelFormat::float32:
        return "32-bit floats";
    case PixelFormat::int16:
        return "16-bit integers";
    default:
        return "no stated encoding";
    }
}

// Bars of eighths, as high as the root of their count, so that small ones show.
std::string bars_of(const std::vector<std::int64_t>& bins) {
    constexpr const char* eighths[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    const auto largest = std::max<std::int64_t>(1, *std::max_element(bins.begin(), bins.end()));
    std::string bars;
    for (const std::int64_t count : bins) {
        const double part = std::sqrt(static_cast<double>(count) / static_cast<double>(largest));
        bars += eighths[count == 0 ? 0 : std::clamp(static_cast<int>(part * 8.0), 1, 8)];
    }
    return bars;
}

std::string as_json(const CImage& image, const Call& call, const SampleStatistics& s) {
    std::string json = "{\"name\": " + json_text(call.name);
    const auto add = [&json](const std::string& key, const std::string& value) {
        json += ", \"" + key + "\": " + value;
    };
    const auto number = [](auto value) { return json_number(static_cast<double>(value)); };
    if (call.file) {
        add("format", json_text(call.file->format));
        add("bits", number(call.file->bits));
        add("float", call.file->is_float ? "true" : "false");
        add("page", number(call.file->page));
        add("pages", number(call.file->page_count));
        if (call.file->row_spacing > 0.0)
            add("row_spacing_mm", number(call.file->row_spacing));
        if (call.file->col_spacing > 0.0)
            add("column_spacing_mm", number(call.file->col_spacing));
    }
    add("rows", number(image.nrows));
    add("columns", number(image.ncols));
    add("colour", is_colour(image) ? "true" : "false");
    add("minimum", number(s.low));
    add("maximum", number(s.high));
    add("mean", number(s.mean));
    add("standard_deviation", number(s.deviation));
    add("not_a_number_share",
        number(static_cast<double>(s.not_a_numbers) / static_cast<double>(s.count)));
    add("infinite_share", number(static_cast<double>(s.infinities) / static_cast<double>(s.count)));
    std::string counts;
    for (const std::int64_t count : s.bins)
        counts += (counts.empty() ? "" : ", ") + std::to_string(count);
    add("histogram", "[" + counts + "]");
    if (call.file && !call.file->facts.empty()) {
        std::string facts;
        for (const auto& [key, value] : call.file->facts)
            facts += (facts.empty() ? "" : ", ") + json_text(key) + ": " + json_text(value);
        add("facts", "{" + facts + "}");
    }
    return json + "}\n";
}

Result run(Subject& subject, const Call& call) {
    const CImage& image = *subject;
    const SampleStatistics s = statistics_of(image, bin_count);
    Result result;
    if (call.arguments.flag("json")) {
        result.text = as_json(image, call, s);
        return result;
    }
    std::string& text = result.text;
    text = call.name + ": " + (call.file ? call.file->format + ", " : "") +
           text_of("%d rows x %d columns, %s, %s, values %g to %g\n", image.nrows, image.ncols,
                   is_colour(image) ? "colour" : "gray", name_of_encoding(image), s.low, s.high);
    if (call.arguments.flag("brief"))
        return result;
    text +=
        text_of("  mean %.6g, standard deviation %.6g, not-a-numbers %.4g %%", s.mean, s.deviation,
                100.0 * static_cast<double>(s.not_a_numbers) / static_cast<double>(s.count));
    if (s.infinities > 0)
        text += text_of(", infinities %.4g %%",
                        100.0 * static_cast<double>(s.infinities) / static_cast<double>(s.count));
    text += "\n  " + text_of("%g ", s.low) + "|" + bars_of(s.bins) + text_of("| %g\n", s.high);
    if (call.file) {
        if (call.file->page_count > 1)
            text += text_of("  page %d of %d\n", call.file->page, call.file->page_count);
        if (call.file->row_spacing > 0.0 && call.file->col_spacing > 0.0)
            text += text_of("  pixels of %g x %g mm (rows x columns)\n", call.file->row_spacing,
                            call.file->col_spacing);
        for (const auto& [key, value] : call.file->facts)
            text += "  " + key + ": " + value + "\n";
    }
    return result;
}

constexpr Operation table[] = {
    {.description = {.name = "info",
                     .purpose = "Say what a picture holds",
                     .notes = "Size, values, mean, standard deviation, the share of "
                              "not-a-numbers, and how the values are spread.",
                     .example = "picture.pgm",
                     .options = options},
     .output = Output::text,
     .run = run},
};

} // namespace

std::span<const Operation> info_operations() {
    return table;
}

} // namespace vorlane::host
