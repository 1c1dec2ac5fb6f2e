// CDib: a bitmap in the layout of a BMP file, for files, for drawing and for the frames of movies;
// and the mappings between the floats of an image and its bytes.
//
// A bitmap holds 8-bit indices into a colour table, or 24-bit pixels in the order blue, green, red.
// Its bottom row comes first. A float goes to a byte by truncation toward zero, of which the low 8
// bits stay, without clamping: 256.5 gives 0, 300.7 gives 44, -1.5 gives 255; what doesn't fit 64
// bits, and not-a-number, gives 0.
#pragma once

#include <vorlane/image/image.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/platform/file.h>
#include <vorlane/platform/gdi.h>

namespace vorlane {
class TqSource;
struct BitmapBlocks;
} // namespace vorlane

class VORLANE_API CDib : public CObject {
public:
    // Blocks from malloc that the bitmap owns and gives to free. A movie lends `bits` and takes it
    // back, by setting null, before the bitmap goes.
    unsigned char* header; // a BITMAPINFOHEADER, and behind its 40 bytes the colour table; biSize
                           // may count more, and masks may stand between (biCompression 3 or 6)
    unsigned char* bits;   // the pixel block

    CPalette* palette;   // null, or owned
    unsigned image_size; // bytes of the pixel block
    int ncolors;         // entries of the colour table; who assigns it has a header with them
    int width;
    int height;
    int row_bytes;   // from one row of the pixel block to the next
    int pixel_bytes; // 3 for 24 bits, 1 for 8 bits, 0 for fewer

    static CRuntimeClass classCDib;
    static CObject* CreateObject(); // a new empty bitmap, or null if there is no memory
    CRuntimeClass* GetRuntimeClass() const override;

    // An empty bitmap: null and 0 everywhere.
    CDib();

    // A bitmap of zeros; mind that the width comes first. 8 bits have a table of 256 colours, all
    // black; other depths have none. A size or depth that isn't positive, or whose block is longer
    // than 32 bits count, gives an empty bitmap, and so does lack of memory.
    CDib(int width, int height, int bit_count);

    // Bitmaps of an image, with a palette: of a gray one 8 bits with a table of grays, of any other
    // 24 bits. Without pixels, or if such a bitmap can't be, they are empty.
    //
    // `normalize` 0: each sample goes to its byte as it is, and a colour image does so always.
    // Otherwise a gray sample v gives the byte of (v - lo) * 255 / (hi - lo). A window is not a
    // clamp: what lies outside wraps. `lo` and `hi` both 0: the window is the range of the samples,
    // searched from 1000000.0 down and from -1000000.0 up; a flat image gives 0 everywhere.
    CDib(const CImage* image, int normalize, float lo, float hi);

    // Each sample, rounded to the nearest whole number, halves away from zero, picks an entry of
    // the table, whose low 8 bits are the byte; a colour image is mapped channel by channel. The
    // table must cover all samples, negative ones too. Not-a-number, and what doesn't fit 64 bits,
    // give 0. Null gives an empty bitmap.
    CDib(const CImage* image, const int* table);

    // Of a bare plane, rows x cols samples or, if image_type isn't 0, rows x 3 cols. The window, if
    // any, is the range of the samples.
    CDib(int rows, int cols, int image_type, const float* const* plane, int normalize);

    CDib(const CDib&) = delete;
    CDib& operator=(const CDib&) = delete;
    ~CDib() override;

    // Reads a BMP from where the file stands, and leaves it behind the pixels. Returns 1, or 0
    // without a change after "Read error 1" (no file, or less than 14 bytes) or "Invalid bitmap
    // file" (not a bitmap; a width that isn't positive; a height of 0; pixels that start inside the
    // first 40 bytes of the header, or a file that ends there; sizes that the length of the file
    // doesn't bear out), or without a message if there is no memory. Throws CFileException if
    // reading fails, also without a change.
    //
    // Depth and compression aren't looked at. Longer headers and masks are kept, and the colour
    // table is behind them; where the file has no room for what biSize, biCompression or biClrUsed
    // promise, `header` says what there is, while `ncolors` counts what was promised, up to the
    // largest int. Rows are found by biSizeImage if that isn't 0. What is missing at the end counts
    // as zeros. A file with its top row first is turned over.
    int Read(CFile* file);

    // Writes a BMP where the file stands, closes the file and returns 1; 0 if there is no file or
    // the bitmap is empty. The header is written as it stands, with its masks and `ncolors`
    // colours; above 8 bits no more of them than biClrUsed says, and a colour profile of a long
    // header isn't kept. What CFile throws passes.
    int Write(CFile* file);

    // The picture as a new plane that the caller releases: of height x width samples with
    // *image_type 0 if red, green and blue are equal in every pixel, else of height x 3 width with
    // *image_type 1, whatever the depth. An index beyond the colour table is black. Null for an
    // empty bitmap, and, with *rows and *cols set, for a depth other than 8 and 24.
    float** MakeFloatImage(int* rows, int* cols, int* image_type) const;

    // The same into a plane of the caller, of a picture that is known to be gray (image_type 0:
    // each pixel gives a third of the sum of its channels) or colour (1). Writes nothing for other
    // types or depths. Always returns 1.
    int MakeKnownFloatImage(float** plane, int image_type) const;

    // Makes `palette` from the colour table, in place of the one that was there. Returns 1, or 0,
    // without a palette, if the table has no entry or more than 256.
    int MakePalette();

    // Makes `palette` a copy of the colours of the device, without entries if it has none. The
    // palette that was there isn't released. Returns 1.
    int SetSystemPalette(CDC* dc);

    // Stretches the bitmap into the rectangle between (x, y) and (x + w, y + h) of the device, with
    // its palette realised, which is that of the device if there was none. The palette that was
    // selected stays so. Shows 1, 4, 8, 16, 24 and 32 bits, with masks or without, and of other
    // depths and compressed bitmaps nothing. Returns 1, or 0 if the bitmap is empty or `dc` null.
    int Draw(CDC* dc, int x, int y, int w, int h);

private:
    friend class vorlane::TqSource; // fills the bitmap of a frame again with the next one

    VORLANE_LOCAL void take(vorlane::BitmapBlocks& blocks);
    bool allocate(int columns, int rows, int bit_count);
    void set_to_image(const CImage* image, int normalize, float lo, float hi);
    void set_to_image(const CImage* image, const int* table);
    void finish_colours();
    void set_to_plane(int rows, int cols, int image_type, const float* const* plane, int normalize,
                      float lo, float hi);
};
