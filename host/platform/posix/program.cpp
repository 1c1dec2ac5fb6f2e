#include "host/platform/program.h"

#include <csignal>

#include <unistd.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace vorlane::host {

namespace {

void (*before_end)() = nullptr;

extern "C" void end(int signal_number) {
    before_end();
    std::signal(signal_number, SIG_DFL);
    raise(signal_number);
}

// Planes come and go with every step. Where the system takes each back at once it clears new pages for the
// next: a third of the time that many large pictures took.
void keep_freed_memory() {
#if defined(__GLIBC__)
    mallopt(M_ARENA_MAX, 1); // a thread's own arena gives large blocks back
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
#endif
}

} // namespace

std::vector<std::string> begin_program(int argc, char** argv) {
    keep_freed_memory();
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool is_error_watched() {
    return isatty(STDERR_FILENO) == 1;
}

void call_before_end(void (*function)()) {
    before_end = function;
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        if (std::signal(number, end) == SIG_IGN)
            std::signal(number, SIG_IGN);
    }
}

void remove_at_end(const char* path) {
    unlink(path);
}

} // namespace vorlane::host
