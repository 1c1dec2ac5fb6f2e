// What a person types: words, commands with their options, and chains of operations.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "host/operations.h"

namespace vorlane::host {

// A word and where it stands in the text that it is from.
struct Word {
    std::string text;
    std::size_t begin = 0;
    std::size_t end = 0;
    bool is_quoted = false;
};

// Something typed that isn't understood, with its place.
class WordError : public UsageError {
public:
    WordError(const std::string& text, const Word& word)
        : UsageError(text), begin(word.begin), end(word.end) {}
    std::size_t begin, end;
};

// ", did you mean 'edges'?", or nothing if no candidate is near.
std::string suggestion(std::string_view word, const std::vector<std::string>& candidates);

// The command that words begin with, and how many words it takes. Throws WordError. `kind` is what
// the message calls it: "command".
const Description& find_command(std::span<const Word> words,
                                std::span<const Description* const> commands,
                                const std::string& kind, std::size_t& used);

// Sets options by the first of `into` that has them, and gives the words that belong to none. A
// value follows its option as a word or behind "=", several as words; behind "--" stand no options.
// Throws WordError.
std::vector<Word> parse_options(std::span<const Word> words, std::span<Arguments* const> into);

// An operation with its arguments.
struct Step {
    const Operation* operation;
    Arguments arguments;
};

// Operations one after the other, as in "smooth --sigma 2 | edges --low 0.1". A bar or the end of a
// line parts them; # begins a comment; quotes and backslashes are those of a shell.
class Chain {
public:
    // Throws UsageError with the text and a mark below the place that isn't understood.
    static Chain parse(const std::string& text);
    // Of one operation.
    static Chain of(const Operation& operation, Arguments arguments);

    const std::vector<Step>& steps() const { return steps_; }

    Input input() const { return steps_.front().operation->input; }
    Output output() const { return steps_.back().operation->output; }

    // Reads the pictures that arguments name, once for all runs.
    void open_pictures(const OpenOptions& options);

    // Hears of the picture that a step has made; steps count from 1.
    using Stage = std::function<void(int step, const CImage& image)>;

    // Runs all steps in memory. `call` gives the name and the file of the picture; texts are put
    // together. May run on several threads at once.
    Result run(ImagePtr picture, const std::string& name, const Picture* file,
               const std::function<void(int, int)>& progress = {}, const Stage& stage = {}) const;

    // As it is typed: "smooth --sigma 2 | edges".
    std::string as_typed() const;

private:
    std::vector<Step> steps_;
};

} // namespace vorlane::host
