// Message boxes: the one way in which the library tells its user that something failed. A host
// shows them its own way by setting a handler.
#pragma once

#include <vorlane/platform/export.h>

// Shows `text`, waits for the user and returns the button that was pressed: 1 OK, 2 Cancel. `type`
// 0 is a plain box with an OK button, 1 a question with OK and Cancel. The library passes `help_id`
// 0.
using MessageBoxHandler = int (*)(const char* text, unsigned type, unsigned help_id);

// Sets the handler of all later boxes and returns the former one, null if that was the default.
// Null restores the default, which prints the text to standard error; if the box is a question and
// standard input is a terminal it asks there, and otherwise it answers OK. The handler is called on
// the thread of the operation that fails.
VORLANE_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

// Hands a box to the handler and returns its answer. The text is shown as it stands, per cent signs
// included.
VORLANE_API int AfxMessageBox(const char* text, unsigned type = 0, unsigned help_id = 0);
