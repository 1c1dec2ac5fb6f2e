#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "host/movies.h"
#include "host/pictures.h"

using vorlane::host::Description;
using vorlane::host::Kind;
using vorlane::host::Option;

namespace {

constexpr std::size_t text_width = 80;
constexpr std::size_t purpose_column = 26;

// A paragraph whose lines begin at a column; the first one where `text` ends now.
void wrap(std::string& text, std::string_view words, std::size_t column, std::size_t at) {
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(' '), words.size());
        if (at + end + 1 > text_width && at > column) {
            text.append(1, '\n').append(column, ' ');
            at = column;
        } else if (at > column) {
            text += ' ';
            ++at;
        }
        text += words.substr(0, end);
        at += end;
        words.remove_prefix(std::min(end + 1, words.size()));
    }
    text += '\n';
}

void add_entry(std::string& text, const std::string& heading, const std::string& purpose) {
    text += "  ";
    text += heading;
    std::size_t at = heading.size() + 2;
    if (at + 1 >= purpose_column) {
        text += '\n';
        at = 0;
    }
    text += std::string(purpose_column - at, ' ');
    wrap(text, purpose, purpose_column, purpose_column);
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string limits_of(const Option& option) {
    if (option.kind != Kind::integer && option.kind != Kind::number)
        return "";
    const bool has_low = std::isfinite(option.low);
    const bool has_high = std::isfinite(option.high) && option.high < 2147483647.0;
    if (has_low && option.excludes_low)
        return "above " + number(option.low) + (has_high ? ", at most " + number(option.high) : "");
    if (has_low && has_high)
        return number(option.low) + " to " + number(option.high);
    return has_low ? "from " + number(option.low) + " on" : "";
}

const char* word_of(Kind kind) {
    switch (kind) {
    case Kind::integer:
        return "N";
    case Kind::number:
        return "NUMBER";
    case Kind::folder:
        return "FOLDER";
    case Kind::picture:
        return "PICTURE";
    case Kind::path:
    case Kind::output:
        return "FILE";
    default:
        return "TEXT";
    }
}

} // namespace

std::string heading_of(const Option& option, bool is_place, const Description& own) {
    if (is_place)
        return option.name;
    std::string name = option.name;
    const bool is_taken = std::any_of(own.options.begin(), own.options.end(), [&](const Option& o) {
        return &o != &option && name == o.name;
    });
    if (is_taken)
        name = option.alias;
    std::string heading = "--";
    heading += name;
    if (option.kind == Kind::flag)
        return heading;
    return heading + " " +
           (*option.values                ? option.values
            : option.kind == Kind::choice ? option.choices
                                          : word_of(option.kind));
}

std::string purpose_of(const Option& option) {
    std::string text = option.purpose;
    if (*option.unit)
        text += std::string(", in ") + option.unit;
    const std::string limits = limits_of(option);
    if (!limits.empty())
        text.append(", ").append(limits);
    if (*option.initial)
        text += std::string(" [") + option.initial + "]";
    if (option.is_required)
        text += " (required)";
    return text;
}

std::vector<std::string> usage_of(const Command& command) {
    std::vector<std::string> lines;
    const std::string name = vorlane::host::full_name(command.description);
    std::string places;
    for (const Option& place : command.description.places)
        places +=
            std::string(places.empty() ? "" : " ") + place.name + (place.most > 1 ? "..." : "");
    std::string_view rest = *command.usage ? std::string_view(command.usage) : places;
    do {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string form(rest.substr(0, end));
        lines.push_back("vorlane " + name + (form.empty() ? "" : " " + form) + " [options]");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    } while (!rest.empty());
    return lines;
}

std::string help_of_command(const Command& command) {
    const Description& own = command.description;
    std::string text;
    for (const std::string& line : usage_of(command))
        text += (text.empty() ? "Usage: " : "       ") + line + "\n";
    text += "\n";
    wrap(text, std::string(own.purpose) + ".", 0, 0);
    if (*own.notes)
        wrap(text, own.notes, 0, 0);
    const auto add = [&](const char* title, std::span<const Option> options, bool are_places) {
        std::string entries;
        for (const Option& option : options) {
            const bool is_hidden =
                !are_places &&
                std::any_of(own.options.begin(), own.options.end(), [&](const Option& o) {
                    return &o != &option && !*option.alias && std::strcmp(o.name, option.name) == 0;
                });
            if (!is_hidden)
                add_entry(entries, heading_of(option, are_places, own), purpose_of(option));
        }
        if (!entries.empty())
            text += std::string("\n") + title + ":\n" + entries;
    };
    add("Arguments", own.places, true);
    add("Options", own.options, false);
    for (const Section& section : command.common)
        add(section.title, section.options, false);
    text += "\nExample: vorlane " + vorlane::host::full_name(own) +
            (*own.example ? std::string(" ") + own.example : "") + "\n";
    return text;
}

std::string help_of_group(const std::string& group) {
    std::string text = "Usage: vorlane " + group + " COMMAND ...\n\n";
    for (const auto& known : command_groups()) {
        if (group == known.name)
            text += std::string(known.purpose) + ".\n\nCommands:\n";
    }
    for (const Command& command : commands()) {
        if (group == command.description.group)
            add_entry(text, command.description.name, command.description.purpose);
    }
    return text + "\n'vorlane " + group + " COMMAND --help' tells more.\n";
}

std::string help_of_program() {
    std::string text = "Usage: vorlane COMMAND ...\n\n"
                       "Image, movie and volume processing. Files are told by their first bytes "
                       "when read,\nand by the ending of their name when written; - is standard "
                       "input or output.\n\nCommands:\n";
    for (const Command& command : commands()) {
        if (!*command.description.group)
            add_entry(text, command.description.name, command.description.purpose);
    }
    text += "\nGroups of commands:\n";
    for (const auto& group : command_groups())
        add_entry(text, group.name, group.purpose);
    return text +
           "\n'vorlane COMMAND --help' tells more, 'vorlane --version' what this build reads "
           "and writes.\n";
}

std::string version_text() {
    std::string text = "vorlane " VORLANE_VERSION "\n";
    std::string reads;
    std::string writes;
    std::string left_out;
    for (const auto& format : vorlane::host::picture_formats()) {
        std::string name = format.name;
        for (std::size_t k = 0; k < format.endings.size(); ++k)
            name.append(k == 0 ? " (" : " ").append(format.endings[k]);
        name += format.endings.empty() ? "" : ")";
        if (format.reads)
            reads.append(reads.empty() ? "" : ", ").append(name);
        if (format.writes)
            writes.append(writes.empty() ? "" : ", ").append(name);
        if (!format.left_out.empty())
            left_out.append("  ").append(name).append(": ").append(format.left_out).append("\n");
    }
    text += "Reads pictures:  ";
    wrap(text, reads, 17, 17);
    text += "Writes pictures: ";
    wrap(text, writes, 17, 17);
    text += "Writes movies:   " + vorlane::host::movie_endings() + "\n";
#ifdef VORLANE_HAS_FFMPEG
    text += "Reads movies:    these, and what FFmpeg's libraries know\n";
#else
    text += "Reads movies:    these\n";
    left_out += "  movies of other codecs: needs FFmpeg's libraries\n";
#endif
    text += "Reads volumes:   descriptions V1 (numbered pictures) and V2 (raw data), pictures of "
            "several pages";
#ifdef VORLANE_HAS_DCMTK
    text += ",\n                 folders of DICOM files";
#endif
    text += "\n";
    if (!left_out.empty())
        text += "Left out of this build:\n" + left_out;
    return text;
}
