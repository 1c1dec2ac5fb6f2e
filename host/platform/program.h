// What a program asks of the system it runs on. Each system has a folder of sources beside this one.
#pragma once

#include <string>
#include <vector>

namespace vorlane::host {

// To be called first. Makes the standard streams carry bytes as they are, and gives the program's
// arguments in UTF-8, without its name.
std::vector<std::string> begin_program(int argc, char** argv);

// True if somebody watches standard error.
bool is_error_watched();

// Calls the function before the user or the system ends the program. It may only remove files.
void call_before_end(void (*function)());

// For such a function: takes a file away.
void remove_at_end(const char* path);

} // namespace vorlane::host
