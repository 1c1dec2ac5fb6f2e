// AVI files: the calls of the Video for Windows file interface that movies are read and written
// with. On Windows they are the system's own; elsewhere the library has them. Either way what stands
// behind them for the files that it knows is the library's RIFF code, opened by the calls here:
//
// Read: uncompressed frames of 8 (with their palette and its changes), 16, 24 and 32 bits, from the
// bottom row or from the top row on, 8-bit gray levels (Y800), and 8-bit run lengths (RLE8), with
// or without an index, in files of any length. A frame of no bytes shows the one before it; one
// that the end of the file cuts off isn't there. Written: any uncompressed format, with both kinds
// of index (idx1, and that of the "OpenDML AVI File Format Extensions", 1996, by which files grow
// beyond 4 GB).
//
// On Windows frames of other formats are shown if a decompressor for them is installed. Frames that the
// library knows have the same bits everywhere.
#pragma once

#include <vorlane/platform/export.h>

#include VORLANE_SYSTEM_HEADER(avi_system.h)

// Opens a file whose name is in UTF-8: mode 0 reads, 0x1002 makes it, or empties it if it exists, and
// writes. On success *file is set, else it stays. A file is refused that is no RIFF file, or whose
// first video stream promises a picture that its length can't hold. 0 or an error: AVIERR_FILEREAD
// if the system can't read it, AVIERR_FILEOPEN, AVIERR_BADFORMAT, AVIERR_MEMORY, AVIERR_UNSUPPORTED
// for another mode. It shows no message. AVIFileInit comes before it.
VORLANE_API int open_avi(PAVIFILE* file, const char* path, unsigned mode);

// AVIStreamGetFrameOpen, for frames of 24 bits without compression, bottom row first, in the size of
// the stream: `wanted`, a BITMAPINFOHEADER or null, must ask for just that. Null if it doesn't, if the
// frames are in a format that isn't read here, or, with errno ENOMEM, if there is no memory. Frames
// that the library reads come from it, others on Windows from the system, for what is wanted.
VORLANE_API PGETFRAME open_avi_frames(PAVISTREAM stream, const void* wanted);

// Gives back a file and its one stream that is left, either of them null or not. AVIERR_FILEWRITE if
// the file was written and anything of it isn't on the disk, which AVIFileRelease can't tell on
// Windows.
VORLANE_API int close_avi(PAVIFILE file, PAVISTREAM stream);
