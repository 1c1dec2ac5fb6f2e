#include <vorlane/platform/system_message.h>

#include <cstdio>

#include <vorlane/platform/windows/wide.h>

namespace vorlane {

int show_message(const char* text, unsigned type) {
    const int answer = MessageBoxW(nullptr, wide(text).c_str(), L"Vorlane", type);
    if (answer > 0)
        return answer;
    std::fprintf(stderr, "%s\n", text); // a service has no desktop to show it on
    return IDOK;
}

} // namespace vorlane
