#include "host/pictures.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <new>

#include <vorlane/platform/system_paths.h>

#include "host/file_kinds.h"
#include "host/formats/format.h"

namespace vorlane::host {

namespace {

constexpr const char* see_formats = "see vorlane --version for what is";

const Format* format_of_kind(std::string_view name) {
    const auto all = formats();
    const auto format = std::find_if(
        all.begin(), all.end(), [&](const Format& candidate) { return candidate.name == name; });
    return format == all.end() ? nullptr : &*format;
}

// Only what begins in no other way is looked at as a scanner's file: those of other kinds may
// speak of ACR-NEMA too.
bool may_be_scanner_file(const FileKind* kind) {
    return !kind || kind->name == "text" || kind->name == "DICOM";
}

bool has_scanner_header(Source& source) {
    constexpr std::int64_t smallest_image = 128;
    constexpr std::int64_t longest_header = 1 << 16;
    const std::int64_t size = source.size();
    std::int64_t image = smallest_image;
    while (image * 4 <= size)
        image *= 4;
    if (size <= image)
        return false;
    std::string header(static_cast<std::size_t>(std::min(size - image, longest_header)), '\0');
    header.resize(source.read(0, header.data(), header.size()));
    std::replace(header.begin(), header.end(), '\0', ' ');
    std::vector<unsigned char> samples(4096);
    samples.resize(source.read(size - image, samples.data(), samples.size()));
    const FileKind* const kind = kind_of(samples);
    return acr_nema(header.c_str()) == 1 && !(kind && kind->name == "text");
}

const Format& format_of(Source& source, bool scanner) {
    const FileKind* const kind = kind_of(source.head());
    const bool has_preamble =
        source.head().size() >= 132 && std::memcmp(source.head().data() + 128, "DICM", 4) == 0;
    if (scanner || (may_be_scanner_file(kind) && !has_preamble && has_scanner_header(source)))
        return *format_of_kind("scanner");
    const std::string name(kind ? kind->name : "");
    if (!kind)
        throw Error(source.name() + ": isn't a picture of a known kind; " + see_formats + " read");
    const Format* const format = format_of_kind(kind->name);
    if (format && format->read)
        return *format;
    switch (kind->family) {
    case Family::picture: {
        const std::string lacks =
            format ? ", which lacks " + std::string(format->left_out) : std::string();
        throw Error(source.name() + ": " + name + " isn't read by this build" + lacks +
                    "; see vorlane --version");
    }
    case Family::movie:
        throw Error(source.name() + ": is a movie (" + name + "); use vorlane movie");
    case Family::volume:
        throw Error(source.name() + ": is a volume (" + name + "); use vorlane volume");
    default:
        throw Error(source.name() + ": is no picture (" + name + "); " + see_formats + " read");
    }
}

bool exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path_of(path), ignored);
}

} // namespace

std::pair<std::string, int> split_page(const std::string& path) {
    const std::size_t colon = path.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == path.size() || exists(path))
        return {path, 0};
    int page = 0;
    const char* const end = path.data() + path.size();
    const auto [stop, error] = std::from_chars(path.data() + colon + 1, end, page);
    if (error != std::errc() || stop != end)
        return {path, 0};
    if (page < 1)
        throw Error(path + ": pages count from 1");
    return {path.substr(0, colon), page};
}

Picture open_picture(const std::string& path, const OpenOptions& options) {
    auto [file, page] = split_page(path);
    if (options.page != 0)
        page = options.page;
    Source source(file);
    try {
        const Format& format = format_of(source, options.scanner);
        const ReadRequest request{source, std::max(page, 1), options.allow_truncated};
        Picture picture = format.read(request);
        picture.page = request.page;
        if (picture.format.empty())
            picture.format = format.name;
        return picture;
    } catch (const std::bad_alloc&) {
        throw Error(source.name() + ": there isn't enough memory for it");
    }
}

void ReadRequest::fail_truncated() const {
    fail("is shorter than its header says; the option allow-truncated takes what is there");
}

void ReadRequest::check_page(int page_count) const {
    if (page < 1 || page > page_count)
        fail("there is no page " + std::to_string(page) +
             (page_count == 1 ? "; the file has one"
                              : "; the file has " + std::to_string(page_count)));
}

ImagePtr ReadRequest::make_image(std::int64_t rows, std::int64_t cols, int image_type,
                                 int pixel_format, int bytes_per_sample) const {
    const int channels = image_type == ImageType::colour ? 3 : 1;
    if (rows < 1 || cols < 1)
        fail("has no pixels");
    if (!sizes_are_believable(rows, cols, channels, bytes_per_sample, source.size()))
        fail("says " + std::to_string(rows) + " x " + std::to_string(cols) +
             " pixels, which a file of its length can't hold");
    auto image = std::make_unique<CImage>(static_cast<int>(rows), static_cast<int>(cols),
                                          image_type, FileFormat::none, pixel_format);
    if (!image->pixels)
        throw std::bad_alloc();
    return image;
}

void flatten_row(const float* with_alpha, float* out, std::size_t pixels, int channels,
                 float white) {
    constexpr double rounds = 6755399441055744.0; // 3 * 2^51: what is added is rounded to whole
    for (std::size_t j = 0; j < pixels; ++j, with_alpha += channels + 1, out += channels) {
        if (with_alpha[channels] == white) {
            std::copy_n(with_alpha, channels, out);
            continue;
        }
        const double part = with_alpha[channels] / double{white};
        for (int k = 0; k < channels; ++k) {
            const double laid = with_alpha[k] * part + white * (1.0 - part);
            out[k] = static_cast<float>((laid + rounds) - rounds);
        }
    }
}

ImagePtr upright(ImagePtr image, int orientation) {
    if (orientation < 2 || orientation > 8)
        return image;
    const bool swaps = orientation >= 5;
    const int rows = image->nrows;
    const int cols = image->ncols;
    const std::size_t channels = image->image_type == ImageType::colour ? 3 : 1;
    auto turned =
        std::make_unique<CImage>(swaps ? cols : rows, swaps ? rows : cols, image->image_type,
                                 image->file_format, image->pixel_format);
    if (!turned->pixels)
        throw std::bad_alloc();
    // Where the stored row and column grow from the right and from the bottom.
    const bool flips_cols =
        orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool flips_rows =
        orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    for (int i = 0; i < turned->nrows; ++i) {
        float* out = turned->pixels[i];
        for (int j = 0; j < turned->ncols; ++j, out += channels) {
            const int a = flips_rows ? turned->nrows - 1 - i : i;
            const int b = flips_cols ? turned->ncols - 1 - j : j;
            const float* const in =
                swaps ? image->pixels[b] + channels * a : image->pixels[a] + channels * b;
            std::copy(in, in + channels, out);
        }
    }
    return turned;
}

const std::vector<PictureFormat>& picture_formats() {
    static const std::vector<PictureFormat> table = [] {
        std::vector<PictureFormat> result;
        for (const Format& format : formats()) {
            PictureFormat entry;
            entry.name = format.name;
            for (const std::string_view ending : format.endings)
                entry.endings.emplace_back(ending);
            entry.reads = format.read != nullptr;
            entry.writes = format.write != nullptr;
            if (!format.left_out.empty())
                entry.left_out = "needs " + std::string(format.left_out);
            result.push_back(entry);
        }
        return result;
    }();
    return table;
}

} // namespace vorlane::host
