#include <algorithm>
#include <cctype>
#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "host/operations.h"

namespace vorlane::host {

namespace {

std::string shown(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return {text, end};
}

std::string shown_name(const Option& option, bool is_place) {
    return is_place ? option.name : std::string("--") + option.name;
}

std::string limits_of(const Option& option) {
    const bool has_low = std::isfinite(option.low);
    const bool has_high = std::isfinite(option.high);
    if (has_low && option.excludes_low)
        return has_high ? "above " + shown(option.low) + " and at most " + shown(option.high)
                        : "above " + shown(option.low);
    if (has_low && has_high)
        return "from " + shown(option.low) + " to " + shown(option.high);
    if (has_low)
        return shown(option.low) + " or more";
    return has_high ? "at most " + shown(option.high) : "";
}

bool parse_number(std::string_view text, double& number) {
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return end == text.data() + text.size() &&
           (error == std::errc() || error == std::errc::result_out_of_range);
}

bool is_choice(const char* choices, std::string_view value) {
    for (std::string_view rest = choices; !rest.empty();) {
        const std::size_t end = std::min(rest.find('|'), rest.size());
        if (rest.substr(0, end) == value)
            return true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

std::string listed(std::string choices) {
    const std::size_t last = choices.rfind('|');
    for (std::size_t at = choices.find('|'); at != std::string::npos; at = choices.find('|', at))
        choices.replace(at, 1, at == last ? " or " : ", ");
    return choices;
}

// Numbers that a float holds and that aren't not-a-numbers.
double checked_number(const Option& option, const std::string& name, const std::string& text) {
    const bool is_whole = option.kind == Kind::integer;
    const std::string limits = limits_of(option);
    double value = 0.0;
    const bool is_number = parse_number(text, value) && std::abs(value) <= FLT_MAX;
    const bool is_kind = !is_whole || (value == std::floor(value) && std::abs(value) <= INT_MAX);
    const bool is_inside =
        (option.excludes_low ? value > option.low : value >= option.low) && value <= option.high;
    if (is_number && is_kind && is_inside)
        return value;
    if (is_number && is_kind)
        throw UsageError(name + " must be " + limits + "; got " + text);
    throw UsageError(name + " must be a " + (is_whole ? "whole number" : "number") +
                     (limits.empty() ? "" : " " + limits) + "; got '" + text + "'");
}

} // namespace

std::string full_name(const Description& description) {
    return *description.group ? std::string(description.group) + " " + description.name
                              : description.name;
}

Arguments::Arguments(const Description& description) : description_(&description) {
    entries_.reserve(description.places.size() + description.options.size());
    for (const Option& place : description.places)
        entries_.push_back({.option = &place, .is_place = true});
    for (const Option& option : description.options)
        entries_.push_back({.option = &option});
    for (Entry& entry : entries_) {
        std::vector<std::string> values;
        for (std::string_view rest = entry.option->initial; !rest.empty();) {
            const std::size_t end = std::min(rest.find(' '), rest.size());
            values.emplace_back(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        if (!values.empty())
            assign(entry, values);
    }
}

const Arguments::Entry* Arguments::entry(std::string_view name) const {
    for (const Entry& entry : entries_) {
        if (entry.option->name == name || (*entry.option->alias && entry.option->alias == name))
            return &entry;
    }
    return nullptr;
}

const Arguments::Entry& Arguments::known(std::string_view name) const {
    const Entry* const found = entry(name);
    if (!found)
        throw UsageError("unknown option '--" + std::string(name) + "' of " +
                         full_name(*description_));
    return *found;
}

Arguments::Entry& Arguments::known(std::string_view name) {
    return const_cast<Entry&>(std::as_const(*this).known(name));
}

void Arguments::assign(Entry& entry, const std::vector<std::string>& values) {
    const Option& option = *entry.option;
    const std::string name = shown_name(option, entry.is_place);
    const auto count = static_cast<int>(values.size());
    if (count < option.least || count > option.most) {
        const std::string wanted =
            option.least == option.most
                ? std::to_string(option.least)
                : std::to_string(option.least) + " to " + std::to_string(option.most);
        throw UsageError(name + " takes " + wanted + (option.most == 1 ? " value" : " values") +
                         (*option.values ? std::string(": ") + option.values : "") + "; got " +
                         std::to_string(count));
    }
    std::vector<double> numbers;
    for (const std::string& text : values) {
        if (option.kind == Kind::integer || option.kind == Kind::number)
            numbers.push_back(checked_number(option, name, text));
        else if (option.kind == Kind::choice && !is_choice(option.choices, text))
            throw UsageError(name + " must be " + listed(option.choices) + "; got '" + text + "'");
        else if (option.kind != Kind::text && text.empty())
            throw UsageError(name + " must not be empty");
    }
    entry.texts = values;
    entry.numbers = std::move(numbers);
    entry.image.reset();
}

void Arguments::set(std::string_view name, const std::vector<std::string>& values) {
    Entry& entry = known(name);
    if (entry.option->kind == Kind::flag)
        throw UsageError("--" + std::string(name) + " takes no value");
    assign(entry, values);
    entry.is_given = true;
}

void Arguments::set_flag(std::string_view name) {
    known(name).is_given = true;
}

void Arguments::set_picture(std::string_view name, std::shared_ptr<const CImage> image) {
    Entry& entry = known(name);
    entry.image = std::move(image);
    entry.is_given = true;
}

void Arguments::check() const {
    for (const Entry& entry : entries_) {
        const Option& option = *entry.option;
        if (option.is_required && !entry.is_given)
            throw UsageError(shown_name(option, entry.is_place) + " is missing" +
                             (*option.purpose ? std::string(" (") + option.purpose + ")" : ""));
        if (entry.is_given && *option.excludes && is_given(option.excludes))
            throw UsageError(std::string("--") + option.name + " and --" + option.excludes +
                             " exclude each other");
    }
}

void Arguments::open_pictures(const OpenOptions& options) {
    for (Entry& entry : entries_) {
        if (entry.option->kind == Kind::picture && entry.is_given && !entry.image)
            entry.image = open_picture(entry.texts.at(0), options).image;
    }
}

const Option* Arguments::find(std::string_view name) const {
    const Entry* const found = entry(name);
    return found ? found->option : nullptr;
}

bool Arguments::is_given(std::string_view name) const {
    return known(name).is_given;
}

bool Arguments::has(std::string_view name) const {
    const Entry& entry = known(name);
    return entry.is_given || !entry.texts.empty();
}

int Arguments::integer(std::string_view name, int index) const {
    return static_cast<int>(number(name, index));
}

double Arguments::number(std::string_view name, int index) const {
    return known(name).numbers.at(static_cast<std::size_t>(index));
}

int Arguments::count(std::string_view name) const {
    return static_cast<int>(known(name).texts.size());
}

const std::string& Arguments::text(std::string_view name) const {
    static const std::string none;
    const Entry& entry = known(name);
    return entry.texts.empty() ? none : entry.texts[0];
}

std::vector<std::string> Arguments::texts(std::string_view name) const {
    return known(name).texts;
}

const CImage* Arguments::picture(std::string_view name) const {
    const Entry& entry = known(name);
    if (entry.is_given && !entry.image)
        throw std::logic_error("a picture was not opened");
    return entry.image.get();
}

std::string Arguments::as_typed() const {
    std::string typed;
    const auto add = [&typed](const std::string& word) {
        typed += (typed.empty() ? "" : " ") + word;
    };
    for (const Entry& entry : entries_) {
        if (!entry.is_given)
            continue;
        if (!entry.is_place)
            add(std::string("--") + entry.option->name);
        for (const std::string& text : entry.texts)
            add(quoted(text));
    }
    return typed;
}

std::string quoted(const std::string& word) {
    const bool is_plain = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || std::strchr("+-./:=_,@%", c);
    });
    if (is_plain)
        return word;
    std::string result = "'";
    for (const char c : word)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

ImagePtr Subject::take() {
    if (own_)
        return std::move(own_);
    auto copy = std::make_unique<CImage>(*image_);
    if (!copy->pixels)
        throw Error("there is no memory for a copy of the picture");
    return copy;
}

} // namespace vorlane::host
