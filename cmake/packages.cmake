# Packages for Debian, made by `cpack -G DEB` (scripts/deb), a zip for Windows, made by `cpack` in a build for it, and
# the source tarball. Which package a file goes to is told
# by the COMPONENT of its install rule: runtime, development, tools, viewer, python.

set(CPACK_PACKAGE_NAME vorlane)
set(CPACK_PACKAGE_CONTACT "The Vorlane authors <vorlane@example.org>" CACHE STRING
    "Who maintains the packages: Name <address>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/vorlane)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL runtime development)

# vorlane_package(COMPONENT NAME SECTION SUMMARY TEXT [DEPENDS])
function(vorlane_package component name section summary text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  if(ARGN)
    list(JOIN ARGN ", " depends)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  endif()
  install(FILES ${PROJECT_BINARY_DIR}/packages/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_BINARY_DIR}/packages/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(same_library "libvorlane${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(about "Smooths, finds edges and ridges, resamples, fits histograms, and reads and
writes images, movies and volumes, with the same bits on every machine.")
vorlane_package(runtime libvorlane${PROJECT_VERSION_MAJOR} libs "image, movie and volume processing (library)" "${about}")
vorlane_package(development libvorlane-dev libdevel "image, movie and volume processing (development files)"
  "${about}\n.\nHeaders, a CMake package and a pkg-config file." ${same_library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${PROJECT_BINARY_DIR}/packages/triggers;${PROJECT_BINARY_DIR}/packages/symbols;${PROJECT_BINARY_DIR}/packages/shlibs")
if(TARGET vorlane-program)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  vorlane_package(tools vorlane graphics "image, movie and volume processing (program)"
    "${about}\n.\nThe command-line program, with its manual and completions." ${same_library})
endif()
if(TARGET vorlane-view)
  list(APPEND CPACK_COMPONENTS_ALL viewer)
  vorlane_package(viewer vorlane-viewer graphics "image, movie and volume processing (viewer)"
    "${about}\n.\nThe desktop viewer." ${same_library})
endif()
if(TARGET vorlane-python)
  # The extension is that of one version of the interpreter.
  execute_process(COMMAND ${Python_EXECUTABLE} -c "import sys; print('3.%d;3.%d' % (sys.version_info[1], sys.version_info[1] + 1))"
    OUTPUT_VARIABLE versions OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  list(GET versions 0 python_version)
  list(GET versions 1 next_python_version)
  list(APPEND CPACK_COMPONENTS_ALL python)
  vorlane_package(python python3-vorlane python "image, movie and volume processing (Python module)"
    "${about}\n.\nThe module for Python 3 and NumPy." ${same_library} python3-numpy
    "python3 (>= ${python_version})" "python3 (<< ${next_python_version})")
endif()

# Debian wants the manual packed: it is, in the tree that cpack has installed.
file(WRITE ${PROJECT_BINARY_DIR}/packages/pack_manual.cmake
  "file(GLOB_RECURSE manuals \${CPACK_TEMPORARY_DIRECTORY}/*.1)
list(FILTER manuals INCLUDE REGEX /man1/)
foreach(manual IN LISTS manuals)
  execute_process(COMMAND gzip -9nf \${manual} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_BINARY_DIR}/packages/pack_manual.cmake)

# What Debian asks of every package: its licence, and what changed, packed without a name or a time.
file(READ LICENSE licence)
string(REGEX REPLACE "\n\n" "\n.\n" licence "${licence}")
string(REGEX REPLACE "\n" "\n " licence "${licence}")
string(STRIP "${licence}" licence)
file(CONFIGURE OUTPUT packages/copyright @ONLY CONTENT "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: vorlane

Files: *
Copyright: 2026 The Vorlane authors
License: Expat
 @licence@
")
file(WRITE ${PROJECT_BINARY_DIR}/packages/changelog "vorlane (${PROJECT_VERSION}) unstable; urgency=medium

  * See CHANGELOG.md in the sources.

 -- ${CPACK_PACKAGE_CONTACT}  Sun, 01 Nov 2026 00:00:00 +0000
")
execute_process(COMMAND gzip -9nf packages/changelog WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
file(WRITE ${PROJECT_BINARY_DIR}/packages/triggers "activate-noawait ldconfig\n")
file(STRINGS cmake/symbols.txt symbols REGEX "^[^#]")
list(TRANSFORM symbols REPLACE "^([^ ]+) ([0-9.]+).*" " \\1@Base \\2")
list(JOIN symbols "\n" symbols)
file(WRITE ${PROJECT_BINARY_DIR}/packages/symbols
  "libvorlane.so.${PROJECT_VERSION_MAJOR} libvorlane${PROJECT_VERSION_MAJOR}\n${symbols}\n")

file(WRITE ${PROJECT_BINARY_DIR}/packages/shlibs "libvorlane ${PROJECT_VERSION_MAJOR} libvorlane${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})\n")

# `cpack --config CPackSourceConfig.cmake` packs the tree without what is built in it.
set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME vorlane-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES /\\.git/ /build/ /demo/ /\\.cache/ __pycache__)
include(CPack)
