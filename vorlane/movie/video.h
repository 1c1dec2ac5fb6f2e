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
// Fields are public; a host reads them and may work on the samples of `image`. The destructor
// doesn't close a file: call CloseVideo. A movie that is opened again is closed first.
//
// AVI movies are written uncompressed with 24 bits and 5 frames a second, of any length; what is
// read stands in vorlane/platform/avifile.h. Of a TQ movie the frames are found from the end of the
// file, so nothing may follow the last one.
#pragma once

#include <cstdint>
#include <cstdio>

#include <vorlane/bitmap/dib.h>
#include <vorlane/image/image.h>
#include <vorlane/platform/avifile.h>

class VORLANE_API CVideo : public CObject {
public:
    int nrows;
    int ncols;
    int nframes;
    int file_format;     // 4 TQ, 5 AVI, 0 while no file was opened or created
    int pixel_format;    // sample in a TQ file, as in CImage; 4 for an opened AVI movie
    int image_type;      // 0 gray, 1 colour; of an AVI movie its first frame decides
    int frame_bytes;     // of a frame in a TQ file; the largest int for one that is longer
    CImage* image;       // the current frame, one object for the whole opening; owned
    CDib* dib;           // the same; of a TQ movie made anew at each step; owned
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
    //  - "OpenMovie: Can't open file": nothing changed. Also for a path of more than 99 bytes and
    //    for a TQ header that isn't whole, has a negative size, or promises a thousand times more
    //    than the file holds;
    //  - none, and nothing changed: the file is neither of the two;
    //  - "Can't open AVI file": nothing changed;
    //  - "Can't get video stream": avi_file is open;
    //  - "The decompressor is not open": the format of the frames isn't read here; nrows, ncols and
    //    `dib` are set;
    //  - none: the first frame can't be had; frame_reader and nframes are set as well.
    //
    // What a failed opening leaves open is closed by the next one, or by the destructor.
    int OpenVideo(const char* path);

    // Ends reading or writing and returns 1. Fields, `image` and `dib` stay; the bitmap of an AVI
    // movie then owns a copy of its frame. Shows "CVideo: Can't write file" if what was written
    // isn't whole in the file.
    int CloseVideo();

    // Reads a frame of the movie's size and kind from the position of tqf_file into the pixels of
    // `target`; what the file lacks repeats the last sample. Returns 1. A target with too small a
    // plane isn't filled, and the frame is skipped.
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
    // has moved on, save in GetFrame.
    int GetFrame(int frame, const int* table);
    int GetNextFrame(const int* table);
    int GetPreviousFrame(const int* table);

    // Appends a frame to a created movie, and returns 1. The image is converted to the kind of the
    // movie: to gray by the mean of the channels, to colour by three equal ones, and its samples to
    // bytes or other numbers by truncation. A larger image gives its top left part, a smaller one
    // is filled up by 0. A colour TQ movie takes frames only with pixel_format 4. CloseVideo tells
    // if something couldn't be written.
    int WriteCurrentFrame(const CImage* frame);

    // Appends the samples of `frame`, which is of the movie's kind, to a created TQ movie. Returns
    // 1.
    int write_tqf_frame(const CImage* frame);

    // Copies the movie to a file of another format and kind, as the creating constructor takes
    // them, and closes it; `image` then has the last frame. If `normalize` isn't 0 and both movies
    // are gray, each frame is stretched to 0 to 255 by itself. From AVI to AVI the file is copied
    // as it is. Returns 1. Messages: those of creating and opening, and "CVideo: Can't write file".
    // The path may be that of the movie itself.
    int WriteVideo(const char* path, int file_format, int image_type, int normalize,
                   int pixel_format);

    // Writes each frame to the image file prefix, first + number, suffix, as in "f12.pgm", with
    // these two codes (see CImage::WriteImage). The movie is opened before and stays open. Writes
    // nothing if the numbers leave the ints.
    void ImagesFromVideo(const char* prefix, int first, const char* suffix, int file_format,
                         int pixel_format);

    // The operations below give a new, closed movie that the caller deletes. It lies in a temporary
    // file, under its file_name, with the format and kind of this one; nobody deletes the file.
    // Its name has the time in seconds: another one within the second replaces it. These files are
    // in a folder "vorlane-" and the user's number, where the system has temporary files. If the
    // file can't be made, the message of the creating constructor is shown and the movie is empty.
    // This movie is opened before and closed behind. Null if it can't be opened, or for arguments
    // without a meaning.

    // Frames `first` to `last`, both included, and of each a rectangle; see CImage::Extract. No
    // frames if `last` is below `first`. Null if frames or rectangle don't lie in the movie.
    CVideo* Extract(int first, int last, int first_row, int first_col, int rows, int cols);

    // All frames smaller by a whole factor from 1 on; see CImage::Reduce.
    CVideo* Reduce(int factor, int mode);

    // All frames with the marks of the same frame of a second movie in red; see CImage::Superpose.
    // A shorter second movie keeps its last frame. Null if its frames are smaller.
    CVideo* Superpose(const char* path);

private:
    enum class State { closed, reading, writing };

    int open_avi(const char* path);
    int open_tq(const char* path);
    bool create_avi(const char* path, int rows, int cols);
    bool close_files();
    void release_avi();
    void drop_dib();
    void lend_bits(void* frame);
    bool fetch_avi(int frame);
    void show_tq_frame(const int* table);
    std::int64_t frame_length() const;
    void set_frame_bytes();
    bool seek_frames_from_end(std::int64_t frames);
    void write_plane(const float* const* plane);

    State state_;
    bool write_failed_;
    unsigned char* lent_bits_; // what frame_reader owns
};

// A TQ movie of the image files prefix, number, suffix, from `first` to `last`, in the size and
// kind of the first one. Closed and in a temporary file, as those of CVideo. A file that can't be
// read shows its message, and the image before it stands for it. Null if the count leaves the ints.
VORLANE_API CVideo* VideoFromImages(const char* prefix, int first, int last, const char* suffix);

// An AVI movie of a file of raw frames, closed and in a temporary file: each of rows x cols bytes Y
// and then U and V, of rows / 2 x cols / 2 bytes each (chroma_mode 0) or rows x cols / 2 (1).
// `half` not 0 makes frames of half the size. U and V are brought to the frame's size by the
// bilinear CImage::Scale, which leaves the last rows and columns 0. Missing bytes repeat the last
// one. Null after "VideoFromYUV: Can't open file"; and without a message for frames without pixels,
// a negative number of them, another chroma_mode, or odd sizes without `half`. Conversion: ITU-R
// Recommendation BT.601, with luma from 16 to 235.
VORLANE_API CVideo* VideoFromYUV(const char* path, int rows, int cols, int frames, int chroma_mode,
                                 int half);
