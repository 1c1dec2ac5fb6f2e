// The mark of everything that the shared library shows to a host.
#pragma once

#if defined(__GNUC__)
#define VORLANE_API __attribute__((visibility("default")))
#else
#define VORLANE_API
#endif
