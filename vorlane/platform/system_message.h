// Private: how the system shows a message where no handler is set.
#pragma once

namespace vorlane {

// Shows the text, waits for an answer where somebody can give one, and returns the code of the button. `type` is
// that of a message box: buttons in the lowest four bits.
int show_message(const char* text, unsigned type);

} // namespace vorlane
