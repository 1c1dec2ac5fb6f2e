# GoogleTest, as installed for this machine. For another one it is compiled from the sources in Debian's package
# googletest.

find_path(VORLANE_GOOGLETEST_SOURCES CMakeLists.txt HINTS /usr/src/googletest NO_CMAKE_FIND_ROOT_PATH)
if(CMAKE_CROSSCOMPILING AND VORLANE_GOOGLETEST_SOURCES)
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(${VORLANE_GOOGLETEST_SOURCES} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  foreach(target gtest gtest_main)
    target_compile_options(${target} PRIVATE -w)
  endforeach()
  set(VORLANE_HAS_GTest ON)
else()
  vorlane_optional(GTest WHAT "the tests" DEBIAN libgtest-dev)
endif()
