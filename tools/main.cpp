#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>

#include <vorlane/platform/system_paths.h>

#include "commands.h"
#include "host/command_line.h"
#include "host/pending_file.h"
#include "host/platform/program.h"
#include "progress.h"

using namespace vorlane::host;

namespace {

constexpr int failed = 1;
constexpr int wrong_usage = 2;

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

const Command& command_of(std::span<const Word> words, std::size_t& used) {
    std::vector<const Description*> descriptions;
    for (const Command& command : commands())
        descriptions.push_back(&command.description);
    const Description& found = find_command(words, descriptions, "command", used);
    for (const Command& command : commands()) {
        if (&command.description == &found)
            return command;
    }
    throw std::logic_error("a command is lost");
}

// The words that are left over, as the places of a command that isn't an operation.
void set_places(Arguments& arguments, const std::vector<Word>& rest) {
    std::size_t at = 0;
    for (const Option& place : arguments.description().places) {
        std::vector<std::string> values;
        while (at < rest.size() && static_cast<int>(values.size()) < place.most)
            values.push_back(rest[at++].text);
        if (!values.empty())
            arguments.set(place.name, values);
    }
    if (at < rest.size())
        throw UsageError("there is nothing to do with '" + rest[at].text + "'");
}

// An input isn't overwritten. Commands on pictures look for themselves, at all that they write.
void check_outputs(const Arguments& arguments) {
    for (const Option& output : arguments.description().places) {
        if (output.kind != Kind::output)
            continue;
        for (const Option& input : arguments.description().places) {
            if (input.kind != Kind::path)
                continue;
            for (const std::string& path : arguments.texts(input.name)) {
                std::error_code error;
                if (std::filesystem::equivalent(vorlane::path_of(path),
                                                vorlane::path_of(arguments.text(output.name)),
                                                error))
                    throw UsageError(path + ": is an input and isn't overwritten; --force does it");
            }
        }
    }
}

int run(const Command& command, std::span<const Word> words) {
    Arguments own(command.description);
    Arguments common(command.run ? other_options() : picture_options());
    Arguments* const into[] = {&own, &common};
    const std::vector<Word> rest = parse_options(words, into);
    if (common.flag("help")) {
        print(help_of_command(command));
        return 0;
    }
    if (common.flag("quiet"))
        ProgressBar::silence();
    if (command.run) {
        set_places(own, rest);
        own.check();
        if (!common.flag("force"))
            check_outputs(own);
        return command.run(own, common);
    }
    std::vector<std::string> places;
    places.reserve(rest.size());
    for (const Word& word : rest)
        places.push_back(word.text);
    if (command.operation)
        return run_operation_command(*command.operation, std::move(own), common, places);
    if (places.empty())
        throw UsageError("CHAIN is missing (operations in quotes, such as 'smooth | edges')");
    const std::string chain = places.front();
    places.erase(places.begin());
    return run_chain_command(chain, own.text("keep-steps"), common, places);
}

bool is_help(const std::string& word) {
    return word == "--help" || word == "-h" || word == "help";
}

int run_program(std::vector<Word> words) {
    if (words.empty()) {
        std::fputs(help_of_program().c_str(), stderr);
        return wrong_usage;
    }
    if (is_help(words[0].text)) {
        if (words.size() == 1) {
            print(help_of_program());
            return 0;
        }
        words.erase(words.begin()); // "help edges"
        words.push_back({"--help"});
    }
    if (words[0].text == "--version") {
        print(version_text());
        return 0;
    }
    const auto groups = command_groups();
    const bool is_group = std::any_of(groups.begin(), groups.end(), [&](const Group& group) {
        return words[0].text == group.name;
    });
    if (is_group && words.size() > 1 && is_help(words[1].text)) {
        print(help_of_group(words[0].text));
        return 0;
    }
    // A leading --quiet is for every command.
    const auto first = std::find_if(words.begin(), words.end(),
                                    [](const Word& word) { return word.text != "--quiet"; });
    if (first != words.end())
        std::rotate(words.begin(), first, words.end());
    std::size_t used = 0;
    const Command& command = command_of(words, used);
    const std::string name = full_name(command.description);
    try {
        return run(command, std::span(words).subspan(used));
    } catch (const UsageError& error) {
        std::fprintf(stderr, "vorlane %s: %s\n", name.c_str(), error.what());
        return wrong_usage;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "vorlane %s: there is not enough memory\n", name.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vorlane: %s\n", error.what());
    }
    // Pictures that can't be compared are neither equal nor different.
    return std::strcmp(command.description.name, "compare") == 0 ? wrong_usage : failed;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Word> words;
    for (std::string& argument : begin_program(argc, argv))
        words.push_back({std::move(argument)});
    collect_messages();
    remove_pending_files_on_signals();
    int status = failed;
    try {
        status = run_program(std::move(words));
    } catch (const UsageError& error) {
        std::fprintf(stderr, "vorlane: %s\n", error.what());
        status = wrong_usage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vorlane: %s\n", error.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fputs("vorlane: standard output: can't be written\n", stderr);
        return failed;
    }
    return status;
}
