# Outside libraries that hosts, tests and benchmarks use. Each is found, or what needs it is left out with one
# line that names the Debian package which brings it.
#
#   vorlane_optional(PNG WHAT "PNG pictures" DEBIAN libpng-dev)
#   vorlane_optional(OpenCV WHAT ... DEBIAN ... ARGUMENTS COMPONENTS core imgproc)  more words for find_package
#   vorlane_optional(FFMPEG WHAT ... DEBIAN ... MODULES libavformat libavcodec)     by pkg-config:
#                                                                       the target PkgConfig::FFMPEG
#
# sets VORLANE_HAS_<name> for the caller. Targets that are found are visible everywhere, and the line is said
# once however many ask.
macro(vorlane_optional name)
  cmake_parse_arguments(VORLANE_OPTIONAL "" "WHAT;DEBIAN" "ARGUMENTS;MODULES" ${ARGN})
  set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL ON)
  if(VORLANE_OPTIONAL_MODULES)
    find_package(PkgConfig QUIET)
    if(PkgConfig_FOUND AND NOT TARGET PkgConfig::${name})
      pkg_check_modules(${name} QUIET IMPORTED_TARGET GLOBAL ${VORLANE_OPTIONAL_MODULES})
    endif()
    if(TARGET PkgConfig::${name})
      set(${name}_FOUND ON)
    endif()
  else()
    find_package(${name} QUIET ${VORLANE_OPTIONAL_ARGUMENTS})
  endif()
  unset(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL)
  if(${name}_FOUND)
    set(VORLANE_HAS_${name} ON)
  else()
    set(VORLANE_HAS_${name} OFF)
    vorlane_left_out("${VORLANE_OPTIONAL_WHAT}" "${VORLANE_OPTIONAL_DEBIAN}")
  endif()
endmacro()

# Says so once.
function(vorlane_left_out what debian)
  get_property(said GLOBAL PROPERTY VORLANE_LEFT_OUT)
  if(NOT "${what}" IN_LIST said)
    message(STATUS "Left out: ${what} (package ${debian})")
    set_property(GLOBAL APPEND PROPERTY VORLANE_LEFT_OUT "${what}")
  endif()
endfunction()
