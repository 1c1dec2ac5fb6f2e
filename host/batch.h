// A chain of operations on pictures in files: one, or many at once.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "host/command_line.h"

namespace vorlane::host {

struct BatchItem {
    std::string in;
    std::string out; // empty: nothing is written
};

struct BatchOptions {
    OpenOptions open;
    SaveOptions save;
    bool force = false;         // an input may be overwritten
    bool makes_folders = false; // those of the items' outputs; in a batch of several always
    std::string keep_steps;     // a folder for what each step has made; empty: none
    bool resume = false;        // leave out what is there and newer than its input
    int jobs = 1;
};

// Files of folders (pictures by their ending, sorted by name) and of patterns such as "scans/*.png"
// in the place of those; other paths as they are. Throws Error where nothing fits.
std::vector<std::string> expand_inputs(const std::vector<std::string>& paths);

// What a picture is called in `to`: a folder, where it keeps its name, or a pattern in which %n
// stands for its name without an ending and %% for a per cent sign. `as` gives a folder's files
// another format.
std::string output_path(const std::string& in, const std::string& to, const std::string& as);

// Refuses with UsageError, before anything is read: two inputs that would write one file, an input
// that would be overwritten, a format that can't be written.
void check_batch(const std::vector<BatchItem>& items, const Chain& chain,
                 const BatchOptions& options);

// What was made of one picture. Writes it and whatever its operations' options ask for; in a batch
// of several, further files have %n in their names, or lie in a folder of the picture's name.
struct Outcome {
    std::string text;
    int status = 0;
    std::vector<std::string> notes; // values that were changed to fit the file
};
Outcome process(const BatchItem& item, const Chain& chain, const BatchOptions& options,
                bool is_one_of_many, const std::function<void(int, int)>& progress = {});

struct Failure {
    std::string message;
    bool is_usage = false;
};

struct BatchReport {
    std::size_t done = 0;
    std::size_t left_out = 0; // by `resume`
    std::vector<Failure> failures;
    std::size_t not_reached = 0; // because the disk is full
    int status = 0;              // the largest of the outcomes
};

// Called one at a time, in any order.
struct BatchListener {
    std::function<void(const BatchItem&, const Outcome&)> finished = {};
    std::function<void(std::size_t behind, std::size_t count, const std::string& name)> progress =
        {};
};

// Works on `jobs` pictures at once, each on a thread of its own, and goes on past those that fail,
// unless the disk is full. The files are the same whatever the number of jobs.
BatchReport run_batch(const std::vector<BatchItem>& items, const Chain& chain,
                      const BatchOptions& options, const BatchListener& listener = {});

} // namespace vorlane::host
