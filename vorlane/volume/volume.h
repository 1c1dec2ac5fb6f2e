// CVolume: a stack of gray slices of one size, the three-dimensional image, and what works along
// all three of its axes.
//
// Index k is a slice, i a row, j a column: voxel [k][i][j] is slices[k].pixels[i][j]. Fields are
// public; a host reads and assigns them. A volume owns the array of its slices and deletes it in
// its destructor: an array that a host puts there comes from new CImage[n]. Volumes are only read;
// no operation writes one.
//
// A slice of a series that couldn't be read is an empty image. smooth_volume and ridges leave such
// slices alone and work as if they weren't there: their neighbours count as adjacent. A slice that
// is larger than the volume states is smoothed whole in its plane, and takes part across the slices
// with its first nrows rows and ncols columns. If one is smaller, if the array is shorter than
// nslices, or if there is nothing to work on, these operations give null and change nothing. Of a
// colour slice, only the first ncols samples of each row take part.
#pragma once

#include <vorlane/image/image.h>

class VORLANE_API CVolume : public CObject {
public:
    int nrows;   // of each slice
    int ncols;   // of each slice
    int nslices; // images in the array
    int image_type;
    int pixel_format; // sample on file, as in CImage
    int file_format;  // 4 by default, 20 from a V1 description, 21 from a V2 description
    CImage* slices;   // from index 0, or null

    static CRuntimeClass classCVolume;
    static CObject* CreateObject(); // a new empty volume, or null if there is no memory
    CRuntimeClass* GetRuntimeClass() const override;

    // An empty volume: sizes and type 0, pixel_format 6, file_format 4, no slices.
    CVolume();

    // A volume of zeros. Mind the order: the number of slices comes first, and file_format before
    // pixel_format, which the slices get too; their file_format stays 4. Rows have room for colour
    // if the type is 1. A number of slices below 1 makes no array, nor does one that the machine
    // has no memory for; a negative number of rows or columns makes slices without pixels.
    CVolume(int nslices, int nrows, int ncols, int image_type, int file_format, int pixel_format);

    CVolume(const CVolume&) = delete;
    CVolume& operator=(const CVolume&) = delete;
    ~CVolume() override;

    // Reads the volume that a description file tells of, with the reader that its first two bytes
    // ask for, "V1" or "V2". Returns 1, or 0: after "Can't open file", or silently if the file
    // begins otherwise.
    //
    // A description has six lines of at most 255 characters, told apart by their place:
    //
    //        V1                  V2
    //   1    begins with V1      begins with V2
    //   2    directory=TEXT      file=TEXT
    //   3    prefix=TEXT         nbf=NUMBER      slices
    //   4    start slice=NUMBER  row=NUMBER      rows of a slice
    //   5    end slice=NUMBER    col=NUMBER      columns of a slice
    //   6    suffix=TEXT         size=NUMBER     1 unsigned byte, 2 signed 16-bit integer,
    //                                            4 signed 32-bit integer, 40 32-bit float
    //
    // Blanks may stand before a value; a text ends at the next blank and has at most 99 bytes. A
    // line that doesn't fit, or a number that an int doesn't hold, sets nothing: a V2 field keeps
    // its value, a V1 number is 0 and a V1 text empty. A file whose name is longer than 99 bytes,
    // with all that a V1 description puts together, counts as one that can't be opened.
    //
    // A new read releases the slices of an earlier one.
    int ReadVolume(const char* path);

    // Reads a numbered series of images: slice n - START is DIRECTORY/PREFIXnSUFFIX, in any format that CImage::ReadImage reads, n without leading zeros, up to the end
    // slice. An image that can't be read shows its own messages and leaves its slice empty. Sizes,
    // type and pixel_format become those of slice 0. Returns 0 and changes nothing if `path` can't
    // be opened (without a message) or there are less than 1 or more than 838860 slices ("Can't
    // open file").
    int ReadV1Volume(const char* path);

    // Reads the samples of all slices from one file without a header, slice by slice and row by
    // row, low byte first; the name of the file is taken as it stands, not relative to the
    // description. Any other size keeps the pixel_format that the volume had, 6 in a new one, and
    // with a pixel_format that isn't one of the four nothing is read: the samples are 0. The slices
    // get file_format 8. Samples that the file lacks are 0.
    //
    // Returns 0 if `path` can't be opened (without a message); after "Can't open file", with the
    // fields of the description set and the slices as they were, if the data file can't be opened,
    // a size isn't positive, or the sizes promise more than 2^26 samples of which the file holds
    // less than a thousandth; and likewise, without slices, if memory is short.
    int ReadV2Volume(const char* path);

    // Gaussian smoothing with a standard deviation of `sigma` voxels along rows, then columns, then
    // across slices, with the recursive filter of vorlane/filters/recursive_gaussian.h. Its gain
    // isn't 1: a constant volume c becomes about 1.57 c at sigma 1 and 2.71 c at sigma 2, and falls
    // off towards its faces. The result has pixel_format 6, its slices the codes of their sources,
    // and none of their other planes. The caller deletes it. Null if sigma isn't positive and
    // finite.
    CVolume* smooth_volume(float sigma) const;

    // Second-order structure at the scale `sigma`: for each voxel, the absolute eigenvalues of the
    // matrix of second differences of the smoothed volume (each with the factor 0.25), the smallest
    // in mag_plane of its slice, the middle one in dir_plane, the largest in scale_plane. A line
    // has one small and two large values, a sheet two small and one large, a blob three large ones,
    // bright or dark alike. The outer shell of the volume is 0. Errors are below 1e-6 of the
    // largest. The last four arguments are without effect. Planes that are large enough are
    // reused; if memory is short they may be left partly written. Changes nothing if sigma isn't
    // positive and finite. See C. Lorenz et al., "Multi-scale line segmentation with automatic
    // estimation of width, contrast and tangential direction in 2D and 3D medical images", 1997.
    void ridges(float sigma, float sigma_max, int n_scales, int bright, int dark);

private:
    void make_slices(int count); // in place of those that there are; throws std::bad_alloc
};

// Filters one line of n samples in place with the Gaussian or derivative record `coef` that ga or
// fdga has filled; any n is allowed. smooth_volume filters each line across the slices with these
// bits. Nothing happens if an argument is null, n is below 1 or memory is short.
VORLANE_API void apply_IIR4_filter_z(const float* const* coef, float* line, int n);
