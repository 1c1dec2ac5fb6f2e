#include <vorlane/platform/message_box.h>

#include <atomic>

#include <vorlane/platform/system_message.h>

namespace {

std::atomic<MessageBoxHandler> current_handler{nullptr};

} // namespace

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
    return current_handler.exchange(handler);
}

int AfxMessageBox(const char* text, unsigned type, unsigned help_id) {
    if (const MessageBoxHandler handler = current_handler.load())
        return handler(text, type, help_id);
    return vorlane::show_message(text ? text : "", type);
}
