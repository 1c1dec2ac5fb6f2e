#include <vorlane/platform/message_box.h>

#include <atomic>
#include <cstdio>

#if defined(__unix__) || defined(__APPLE__)
#include <unistd.h>
#endif

namespace {

constexpr int answer_ok = 1;
constexpr int answer_cancel = 2;
constexpr unsigned button_mask = 0xF; // the bits of a box's type that choose its buttons

std::atomic<MessageBoxHandler> current_handler{nullptr};

bool input_is_terminal() {
#if defined(__unix__) || defined(__APPLE__)
    return isatty(STDIN_FILENO) == 1;
#else
    return false;
#endif
}

int ask_on_terminal() {
    std::fputs("[o]k or [c]ancel? ", stderr);
    std::fflush(stderr);
    char line[64];
    if (!std::fgets(line, sizeof line, stdin))
        return answer_cancel;
    return line[0] == 'c' || line[0] == 'C' ? answer_cancel : answer_ok;
}

} // namespace

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    return current_handler.exchange(handler);
}

int AfxMessageBox(const char* text, unsigned type, unsigned help_id) {
    if (const MessageBoxHandler handler = current_handler.load())
        return handler(text, type, help_id);
    std::fputs(text ? text : "", stderr);
    std::fputc('\n', stderr);
    const bool is_question = (type & button_mask) != 0;
    return is_question && input_is_terminal() ? ask_on_terminal() : answer_ok;
}
