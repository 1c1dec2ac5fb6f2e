// Private: how an operation fails.
#pragma once

#include <vorlane/platform/message_box.h>

namespace vorlane {

// Shows the text in a plain box.
inline void show_failure(const char* text) {
    AfxMessageBox(text, 0, 0);
}

} // namespace vorlane
