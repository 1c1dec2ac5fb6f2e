// Catches the library's message boxes.
#pragma once

#include <string>
#include <vector>

struct Message {
    std::string text;
    unsigned type;
    unsigned help_id;
};

// While it lives, boxes are kept instead of shown, and answered with `answer`. One at a time.
class MessageCatcher {
public:
    explicit MessageCatcher(int answer = 1);
    ~MessageCatcher();
    MessageCatcher(const MessageCatcher&) = delete;
    MessageCatcher& operator=(const MessageCatcher&) = delete;

    // The texts since the last call, after a check that each was a plain box (text, 0, 0).
    std::vector<std::string> take_failures();

    // All boxes since the last call.
    std::vector<Message> take();
};

using Texts = std::vector<std::string>;
