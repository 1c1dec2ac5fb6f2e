// The manual and the completions of shells, from the table of commands.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <vorlane/platform/system_paths.h>

#include "commands.h"
#include "host/pending_file.h"

using namespace vorlane::host;

namespace {

template<class Visit>
void for_each_option(const Command& command, Visit visit) {
    for (const Option& option : command.description.options)
        visit(option);
    for (const Section& section : command.common) {
        for (const Option& option : section.options) {
            const bool is_taken =
                std::any_of(command.description.options.begin(), command.description.options.end(),
                            [&](const Option& own) {
                                return std::strcmp(own.name, option.name) == 0 && !*option.alias;
                            });
            if (!is_taken)
                visit(option);
        }
    }
}

std::string troff(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n'))
            result += std::string("\\&") + c;
        else
            result += c;
    }
    return result;
}

std::string manual() {
    std::string text = ".TH VORLANE 1 \"\" \"vorlane " VORLANE_VERSION "\"\n.SH NAME\nvorlane \\- "
                       "image, movie and volume processing\n.SH SYNOPSIS\n.B vorlane\n.I COMMAND\n"
                       "[\\fIoptions\\fR]\n.SH DESCRIPTION\nFiles are told by their first bytes "
                       "when read, and by the ending of their name when written; \\- is standard "
                       "input or output. A failure is told in one line and gives exit status 1, "
                       "wrong arguments 2.\n.SH COMMANDS\n";
    for (const Command& command : commands()) {
        const Description& own = command.description;
        text += ".SS " + troff(full_name(own)) + "\n" + troff(own.purpose) + ".\n";
        if (*own.notes)
            text += troff(own.notes) + "\n";
        for (const std::string& line : usage_of(command))
            text += ".PP\n.B " + troff(line) + "\n";
        const auto add = [&](const std::string& heading, const Option& option) {
            text += ".TP\n.B " + troff(heading) + "\n" + troff(purpose_of(option)) + "\n";
        };
        for (const Option& place : own.places)
            add(heading_of(place, true, own), place);
        for (const Option& option : own.options)
            add(heading_of(option, false, own), option);
        text += ".PP\nExample: vorlane " + troff(full_name(own) + " " + own.example) + "\n";
    }
    const auto add_common = [&](const char* title, const Description& options) {
        text += std::string(".SH ") + title + "\n";
        for (const Option& option : options.options)
            text += ".TP\n.B " + troff(heading_of(option, false, options)) + "\n" +
                    troff(purpose_of(option)) + "\n";
    };
    add_common("OPTIONS OF PICTURE COMMANDS", picture_options());
    add_common("OPTIONS OF OTHER COMMANDS", other_options());
    return text;
}

std::string listed(const char* choices) {
    std::string words = choices;
    std::replace(words.begin(), words.end(), '|', ' ');
    return words;
}

std::string names_of_commands() {
    std::string names;
    for (const Command& command : commands()) {
        if (!*command.description.group)
            names += std::string(command.description.name) + " ";
    }
    for (const Group& group : command_groups())
        names += std::string(group.name) + " ";
    return names + "--help --version";
}

std::string members_of(const char* group) {
    std::string names;
    for (const Command& command : commands()) {
        if (std::strcmp(command.description.group, group) == 0)
            names += std::string(names.empty() ? "" : " ") + command.description.name;
    }
    return names;
}

// One function for both shells: words before the cursor give the command, the last one the option.
std::string cases_of_options() {
    std::string text = "    case \"$command\" in\n";
    for (const Command& command : commands()) {
        std::string names;
        std::string choices;
        for_each_option(command, [&](const Option& option) {
            std::string name = heading_of(option, false, command.description);
            name.resize(std::min(name.size(), name.find(' ')));
            names += (names.empty() ? "" : " ") + name;
            if (option.kind == Kind::choice)
                choices += "        " + name + ") values='" + listed(option.choices) + "' ;;\n";
        });
        text += "    '" + full_name(command.description) + "')\n        options='" + names + "'\n";
        if (!choices.empty())
            text += "        case \"$previous\" in\n" + choices + "        esac\n";
        text += "        ;;\n";
    }
    return text + "    esac\n";
}

std::string groups_pattern() {
    std::string names;
    for (const Group& group : command_groups())
        names += std::string(names.empty() ? "" : "|") + group.name;
    return names;
}

std::string members_cases() {
    std::string text;
    for (const Group& group : command_groups())
        text += std::string("        ") + group.name + ") members='" + members_of(group.name) +
                "' ;;\n";
    return text;
}

std::string bash_completion() {
    return "# Completion of the program vorlane for bash.\n"
           "_vorlane() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local command=${COMP_WORDS[1]} options= values= members=\n"
           "    COMPREPLY=()\n"
           "    if [ \"$COMP_CWORD\" = 1 ]; then\n"
           "        COMPREPLY=($(compgen -W '" +
           names_of_commands() +
           "' -- \"$current\"))\n        return\n    fi\n    case \"$command\" in\n    " +
           groups_pattern() + ")\n        case \"$command\" in\n" + members_cases() +
           "        esac\n"
           "        if [ \"$COMP_CWORD\" = 2 ]; then\n"
           "            COMPREPLY=($(compgen -W \"$members\" -- \"$current\"))\n"
           "            return\n        fi\n"
           "        command=\"$command ${COMP_WORDS[2]}\"\n        ;;\n    esac\n" +
           cases_of_options() +
           "    if [ -n \"$values\" ]; then\n"
           "        COMPREPLY=($(compgen -W \"$values\" -- \"$current\"))\n"
           "    elif [[ $current == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$options\" -- \"$current\"))\n"
           "    fi\n"
           "}\n"
           "complete -o default -F _vorlane vorlane\n";
}

std::string zsh_completion() {
    return "#compdef vorlane\n"
           "# Completion of the program vorlane for zsh.\n"
           "_vorlane() {\n"
           "    local previous=${words[CURRENT-1]} command=${words[2]}\n"
           "    local options= values= members=\n"
           "    if (( CURRENT == 2 )); then\n        compadd -- " +
           names_of_commands() + "\n        return\n    fi\n    case \"$command\" in\n    " +
           groups_pattern() + ")\n        case \"$command\" in\n" + members_cases() +
           "        esac\n"
           "        if (( CURRENT == 3 )); then\n"
           "            compadd -- ${=members}\n"
           "            return\n        fi\n"
           "        command=\"$command ${words[3]}\"\n        ;;\n    esac\n" +
           cases_of_options() +
           "    if [[ -n $values ]]; then\n        compadd -- ${=values}\n"
           "    elif [[ $PREFIX == -* ]]; then\n        compadd -- ${=options}\n"
           "    else\n        _files\n    fi\n"
           "}\n"
           "_vorlane \"$@\"\n";
}

// To standard output, or to the file that --out names.
int print(const std::string& text, const Arguments& arguments) {
    if (!arguments.is_given("out")) {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return 0;
    }
    PendingFile file(arguments.text("out"));
    std::ofstream stream(vorlane::path_of(file.path()), std::ios::binary);
    stream << text;
    stream.close();
    if (!stream)
        throw Error(arguments.text("out") + ": can't be written");
    file.commit();
    return 0;
}

int print_manual(const Arguments& arguments, const Arguments&) {
    return print(manual(), arguments);
}

int print_completion(const Arguments& arguments, const Arguments&) {
    return print(arguments.text("SHELL") == "zsh" ? zsh_completion() : bash_completion(),
                 arguments);
}

constexpr Option shell_place[] = {{.name = "SHELL",
                                   .kind = Kind::choice,
                                   .purpose = "bash or zsh",
                                   .choices = "bash|zsh",
                                   .is_required = true}};

constexpr Option document_options[] = {
    {.name = "out",
     .kind = Kind::output,
     .purpose = "Write to this file in place of standard output"},
};

constexpr Command table[] = {
    {.description = {.name = "manual",
                     .purpose = "Print the manual page",
                     .notes = "In troff, as man shows it.",
                     .example = "--out vorlane.1",
                     .options = document_options},
     .run = print_manual},
    {.description = {.name = "completion",
                     .purpose = "Print a script that completes commands and options",
                     .example = "bash",
                     .places = shell_place,
                     .options = document_options},
     .run = print_completion},
};

} // namespace

std::span<const Command> document_commands() {
    return table;
}
