#include "host/command_line.h"

#include <algorithm>
#include <cctype>

namespace vorlane::host {

namespace {

// Insertions, deletions, replacements and swaps of neighbours that make one word of the other.
std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

bool is_number(std::string_view text) {
    return text.size() > 1 && text[0] == '-' &&
           (text[1] == '.' || std::isdigit(static_cast<unsigned char>(text[1])));
}

bool is_option(const Word& word) {
    return !word.is_quoted && word.text.size() > 1 && word.text[0] == '-' && !is_number(word.text);
}

[[noreturn]] void throw_unknown(const std::string& kind, const Word& word,
                                const std::vector<std::string>& candidates) {
    throw WordError("unknown " + kind + " '" + word.text + "'" + suggestion(word.text, candidates),
                    word);
}

// Values behind an option: as many as it takes, and of those that it may do without, numbers only.
std::vector<std::string> values_of(const Option& option, std::span<const Word> words,
                                   std::size_t& at) {
    std::vector<std::string> values;
    while (at < words.size() && static_cast<int>(values.size()) < option.most) {
        const Word& word = words[at];
        const bool may_end = static_cast<int>(values.size()) >= option.least;
        const bool is_value = !may_end || is_number(word.text) ||
                              std::isdigit(static_cast<unsigned char>(word.text[0])) != 0;
        if ((is_option(word) && word.text != "-") || !is_value)
            break;
        values.push_back(word.text);
        ++at;
    }
    return values;
}

// Parts a text into words and steps.
std::vector<std::vector<Word>> words_of(const std::string& text) {
    std::vector<std::vector<Word>> steps(1);
    std::size_t bar = std::string::npos; // the last one that no step has followed yet
    std::size_t at = 0;
    const auto end_step = [&] {
        if (!steps.back().empty())
            steps.emplace_back();
    };
    while (at < text.size()) {
        const char c = text[at];
        if (c == '\n') {
            end_step();
            ++at;
        } else if (std::isspace(static_cast<unsigned char>(c))) {
            ++at;
        } else if (c == '#') {
            at = std::min(text.find('\n', at), text.size());
        } else if (c == '|') {
            const bool is_first = steps.size() == 1 && steps[0].empty();
            if (is_first || bar != std::string::npos)
                throw WordError("there is no step before this bar", {"|", at, at + 1});
            end_step();
            bar = at++;
        } else {
            Word word{.text = {}, .begin = at, .end = at};
            char quote = 0;
            for (; at < text.size(); ++at) {
                const char d = text[at];
                if (quote == 0 && (std::isspace(static_cast<unsigned char>(d)) || d == '|'))
                    break;
                if (d == quote) {
                    quote = 0;
                } else if (quote == 0 && (d == '\'' || d == '"')) {
                    quote = d;
                    word.is_quoted = true;
                } else {
                    if (d == '\\' && quote != '\'' && at + 1 < text.size())
                        ++at;
                    word.text += text[at];
                }
            }
            word.end = at;
            if (quote != 0)
                throw WordError("this quote has no end", word);
            steps.back().push_back(std::move(word));
            bar = std::string::npos;
        }
    }
    if (bar != std::string::npos)
        throw WordError("there is no step behind this bar", {"|", bar, bar + 1});
    if (steps.back().empty())
        steps.pop_back();
    if (steps.empty())
        throw WordError("the chain has no steps", {});
    return steps;
}

std::span<const Description* const> descriptions() {
    static const std::vector<const Description*> all = [] {
        std::vector<const Description*> found;
        for (const Operation* const operation : operations())
            found.push_back(&operation->description);
        return found;
    }();
    return all;
}

Step parse_step(std::span<const Word> words) {
    std::size_t used = 0;
    const Description& description = find_command(words, descriptions(), "step", used);
    const Operation* const operation = find_operation(description.group, description.name);
    const Word whole{.text = {}, .begin = words.front().begin, .end = words.back().end};
    Arguments arguments(operation->description);
    Arguments* const into[] = {&arguments};
    const std::vector<Word> rest = parse_options(words.subspan(used), into);
    const auto places = operation->description.places;
    for (std::size_t k = 0; k < rest.size(); ++k) {
        if (k >= places.size())
            throw WordError(
                full_name(description) +
                    (places.empty() ? " takes options only" : " takes no more pictures") +
                    " in a chain",
                rest[k]);
        arguments.set(places[k].name, rest[k].text);
    }
    try {
        arguments.check();
        if (operation->check)
            operation->check(arguments);
    } catch (const WordError&) {
        throw;
    } catch (const UsageError& error) {
        throw WordError(full_name(description) + ": " + error.what(), whole);
    }
    return {operation, std::move(arguments)};
}

// The line of a text that a place is on, with a mark below.
std::string marked(const std::string& text, std::size_t begin, std::size_t end) {
    begin = std::min(begin, text.size());
    const std::size_t newline = begin == 0 ? std::string::npos : text.rfind('\n', begin - 1);
    const std::size_t first = newline == std::string::npos ? 0 : newline + 1;
    const std::size_t last = std::min(text.find('\n', begin), text.size());
    end = std::clamp(end, begin + 1, std::max(last, begin + 1));
    return "  " + text.substr(first, last - first) + "\n  " + std::string(begin - first, ' ') +
           "^" + std::string(end - begin - 1, '~');
}

bool starts_like_a_number(const std::string& text) {
    const std::size_t first = text.find_first_not_of("+-.");
    return first != std::string::npos && std::isdigit(static_cast<unsigned char>(text[first]));
}

} // namespace

std::string suggestion(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string* best = nullptr;
    std::size_t least = word.size() <= 3 ? 2 : 3; // one and two edits may be a slip
    for (const std::string& candidate : candidates) {
        const std::size_t distance = edit_distance(word, candidate);
        if (distance < least) {
            least = distance;
            best = &candidate;
        }
    }
    return best ? ", did you mean '" + *best + "'?" : "";
}

const Description& find_command(std::span<const Word> words,
                                std::span<const Description* const> commands,
                                const std::string& kind, std::size_t& used) {
    std::vector<std::string> names;
    std::vector<std::string> members;
    const std::string& first = words.front().text;
    for (const Description* const command : commands) {
        names.push_back(*command->group ? command->group : command->name);
        if (!*command->group && first == command->name) {
            used = 1;
            return *command;
        }
        if (*command->group && first == command->group) {
            members.emplace_back(command->name);
            if (words.size() > 1 && words[1].text == command->name) {
                used = 2;
                return *command;
            }
        }
    }
    if (!members.empty() && words.size() > 1 && !is_option(words[1]))
        throw_unknown(first + " " + kind, words[1], members);
    if (!members.empty()) {
        std::string list;
        for (const std::string& member : members)
            list += (list.empty() ? "" : ", ") + member;
        throw WordError(first + " needs one of " + list, words.front());
    }
    for (const Description* const command : commands) { // "median" for "filter median"
        if (*command->group && first == command->name)
            throw WordError("unknown " + kind + " '" + first + "', did you mean '" +
                                full_name(*command) + "'?",
                            words.front());
    }
    throw_unknown(kind, words.front(), names);
}

std::vector<Word> parse_options(std::span<const Word> words, std::span<Arguments* const> into) {
    std::vector<Word> rest;
    for (std::size_t at = 0; at < words.size();) {
        const Word& word = words[at++];
        if (!word.is_quoted && word.text == "--") {
            rest.insert(rest.end(), words.begin() + static_cast<std::ptrdiff_t>(at), words.end());
            break;
        }
        if (!is_option(word)) {
            rest.push_back(word);
            continue;
        }
        const std::size_t equals = word.text.find('=');
        const bool is_long = word.text.compare(0, 2, "--") == 0;
        const std::string name = word.text.substr(2 * is_long, equals - 2 * is_long);
        const std::string value = equals != std::string::npos ? word.text.substr(equals + 1)
                                  : at < words.size()         ? words[at].text
                                                              : "";
        Arguments* owner = nullptr;
        const Option* option = nullptr;
        std::vector<std::string> known;
        for (Arguments* const arguments : into) {
            const Option* const found = is_long ? arguments->find(name) : nullptr;
            // A name that stands twice, for a number and for a text: the value tells which is meant.
            if (found && (!option || (option->kind == Kind::number && found->kind == Kind::text &&
                                      !starts_like_a_number(value)))) {
                option = found;
                owner = arguments;
            }
            for (const Option& other : arguments->description().options)
                known.push_back(std::string("--") + other.name);
        }
        if (!option || std::find_if(owner->description().places.begin(),
                                    owner->description().places.end(), [&](const Option& place) {
                                        return &place == option;
                                    }) != owner->description().places.end()) {
            Word shown = word;
            shown.text = word.text.substr(0, equals);
            throw_unknown("option", shown, known);
        }
        try {
            if (option->kind == Kind::flag) {
                if (equals != std::string::npos)
                    throw UsageError("--" + name + " takes no value");
                owner->set_flag(option->name);
            } else if (equals != std::string::npos) {
                owner->set(option->name, value);
            } else {
                owner->set(option->name, values_of(*option, words, at));
            }
        } catch (const UsageError& error) {
            throw WordError(error.what(), {word.text, word.begin, words[at - 1].end});
        }
    }
    return rest;
}

Chain Chain::parse(const std::string& text) {
    try {
        Chain chain;
        for (const std::vector<Word>& words : words_of(text))
            chain.steps_.push_back(parse_step(words));
        for (std::size_t k = 1; k < chain.steps_.size(); ++k) {
            if (chain.steps_[k].operation->input == Input::file)
                throw UsageError(full_name(chain.steps_[k].operation->description) +
                                 " can only be the first step of a chain");
        }
        return chain;
    } catch (const WordError& error) {
        throw UsageError(std::string(error.what()) + "\n" + marked(text, error.begin, error.end));
    }
}

Chain Chain::of(const Operation& operation, Arguments arguments) {
    Chain chain;
    chain.steps_.push_back({&operation, std::move(arguments)});
    return chain;
}

void Chain::open_pictures(const OpenOptions& options) {
    for (Step& step : steps_)
        step.arguments.open_pictures(options);
}

Result Chain::run(ImagePtr picture, const std::string& name, const Picture* file,
                  const std::function<void(int, int)>& progress, const Stage& stage) const {
    Result whole;
    whole.image = std::move(picture);
    for (std::size_t k = 0; k < steps_.size(); ++k) {
        const Step& step = steps_[k];
        const Call call{step.arguments, name, file, progress};
        Result result;
        try {
            result = run_operation(*step.operation, std::move(whole.image), call);
        } catch (const UsageError& error) {
            if (steps_.size() == 1)
                throw;
            throw UsageError(full_name(step.operation->description) + ": " + error.what());
        } catch (const Error& error) {
            if (steps_.size() == 1)
                throw;
            throw Error(full_name(step.operation->description) + ": " + error.what());
        }
        whole.image = std::move(result.image);
        whole.text += result.text;
        whole.depth = result.depth;
        whole.status = std::max(whole.status, result.status);
        for (Further& further : result.further)
            whole.further.push_back(std::move(further));
        if (stage && step.operation->output == Output::picture)
            stage(static_cast<int>(k) + 1, *whole.image);
    }
    return whole;
}

std::string Chain::as_typed() const {
    std::string typed;
    for (const Step& step : steps_) {
        const std::string arguments = step.arguments.as_typed();
        typed += (typed.empty() ? "" : " | ") + full_name(step.operation->description) +
                 (arguments.empty() ? "" : " " + arguments);
    }
    return typed;
}

} // namespace vorlane::host
