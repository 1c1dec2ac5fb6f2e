// The mark of everything that the shared library shows to a host, and of members of such classes that it
// keeps to itself; and where the headers of the system stand.
#pragma once

// On Windows the library shows what a list of names says, which its build makes of cmake/symbols.txt.
// A mark of a class would show its private members too, and what the compiler brings with it.

#if defined(__GNUC__) && !defined(_WIN32)
#define VORLANE_API __attribute__((visibility("default")))
#define VORLANE_LOCAL __attribute__((visibility("hidden")))
#else
#define VORLANE_API
#define VORLANE_LOCAL
#endif

// The header of this name in the folder of the system, VORLANE_SYSTEM_HEADER(gdi_system.h).
// NOLINTBEGIN(bugprone-macro-parentheses): names of files take none
#if defined(_WIN32)
#define VORLANE_SYSTEM_HEADER(name) <vorlane/platform/windows/name>
#else
#define VORLANE_SYSTEM_HEADER(name) <vorlane/platform/posix/name>
#endif
// NOLINTEND(bugprone-macro-parentheses)
