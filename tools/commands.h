// The commands of the program: every operation of the table, and what is only of use in a shell.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/operations.h"

// Options that stand under one heading in a help text.
struct Section {
    const char* title;
    std::span<const vorlane::host::Option> options;
};

struct Command {
    vorlane::host::Description description;

    // For commands without an operation. Gives the exit status.
    int (*run)(const vorlane::host::Arguments& arguments,
               const vorlane::host::Arguments& common) = nullptr;
    const vorlane::host::Operation* operation = nullptr;

    // What is typed behind the name: "IN OUT [options]", one line a form; empty: by its places.
    const char* usage = "";
    std::span<const Section> common = {}; // options beside its own
};

// All commands, in the order in which help shows them, and their groups.
std::span<const Command> commands();
std::span<const vorlane::host::Group> command_groups();

// Options of all picture commands, and of all others.
const vorlane::host::Description& picture_options();
const vorlane::host::Description& other_options();

// One file a subject.
std::span<const Command> movie_commands();
std::span<const Command> volume_commands();
std::span<const Command> document_commands(); // manual, completion

// Pictures through a chain: of one operation, or as `run` takes it. Both give the exit status.
int run_operation_command(const vorlane::host::Operation& operation,
                          vorlane::host::Arguments arguments,
                          const vorlane::host::Arguments& common,
                          const std::vector<std::string>& places);
int run_chain_command(const std::string& chain, const std::string& keep_steps,
                      const vorlane::host::Arguments& common,
                      const std::vector<std::string>& places);

// A chain as it is typed, or, behind an @, the file that holds it.
std::string chain_text(const std::string& typed);

// Help.
std::string help_of_program();
std::string help_of_group(const std::string& group);
std::string help_of_command(const Command& command);
std::string version_text();

// "--sigma NUMBER", and its purpose with unit, limits and default.
std::string heading_of(const vorlane::host::Option& option, bool is_place,
                       const vorlane::host::Description& own);
std::string purpose_of(const vorlane::host::Option& option);
std::vector<std::string> usage_of(const Command& command);
