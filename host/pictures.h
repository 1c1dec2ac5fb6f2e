// Pictures of any kind in and out of files.
//
// A picture is told by its first bytes, never by its name, and what isn't understood is refused
// with an Error of one line: the file, what it is, what to do. A file is written in the format of
// its ending, whole or not at all.
//
// Values. Formats of 8 bits give 0 to 255, and so do those of fewer: 1-, 2- and 4-bit samples and
// portable maps with a maximum below 255 are scaled so that black is 0 and white 255, rounded to
// whole numbers. 16-bit samples, and portable maps with a maximum above 255, keep their values;
// floats do. Transparent pixels are laid over white. A picture is turned the way up that its file
// states. The image carries the depth in its pixel_format: byte, int16 (16 bits, with a sign or
// without), int32 or float32.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/error.h"
#include "host/messages.h"
#include "host/pending_file.h"

namespace vorlane::host {

struct Picture {
    ImagePtr image;
    std::string format;    // "PNG"
    int bits = 8;          // of a sample on file
    bool is_float = false; // samples on file are floats
    int page = 1;
    int page_count = 1;
    double row_spacing = 0.0; // mm from a row to the next; 0 not stated
    double col_spacing = 0.0;
    std::vector<std::pair<std::string, std::string>> facts; // whatever else is worth telling
};

struct OpenOptions {
    bool allow_truncated = false; // take what is there of a file that is cut short
    bool scanner = false; // the file is a scanner's image, even if its header doesn't say so
    int page = 0;         // 0: what the path says, or the first
};

// Opens a picture: "-" is standard input, "scan.tif:3" the third page (or frame) of a file, unless
// there is a file of just that name.
Picture open_picture(const std::string& path, const OpenOptions& options = {});

// A path without its page, and the page, 0 if it names none.
std::pair<std::string, int> split_page(const std::string& path);

enum class Depth {
    automatic, // see save_picture
    bits8,
    bits16,
    bits32, // signed whole numbers, TQ and raw only
    float32
};

// "automatic", "8", "16", "32" or "float"; throws UsageError.
Depth parse_depth(const std::string& text);

// What becomes of values that the samples of a file can't hold.
struct RangeRule {
    enum Kind {
        stretch, // all values are mapped linearly from their range to that of the file; of 16 bits
                 // an overshoot by less than half a level of 8 bits is clamped instead
        clamp,   // to the nearest value that the file holds
        wrap,    // truncated toward zero, of which the low 8 or 16 bits stay
        fixed // low to high are mapped to 0 to 255 (65535), whether values fit or not; others clamp
    };
    Kind kind = stretch;
    double low = 0.0;
    double high = 255.0;

    // "stretch", "clamp", "wrap" or "LO:HI"; throws UsageError.
    static RangeRule parse(const std::string& text);
};

struct SaveOptions {
    Depth depth = Depth::automatic;
    RangeRule range = {};
    int source_bits = 0; // of the picture that the image was made from: 16 asks for 16 bits where
                         // its own floats have no place
    bool gray = false;   // turn colour into gray
    std::string as = {}; // "png": the format, in place of the path's ending; "-" needs one
    int quality = 92;    // of a JPEG, 1 to 100
};

// Gets one line when values were changed to fit: "out.png: values -3 to 812 stretched to 0 to 255".
using Note = std::function<void(const std::string&)>;

// Writes an image; "-" is standard output.
//
// Values that fit are rounded to the nearest whole number (halves to the even one) where the file
// holds whole numbers. The automatic depth is that of the image's pixel_format: bytes give 8 bits,
// int16 gives 16, everything else floats, as far as the format has them and they hold the values;
// where it has floats they take what nothing else holds, so that nothing is lost. Failing that, 8
// bits (16 for int16) with the rule for the range. A rule other than stretch asks for whole numbers:
// 8 bits, or 16 to clamp an int16 image. (A result in floats counts as int16 there if source_bits
// says so.) In whole numbers, not-a-numbers become 0, which is noted.
//
// A format that lacks the depth that is asked for, and a gray one that is given colour, is refused.
void save_picture(const CImage& image, const std::string& path, const SaveOptions& options = {},
                  const Note& note = {});

// A format that this build reads or writes, or could.
struct PictureFormat {
    std::string name;
    std::vector<std::string> endings; // ".png"
    bool reads = false;
    bool writes = false;
    std::string left_out; // "needs libpng": why it does neither; empty if it does
};
const std::vector<PictureFormat>& picture_formats();

// True if save_picture knows the path's ending, in capitals or not.
bool is_picture_path(const std::string& path);

} // namespace vorlane::host
