# vorlane_symbols(LIBRARY RESULT): the lines of nm for what a shared library shows, with names as C++ has them.
# What a library for Windows shows stands in its import library (.dll.a), data as pointers only.
function(vorlane_symbols library result)
  if(library MATCHES "\\.dll\\.a$")
    execute_process(COMMAND nm --defined-only ${library} OUTPUT_VARIABLE symbols ERROR_QUIET)
    string(REPLACE " I __imp_" " D " symbols "${symbols}")
    file(WRITE symbols.txt "${symbols}")
    execute_process(COMMAND c++filt INPUT_FILE symbols.txt OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  else()
    execute_process(COMMAND nm --dynamic --defined-only --demangle ${library} OUTPUT_VARIABLE symbols
                    COMMAND_ERROR_IS_FATAL ANY)
  endif()
  set(${result} "${symbols}" PARENT_SCOPE)
endfunction()
