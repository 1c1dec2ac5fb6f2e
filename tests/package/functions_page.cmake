# docs/functions.md names every public function, and nothing else.
#
#   cmake -DLIBRARY=... -DPAGE=... -P functions_page.cmake

cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/symbols.cmake)
vorlane_symbols(${LIBRARY} symbols)
file(READ ${PAGE} page)
# Windows has its own of these.
set(systems "^(CreatePalette|GetDeviceCaps|GetSystemPaletteEntries|RealizePalette|StretchDIBits|AVI(File|Stream).*)$")

string(REGEX MATCHALL "`[A-Za-z_0-9:]+`" named "${page}")
list(TRANSFORM named REPLACE "`" "")
list(REMOVE_DUPLICATES named)
foreach(name IN LISTS named)
  string(REGEX MATCH " ${name}\\(" there "${symbols}")
  if(LIBRARY MATCHES "\\.dll" AND name MATCHES "${systems}")
    continue()
  endif()
  if(NOT there AND NOT name MATCHES "^(CreateObject|GetRuntimeClass)$")
    message(SEND_ERROR "on the page, and not exported: ${name}")
  endif()
endforeach()

string(REPLACE "\n" ";" lines "${symbols}")
foreach(line IN LISTS lines)
  # Free functions, and members whose names begin with a capital; private members are in lower case.
  if(line MATCHES " T ([A-Za-z_0-9]+|C[A-Za-z]+::[A-Z_][A-Za-z_0-9]+)\\(")
    set(name ${CMAKE_MATCH_1})
    if(NOT name IN_LIST named AND NOT name MATCHES "::(CreateObject|GetRuntimeClass)$"
       AND NOT name MATCHES "^C[A-Za-z]+::(CDib|CFile|CHistogram|CImage|CMemoryDC|CVideo|CVolume)$")
      message(SEND_ERROR "exported, and not on the page: ${name}")
    endif()
  endif()
endforeach()
