# Installs the library into a folder of its own and builds the examples against what stands there, as a host
# does: by the CMake package and by pkg-config. Then runs one on a picture.
#
#   cmake -DBUILD=... -DSOURCE=... -DWORK=... -DCOMPILER=... -P installed_host.cmake

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

run(${CMAKE_COMMAND} -G Ninja -S ${SOURCE}/examples -B ${WORK}/by-cmake -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/by-cmake)

file(WRITE ${WORK}/in.pgm "P5\n8 8\n255\n0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz")
run(${WORK}/by-cmake/edges_of_a_picture ${WORK}/in.pgm ${WORK}/out.pgm)
file(SIZE ${WORK}/out.pgm size)
if(NOT size EQUAL 75)
  message(FATAL_ERROR "out.pgm has ${size} bytes")
endif()

file(GLOB_RECURSE pc ${prefix}/*/vorlane.pc)
get_filename_component(pc_folder ${pc} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_folder})
execute_process(COMMAND pkg-config --cflags --libs vorlane
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags)
separate_arguments(FLAGS)
run(${COMPILER} -std=c++17 -Wall -Wextra -Wpedantic -Werror ${FLAGS}
    ${SOURCE}/examples/edges_of_a_picture.cpp ${flags} -o ${WORK}/by-pkg-config)

# The installed program finds library and modules, also where the tree is moved to.
if(EXISTS ${prefix}/bin/vorlane)
  file(RENAME ${prefix} ${WORK}/moved)
  run(${WORK}/moved/bin/vorlane edges ${WORK}/in.pgm ${WORK}/edges.pgm)
  foreach(document share/man/man1/vorlane.1 share/bash-completion/completions/vorlane
      share/zsh/site-functions/_vorlane)
    file(SIZE ${WORK}/moved/${document} size)
    if(size LESS 1000)
      message(FATAL_ERROR "${document} has ${size} bytes")
    endif()
  endforeach()
endif()
