// AVI files elsewhere than on Windows: the calls of its Video for Windows file interface, under their names there and
// with their records, on the library's own RIFF files.
//
// A handle belongs to whoever got it and is given back once. Calls on one file must not run at the
// same time. Results are 0 or one of the errors below; nothing here shows a message.
#pragma once

#include <cstdint>

#include <vorlane/platform/export.h>

struct IAVIFile;
struct IAVIStream;
struct IGetFrame;
using PAVIFILE = IAVIFile*;
using PAVISTREAM = IAVIStream*;
using PGETFRAME = IGetFrame*;

constexpr int AVIERR_OK = 0;
constexpr int AVIERR_UNSUPPORTED = static_cast<int>(0x80044065);
constexpr int AVIERR_BADFORMAT = static_cast<int>(0x80044066);
constexpr int AVIERR_MEMORY = static_cast<int>(0x80044067);
constexpr int AVIERR_BADPARAM = static_cast<int>(0x8004406A);
constexpr int AVIERR_BADSIZE = static_cast<int>(0x8004406B);
constexpr int AVIERR_BADHANDLE = static_cast<int>(0x8004406C);
constexpr int AVIERR_FILEREAD = static_cast<int>(0x8004406D);
constexpr int AVIERR_FILEWRITE = static_cast<int>(0x8004406E);
constexpr int AVIERR_FILEOPEN = static_cast<int>(0x8004406F);
constexpr int AVIERR_READONLY = static_cast<int>(0x80044072);
constexpr int AVIERR_NODATA = static_cast<int>(0x80044073);

constexpr std::uint32_t streamtypeVIDEO = 0x73646976; // "vids"
constexpr unsigned AVIIF_KEYFRAME = 16;

// 108 bytes.
struct AVIFILEINFOA {
    std::uint32_t dwMaxBytesPerSec;
    std::uint32_t dwFlags;
    std::uint32_t dwCaps;
    std::uint32_t dwStreams;
    std::uint32_t dwSuggestedBufferSize;
    std::uint32_t dwWidth;  // pixels, of the first video stream
    std::uint32_t dwHeight; // pixels, whichever row comes first
    std::uint32_t dwScale;  // dwRate / dwScale frames a second
    std::uint32_t dwRate;
    std::uint32_t dwLength; // frames of the first video stream
    std::uint32_t dwEditCount;
    char szFileType[64];
};

// 140 bytes.
struct AVISTREAMINFOA {
    std::uint32_t fccType; // streamtypeVIDEO, or another
    std::uint32_t fccHandler;
    std::uint32_t dwFlags;
    std::uint32_t dwCaps;
    std::uint16_t wPriority;
    std::uint16_t wLanguage;
    std::uint32_t dwScale; // dwRate / dwScale frames a second
    std::uint32_t dwRate;
    std::uint32_t dwStart;
    std::uint32_t dwLength; // frames
    std::uint32_t dwInitialFrames;
    std::uint32_t dwSuggestedBufferSize;
    std::uint32_t dwQuality;
    std::uint32_t dwSampleSize;
    struct {
        std::int32_t left, top, right, bottom;
    } rcFrame;
    std::uint32_t dwEditCount;
    std::uint32_t dwFormatChangeCount;
    char szName[64];
};

// Called before the other calls. Nothing needs to be done here, or undone.
VORLANE_API void AVIFileInit();

// open_avi; `handler` is ignored.
VORLANE_API int AVIFileOpenA(PAVIFILE* file, const char* path, unsigned mode, const void* handler);

// Gives the file back. The last of a file and its streams to be given back finishes a written file
// and closes it: AVIERR_FILEWRITE then if anything of it couldn't be written, as on a full disk.
VORLANE_API int AVIFileRelease(PAVIFILE file);

// Fills the first `size` bytes of the record (108 are all of it).
VORLANE_API int AVIFileInfoA(PAVIFILE file, AVIFILEINFOA* info, int size);

// The number-th stream of a type, from 0, of a file that is read; AVIERR_NODATA if there is none.
VORLANE_API int AVIFileGetStream(PAVIFILE file, PAVISTREAM* stream, std::uint32_t type, int number);

// The one stream of a file that is written: video, of dwRate / dwScale frames a second.
VORLANE_API int AVIFileCreateStreamA(PAVIFILE file, PAVISTREAM* stream, const AVISTREAMINFOA* info);

// Gives the stream back, and with it the frame readers and frames got from it; see AVIFileRelease.
VORLANE_API int AVIStreamRelease(PAVISTREAM stream);

// Fills the first `size` bytes of the record (140 are all of it). dwLength counts the frames that
// the file has, whatever its header says.
VORLANE_API int AVIStreamInfoA(PAVISTREAM stream, AVISTREAMINFOA* info, int size);

// Sets the format of a stream that is written, once and before its first frame: a BITMAPINFOHEADER
// without compression, and behind it a colour table if there is one, `size` bytes in all.
VORLANE_API int AVIStreamSetFormat(PAVISTREAM stream, int position, const void* format, int size);

// Appends one frame, less than 2^31 bytes: `start` is the number of frames so far, or -1, and
// `samples` 1. `flags` is AVIIF_KEYFRAME or 0. The last two, either of them null or not, tell what
// was written. AVIERR_FILEWRITE, from then on, when the disk is full.
VORLANE_API int AVIStreamWrite(PAVISTREAM stream, int start, int samples, const void* buffer,
                               std::int64_t bytes, unsigned flags, int* samples_written,
                               int* bytes_written);

// open_avi_frames. The reader lives until it is given back, or its stream.
VORLANE_API PGETFRAME AVIStreamGetFrameOpen(PAVISTREAM stream, const void* wanted);

// A frame: a BITMAPINFOHEADER of 40 bytes, and the pixels directly behind it, rows of a multiple of
// 4 bytes. It stays as it is until the second call from here that succeeds. Null for a number out
// of range, and for a frame of fewer bytes than its format takes.
VORLANE_API void* AVIStreamGetFrame(PGETFRAME reader, int position);

// Gives a reader back before its stream; AVIERR_BADHANDLE for null.
VORLANE_API int AVIStreamGetFrameClose(PGETFRAME reader);
