// TIFF, through libtiff: gray, RGB and palettes of 1 to 32 bits and of floats, in strips or tiles,
// with the samples of a pixel together or in planes. What else libtiff knows to show it gives in 8
// bits.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <tiffio.h>

#include "host/formats/format.h"

namespace vorlane::host {

namespace {

// What libtiff says of one file: the first error; warnings are silent.
struct Complaint {
    char text[300] = "";
};

int keep_error(TIFF*, void* data, const char*, const char* format, va_list arguments) {
    auto* const complaint = static_cast<Complaint*>(data);
    if (complaint->text[0] == '\0') {
        std::vsnprintf(complaint->text, sizeof complaint->text, format, arguments);
        // Most begin with the name of the file, which is empty.
        if (std::strncmp(complaint->text, ": ", 2) == 0)
            std::memmove(complaint->text, complaint->text + 2, std::strlen(complaint->text) - 1);
    }
    return 1; // no further handler
}

int ignore_warning(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using Options = std::unique_ptr<TIFFOpenOptions, FreeOptions>;

Options make_options(Complaint& complaint) {
    Options options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keep_error, &complaint);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignore_warning, nullptr);
    return options;
}

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Handle = std::unique_ptr<TIFF, CloseTiff>;

struct Input {
    Source& source;
    std::int64_t position = 0;
};

tmsize_t read_input(thandle_t handle, void* to, tmsize_t count) {
    auto* const input = static_cast<Input*>(handle);
    const std::size_t got =
        input->source.read(input->position, to, static_cast<std::size_t>(count));
    input->position += static_cast<std::int64_t>(got);
    return static_cast<tmsize_t>(got);
}

toff_t seek_input(thandle_t handle, toff_t offset, int origin) {
    auto* const input = static_cast<Input*>(handle);
    std::int64_t base = 0;
    if (origin == SEEK_CUR)
        base = input->position;
    else if (origin == SEEK_END)
        base = input->source.size();
    input->position = base + static_cast<std::int64_t>(offset);
    return static_cast<toff_t>(input->position);
}

Handle open_input(Input& input, Complaint& complaint) {
    const Options options = make_options(complaint);
    // Single blocks of what the codecs make; an image's own are behind the gate.
    const std::int64_t largest_block =
        std::max<std::int64_t>(std::int64_t{1} << 29, 4 * input.source.size());
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), largest_block);
    return Handle(TIFFClientOpenExt(
        "", "rm", &input, read_input, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
        seek_input, [](thandle_t) { return 0; },
        [](thandle_t handle) {
            return static_cast<toff_t>(static_cast<Input*>(handle)->source.size());
        },
        nullptr, nullptr, options.get()));
}

// True if the header points behind the end of the file.
bool lacks_directory(Source& source) {
    const auto head = source.head();
    if (head.size() < 8)
        return true;
    if (head[2] == 43 || head[3] == 43)
        return false; // 64-bit files say it elsewhere
    std::uint32_t offset;
    std::memcpy(&offset, head.data() + 4, sizeof offset);
    if (head[0] == 'M')
        offset = __builtin_bswap32(offset);
    return std::int64_t{offset} + 2 > source.size();
}

template<class Value>
Value field(TIFF* tiff, std::uint32_t tag, Value otherwise) {
    Value value = otherwise;
    return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : otherwise;
}

enum class Alpha { none, plain, multiplied_in };

struct Layout {
    std::uint32_t cols = 0;
    std::uint32_t rows = 0;
    int bits = 1;
    int samples = 1; // of a pixel
    int sample_format = SAMPLEFORMAT_UINT;
    int photometric = PHOTOMETRIC_MINISBLACK;
    bool is_planar = false;
    bool is_tiled = false;
    int orientation = 1;
    Alpha alpha = Alpha::none;
    int alpha_at = 0; // among the samples of a pixel

    int colours() const { return photometric == PHOTOMETRIC_RGB ? 3 : 1; }
    bool is_float() const { return sample_format == SAMPLEFORMAT_IEEEFP; }
    double white() const { return bits == 16 ? 65535.0 : 255.0; }
};

Layout read_layout(TIFF* tiff) {
    Layout layout;
    layout.cols = field<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0);
    layout.rows = field<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0);
    layout.photometric = field<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    if (field<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == COMPRESSION_JPEG &&
        layout.photometric == PHOTOMETRIC_YCBCR) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        layout.photometric = PHOTOMETRIC_RGB;
    }
    layout.bits = field<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    layout.samples = field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.sample_format = field<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    if (layout.sample_format == SAMPLEFORMAT_VOID)
        layout.sample_format = SAMPLEFORMAT_UINT;
    layout.is_planar = layout.samples > 1 &&
                       field<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) ==
                           PLANARCONFIG_SEPARATE;
    layout.is_tiled = TIFFIsTiled(tiff) != 0;
    layout.orientation = field<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, 1);
    std::uint16_t extra_count = 0;
    std::uint16_t* extras = nullptr;
    if (TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extra_count, &extras) == 1) {
        for (int k = 0; k < extra_count && layout.alpha == Alpha::none; ++k) {
            if (extras[k] == EXTRASAMPLE_ASSOCALPHA)
                layout.alpha = Alpha::multiplied_in;
            else if (extras[k] == EXTRASAMPLE_UNASSALPHA)
                layout.alpha = Alpha::plain;
            layout.alpha_at = layout.colours() + k;
        }
    }
    // White is known of whole numbers without a sign only.
    if (layout.sample_format != SAMPLEFORMAT_UINT || (layout.bits != 8 && layout.bits != 16) ||
        layout.alpha_at >= layout.samples)
        layout.alpha = Alpha::none;
    return layout;
}

// True if the samples are taken as they stand; otherwise libtiff makes a picture of them.
bool is_plain(const Layout& layout) {
    switch (layout.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_RGB:
        break;
    case PHOTOMETRIC_PALETTE:
        if (layout.bits > 8 || layout.sample_format != SAMPLEFORMAT_UINT)
            return false;
        break;
    default:
        return false;
    }
    if (layout.samples < layout.colours())
        return false;
    switch (layout.sample_format) {
    case SAMPLEFORMAT_UINT:
        return layout.bits <= 16 || layout.bits == 32;
    case SAMPLEFORMAT_INT:
        return layout.bits == 8 || layout.bits == 16 || layout.bits == 32;
    case SAMPLEFORMAT_IEEEFP:
        return layout.bits == 16 || layout.bits == 32 || layout.bits == 64;
    default:
        return false;
    }
}

int pixel_format_of(const Layout& layout) {
    if (layout.is_float())
        return PixelFormat::float32;
    if (layout.bits == 32)
        return PixelFormat::int32;
    return layout.bits <= 8 && layout.sample_format == SAMPLEFORMAT_UINT ? PixelFormat::byte
                                                                         : PixelFormat::int16;
}

template<class Number>
void take_numbers(const unsigned char* bytes, float* out, std::size_t count) {
    for (std::size_t j = 0; j < count; ++j) {
        Number value;
        std::memcpy(&value, bytes + j * sizeof value, sizeof value);
        out[j] = static_cast<float>(value);
    }
}

float from_half(std::uint16_t half) {
    const int exponent = half >> 10 & 31;
    const int fraction = half & 1023;
    float value = 0.0f;
    if (exponent == 31)
        value = fraction != 0 ? NAN : INFINITY;
    else if (exponent == 0)
        value = std::ldexp(static_cast<float>(fraction), -24);
    else
        value = std::ldexp(static_cast<float>(1024 + fraction), exponent - 25);
    return half & 0x8000 ? -value : value;
}

// Samples as they stand in a row, to floats. libtiff has put the bytes in the machine's order.
void unpack(const Layout& layout, const unsigned char* bytes, float* out, std::size_t count) {
    const bool has_sign = layout.sample_format == SAMPLEFORMAT_INT;
    if (layout.is_float() && layout.bits == 32) {
        std::memcpy(out, bytes, count * sizeof(float));
    } else if (layout.is_float() && layout.bits == 64) {
        take_numbers<double>(bytes, out, count);
    } else if (layout.is_float()) {
        for (std::size_t j = 0; j < count; ++j) {
            std::uint16_t half;
            std::memcpy(&half, bytes + 2 * j, sizeof half);
            out[j] = from_half(half);
        }
    } else if (layout.bits == 8) {
        has_sign ? take_numbers<std::int8_t>(bytes, out, count)
                 : take_numbers<std::uint8_t>(bytes, out, count);
    } else if (layout.bits == 16) {
        has_sign ? take_numbers<std::int16_t>(bytes, out, count)
                 : take_numbers<std::uint16_t>(bytes, out, count);
    } else if (layout.bits == 32) {
        has_sign ? take_numbers<std::int32_t>(bytes, out, count)
                 : take_numbers<std::uint32_t>(bytes, out, count);
    } else { // any other number of bits, the highest first
        std::uint32_t kept = 0;
        int kept_bits = 0;
        for (std::size_t j = 0; j < count; ++j) {
            while (kept_bits < layout.bits) {
                kept = kept << 8 | *bytes++;
                kept_bits += 8;
            }
            kept_bits -= layout.bits;
            out[j] = static_cast<float>(kept >> kept_bits & ((1u << layout.bits) - 1));
        }
    }
}

class PageReader {
public:
    PageReader(TIFF* tiff, const ReadRequest& request, const Complaint& complaint,
               const Layout& layout)
        : tiff_(tiff), request_(request), complaint_(complaint), layout_(layout) {}

    ImagePtr read() {
        check_lengths();
        if (layout_.photometric == PHOTOMETRIC_PALETTE)
            read_palette();
        const bool has_colour = layout_.colours() == 3 || palette_has_colour_;
        image_ = request_.make_image(layout_.rows, layout_.cols,
                                     has_colour ? ImageType::colour : ImageType::gray,
                                     pixel_format_of(layout_), (layout_.bits + 7) / 8);
        if (!sizes_are_believable(layout_.rows, layout_.cols, layout_.samples,
                                  (layout_.bits + 7) / 8, request_.source.size()))
            request_.fail("says " + std::to_string(layout_.samples) +
                          " channels, which a file of its length can't hold");
        if (layout_.alpha != Alpha::none)
            alpha_ = request_.make_image(layout_.rows, layout_.cols, ImageType::gray, 0, 1);
        const int planes = layout_.is_planar ? layout_.samples : 1;
        for (int plane = 0; plane < planes; ++plane) {
            if (layout_.is_planar && plane >= layout_.colours() && !is_alpha(plane))
                continue;
            if (layout_.is_tiled)
                read_tiles(plane);
            else
                read_strips(plane);
        }
        if (alpha_)
            lay_over_white();
        return std::move(image_);
    }

private:
    [[noreturn]] void fail() const {
        request_.fail(std::string("is a broken TIFF file: ") + complaint_.text);
    }

    bool is_alpha(int sample) const {
        return layout_.alpha != Alpha::none && sample == layout_.alpha_at;
    }

    // A strip or tile that ends behind the file's end.
    void check_lengths() const {
        if (request_.allow_truncated)
            return;
        const std::uint32_t count =
            layout_.is_tiled ? TIFFNumberOfTiles(tiff_) : TIFFNumberOfStrips(tiff_);
        const auto size = static_cast<std::uint64_t>(request_.source.size());
        for (std::uint32_t k = 0; k < count; ++k) {
            const std::uint64_t length = TIFFGetStrileByteCount(tiff_, k);
            const std::uint64_t offset = TIFFGetStrileOffset(tiff_, k);
            if (length > size || offset > size - length)
                request_.fail_truncated();
        }
    }

    void read_palette() {
        std::uint16_t* maps[3] = {};
        if (TIFFGetField(tiff_, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) != 1)
            request_.fail("is a TIFF file with a palette that lacks its colours");
        const std::size_t count = std::size_t{1} << layout_.bits;
        palette_.resize(3 * count);
        // Some writers put bytes where words belong.
        const bool has_bytes = std::all_of(std::begin(maps), std::end(maps), [&](const auto* map) {
            return std::all_of(map, map + count, [](std::uint16_t v) { return v < 256; });
        });
        for (std::size_t k = 0; k < count; ++k) {
            for (std::size_t c = 0; c < 3; ++c)
                palette_[3 * k + c] = static_cast<float>(has_bytes ? maps[c][k] : maps[c][k] >> 8);
            palette_has_colour_ = palette_has_colour_ || palette_[3 * k] != palette_[3 * k + 1] ||
                                  palette_[3 * k] != palette_[3 * k + 2];
        }
    }

    std::size_t samples_together() const {
        return layout_.is_planar ? 1 : static_cast<std::size_t>(layout_.samples);
    }

    void read_strips(int plane) {
        const auto size = static_cast<std::size_t>(TIFFScanlineSize(tiff_));
        const std::size_t needed = (layout_.cols * samples_together() * layout_.bits + 7) / 8;
        if (size < needed)
            request_.fail("is a TIFF file whose sizes contradict each other");
        std::vector<unsigned char> row(size);
        for (std::uint32_t i = 0; i < layout_.rows; ++i) {
            if (TIFFReadScanline(tiff_, row.data(), i, static_cast<std::uint16_t>(plane)) < 0) {
                if (!request_.allow_truncated)
                    fail();
                return;
            }
            place(row.data(), i, 0, layout_.cols, plane);
        }
    }

    void read_tiles(int plane) {
        const auto width = field<std::uint32_t>(tiff_, TIFFTAG_TILEWIDTH, 0);
        const auto height = field<std::uint32_t>(tiff_, TIFFTAG_TILELENGTH, 0);
        if (!sizes_are_believable(height, width, static_cast<std::int64_t>(samples_together()),
                                  (layout_.bits + 7) / 8, request_.source.size()))
            request_.fail("says tiles of a size that a file of its length can't hold");
        std::vector<unsigned char> tile(static_cast<std::size_t>(TIFFTileSize(tiff_)));
        const auto row_bytes = static_cast<std::size_t>(TIFFTileRowSize(tiff_));
        if (row_bytes < (width * samples_together() * layout_.bits + 7) / 8 ||
            tile.size() < row_bytes * height)
            request_.fail("is a TIFF file whose sizes contradict each other");
        for (std::uint32_t top = 0; top < layout_.rows; top += height) {
            for (std::uint32_t left = 0; left < layout_.cols; left += width) {
                if (TIFFReadTile(tiff_, tile.data(), left, top, 0,
                                 static_cast<std::uint16_t>(plane)) < 0) {
                    if (!request_.allow_truncated)
                        fail();
                    continue;
                }
                const std::uint32_t rows = std::min(height, layout_.rows - top);
                for (std::uint32_t i = 0; i < rows; ++i)
                    place(tile.data() + i * row_bytes, top + i, left,
                          std::min(width, layout_.cols - left), plane);
                if (left > layout_.cols - std::min(width, layout_.cols))
                    break;
            }
            if (top > layout_.rows - std::min(height, layout_.rows))
                break;
        }
    }

    // Part of a row into the image.
    void place(const unsigned char* bytes, std::uint32_t row, std::uint32_t left,
               std::size_t pixels, int plane) {
        const std::size_t together = samples_together();
        const bool is_rgb = layout_.colours() == 3;
        float* const out = image_->pixels[row] + std::size_t{left} * (image_channels());
        if (palette_.empty() && !layout_.is_planar && layout_.samples == layout_.colours()) {
            unpack(layout_, bytes, out, pixels * together);
            scale(out, pixels * together);
            return;
        }
        scratch_.resize(pixels * together);
        unpack(layout_, bytes, scratch_.data(), pixels * together);
        if (!palette_.empty()) {
            if (plane > 0)
                return;
            const std::size_t channels = image_channels();
            for (std::size_t j = 0; j < pixels; ++j) {
                const auto index = static_cast<std::size_t>(scratch_[j * together]);
                std::copy_n(palette_.begin() + static_cast<std::ptrdiff_t>(3 * index), channels,
                            out + channels * j);
            }
            return;
        }
        scale(scratch_.data(), scratch_.size());
        if (alpha_ && (!layout_.is_planar || is_alpha(plane))) {
            const auto at = layout_.is_planar ? 0 : static_cast<std::size_t>(layout_.alpha_at);
            for (std::size_t j = 0; j < pixels; ++j)
                alpha_->pixels[row][left + j] = scratch_[j * together + at];
        }
        if (layout_.is_planar) {
            const std::size_t step = is_rgb ? 3 : 1;
            for (std::size_t j = 0; plane < layout_.colours() && j < pixels; ++j)
                out[step * j + static_cast<std::size_t>(plane)] = scratch_[j];
            return;
        }
        const auto colours = static_cast<std::size_t>(layout_.colours());
        for (std::size_t j = 0; j < pixels; ++j)
            std::copy_n(scratch_.begin() + static_cast<std::ptrdiff_t>(j * together), colours,
                        out + colours * j);
    }

    std::size_t image_channels() const { return image_->image_type == ImageType::colour ? 3 : 1; }

    // Fewer than 8 bits to 0 to 255, and white as the smallest number turned over.
    void scale(float* samples, std::size_t count) const {
        if (layout_.sample_format != SAMPLEFORMAT_UINT || layout_.bits > 16)
            return;
        const auto largest = static_cast<float>((1 << layout_.bits) - 1);
        const bool inverted = layout_.photometric == PHOTOMETRIC_MINISWHITE;
        if (layout_.bits >= 8) {
            for (std::size_t j = 0; inverted && j < count; ++j)
                samples[j] = largest - samples[j];
            return;
        }
        for (std::size_t j = 0; j < count; ++j)
            samples[j] =
                std::nearbyint((inverted ? largest - samples[j] : samples[j]) * 255.0f / largest);
    }

    void lay_over_white() {
        const std::size_t channels = image_channels();
        const double white = layout_.white();
        for (std::uint32_t i = 0; i < layout_.rows; ++i) {
            for (std::size_t j = 0; j < layout_.cols; ++j) {
                const double part = alpha_->pixels[i][j] / white;
                float* const pixel = image_->pixels[i] + channels * j;
                for (std::size_t k = 0; part < 1.0 && k < channels; ++k) {
                    const double own =
                        layout_.alpha == Alpha::plain ? pixel[k] * part : double{pixel[k]};
                    pixel[k] = static_cast<float>(
                        std::nearbyint(std::min(own + white * (1.0 - part), white)));
                }
            }
        }
    }

    TIFF* tiff_;
    const ReadRequest& request_;
    const Complaint& complaint_;
    const Layout& layout_;
    ImagePtr image_;
    ImagePtr alpha_;
    std::vector<float> scratch_;
    std::vector<float> palette_;
    bool palette_has_colour_ = false;
};

// Inks, L*a*b*, YCbCr: as libtiff shows them.
ImagePtr read_as_shown(TIFF* tiff, const ReadRequest& request, const Complaint& complaint,
                       const Layout& layout) {
    char reason[1024] = "";
    if (TIFFRGBAImageOK(tiff, reason) != 1)
        request.fail(std::string("is a TIFF file of a kind that isn't read: ") + reason);
    ImagePtr image =
        request.make_image(layout.rows, layout.cols, ImageType::colour, PixelFormat::byte, 1);
    const std::size_t pixels = std::size_t{layout.rows} * layout.cols;
    if (pixels > std::size_t{1} << 31)
        request.fail("is too large a TIFF file of its kind");
    std::vector<std::uint32_t> block(pixels);
    if (TIFFReadRGBAImageOriented(tiff, layout.cols, layout.rows, block.data(), ORIENTATION_TOPLEFT,
                                  1) != 1 &&
        !request.allow_truncated)
        request.fail(std::string("is a broken TIFF file: ") + complaint.text);
    for (std::uint32_t i = 0; i < layout.rows; ++i) {
        float* out = image->pixels[i];
        for (std::size_t j = 0; j < layout.cols; ++j) {
            const std::uint32_t pixel = block[std::size_t{i} * layout.cols + j];
            *out++ = static_cast<float>(TIFFGetR(pixel));
            *out++ = static_cast<float>(TIFFGetG(pixel));
            *out++ = static_cast<float>(TIFFGetB(pixel));
        }
    }
    return image;
}

Picture read_tiff(const ReadRequest& request) {
    request.source.size(); // keeps a stream before libtiff asks for more of it
    Complaint complaint;
    Input input{request.source};
    const Handle tiff = open_input(input, complaint);
    if (!tiff && lacks_directory(request.source)) {
        if (!request.allow_truncated)
            request.fail_truncated();
        request.fail("is cut short before its directory, so nothing of it can be read");
    }
    if (!tiff)
        request.fail(std::string("is a broken TIFF file: ") + complaint.text);
    Picture picture;
    picture.page_count = static_cast<int>(TIFFNumberOfDirectories(tiff.get()));
    request.check_page(std::max(picture.page_count, 1));
    if (TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(request.page - 1)) != 1)
        request.fail(std::string("is a broken TIFF file: ") + complaint.text);
    const Layout layout = read_layout(tiff.get());
    if (layout.rows < 1 || layout.cols < 1)
        request.fail("has no pixels");
    const auto compression =
        field<std::uint16_t>(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (TIFFIsCODECConfigured(compression) != 1)
        request.fail("is a TIFF file with compression " + std::to_string(compression) +
                     ", which isn't read; save it with LZW or none");
    picture.bits = layout.bits;
    picture.is_float = layout.is_float();
    if (is_plain(layout)) {
        picture.image = PageReader(tiff.get(), request, complaint, layout).read();
        picture.image = upright(std::move(picture.image), layout.orientation);
    } else {
        picture.image = read_as_shown(tiff.get(), request, complaint, layout);
        picture.facts.emplace_back("colours", "converted to 8-bit red, green, blue");
    }
    if (layout.alpha != Alpha::none)
        picture.facts.emplace_back("transparency", "laid over white");
    if (layout.orientation > 1 && layout.orientation < 9)
        picture.facts.emplace_back("turned", "as its orientation " +
                                                 std::to_string(layout.orientation) + " says");
    return picture;
}

// LZW for whole numbers; floats as they are, which every reader takes.
void write_tiff(const WriteRequest& request) {
    const SampleRows& samples = request.samples;
    const bool is_float = samples.depth() == Depth::float32;
    const int bits = is_float ? 32 : samples.depth() == Depth::bits16 ? 16 : 8;
    const double bytes = static_cast<double>(samples.row_samples()) * samples.rows() * bits / 8;
    constexpr double largest_plain_file = 3.5e9; // LZW may grow what it can't shrink
    Complaint complaint;
    const Options options = make_options(complaint);
    Handle tiff(
        TIFFOpenExt(request.path.c_str(), bytes > largest_plain_file ? "w8" : "w", options.get()));
    const auto fail = [&] { request.fail(std::string("can't be written: ") + complaint.text); };
    if (!tiff)
        fail();
    TIFF* const file = tiff.get();
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(samples.cols()));
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(samples.rows()));
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, samples.channels());
    TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, is_float ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC,
                 samples.channels() == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const bool packs = !is_float && TIFFIsCODECConfigured(COMPRESSION_LZW) == 1;
    TIFFSetField(file, TIFFTAG_COMPRESSION, packs ? COMPRESSION_LZW : COMPRESSION_NONE);
    if (packs)
        TIFFSetField(file, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(file, 0));
    std::vector<float> floats(is_float ? samples.row_samples() : 0);
    std::vector<std::uint16_t> words(bits == 16 ? samples.row_samples() : 0);
    std::vector<std::uint8_t> single(bits == 8 ? samples.row_samples() : 0);
    for (int i = 0; i < samples.rows(); ++i) {
        void* row = floats.data();
        if (is_float) {
            samples.floats(i, floats.data());
        } else if (bits == 16) {
            samples.words(i, words.data());
            row = words.data();
        } else {
            samples.bytes(i, single.data());
            row = single.data();
        }
        if (TIFFWriteScanline(file, row, static_cast<std::uint32_t>(i), 0) != 1)
            fail();
    }
    if (TIFFFlush(file) != 1)
        fail();
    tiff.reset();
    if (complaint.text[0] != '\0')
        fail();
}

constexpr std::string_view endings[] = {".tif", ".tiff"};

} // namespace

const Format tiff_format = {.name = "TIFF",
                            .endings = endings,
                            .read = read_tiff,
                            .write = write_tiff,
                            .bits16 = true,
                            .float32 = true};

} // namespace vorlane::host
