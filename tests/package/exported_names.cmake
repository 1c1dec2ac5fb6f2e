# The shared library shows documented names alone: nothing of namespace vorlane, nothing of the standard
# library, and every one of a few that must be there.
#
#   cmake -DLIBRARY=... -P exported_names.cmake

include(${CMAKE_CURRENT_LIST_DIR}/symbols.cmake)
vorlane_symbols(${LIBRARY} symbols)
string(REPLACE "\n" ";" lines "${symbols}")
foreach(line IN LISTS lines)
  if(line MATCHES " [TDBR] .*(vorlane::|std::|__gnu)" OR line MATCHES " [VWuw] (vorlane::|typeinfo (name )?for vorlane::)")
    message(SEND_ERROR "exported, and shouldn't be: ${line}")
  endif()
endforeach()
foreach(name "make_2D_float_array(int, int)" "AfxMessageBox(" "SetMessageBoxHandler(" "CImage::ReadImage("
             "CImage::classCImage" "CObject::classCObject" "CFile::Read(" "CString::Format(" " digiline("
             " rank_float_increasing(" " fdga(" " LUV_to_RGB(" " getfloat(")
  string(FIND "${symbols}" "${name}" position)
  if(position EQUAL -1)
    message(SEND_ERROR "not exported: ${name}")
  endif()
endforeach()
