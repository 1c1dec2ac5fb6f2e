// Readers and writers of image files behind CImage::ReadImage and CImage::WriteImage, and the byte
// helpers of the big-endian formats.
//
// A reader returns a new plane that the caller releases with free_2D_float_array, and sets its
// other results only if it succeeds. What a short file lacks repeats the last byte read, or is 0 if
// there was none. Null without a message: the header makes no sense, or it promises more than 2^26
// samples of which the file holds less than a thousandth, or memory is short.
//
// A writer returns 1, or 0 if it failed. 8-bit samples are truncated toward zero and keep their low
// 8 bits, without rounding, clamping or scaling: 255.9 gives 255, 256.0 gives 0, -1.0 gives 255.
// Numbers of a magnitude from 2^63 on and not-a-numbers give 0. Bring an image into range before,
// with CImage::Normalize for instance. If the file can't take all the data, the message is that of
// a file that can't be created, and what is there of it stays.
#pragma once

#include <cstdio>

#include <vorlane/platform/export.h>

// 1 if `text` begins with `prefix`, else 0. Null is taken for an empty text.
VORLANE_API int are_equal(const char* text, const char* prefix);

// Binary portable maps: P5 gray, rows x cols samples; P6 colour, rows x 3 cols. One byte a sample
// whatever the maximum value in the header says; nothing is scaled. Comment lines may stand before
// and behind the size line; sizes on the line of the magic are not recognised. Message:
// "read_pgm_image: Can't open file", "read_ppm_image: Can't open file".
VORLANE_API float** read_pgm_image(const char* path, int* nrows, int* ncols);
VORLANE_API float** read_ppm_image(const char* path, int* nrows, int* ncols);

// A colour image becomes gray, as the mean of its channels, after the question
// "write_pgm_file: Converting to gray level"; Cancel gives 0 and leaves a file with a header only.
// Another image_type gives a header only, and 1. Message: "write_pgm_image: Can't create file".
VORLANE_API int write_pgm_image(const float* const* plane, const char* path, int nrows, int ncols,
                                int image_type);

// A gray image gives three equal samples a pixel; any other image_type is taken for colour.
// Message: "write_ppm_image: Can't create file".
VORLANE_API int write_ppm_image(const float* const* plane, const char* path, int nrows, int ncols,
                                int image_type);

// TQ, the library's own format: a header of four lines of text (TQ; rows and columns; pixel_format;
// image_type), then the samples from the top row, each as its pixel_format says, low byte first: 4
// unsigned byte, 5 signed 32-bit integer, 6 32-bit float, 7 signed 16-bit integer. Whole numbers
// are truncated toward zero and keep their low bits. A colour image has three bytes a pixel and
// pixel_format 4. A gray image with another code has no samples on file, and reads as zeros; of a
// movie file the first frame is read. Messages: "read_tqf_image: Can't open file", "A color image
// has to be in byte format". An image_type other than 0 and 1 gives null with all results set.
VORLANE_API float** read_tqf_image(const char* path, int* nrows, int* ncols, int* image_type,
                                   int* pixel_format);

// Messages: "write_tqf_image: A color image has to be in byte format" (no file is touched),
// "write_tqf_image: Can't create file".
VORLANE_API int write_tqf_image(const float* const* plane, const char* path, int nrows, int ncols,
                                int image_type, int pixel_format);

// Big-endian numbers from a stream, a byte at a time; a byte behind the end counts as 255. getfloat
// reads an IEEE 754 single. putshort writes the high byte, then the low one.
VORLANE_API short getshort(std::FILE* stream);
VORLANE_API int getint(std::FILE* stream);
VORLANE_API float getfloat(std::FILE* stream);
VORLANE_API void putshort(short value, std::FILE* stream);
