# Cross-compiles for Windows of 32 bits with Debian's g++-mingw-w64-i686-posix; tests run under Wine. SSE2 rounds
# every step as 64-bit processors do. Callers keep their stacks at multiples of 4 alone: functions realign theirs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
