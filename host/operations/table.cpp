#include <string>

#include "host/operations/parts.h"

namespace vorlane::host {

namespace {

constexpr Group all_groups[] = {
    {"filter", "Look at the neighbours of each pixel"},
    {"math", "Combine pictures pixel by pixel"},
    {"geometry", "Crop, resample and turn pictures"},
    {"draw", "Draw into pictures"},
};

std::vector<const Operation*> collect() {
    std::vector<const Operation*> all;
    for (const auto subject :
         {info_operations, file_operations, comparison_operations, smoothing_operations,
          edge_operations, ridge_operations, histogram_operations, filter_operations,
          arithmetic_operations, geometry_operations, drawing_operations}) {
        for (const Operation& operation : subject())
            all.push_back(&operation);
    }
    return all;
}

} // namespace

std::span<const Operation* const> operations() {
    static const std::vector<const Operation*> all = collect();
    return all;
}

const Operation* find_operation(std::string_view group, std::string_view name) {
    for (const Operation* const operation : operations()) {
        if (operation->description.group == group && operation->description.name == name)
            return operation;
    }
    return nullptr;
}

std::span<const Group> groups() {
    return all_groups;
}

Result run_operation(const Operation& operation, ImagePtr picture, const Call& call) {
    call.arguments.check();
    if (operation.check)
        operation.check(call.arguments);
    if (operation.input == Input::picture &&
        (!picture || !picture->pixels || picture->nrows < 1 || picture->ncols < 1))
        throw UsageError("the picture has no pixels");
    Result result;
    if (operation.output == Output::text) {
        Subject subject(*picture);
        result = operation.run(subject, call);
        result.image = std::move(picture);
    } else {
        Subject subject(std::move(picture));
        result = operation.run(subject, call);
    }
    if (!result.image)
        throw Error(take_message("these arguments have no meaning for this picture"));
    for (Further& further : result.further) {
        const std::string& value = call.arguments.text(further.option);
        further.path = further.name.empty() ? value : value + "/" + further.name;
    }
    take_message("");
    return result;
}

} // namespace vorlane::host
