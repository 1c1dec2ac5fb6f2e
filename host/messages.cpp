#include "host/messages.h"

#include <utility>

#include "host/error.h"

namespace vorlane::host {

namespace {

thread_local std::string first_message;

int keep_message(const char* text, unsigned type, unsigned) {
    constexpr int ok = 1;
    if (type == 0 && first_message.empty())
        first_message = text;
    return ok;
}

} // namespace

void collect_messages() {
    SetMessageBoxHandler(keep_message);
}

std::string take_message(const std::string& otherwise) {
    std::string text = std::exchange(first_message, {});
    return text.empty() ? otherwise : text;
}

ImagePtr checked(CImage* result, const std::string& what) {
    if (!result)
        throw Error(take_message(what));
    return ImagePtr(result);
}

} // namespace vorlane::host
