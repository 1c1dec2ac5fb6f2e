// CImage: a two-dimensional image of 32-bit floats, gray or colour, with three further planes that
// operators fill and two codes that say how it stands in a file.
//
// Index i is a row, from the top; j a column. The operations named x work along j, those named y
// along i. Fields are public; a host reads and assigns them. An image owns its four planes and
// releases them in its destructor: a plane that a host puts into one comes from
// make_2D_float_array.
//
// An operation that returns a CImage* makes a new object that the caller deletes, and leaves its
// image as it was. Samples may have any value unless an operation says otherwise. An empty image,
// of 0 rows or 0 columns, gives an empty result with the codes that the operation states. A plane
// that holds less than the fields say, an argument without a meaning or a lack of memory gives null
// and changes nothing, unless the operation says otherwise.
#pragma once

#include <vorlane/image/arrays.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/objects.h>

class VORLANE_API CImage : public CObject {
public:
    int nrows;
    int ncols;        // pixels in a row
    int image_type;   // 0 gray, 1 colour; any other value: an image without pixels, unless a
                      // host gives it some. ComputeRGB, MakeGray, edges_mag_dir, SobelFilter and
                      // Threshold take those for colour if the plane is wide enough; other
                      // operations give null.
    int pixel_format; // sample on file: 0 none stated, 4 unsigned byte, 5 signed 32-bit integer,
                      // 6 32-bit float, 7 signed 16-bit integer
    int file_format;  // 0 none stated, 1 PGM, 2 PPM, 3 BMP, 4 TQ, 5 AVI (movies only), 6 senvoc
                      // scanner file, 7 velk, 8 raw, 9 halvort

    // Gray: nrows x ncols; colour: nrows x 3 ncols, red, green, blue of pixel c at 3c, 3c + 1,
    // 3c + 2.
    float** pixels;

    // nrows x ncols or null, also on a colour image.
    float** mag_plane;   // edge magnitude, ridge strength
    float** dir_plane;   // edge or ridge direction
    float** scale_plane; // scale of a ridge

    static CRuntimeClass classCImage;
    static CObject* CreateObject(); // a new empty image, or null if there is no memory
    CRuntimeClass* GetRuntimeClass() const override;

    // ==== Making and setting =====================================================================

    // An empty image: sizes and type 0, pixel_format 6, file_format 4, no planes.
    CImage();

    // An image of zeros. Mind the order: file_format comes before pixel_format. A type other than 0
    // and 1 makes no plane; nor does a negative size or one that the machine has no memory for.
    CImage(int rows, int cols, int image_type, int file_format, int pixel_format);

    // The same with a copy of `source`, rows x cols samples, or rows x 3 cols for a colour image.
    CImage(int rows, int cols, int image_type, const float* const* source, int file_format,
           int pixel_format);

    // A deep copy. Planes that the source lacks are null, and so are the pixels of a type other
    // than 0 and 1. An empty image of null, or if there is no memory.
    CImage(const CImage* source); // NOLINT(google-explicit-constructor): hosts pass pointers
    CImage(const CImage& source);

    ~CImage() override;

    // Copies the five integers, and each plane that the source has; its pixels only if its type is
    // 0 or 1. A plane that the source lacks stays as it was, so it may differ from the new size.
    // Assigning an image to itself changes nothing, nor does one that there is no memory for.
    void operator=(const CImage& source); // NOLINT(misc-unconventional-assign-operator)

    // Sets a pixel, all three samples of it on a colour image. Coordinates aren't checked.
    void SetPixel(int row, int col, float value);

    // Sets a pixel to a packed colour: red in bits 0 to 7, green in 8 to 15, blue in 16 to 23. A
    // gray pixel becomes the mean of the three. Coordinates aren't checked.
    void SetPixel(int row, int col, unsigned long colour);

    // Maps the samples linearly, so that the smallest becomes `lo` and the largest `hi`, and sets
    // pixel_format to 4. The search for the smallest starts at 1000000.0, for the largest at
    // -1000000.0. An image of equal samples becomes not-a-numbers. Only the first ncols samples of
    // a row count: on a colour image, the first third.
    void Normalize(float lo, float hi);

    // Replaces each sample s by table[s truncated toward zero], for the first ncols samples of each
    // row. The table must cover every sample; a not-a-number takes the entry of 0.
    void WindowCenter(const int* table);

    // ==== Colour =================================================================================

    // vorlane/image/colour.h has the single-pixel forms. RGB_to_LUV and MakeGray are for colour
    // images, MakeColor for gray ones; another image gives null.

    // Splits a colour image into three gray images of the same size that the caller has made.
    // Changes nothing if this isn't a colour image, or if one of the three has too small a plane.
    void ComputeRGB(CImage* red, CImage* green, CImage* blue) const;

    // The mean of the three channels, with pixel_format 6.
    CImage* MakeGray() const;

    // Three equal channels, with pixel_format 4. `scale` 0 keeps the values; any other stretches
    // the range of the image to 0 to 255 (an image of equal samples becomes not-a-numbers).
    CImage* MakeColor(int scale) const;

    // CIE 1976 L*u*v* with a D65 white point, in place of red, green, blue, rounded to whole
    // numbers; both codes are 0. Samples lie from 0 to 255; others are safe, and what they give is
    // open.
    CImage* RGB_to_LUV() const;

    // ==== Pixel arithmetic =======================================================================

    // In double precision, rounded once when stored. A result has the size and
    // both codes of this image, a, also where b is the colour one, and none of the other three
    // planes. b may be a itself. Where the sizes differ, all but Superpose show "The two images
    // should have the same size" and give null.

    // Gray: min + max - s for each sample s, so that the range is mirrored onto itself; the search
    // for both is that of Normalize. Colour: 255 - s.
    CImage* Invert() const;

    // The product and the sum of the samples, not clamped. A gray operand combines with each
    // channel of a colour one, and the result is a colour image if either is.
    CImage* Multseq(const CImage* b) const;
    CImage* Addseq(const CImage* b) const;

    // b is a mask: a sample other than 0 marks a pixel of a (not-a-number does, -0.0 doesn't). The
    // mask of pixel j is sample j of the row, also if b is a colour image. Orseq sets the marked
    // pixels to the largest of the first ncols samples of each row of a (the largest sample of a
    // gray image) and keeps the others; Andseq keeps the marked ones and clears the others.
    CImage* Orseq(const CImage* b) const;
    CImage* Andseq(const CImage* b) const;

    // A colour image: the pixels that b marks as in Orseq are red, 255, 0, 0; the others show a, a
    // gray one stretched to 0 to 255 (one of equal samples becomes not-a-numbers), a colour one
    // unchanged. b may be larger than a; null if it is smaller.
    CImage* Superpose(const CImage* b) const;

    // The larger and the smaller of two pixels, moved whole; a colour pixel counts with its mean,
    // not rounded. The result is a colour image if either is. In a tie, and where a value is
    // not-a-number, b's pixel is taken, or the gray one of a gray and a colour pixel.
    CImage* Maxseq(const CImage* b) const;
    CImage* Minseq(const CImage* b) const;

    // ==== Neighbourhood filters ==================================================================

    // A window of `size` x `size` pixels reaches from size / 2 - size + 1 to
    // size / 2 rows and columns off its pixel, so an even one reaches one further down and to the
    // right. It may be larger than the image; past the border the nearest pixel counts again.

    // The sample of rank size * size / 2 of the window, the upper middle one of an even number.
    // Channel by channel. Codes and type are those of this image; size 1 copies the pixels. The
    // cost of a pixel grows with the side of the window, not with its area. Not-a-numbers rank
    // above all else, as in rank_float_increasing. Null for a size below 1.
    CImage* Median(int size) const;

    // 255 where a sample is above `level`, else 0: a gray image with both codes of this one. On a
    // colour image all three samples have to be above.
    CImage* Threshold(float level) const;

    // The mean of a window whose weights fall linearly from 1 at the centre to about 0 at the
    // corner, size / 2 rows and columns away; a pixel that counts again has the weight of the place
    // where it stands. Channel by channel. Codes and type are those of this image. Null for a size
    // below 2. The cost of a pixel is that of size * size products, also of those that count again:
    // 40 x 40 pixels take half a minute at size 3000, and lifetimes at the largest int.
    CImage* DistanceFilter(int size) const;

    // The magnitude of the Sobel gradient, not divided by anything (a step of h gives 4 h), into
    // mag_plane. A plane that is large enough is reused; the border, one pixel wide, isn't written.
    // A colour image counts as its MakeGray.
    void SobelFilter();

    // The distance of each pixel to the nearest one that isn't 0, or 1000000 if there is none, with
    // steps of 1 and 1.4142137. On a colour image a pixel isn't 0 if any of its samples isn't, and
    // the distance goes to all three. file_format 0, pixel_format 6. Source: G. Borgefors,
    // "Distance transformations in digital images", 1986.
    CImage* Chamfer() const;

    // Adds Gaussian noise of a standard deviation of `sigma`, not clamped; pixel_format 6. The
    // standard generator (rand) draws it, seeded at each call, also on a colour image, with the
    // clock in seconds: calls within a second give the same noise. Null for a colour image. Source:
    // G. Box and M. Muller, "A note on the generation of random normal deviates", 1958.
    CImage* GNoise(float sigma) const;

    // ==== Drawing ================================================================================

    // Into `pixels` and no other plane. Coordinates may lie anywhere: what falls outside
    // the image is left out. On a colour image a value goes to all three samples of a pixel, and a
    // pixel equals a value if all three do.

    // The line of `digiline` (vorlane/image/arrays.h), both ends included. Only the part inside the
    // image costs time.
    void DrawLine(int row1, int col1, int row2, int col2, float value);

    // 360 points, one a degree, each at the nearest pixel; they aren't joined, so a circle of a
    // radius above about 57 pixels has gaps.
    void DrawCircle(int row, int col, float radius, float value);

    // An upright cross with arms of `half_length` pixels on each side of the centre.
    void DrawCross(int row, int col, float value, int half_length);

    // Fills from a pixel on, through 4-neighbours, whatever isn't `boundary` and isn't `fill` yet.
    // Nothing changes if the start lies outside the image or has one of the two values, or if
    // `fill` is not-a-number. If there is no memory for the list of what is left to look at, the
    // fill stays incomplete. Works along runs of a row: P. Heckbert, "A seed fill algorithm", 1990.
    void FillObject(int row, int col, float fill, float boundary);

    // In each row, sets all between the first and the last pixel that equal `value` to it.
    void FillConvexObject(float value);

    // ==== Crop and resampling ====================================================================

    // A result has type and both codes of this image; scale_plane is null. A
    // mag_plane or dir_plane that is smaller than the image counts as missing.

    // The rectangle of rows x cols pixels whose first one is (first_row, first_col), with the same
    // part of mag_plane and dir_plane. Null if it doesn't lie in the image; a size of 0 is allowed.
    CImage* Extract(int first_row, int first_col, int rows, int cols) const;

    // Smaller by a whole factor: nrows / factor x ncols / factor pixels, rows and columns that are
    // left over are dropped. Each pixel is the mean of a block of factor x factor, or, for factor 2
    // and mode 1, the sum of 3 x 3 pixels around every second one with the weights 0 1 0, 1 2 1,
    // 0 1 0, times the float 0.16666667; row 1 and column 1 stand in for those before the first.
    // mag_plane is reduced likewise and stretched to 0 to 1 (if what comes of it is constant, it
    // becomes 0), dir_plane is averaged as plain numbers. Null for a factor below 1.
    CImage* Reduce(int factor, int mode) const;

    // Larger by a whole factor. Mode 1 interpolates bilinearly: pixel (i, j) stands at (factor i,
    // factor j) of the result, and the last row and column are repeated. Any other mode repeats
    // each pixel factor x factor times. No further planes. Null for a factor below 1, or if a side
    // of the result is more than an int.
    CImage* Enlarge(int factor, int mode) const;

    // ==== Geometric transforms ===================================================================

    // A result has type and both codes of this image and no further planes.
    // Each pixel of it is looked up in the source, and is 0 where that lies outside.

    // Moves the picture down and to the right by whole pixels; negative shifts up and to the left.
    CImage* Translate(int row_shift, int col_shift) const;

    // Turns the picture counter-clockwise (row 0 is at the top) about pixel (nrows / 2, ncols / 2),
    // by bilinear samples. The size stays; what leaves it is lost. A position on the last row or
    // column counts as outside, also for multiples of 90 degrees.
    CImage* Rotate(int degrees) const;

    // Scales to nrows x row_factor by ncols x col_factor pixels, truncated; a col_factor of 0
    // stands for row_factor. Bilinear samples, not smoothed before; pixel (0, 0) stays where it is,
    // and positions on the last row or column are 0. Null for a factor that is negative or
    // not-a-number, or if a side of the result is more than an int.
    CImage* Scale(float row_factor, float col_factor) const;

    // The same to a given size; null if that is negative, or if this image is empty.
    CImage* Scale(int new_rows, int new_cols) const;

    // ==== Files ==================================================================================

    // Reads a file in the format that its first bytes tell. Returns 1, or 0 after a message:
    // "CImage: Can't open file" (it can't be opened or read, or isn't a plain file; nothing has
    // changed), or "CImage: Can't read data", behind the reader's own if it has one for this case
    // (vorlane/imagefiles/image_files.h). Then the old pixels are gone, file_format is that of the
    // format, and so are image_type and pixel_format where the format has but one: not image_type
    // of BMP, and neither of TQ, which stay as they were. Of a BMP of another depth than 8 and 24
    // the sizes are set, and of a TQ of another image_type than 0 and 1 all its numbers. The other
    // three planes stay as they are, whatever the new size. Throws CFileException, with the fields
    // as above, if reading a BMP fails half way.
    int ReadImage(const char* path);

    // Writes the file in the format of file_format, and returns 1, or 0: with the writer's message,
    // or without one if the format can't be written. Throws CFileException if a BMP can't be
    // created or doesn't take all the data.
    int WriteImage(const char* path) const;

    // ==== Gaussian filters =======================================================================

    // vorlane/filters/recursive_gaussian.h tells what they compute. `coef` is a
    // record that ga or fdga has filled. Only the first ncols samples of a row are filtered, colour
    // or not; the rest of a new colour image is 0. Codes and type are those of this image.
    CImage* apply_IIR4_filter_x(const float* const* coef) const; // every row
    CImage* apply_IIR4_filter_y(const float* const* coef) const; // every column

    // Gaussian smoothing with a standard deviation of `sigma` pixels, along rows and then along
    // columns. The filter's gain isn't 1: a constant gray image c becomes about 1.351 c at sigma 1,
    // and falls off towards the borders. On a colour image each smoothed channel is stretched to 0
    // to 255 by itself (a channel that is 0 everywhere becomes not-a-numbers). Null if sigma isn't
    // positive and finite.
    CImage* smooth_image(float sigma) const;

    // First derivative of the smoothed image along j or i, by a Gaussian of `sigma` pixels. The
    // sign is opposite to the slope: an image that rises by 1 a column gives about -0.73 at
    // sigma 2. Works on the first ncols samples of a row, colour or not. Null if sigma isn't
    // positive and finite.
    CImage* first_derivative_x(float sigma) const;
    CImage* first_derivative_y(float sigma) const;

    // ==== Edges ==================================================================================

    // Gradient magnitude and direction by Gaussian derivatives, into mag_plane and dir_plane;
    // planes that are large enough are reused, and may be left partly written if memory is short.
    // The magnitude is divided by its largest value and is 0 in a border about 2 sigma wide; if
    // nothing inside that border has a magnitude, the whole plane becomes not-a-number. The
    // direction, in radians from 0 to 2 pi, is that of increasing gray level: 0 towards larger j,
    // pi/2 towards larger i. On a colour image the channel with the largest magnitude decides.
    // Changes nothing if sigma isn't positive and finite.
    void edges_mag_dir(float sigma);

    // Keeps mag_plane where it isn't smaller than at its two neighbours across the edge, and 0
    // elsewhere. Call edges_mag_dir first. Gray, pixel_format 6. Null without the two planes,
    // unless the image is empty.
    CImage* non_maximum_suppression() const;

    // 255.0 at every pixel above `high` and not on the border, and at every pixel above `low` that
    // joins such a one through 8-neighbours above `low`; 0 elsewhere. Gray, pixel_format 4. For the
    // result of non_maximum_suppression, with thresholds from 0 to 1. Source of the two thresholds:
    // J. Canny, "A computational approach to edge detection", 1986.
    CImage* hysteresis_thresholding(float high, float low) const;

    // Marks with 255.0, in `marks`, what hysteresis_thresholding marks around (row, col): pixels
    // above `low` that join it through pixels above `low` that aren't marked yet. The pixel's own
    // neighbours are looked at whether or not it is above `low` itself. The position may lie
    // anywhere. What is marked stays if memory is short.
    void follow_edge(CImage* marks, int row, int col, float low) const;

    // ==== Ridges =================================================================================

    // Lines of any width that are brighter (`bright` not 0) or darker (`dark` not 0) than
    // what lies around them. At each of n_scales scales sigma, from sigma_min in equal steps to
    // sigma_max (a single one is sigma_min), the image is smoothed; a pixel is a ridge where the
    // image curves strongly in a direction and the gradients sigma pixels away on both sides point
    // against each other. Its strength is the smaller of the two slopes; the strongest scale stays.
    // Fills three new planes:
    //
    //   mag_plane    strength, stretched from 0 to 1; not-a-numbers if no pixel has any
    //   dir_plane    the angle across the ridge, 0 to pi radians, 0 along i and pi / 2 along j
    //                (other than after edges_mag_dir); 3.5 where there is no ridge
    //   scale_plane  the scale, about half the width; 0 where there is no ridge
    //
    // A band of sigma + 2 pixels, truncated, along the borders has no ridges. Pixels whose sample
    // in mask->pixels is 0 don't count; null counts all. The smoothing's gain isn't 1 and strengths
    // aren't scaled by sigma, so scales compare as they are. On a colour image, S being the
    // smoothed image, the first ncols samples of each row of S are looked at as if they were gray.
    // "Current scale: k=%d sigma=%f\n" goes to the standard output for each scale. Changes nothing
    // if a sigma isn't positive and finite, if the mask is smaller than the image, or if memory is
    // short. Cost: a few smoothings for each scale. Source of the directions: eigenvectors of the
    // matrix of second derivatives, as in C. Steger, "An unbiased detector of curvilinear
    // structures", 1998.
    void ridges(float sigma_min, float sigma_max, int n_scales, int bright, int dark,
                const CImage* mask);
};
