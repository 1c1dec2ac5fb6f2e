#include <support/messages.h>

#include <utility>

#include <gtest/gtest.h>

#include <vorlane/platform/message_box.h>

namespace {

std::vector<Message> caught;
int answer_to_all = 1;
MessageBoxHandler former_handler = nullptr;

int keep(const char* text, unsigned type, unsigned help_id) {
    caught.push_back({text, type, help_id});
    return answer_to_all;
}

} // namespace

MessageCatcher::MessageCatcher(int answer) {
    caught.clear();
    answer_to_all = answer;
    former_handler = SetMessageBoxHandler(keep);
}

MessageCatcher::~MessageCatcher() {
    SetMessageBoxHandler(former_handler);
}

std::vector<std::string> MessageCatcher::take_failures() {
    std::vector<std::string> texts;
    for (const Message& message : take()) {
        EXPECT_EQ(message.type, 0u) << message.text;
        EXPECT_EQ(message.help_id, 0u) << message.text;
        texts.push_back(message.text);
    }
    return texts;
}

std::vector<Message> MessageCatcher::take() {
    return std::exchange(caught, {});
}
