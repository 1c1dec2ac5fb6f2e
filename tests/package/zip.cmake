# The zip for Windows brings library, import library, CMake package, headers and program, and the program runs from
# wherever it is unpacked.
#
#   cmake -DBUILD=... -DWORK=... -DEMULATOR=... -P zip.cmake

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${CMAKE_CPACK_COMMAND} --config ${BUILD}/CPackConfig.cmake -B ${WORK}/packed
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB zip ${WORK}/packed/*.zip)
file(ARCHIVE_EXTRACT INPUT ${zip} DESTINATION "${WORK}/for Müller")
file(GLOB tree "${WORK}/for Müller/*")
foreach(name LICENSE bin/vorlane.dll lib/libvorlane.dll.a lib/cmake/vorlane/vorlane-config.cmake
             include/vorlane/vorlane.h include/vorlane/platform/windows/gdi_system.h)
  if(NOT EXISTS "${tree}/${name}")
    message(SEND_ERROR "${zip} lacks ${name}")
  endif()
endforeach()

set(ENV{LC_ALL} C.UTF-8) # for names of files under Wine
unset(ENV{WINEPATH})
file(MAKE_DIRECTORY ${WORK}/empty)
string(REPEAT "0000zzzz" 8 pixels)
file(WRITE ${WORK}/empty/in.pgm "P5\n8 8\n255\n${pixels}")
execute_process(COMMAND ${EMULATOR} "${tree}/bin/vorlane.exe" edges in.pgm out.pgm
                WORKING_DIRECTORY ${WORK}/empty COMMAND_ERROR_IS_FATAL ANY)
file(SIZE ${WORK}/empty/out.pgm size)
if(NOT size EQUAL 75)
  message(FATAL_ERROR "out.pgm has ${size} bytes")
endif()
