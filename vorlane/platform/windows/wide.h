// Private: texts as the system takes them.
#pragma once

#include <string>

#include <windows.h>

namespace vorlane {

// Of UTF-8; a text that isn't, as a host without it may give, counts as one of the system's code page.
inline std::wstring wide(const char* text) {
    for (const UINT page : {UINT{CP_UTF8}, UINT{CP_ACP}}) {
        const DWORD strictness = page == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
        const int size = MultiByteToWideChar(page, strictness, text, -1, nullptr, 0);
        if (size < 1)
            continue;
        std::wstring result(static_cast<std::size_t>(size), L'\0');
        MultiByteToWideChar(page, strictness, text, -1, result.data(), size);
        result.pop_back(); // the zero at its end
        return result;
    }
    return {};
}

} // namespace vorlane
