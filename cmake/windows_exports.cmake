# vorlane_windows_exports(RESULT): the names of symbols.txt as Windows spells them. Calls of drawing and of AVI files are
# its own there, and names of types don't leave a library.
set(VORLANE_SYMBOLS ${CMAKE_CURRENT_LIST_DIR}/symbols.txt)
function(vorlane_windows_exports result)
  file(STRINGS ${VORLANE_SYMBOLS} names REGEX "^_Z")
  list(FILTER names EXCLUDE REGEX "P9GdiDevice|PK10LOGPALETTE|^_ZTS|^_Z[0-9]+AVI(File|Stream)")
  list(TRANSFORM names REPLACE " .*" "")
  list(TRANSFORM names REPLACE "8_IO_FILE" "6_iobuf")
  list(TRANSFORM names REPLACE "P9GdiObject" "Pv")
  list(TRANSFORM names REPLACE "P12PALETTEENTRY" "P15tagPALETTEENTRY")
  set(offset x)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(offset i) # std::ptrdiff_t
  endif()
  list(TRANSFORM names REPLACE "^(_Z18make_2D_float_viewPfii)l" "\\1${offset}")
  set(${result} ${names} PARENT_SCOPE)
endfunction()
