#include <vorlane/platform/system_message.h>

#include <cstdio>

#include <unistd.h>

namespace vorlane {

namespace {

constexpr int answer_ok = 1;
constexpr int answer_cancel = 2;
constexpr unsigned button_mask = 0xF; // the bits of a box's type that choose its buttons

int ask_on_terminal() {
    std::fputs("[o]k or [c]ancel? ", stderr);
    std::fflush(stderr);
    char line[64];
    if (!std::fgets(line, sizeof line, stdin))
        return answer_cancel;
    return line[0] == 'c' || line[0] == 'C' ? answer_cancel : answer_ok;
}

} // namespace

int show_message(const char* text, unsigned type) {
    std::fputs(text, stderr);
    std::fputc('\n', stderr);
    const bool is_question = (type & button_mask) != 0;
    return is_question && isatty(STDIN_FILENO) == 1 ? ask_on_terminal() : answer_ok;
}

} // namespace vorlane
