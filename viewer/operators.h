// The panel of operations: a chain whose arguments are widgets, made from the hosts' one table.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/command_line.h"

namespace vorlane::viewer {

class OperatorsPanel {
public:
    // True if the chain has changed.
    bool draw();

    bool is_empty() const { return steps_.empty(); }
    void clear() { steps_.clear(); }
    void add(const host::Operation& operation);
    // In place of the steps that were there.
    void set(const host::Chain& chain);

    // Throws host::UsageError for arguments without a meaning.
    host::Chain chain() const { return make_chain(wants_stages); }
    // "smooth --sigma 2 | edges", as `vorlane run` takes it.
    std::string as_typed() const { return make_chain(false).as_typed(); }

    // Ask for the pictures on the way too: magnitudes, directions, scales.
    bool wants_stages = false;

private:
    struct Value {
        const host::Option* option;
        bool is_given = false; // of an option without a default
        bool is_changed = false;
        std::vector<double> numbers = {};
        std::string text = {};
        int choice = 0;
    };
    struct Step {
        const host::Operation* operation;
        std::vector<Value> values = {};
    };
    host::Chain make_chain(bool with_stages) const;
    static host::Arguments arguments_of(const Step& step, bool with_stages);
    static bool draw_value(Value& value);
    bool draw_choice_of_operation();

    std::vector<Step> steps_;
};

} // namespace vorlane::viewer
