// The mark of everything that the shared library shows to a host, and of members of such classes that it
// keeps to itself.
#pragma once

#if defined(VORLANE_BUILDS_DLL)
#define VORLANE_API __declspec(dllexport)
#define VORLANE_LOCAL
#elif defined(__GNUC__) && !defined(_WIN32)
#define VORLANE_API __attribute__((visibility("default")))
#define VORLANE_LOCAL __attribute__((visibility("hidden")))
#else
#define VORLANE_API
#define VORLANE_LOCAL
#endif
