// Readers and writers of image files behind CImage::ReadImage and CImage::WriteImage, and the byte
// helpers of the big-endian formats.
//
// A reader returns a new plane that the caller releases with free_2D_float_array, and sets its
// other results only if it succeeds. What a short file lacks repeats the last sample read, or is 0
// if there was none. Sizes of 0 give a plane without samples. A file that can't be opened, that
// isn't a plain file (a folder, a pipe, a device) or that the system fails to read gives null after
// the reader's message. Null without a message: the header makes no sense; it promises more than
// 2^26 samples of which the file holds less than a thousandth, or more than 2^28 of which it holds
// less than a hundredth, or more than 2^26 in an encoding without bytes; memory is short.
//
// A writer returns 1, or 0 if it failed. 8-bit samples are truncated toward zero and keep their low
// 8 bits, without rounding, clamping or scaling: 255.9 gives 255, 256.0 gives 0, -1.0 gives 255.
// Numbers of a magnitude from 2^63 on and not-a-numbers give 0. Bring an image into range before,
// with CImage::Normalize for instance. A file that can't be created stays as it is. If it can't
// take all the data, the message is the same; its old content is gone by then, and what is there of
// the new one stays.
#pragma once

#include <cstdio>

#include <vorlane/platform/export.h>
#include <vorlane/platform/file.h>

class CImage;

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

// BMP: 8 bits a pixel with a colour table, or 24, as vorlane/bitmap/dib.h tells. A picture is gray
// if red, green and blue are equal in every pixel, whatever its depth. Null after the message of
// CDib::Read, or, with the sizes set and without a message, for another depth. Throws
// CFileException if the file can't be opened or read.
VORLANE_API float** read_bmp_image(const char* path, int* nrows, int* ncols, int* image_type);

// Writes 8 bits a pixel with a table of grays if image_type is 0, else 24. Returns 1; 0, with no
// file touched, if such a bitmap can't be or if memory is short. Throws CFileException if the file
// can't be made, or doesn't take all the data; then what is there of it stays.
VORLANE_API int write_bmp_image(const float* const* plane, const char* path, int nrows, int ncols,
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

// The images of a medical scanner: a header that no one looks at, and up to the end of the file one
// square image of 16-bit samples, whose side is the largest power of two, from 8 on, that fits.
// Samples are 12-bit numbers, high byte first; if any isn't from 0 to 4095 so, they are the low 12
// bits of words with their low byte first. Message: "read_senvoc_image: Can't open file"; a file
// below 128 bytes gives null without one.
VORLANE_API float** read_medical_image(const char* path, int* nrows, int* ncols);

// 1 if the text holds "ACR-NEMA" anywhere, else 0: for hosts that look at a scanner's header.
VORLANE_API int acr_nema(const char* text);

// Dumps of gray samples from the top row, rows x cols. They don't say what they are, and no reader
// recognises them. Of a colour image the first third of each row is written.
//
// velk: rows and columns as 16-bit numbers, then a 16-bit number a sample, all with their high byte
// first. Message: "write_velk_image: Can't create file".
VORLANE_API int write_velk_image(const float* const* plane, const char* path, int nrows, int ncols);

// raw: samples by their pixel_format as in TQ files, low byte first, with nothing before them;
// another code gives an empty file. Message: "write_raw_image: Can't create file".
VORLANE_API int write_raw_image(const float* const* plane, const char* path, int nrows, int ncols,
                                int pixel_format);

// halvort: the header of a template, then a 16-bit number a sample, high byte first. The template
// is a scanner file; all but its last 131072 bytes (256 x 256 samples) are its header, which is
// copied as it is. Message: "write_raw_image: Can't create file", also if the file is the template
// itself. A template that can't be read gives 0, without a message unless the file couldn't be
// written either. In both cases nothing is touched.
VORLANE_API int write_halvort_image(const float* const* plane, const char* path, int nrows,
                                    int ncols);

// Sets the path of the template for all later files; null for the default, halvort-template in the
// library's data folder, which is found from where the library lies. Not to be called while another thread writes.
VORLANE_API void SetHalvortTemplate(const char* path);

// Reads data without a header, from byte `offset` of the file on, into a new image that the caller
// deletes, with file_format 4 (TQ).
//
// Gray (image_type 0), row by row: format 0 unsigned byte; 1 the low 12 bits of a 16-bit word;
// 2 signed 16-bit integer; 3 signed 32-bit integer; 4 32-bit float. The low byte comes first, or,
// if `swap` isn't 0, the high byte. pixel_format becomes 4, 7, 7, 5, 6.
//
// Colour (image_type 1), in bytes: format 0 red, green, blue of a pixel together; 1 all red
// samples, then all green, then all blue ones; any other reads nothing and gives zeros.
//
// What is missing at the end repeats the last sample or byte, or, in swapped words, each missing
// byte is 255. Null without a message: the file can't be opened or read, another type or gray
// format, a size that is negative or that the file doesn't bear out, a negative offset, memory is
// short.
VORLANE_API CImage* Raw2Img(const char* path, int nrows, int ncols, int image_type, int format,
                            int swap, int offset);

// Big-endian numbers from a stream, a byte at a time; a byte behind the end counts as 255. getfloat
// reads an IEEE 754 single. putshort writes the high byte, then the low one.
VORLANE_API short getshort(std::FILE* stream);
VORLANE_API int getint(std::FILE* stream);
VORLANE_API float getfloat(std::FILE* stream);
VORLANE_API void putshort(short value, std::FILE* stream);
