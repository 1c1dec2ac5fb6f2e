# Installs the library into a folder of its own and builds the examples against what stands there, as a host
# does: by the CMake package and by pkg-config. Then runs one on a picture.
#
#   cmake -DBUILD=... -DSOURCE=... -DWORK=... -DCOMPILER=... [-DTOOLCHAIN=... -DEMULATOR=... -DSUFFIX=...] -P installed_host.cmake

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

run(${CMAKE_COMMAND} -G Ninja -S ${SOURCE}/examples -B ${WORK}/by-cmake -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}" -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -DCMAKE_FIND_ROOT_PATH=${prefix})
set(ENV{WINEPATH} ${prefix}/bin) # where Wine finds libraries; to the others it says nothing
run(${CMAKE_COMMAND} --build ${WORK}/by-cmake)

file(WRITE ${WORK}/in.pgm "P5\n8 8\n255\n0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz0000zzzz")
run(${EMULATOR} ${WORK}/by-cmake/edges_of_a_picture${SUFFIX} ${WORK}/in.pgm ${WORK}/out.pgm)
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
set(examples edges_of_a_picture smooth_a_folder classes_of_a_picture mark_the_brightest structure_of_a_volume
    bitmap_by_hand)
foreach(example IN LISTS examples)
  run(${COMPILER} -std=c++17 -Wall -Wextra -Wpedantic -Werror ${FLAGS}
      ${SOURCE}/examples/${example}.cpp ${flags} -o ${WORK}/by-pkg-config-${example})
endforeach()

# What the others give, in a word each.
function(gives text)
  list(POP_FRONT ARGN example)
  execute_process(COMMAND ${EMULATOR} ${WORK}/by-cmake/${example}${SUFFIX} ${ARGN} WORKING_DIRECTORY ${WORK}
                  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  if(NOT output MATCHES "${text}")
    message(FATAL_ERROR "${example} ${ARGN} gives:\n${output}")
  endif()
endfunction()
function(has_size name expected)
  file(SIZE ${WORK}/${name} size)
  if(NOT size EQUAL expected)
    message(FATAL_ERROR "${name} has ${size} bytes")
  endif()
endfunction()
string(REPEAT "0" 62 dark)
file(WRITE ${WORK}/movie.tq "TQ\n8 8 2\n4\n0\n${dark}z0z${dark}0")
gives("frame 0: row 7, column 6\nframe 1: row 0, column 0" mark_the_brightest movie.tq marked.avi)
file(MAKE_DIRECTORY ${WORK}/folder)
file(COPY ${WORK}/in.pgm DESTINATION ${WORK}/folder)
gives("^$" smooth_a_folder folder smooth 1)
has_size(smooth/in.pgm 75)
gives("misfit" classes_of_a_picture in.pgm)
gives("^$" bitmap_by_hand in.pgm 48 122 shown.ppm)
has_size(shown.ppm 781)
string(REPEAT "0" 455 before)
string(REPEAT "0" 444 behind)
file(WRITE ${WORK}/voxels "${before}~${behind}")
file(WRITE ${WORK}/volume.txt "V2\nfile=voxels\nnbf=9\nrow=10\ncol=10\nsize=1\n")
gives("blob   slice 4, row 5, column 5" structure_of_a_volume volume.txt 1)

# The installed program finds library and modules, also where the tree is moved to.
if(EXISTS ${prefix}/bin/vorlane${SUFFIX})
  file(RENAME ${prefix} ${WORK}/moved)
  run(${EMULATOR} ${WORK}/moved/bin/vorlane${SUFFIX} edges ${WORK}/in.pgm ${WORK}/edges.pgm)
  if(EMULATOR) # the program writes its documents where it is built for the machine that builds it
    return()
  endif()
  foreach(document share/man/man1/vorlane.1 share/bash-completion/completions/vorlane
      share/zsh/site-functions/_vorlane)
    file(SIZE ${WORK}/moved/${document} size)
    if(size LESS 1000)
      message(FATAL_ERROR "${document} has ${size} bytes")
    endif()
  endforeach()
endif()
