# A kernel file hands the linker no function that other files might take: it has no weak symbols at all.
#
#   cmake "-DOBJECTS=a.o;b.o" -P kernel_symbols.cmake

list(LENGTH OBJECTS count)
if(count EQUAL 0)
  message(FATAL_ERROR "no kernel objects")
endif()
foreach(object IN LISTS OBJECTS)
  execute_process(COMMAND nm --demangle ${object} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]* [WVu] [^\n]*" weak "${symbols}")
  if(weak)
    message(SEND_ERROR "${object}: ${weak}")
  endif()
endforeach()
