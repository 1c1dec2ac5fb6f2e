# Cross-compiles for 32-bit x86 with Debian's g++-i686-linux-gnu. SSE2 rounds every step as 64-bit processors do;
# the older floating-point unit doesn't.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386-static;-L;/usr/i686-linux-gnu)
set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
