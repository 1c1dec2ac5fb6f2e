# One set of compiler options for everything that is built here.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Results are the same bits everywhere: no contraction of a product and a sum into one rounding.
# Floating-point exceptions and errno are not read, and saying so changes no result.
add_compile_options(-ffp-contract=off -fno-math-errno -fno-trapping-math)
# Files above 2 GB on systems of 32 bits too.
add_compile_definitions(_FILE_OFFSET_BITS=64)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
                    -Wnon-virtual-dtor -Wcast-align)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Numbers of rows and samples have 64 bits everywhere. A plane that the memory holds has passed the check of
  # its size, so what is counted over one fits the 32 bits of sizes here.
  add_compile_options(-Wno-conversion)
endif()
if(VORLANE_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()
if(VORLANE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined,float-cast-overflow)
endif()
if(VORLANE_LIBFUZZER)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(VORLANE_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

if(VORLANE_SANITIZE_THREADS)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

# The name of the folders platform/windows and platform/posix, which hold what isn't the same on every system.
set(VORLANE_SYSTEM posix)
if(WIN32)
  set(VORLANE_SYSTEM windows)
endif()

# Kernel files are compiled once for each instruction set, with these options. vorlane/simd/instruction_set.h
# lists the same sets.
set(VORLANE_INSTRUCTION_SETS plain)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
  list(APPEND VORLANE_INSTRUCTION_SETS sse2 avx2 avx512)
  set(VORLANE_OPTIONS_sse2 -msse2)
  set(VORLANE_OPTIONS_avx2 -mavx2 -mfma -mbmi2)
  set(VORLANE_OPTIONS_avx512 -mavx512f -mavx512dq -mavx512bw -mavx512vl -mavx2 -mfma -mbmi2)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64|ARM64")
  list(APPEND VORLANE_INSTRUCTION_SETS neon)
endif()
if(WIN32)
  # The stack is aligned to 16 bytes and no more, whatever a spilled vector of 32 or 64 wants.
  list(APPEND VORLANE_OPTIONS_avx2 -Wa,-muse-unaligned-vector-move)
  list(APPEND VORLANE_OPTIONS_avx512 -Wa,-muse-unaligned-vector-move)
  # One folder for programs and libraries, those of the compiler too: Windows looks for what a program needs
  # beside it. Exceptions that pass from the library to a host want one runtime for both.
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  foreach(name libgcc_s_seh-1.dll libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(IS_ABSOLUTE "${path}")
      file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
      execute_process(COMMAND ${CMAKE_STRIP} -o ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ${path}
                      COMMAND_ERROR_IS_FATAL ANY)
      install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    endif()
  endforeach()
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION . COMPONENT runtime)
endif()
