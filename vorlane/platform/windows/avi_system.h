// AVI files by the calls of the system: AVIFile, AVIStream and IGetFrame of vfw.h.
#pragma once

#include <vorlane/platform/windows/gdi_system.h>
// After windows.h.
#include <vfw.h>
