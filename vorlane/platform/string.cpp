#include <vorlane/platform/string.h>

#include <cstdarg>
#include <cstdio>

void CString::Format(const char* format, ...) {
    std::string formatted;
    if (format) {
        std::va_list arguments;
        va_start(arguments, format);
        std::va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(nullptr, 0, format, arguments);
        va_end(arguments);
        if (length > 0) {
            formatted.resize(static_cast<std::size_t>(length) + 1);
            std::vsnprintf(formatted.data(), formatted.size(), format, again);
            formatted.pop_back();
        }
        va_end(again);
    }
    text_.swap(formatted); // only now: an argument may be this very text
}

int CString::Find(const char* text) const {
    if (!text)
        return -1;
    const std::size_t position = text_.find(text);
    return position == std::string::npos ? -1 : static_cast<int>(position);
}
