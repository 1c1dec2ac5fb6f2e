#include "host/platform/program.h"

#include <cstdio>
#include <cstdlib>

#include <vorlane/platform/system_paths.h>
#include <vorlane/platform/windows/wide.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace vorlane::host {

namespace {

void (*before_end)() = nullptr;
UINT former_page = 0;

// Ends the program itself: until the system did, other threads would go on and begin new files.
BOOL WINAPI end(DWORD) {
    before_end();
    if (former_page != 0)
        SetConsoleOutputCP(former_page);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_CONTROL_C_EXIT));
    return TRUE;
}

// A console shows bytes in a code page, and understands a progress bar's commands if it is told to.
void prepare_console() {
    former_page = GetConsoleOutputCP();
    if (former_page == 0)
        return;
    SetConsoleOutputCP(CP_UTF8);
    std::atexit([] { SetConsoleOutputCP(former_page); });
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(error, &mode))
        SetConsoleMode(error, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

} // namespace

std::vector<std::string> begin_program(int, char**) {
    for (std::FILE* const stream : {stdin, stdout, stderr})
        _setmode(_fileno(stream), _O_BINARY);
    prepare_console();
    // What main() gets has lost the letters that the system's code page lacks.
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int k = 1; words && k < count; ++k)
        arguments.push_back(utf8_of(words[k]));
    LocalFree(words);
    return arguments;
}

bool is_error_watched() {
    return _isatty(_fileno(stderr)) != 0;
}

void call_before_end(void (*function)()) {
    before_end = function;
    SetConsoleCtrlHandler(end, TRUE);
}

void remove_at_end(const char* path) {
    DeleteFileW(wide(path).c_str());
}

} // namespace vorlane::host
