// A text that grows with what is put into it.
#pragma once

#include <string>

#include <vorlane/platform/export.h>
#ifndef VORLANE_HOST_CLASSES
class VORLANE_API CString {
public:
    CString() = default;

    // Replaces the text, with the format of printf. A null `format` empties it.
    void Format(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    // The index of the first place where `text` stands, from 0, or -1 if it is nowhere or null.
    int Find(const char* text) const;

    // Reads as a text that ends with a zero byte; valid until the next change.
    operator const char*() const {
        return text_.c_str();
    }

private:
    std::string text_;
};
#endif
