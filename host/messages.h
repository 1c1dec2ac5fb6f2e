// The library's message boxes as a host's errors. Boxes are kept for each thread by itself, so that
// several threads can work on images of their own.
#pragma once

#include <memory>
#include <string>

#include <vorlane/vorlane.h>

namespace vorlane::host {

using ImagePtr = std::unique_ptr<CImage>;

// From now on messages are kept for the error that follows, and questions are answered OK. Sets the
// library's one handler; a host calls it once, when it starts.
void collect_messages();

// The first message on this thread since the last call, or `otherwise` if there was none.
std::string take_message(const std::string& otherwise);

// The result of an operation, or an Error with the library's message, or with `what` if it gave
// none.
ImagePtr checked(CImage* result, const std::string& what);

} // namespace vorlane::host
