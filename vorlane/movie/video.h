// CVideo: a movie on a file, either a TQ movie, the library's own format, or an AVI file. It has
// one current frame, twice: as an image for processing and as a bitmap for drawing.
//
//     CVideo movie;
//     if (movie.OpenVideo("heart.avi")) {
//         for (int n = 0; n < movie.nframes; ++n) {
//             ... movie.image ... movie.dib ...
//             movie.GetNextFrame(nullptr);
//         }
//         movie.CloseVideo();
//     }
//
// Fields are public: a host reads them and may work on the samples of `image`. It may also assign
// them, such as sizes, codes and a file that it has opened itself: frames are read and written by
// what stands in the fields. The destructor doesn't close a file: call CloseVideo. A movie that is
// opened again is closed first.
//
// AVI movies are written uncompressed with 24 bits and 5 frames a second, of any length; what is
// read stands in vorlane/platform/avifile.h. Of a TQ movie the frames are found from the end of the
// file, so nothing may follow the last one.
#pragma once

#include <cstdio>

#include <vorlane/bitmap/dib.h>
#include <vorlane/image/image.h>
#include <vorlane/platform/avifile.h>

namespace vorlane {
class AviSink;
class AviSource;
class TqSource;
} // namespace vorlane

class VORLANE_API CVideo : public CObject {
public:
    int nrows;
    int ncols;
    int nframes;
    int file_format;  // 4 TQ, 5 AVI, 0 while no file was opened or created
    int pixel_format; // sample in a TQ file, as in CImage; 4 for an opened AVI movie
    int image_type;   // 0 gray, 1 colour; of an AVI movie its first frame decides
    int frame_bytes;  // from frame to frame in a TQ file; the largest int for more
    CImage* image;    // the current frame; each opening makes a new one, for all its frames; owned
    CDib* dib;        // the same; of a TQ movie made anew at each step; owned
    std::FILE* tqf_file; // of an open TQ movie: stands right behind the current frame
    int current_frame;   // from 0; while an AVI movie is written, the frames so far
    char file_name[100];
    PAVIFILE avi_file;
    PAVISTREAM avi_stream;
    AVIFILEINFOA avi_info;
    PGETFRAME frame_reader; // of an open AVI movie; owns the memory at `bits` of `dib`

    static CRuntimeClass classCVideo;
    static CObject* CreateObject(); // a new empty movie, or null if there is no memory
    CRuntimeClass* GetRuntimeClass() const override;

    // An empty movie.
    CVideo();

    // Creates a movie file, open for writing, its first frame to come: file_format 4 a TQ movie,
    // with all of these numbers in its header, so that just `nframes` frames have to follow; 5 an
    // AVI movie, which counts for itself; any other, no file. `image` has the size of a frame, and
    // `dib` is null. If the file can't be made, for a path of more than 99 bytes and for a negative
    // size, it shows "read_tqf_image: Can't open file" (TQ) or "create_movie: Can't create AVI
    // file", and the movie is empty: nothing is written by it.
    CVideo(const char* path, int nrows, int ncols, int nframes, int file_format, int pixel_format,
           int image_type);

    CVideo(const CVideo&) = delete;
    CVideo& operator=(const CVideo&) = delete;

    // Deletes `image` and `dib`. A file that is open stays so: call CloseVideo before.
    ~CVideo() override;

    // Opens a TQ or AVI movie, told by its first bytes, and makes frame 0 current. current_frame
    // stays as it was, and so does nframes with a TQ file that states none, such as an image.
    //
    // Of a TQ movie with pixel_format 4 `dib` shows the samples as they are, of another through the
    // window of their range. Returns 1, or 0 after a message:
    //
    //  - "OpenMovie: Can't open file": nothing changed. Also for a path of more than 99 bytes, for
    //    a file that the system can't read, and for a TQ header that isn't whole, has a negative
    //    size, or promises a frame a thousand times larger than the file, or than memory holds;
    //  - none, and nothing changed: the file is neither of the two;
    //  - "Can't open AVI file": nothing changed;
    //  - "Can't get video stream": the movie before is closed, and avi_file is open;
    //  - "The decompressor is not open": the format of the frames isn't read here; nrows, ncols and
    //    avi_info are set as well, `dib` is a black one, and the stream is given back;
    //  - none: the first frame can't be had; avi_stream, frame_reader and nframes are set as well.
    //
    // What a failed opening leaves open is closed by CloseVideo, the next opening or the
    // destructor. A movie that is opened while it is written is finished before.
    int OpenVideo(const char* path);

    // Ends reading or writing and returns 1: gives back the file that file_format tells, and what a
    // failed opening has left. Other fields, `image` and `dib` stay; the bitmap of an AVI movie
    // then owns a copy of its frame. Shows "CVideo: Can't write file" if what was written isn't
    // whole in the file, or a frame couldn't be converted.
    int CloseVideo();

    // Reads a frame of the movie's size and kind from the position of tqf_file into the pixels of
    // `target`, and leaves the file right behind it. What the file lacks repeats the last sample
    // that was read. Returns 1. A target with too small a plane isn't filled, and the frame is
    // skipped.
    int read_tqf_frame(CImage* target);

    // Make a frame current; the steps wrap around at the ends. Return 1, or 0 without a change if
    // the movie isn't open for reading.
    //
    // `table`, or null, maps the samples of a TQ movie to the bytes of `dib`, see CDib. Without it
    // the samples go there as they are if the pixel_format of `image` is 4; it is 0 after opening
    // and 4 after Normalize. Else they go through the window of their range.
    //
    // GetFrame of a number out of range: 0 on an AVI movie, and the frame stays; 1 on a TQ movie,
    // whose current_frame takes the number while the samples of `image` have no meaning. A frame of
    // an AVI movie that can't be read gives 0, with `image` and `dib` as they were; current_frame
    // has moved on, save in GetFrame. A TQ movie gives 0 only if the system can't read the file or
    // memory is short, and `image` may then have a part of the frame. The next step is right again.
    int GetFrame(int frame, const int* table);
    int GetNextFrame(const int* table);
    int GetPreviousFrame(const int* table);

    // Appends a frame to a created movie, and returns 1. The image is converted to the kind of the
    // movie: to gray by the mean of the channels, to colour by three equal ones, and its samples to
    // bytes or other numbers by truncation. A larger image gives its top left part, a smaller one
    // is filled up by 0. A colour TQ movie takes frames only with pixel_format 4. CloseVideo tells
    // if something couldn't be written; what is there of the file stays, and opens as a movie whose
    // last frames are missing.
    int WriteCurrentFrame(const CImage* frame);

    // Appends the samples of `frame`, which is of the movie's kind, to tqf_file. Returns 1.
    int write_tqf_frame(const CImage* frame);

    // Copies the movie to a file of another format and kind, as the creating constructor takes
    // them. The movie is opened before and closed behind; `image` then has the last frame. If
    // `normalize` isn't 0 and both movies are gray, each frame is stretched to 0 to 255 by itself.
    // From AVI to AVI the file is copied as it is, and the movie stays as it is.
    //
    // The path may be that of the movie itself, which is then replaced when the new one is whole,
    // keeps its permissions, and otherwise stays. Returns 1. Messages: those of creating and
    // opening, "CVideo: Can't write file", and "CVideo: Can't read frame" if a frame couldn't be
    // had, for which the one before it is written again.
    int WriteVideo(const char* path, int file_format, int image_type, int normalize,
                   int pixel_format);

    // Writes each frame to the image file prefix, first + number, suffix, as in "f12.pgm", with
    // these two codes (see CImage::WriteImage, also for what is thrown). The movie is opened before
    // and stays open. Writes nothing if the numbers leave the ints. For a frame that can't be had
    // the one before it is written, and "CVideo: Can't read frame" shown.
    void ImagesFromVideo(const char* prefix, int first, const char* suffix, int file_format,
                         int pixel_format);

    // The operations below give a new, closed movie that the caller deletes. It lies in a temporary
    // file, under its file_name, with the format and kind of this one; nobody deletes the file.
    // Its name has the time in seconds: another one within the second replaces it. These files are
    // in a folder of the process in one of the user, "vorlane-" and the user's number, where the
    // system has temporary files. If the file can't be made, the message of the creating
    // constructor is shown and the movie is empty.
    // This movie is opened before and closed behind, also where that fails. Null if it can't be
    // opened, or for arguments without a meaning. Frames that can't be had: as in ImagesFromVideo.

    // Frames `first` to `last`, both included, and of each a rectangle; see CImage::Extract. No
    // frames if `last` is below `first`. Beyond the ends of an AVI movie its frame is written
    // again. Null if the frames don't lie in a TQ movie, or the rectangle not in the frames.
    CVideo* Extract(int first, int last, int first_row, int first_col, int rows, int cols);

    // All frames smaller by a whole factor from 1 on; see CImage::Reduce.
    CVideo* Reduce(int factor, int mode);

    // All frames with the marks of the same frame of a second movie in red; see CImage::Superpose.
    // A shorter second movie keeps its last frame if it is an AVI movie. Null if it is a shorter TQ
    // movie, or if its frames are smaller.
    CVideo* Superpose(const char* path);

private:
    friend class vorlane::AviSink;
    friend class vorlane::AviSource;
    friend class vorlane::TqSource;

    bool create(const char* path, int rows, int cols, int frames, int file_code, int pixel_code,
                int type);
    bool copy_frames(const char* path, int to_format, int to_type, int normalize,
                     int to_pixel_format);
    bool close_files();
    void drop_dib();

    unsigned char* lent_bits_;        // what frame_reader owns of `dib`
    const unsigned char* shown_bits_; // what a step of a TQ movie has made of `dib`
    float last_sample_;               // that was read of the TQ movie
    bool write_failed_;               // of a frame since the file was made
    bool opening_failed_;             // and left AVI handles that are to be given back
};

// A TQ movie of the image files prefix, number, suffix, from `first` to `last`, in the size and
// kind of the first one. Closed and in a temporary file, as those of CVideo. A file that can't be
// opened or decoded shows its message, and the image before it stands for it; before the first one
// that is an empty image. What CImage::ReadImage throws passes. Null if the count leaves the ints.
VORLANE_API CVideo* VideoFromImages(const char* prefix, int first, int last, const char* suffix);

// An AVI movie of a file of raw frames, closed and in a temporary file: each of rows x cols bytes Y
// and then U and V, of rows / 2 x cols / 2 bytes each (chroma_mode 0) or rows x cols / 2 (1).
// `half` not 0 makes frames of half the size. U and V are brought to the frame's size by the
// bilinear CImage::Scale, which leaves the last rows and columns 0. Missing bytes repeat the last
// one. Null after "VideoFromYUV: Can't open file", also if the system can't read it; and without a
// message for frames without pixels, a negative number of them, another chroma_mode, or odd sizes
// without `half`. Conversion: ITU-R Recommendation BT.601, with luma from 16 to 235.
VORLANE_API CVideo* VideoFromYUV(const char* path, int rows, int cols, int frames, int chroma_mode,
                                 int half);
