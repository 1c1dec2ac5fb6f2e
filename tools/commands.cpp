#include "commands.h"

#include <cstring>

using vorlane::host::Description;
using vorlane::host::Group;
using vorlane::host::Input;
using vorlane::host::Kind;
using vorlane::host::Operation;
using vorlane::host::Option;
using vorlane::host::Output;

namespace {

constexpr Option reading_and_writing[] = {
    {.name = "allow-truncated", .purpose = "Take what is there of a file that is cut short"},
    {.name = "scanner",
     .purpose = "The file is a scanner's image, even if its header doesn't say so"},

    {.name = "as",
     .kind = Kind::text,
     .purpose = "The format to write, in place of the one that the ending names",
     .values = "FORMAT"},
    {.name = "depth",
     .kind = Kind::choice,
     .purpose = "Bits of a sample; automatic: what the values need and the format has",
     .initial = "automatic",
     .choices = "automatic|8|16|32|float"},
    {.name = "range",
     .kind = Kind::text,
     .purpose = "Values that don't fit the file: stretch all, clamp or wrap those, or bring LO:HI "
                "to the file's range",
     .values = "stretch|clamp|wrap|LO:HI",
     .initial = "stretch"},
    {.name = "gray", .purpose = "Write colour as gray"},
    {.name = "quality",
     .kind = Kind::integer,
     .purpose = "Of a JPEG",
     .initial = "92",
     .low = 1,
     .high = 100},
    {.name = "force", .purpose = "Overwrite an input too, and files beside the one that is named"},

    {.name = "to",
     .kind = Kind::text,
     .purpose = "Write many pictures: to a folder under their own names, or to a pattern such as "
                "'out/%n-edges.png'",
     .values = "FOLDER|PATTERN",
     .alias = "into"},
    {.name = "jobs",
     .kind = Kind::integer,
     .purpose = "Pictures at once; by default as many as there are processors",
     .low = 1,
     .high = 1024},
    {.name = "resume", .purpose = "Leave out what is there and newer than its input"},

    {.name = "quiet", .purpose = "Neither progress nor remarks"},
    {.name = "help", .purpose = "Show this text"},
};
constexpr std::size_t reading = 2;
constexpr std::size_t writing = 6;
constexpr std::size_t many = 3;
constexpr std::span<const Option> all_options = reading_and_writing;
constexpr Section reading_section = {"Reading", all_options.subspan(0, reading)};
constexpr Section writing_section = {"Writing", all_options.subspan(reading, writing)};
constexpr Section many_section = {"Many pictures", all_options.subspan(reading + writing, many)};
constexpr Section general_section = {"General", all_options.subspan(reading + writing + many)};

constexpr Section picture_sections[] = {reading_section, writing_section, many_section,
                                        general_section};
constexpr Section telling_sections[] = {reading_section, general_section};

constexpr Option other_option_list[] = {
    all_options[reading + writing - 1],
    {.name = "quiet", .purpose = "No progress"},
    {.name = "help", .purpose = "Show this text"},
};
constexpr Section other_sections[] = {{"General", other_option_list}};

constexpr Option run_options[] = {
    {.name = "keep-steps",
     .kind = Kind::folder,
     .purpose = "Also leave what each step has made in this folder"},
};

constexpr Description run_description = {
    .name = "run",
    .purpose = "Several operations, one after the other in memory",
    .notes = "CHAIN is one word for the shell, such as 'smooth --sigma 2 | edges --low 0.1': each "
             "step is a command with its own options and without files, except for a second "
             "picture, as in 'math add noise.pgm'. @FILE takes the chain from a file, a step a "
             "line, with comments behind #.",
    .example = "'smooth --sigma 2 | edges --low 0.1 | math invert' picture.pgm lines.pgm",
    .options = run_options};

const char* usage_of_operation(const Operation& operation) {
    const bool has_second = !operation.description.places.empty();
    if (operation.output == Output::text)
        return has_second ? "A B" : "IN...";
    if (operation.input == Input::file)
        return "IN OUT\nIN... --to FOLDER|PATTERN";
    for (const Option& option : operation.description.options) {
        if (std::strcmp(option.name, "to") == 0)
            return "IN OUT\nIN... --into FOLDER|PATTERN";
    }
    return has_second ? "A B OUT\nA... B --to FOLDER|PATTERN" : "IN OUT\nIN... --to FOLDER|PATTERN";
}

std::vector<Command> collect() {
    std::vector<Command> all;
    const auto add = [&all](std::span<const Command> some, std::span<const Section> sections) {
        for (Command command : some) {
            command.common = sections;
            all.push_back(command);
        }
    };
    bool has_run = false;
    for (const Operation* const operation : vorlane::host::operations()) {
        if (*operation->description.group && !has_run) {
            has_run = true;
            all.push_back({.description = run_description,
                           .usage = "CHAIN IN OUT\nCHAIN IN... --to FOLDER|PATTERN",
                           .common = picture_sections});
        }
        const bool tells = operation->output == Output::text;
        all.push_back(
            {.description = operation->description,
             .operation = operation,
             .usage = usage_of_operation(*operation),
             .common = tells ? std::span<const Section>(telling_sections) : picture_sections});
    }
    add(movie_commands(), other_sections);
    add(volume_commands(), other_sections);
    add(document_commands(), {});
    return all;
}

} // namespace

std::span<const Command> commands() {
    static const std::vector<Command> all = collect();
    return all;
}

std::span<const Group> command_groups() {
    static const std::vector<Group> all = [] {
        const auto operations = vorlane::host::groups();
        std::vector<Group> groups(operations.begin(), operations.end());
        groups.push_back({"movie", "Look into movies, take them apart, make and edit them"});
        groups.push_back({"volume", "Read, smooth and measure stacks of slices"});
        return groups;
    }();
    return all;
}

const Description& picture_options() {
    static constexpr Description description = {.options = reading_and_writing};
    return description;
}

const Description& other_options() {
    static constexpr Description description = {.options = other_option_list};
    return description;
}
