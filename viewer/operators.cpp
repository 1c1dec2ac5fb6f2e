#include "operators.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include <imgui.h>
#include <imgui_stdlib.h>

namespace vorlane::viewer {

namespace {

using host::Kind;

std::vector<std::string> split(const std::string& text, char at) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, at);)
        parts.push_back(part);
    return parts;
}

bool is_output(const host::Option& option) {
    return option.kind == Kind::output || option.kind == Kind::folder;
}

bool is_number(const host::Option& option) {
    return option.kind == Kind::integer || option.kind == Kind::number;
}

// What the panel has a widget for.
bool is_shown(const host::Option& option) {
    return !is_output(option);
}

bool is_offered(const host::Operation& operation) {
    return operation.input == host::Input::picture && operation.output == host::Output::picture;
}

std::string number_text(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.5g", number);
    return text;
}

// Where a slider begins and ends; beyond it, as far as the option goes, a number is typed (Ctrl and a click).
struct SliderRange {
    float low, high;
    bool is_logarithmic;
};

SliderRange slider_range(const host::Option& option, double initial) {
    const double low = std::isfinite(option.low) ? option.low : std::min(-100.0, -2.0 * initial);
    const double reach = std::max({8.0 * std::abs(initial), low + 1.0, 1.0});
    const double high = std::min(option.high, std::max(reach, low + 1.0));
    const bool is_small_share = option.low >= 0.0 && std::abs(initial) < 1.0 && initial > 0.0;
    return {static_cast<float>(low),
            static_cast<float>(is_small_share ? std::min(option.high, 1.0) : high),
            option.low > 0.0 && high > 20.0 * option.low};
}

} // namespace

void OperatorsPanel::add(const host::Operation& operation) {
    Step step{&operation};
    for (const auto options : {operation.description.places, operation.description.options}) {
        for (const host::Option& option : options) {
            if (!is_shown(option))
                continue;
            Value value{&option};
            const std::vector<std::string> initial = split(option.initial, ' ');
            if (is_number(option)) {
                for (int k = 0; k < std::max(1, option.least); ++k) {
                    const std::string text =
                        initial.empty() ? std::string()
                                        : initial[std::min<std::size_t>(k, initial.size() - 1)];
                    const double fallback = std::isfinite(option.low) ? option.low + 1.0 : 0.0;
                    value.numbers.push_back(text.empty() ? fallback : std::atof(text.c_str()));
                }
            } else if (option.kind == Kind::choice) {
                const auto choices = split(option.choices, '|');
                const auto found = std::find(choices.begin(), choices.end(), option.initial);
                value.choice =
                    found == choices.end() ? 0 : static_cast<int>(found - choices.begin());
            } else {
                value.text = option.initial;
            }
            value.is_given = option.is_required;
            step.values.push_back(std::move(value));
        }
    }
    steps_.push_back(std::move(step));
}

void OperatorsPanel::set(const host::Chain& chain) {
    clear();
    for (const host::Step& step : chain.steps()) {
        if (!is_offered(*step.operation))
            throw host::UsageError(host::full_name(step.operation->description) +
                                   " makes no picture to show");
        add(*step.operation);
        for (Value& value : steps_.back().values) {
            const char* const name = value.option->name;
            if (!step.arguments.is_given(name))
                continue;
            value.is_given = value.is_changed = true;
            if (is_number(*value.option)) {
                value.numbers.resize(static_cast<std::size_t>(step.arguments.count(name)));
                for (std::size_t k = 0; k < value.numbers.size(); ++k)
                    value.numbers[k] = value.option->kind == Kind::integer
                                           ? step.arguments.integer(name, static_cast<int>(k))
                                           : step.arguments.number(name, static_cast<int>(k));
            } else if (value.option->kind == Kind::choice) {
                const auto choices = split(value.option->choices, '|');
                const auto found =
                    std::find(choices.begin(), choices.end(), step.arguments.text(name));
                value.choice =
                    found == choices.end() ? 0 : static_cast<int>(found - choices.begin());
            } else if (value.option->kind != Kind::flag) {
                value.text.clear();
                for (const std::string& word : step.arguments.texts(name))
                    value.text.append(value.text.empty() ? "" : " ").append(word);
            }
        }
    }
}

host::Arguments OperatorsPanel::arguments_of(const Step& step, bool with_stages) {
    host::Arguments arguments(step.operation->description);
    for (const Value& value : step.values) {
        const host::Option& option = *value.option;
        const bool counts =
            option.is_required || (*option.initial ? value.is_changed : value.is_given);
        if (!counts)
            continue;
        if (option.kind == Kind::flag) {
            arguments.set_flag(option.name);
        } else if (is_number(option)) {
            std::vector<std::string> texts;
            for (const double number : value.numbers)
                texts.push_back(option.kind == Kind::integer
                                    ? std::to_string(static_cast<long>(std::lround(number)))
                                    : number_text(number));
            arguments.set(option.name, texts);
        } else if (option.kind == Kind::choice) {
            arguments.set(option.name, split(option.choices, '|')[value.choice]);
        } else if (!value.text.empty()) {
            const auto words =
                option.most > 1 ? split(value.text, ' ') : std::vector<std::string>{value.text};
            arguments.set(option.name, words);
        }
    }
    if (with_stages) {
        for (const host::Option& option : step.operation->description.options) {
            if (is_output(option))
                arguments.set(option.name, option.kind == Kind::folder ? "." : "stage.tif");
        }
    }
    arguments.check();
    if (step.operation->check)
        step.operation->check(arguments);
    return arguments;
}

host::Chain OperatorsPanel::make_chain(bool with_stages) const {
    std::string text;
    for (std::size_t k = 0; k < steps_.size(); ++k) {
        const bool is_last = k + 1 == steps_.size();
        const auto step =
            host::Chain::of(*steps_[k].operation, arguments_of(steps_[k], with_stages && is_last));
        text.append(k > 0 ? " | " : "").append(step.as_typed());
    }
    return host::Chain::parse(text);
}

bool OperatorsPanel::draw_value(Value& value) {
    const host::Option& option = *value.option;
    ImGui::PushID(&option);
    bool is_changed = false;
    if (!*option.initial && !option.is_required && option.kind != Kind::flag) {
        is_changed |= ImGui::Checkbox("##given", &value.is_given);
        ImGui::SameLine();
    }
    const bool is_idle = !*option.initial && !value.is_given && option.kind != Kind::flag;
    ImGui::BeginDisabled(is_idle);
    ImGui::SetNextItemWidth(150.0f);
    bool is_touched = false;
    if (option.kind == Kind::flag) {
        is_touched = ImGui::Checkbox(option.name, &value.is_given);
    } else if (is_number(option)) {
        for (std::size_t k = 0; k < value.numbers.size(); ++k) {
            ImGui::PushID(static_cast<int>(k));
            const bool is_last = k + 1 == value.numbers.size();
            const char* const label = is_last ? option.name : "##number";
            const SliderRange range = slider_range(
                option, *option.initial ? std::atof(option.initial) : value.numbers[k]);
            if (option.kind == Kind::integer) {
                int number = static_cast<int>(value.numbers[k]);
                ImGui::SetNextItemWidth(150.0f / static_cast<float>(value.numbers.size()));
                if (ImGui::SliderInt(label, &number, static_cast<int>(range.low),
                                     static_cast<int>(range.high)))
                    value.numbers[k] = number, is_touched = true;
            } else {
                auto number = static_cast<float>(value.numbers[k]);
                ImGui::SetNextItemWidth(150.0f / static_cast<float>(value.numbers.size()));
                if (ImGui::SliderFloat(label, &number, range.low, range.high, "%.3g",
                                       range.is_logarithmic ? ImGuiSliderFlags_Logarithmic : 0))
                    value.numbers[k] = number, is_touched = true;
            }
            if (!is_last)
                ImGui::SameLine(0.0f, 4.0f);
            ImGui::PopID();
        }
    } else if (option.kind == Kind::choice) {
        const auto choices = split(option.choices, '|');
        if (ImGui::BeginCombo(option.name, choices[value.choice].c_str())) {
            for (std::size_t k = 0; k < choices.size(); ++k) {
                if (ImGui::Selectable(choices[k].c_str(), static_cast<int>(k) == value.choice))
                    value.choice = static_cast<int>(k), is_touched = true;
            }
            ImGui::EndCombo();
        }
    } else {
        is_touched =
            ImGui::InputText(option.name, &value.text, ImGuiInputTextFlags_EnterReturnsTrue);
    }
    ImGui::EndDisabled();
    if (ImGui::IsItemHovered())
        ImGui::SetTooltip("%s%s%s%s", option.purpose, *option.unit ? " (" : "", option.unit,
                          *option.unit ? ")" : "");
    value.is_changed |= is_touched;
    ImGui::PopID();
    return is_changed || is_touched;
}

bool OperatorsPanel::draw_choice_of_operation() {
    bool is_changed = false;
    ImGui::SetNextItemWidth(-1.0f);
    if (ImGui::BeginCombo("##add", steps_.empty() ? "Choose an operation" : "Add a step")) {
        for (const host::Operation* operation : host::operations()) {
            if (!is_offered(*operation))
                continue;
            if (ImGui::Selectable(host::full_name(operation->description).c_str())) {
                add(*operation);
                is_changed = true;
            }
            if (ImGui::IsItemHovered())
                ImGui::SetTooltip("%s", operation->description.purpose);
        }
        ImGui::EndCombo();
    }
    return is_changed;
}

bool OperatorsPanel::draw() {
    bool is_changed = false;
    std::size_t removed = steps_.size();
    for (std::size_t k = 0; k < steps_.size(); ++k) {
        ImGui::PushID(static_cast<int>(k));
        ImGui::Separator();
        ImGui::TextUnformatted(host::full_name(steps_[k].operation->description).c_str());
        ImGui::SameLine(ImGui::GetContentRegionMax().x - 60.0f);
        if (ImGui::SmallButton("Remove"))
            removed = k;
        for (Value& value : steps_[k].values)
            is_changed |= draw_value(value);
        ImGui::PopID();
    }
    if (removed < steps_.size()) {
        steps_.erase(steps_.begin() + static_cast<std::ptrdiff_t>(removed));
        is_changed = true;
    }
    is_changed |= draw_choice_of_operation();
    if (!steps_.empty())
        is_changed |= ImGui::Checkbox("pictures on the way", &wants_stages);
    return is_changed;
}

} // namespace vorlane::viewer
