// PNG, through libpng. It leaves a failed call by longjmp, so what lies between setjmp and the
// failure has no destructors to run.

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <png.h>

#include <vorlane/platform/system_files.h>

#include "host/formats/format.h"

namespace vorlane::host {

namespace {

// What outlives a failure.
struct Decoder {
    SourceStream stream;
    png_structp png = nullptr;
    png_infop info = nullptr;
    char reason[200] = "";
    bool is_short = false;

    explicit Decoder(Source& source) : stream(source) {}
    ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

template<class State>
void keep_reason(png_structp png, png_const_charp text) {
    auto* const state = static_cast<State*>(png_get_error_ptr(png));
    std::snprintf(state->reason, sizeof state->reason, "%s", text);
    png_longjmp(png, 1);
}

void ignore_warning(png_structp, png_const_charp) {}

void read_bytes(png_structp png, png_bytep to, png_size_t count) {
    auto* const decoder = static_cast<Decoder*>(png_get_io_ptr(png));
    if (decoder->stream.read(to, count) < count) {
        decoder->is_short = true;
        png_error(png, "the file is cut short");
    }
}

// False if a call failed.
template<class Work>
bool succeeds(png_structp png, Work work) {
    if (setjmp(png_jmpbuf(png)))
        return false;
    work();
    return true;
}

[[noreturn]] void fail(const ReadRequest& request, const Decoder& decoder) {
    if (decoder.is_short)
        request.fail_truncated();
    request.fail(std::string("is a broken PNG file: ") + decoder.reason);
}

struct Layout {
    png_uint_32 cols = 0;
    png_uint_32 rows = 0;
    int bits = 0;
    int kind = 0;
    int interlacing = 0;
    bool has_alpha = false;
    bool is_gray_palette = false;
    int file_channels = 0; // of a row as libpng gives it
    int channels = 0;      // of the image
};

void read_layout(Decoder& decoder, Layout& layout) {
    png_structp png = decoder.png;
    png_infop info = decoder.info;
    png_read_info(png, info);
    png_get_IHDR(png, info, &layout.cols, &layout.rows, &layout.bits, &layout.kind,
                 &layout.interlacing, nullptr, nullptr);
    layout.has_alpha =
        (layout.kind & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    if (layout.kind == PNG_COLOR_TYPE_PALETTE) {
        png_colorp colours = nullptr;
        int count = 0;
        png_get_PLTE(png, info, &colours, &count);
        layout.is_gray_palette = std::all_of(colours, colours + count, [](const png_color& c) {
            return c.red == c.green && c.green == c.blue;
        });
    }
    const bool has_colour = (layout.kind & PNG_COLOR_MASK_COLOR) != 0;
    layout.file_channels = (has_colour ? 3 : 1) + (layout.has_alpha ? 1 : 0);
    layout.channels = has_colour && !layout.is_gray_palette ? 3 : 1;
}

void set_up_rows(Decoder& decoder, const Layout& layout) {
    png_set_expand(decoder.png); // palettes, fewer than 8 bits, transparent colours
    if (layout.bits == 16)
        png_set_swap(decoder.png);
    png_set_interlace_handling(decoder.png);
    png_read_update_info(decoder.png, decoder.info);
}

// Samples of one row into the image.
class RowTaker {
public:
    RowTaker(const Layout& layout, CImage& image)
        : layout_(layout), image_(image), samples_(std::size_t{layout.cols} * layout.file_channels),
          row_(is_direct() ? 0 : samples_) {}

    void take(png_uint_32 i, const png_byte* bytes) {
        float* const out = image_.pixels[i];
        float* const samples = is_direct() ? out : row_.data();
        if (layout_.bits == 16) {
            const auto* const words = reinterpret_cast<const png_uint_16*>(bytes);
            widen(words, samples, samples_);
        } else {
            widen(bytes, samples, samples_);
        }
        if (is_direct())
            return;
        const auto step = static_cast<std::size_t>(layout_.file_channels);
        if (layout_.is_gray_palette) { // the first of three equal channels
            const std::size_t kept = layout_.has_alpha ? 2 : 1;
            for (std::size_t j = 0; j < layout_.cols; ++j) {
                samples[kept * j] = samples[step * j];
                if (layout_.has_alpha)
                    samples[kept * j + 1] = samples[step * j + 3];
            }
        }
        if (layout_.has_alpha)
            flatten_row(samples, out, layout_.cols, layout_.channels,
                        layout_.bits == 16 ? 65535.0f : 255.0f);
        else
            std::copy_n(samples, layout_.cols, out);
    }

private:
    bool is_direct() const { return layout_.file_channels == layout_.channels; }

    const Layout& layout_;
    CImage& image_;
    std::size_t samples_;
    std::vector<float> row_;
};

Picture read_png(const ReadRequest& request) {
    request.check_page(1);
    request.source.size(); // keeps a stream before libpng asks for more of it
    Decoder decoder(request.source);
    decoder.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &decoder, keep_reason<Decoder>,
                                         ignore_warning);
    decoder.info = decoder.png ? png_create_info_struct(decoder.png) : nullptr;
    if (!decoder.info)
        throw std::bad_alloc();
    png_set_read_fn(decoder.png, &decoder, read_bytes);
    png_set_user_limits(decoder.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX); // make_image has the gate
    if (request.allow_truncated) // what stands before the end counts, down to a few bytes
        png_set_compression_buffer_size(decoder.png, 64);
    Layout layout;
    if (!succeeds(decoder.png, [&] { read_layout(decoder, layout); }))
        fail(request, decoder);

    const bool is_wide = layout.bits == 16;
    Picture picture;
    picture.bits = layout.bits;
    picture.image = request.make_image(
        layout.rows, layout.cols, layout.channels == 3 ? ImageType::colour : ImageType::gray,
        is_wide ? PixelFormat::int16 : PixelFormat::byte, is_wide ? 2 : 1);
    if (layout.kind == PNG_COLOR_TYPE_PALETTE)
        picture.facts.emplace_back("colours", "a palette");
    if (layout.has_alpha)
        picture.facts.emplace_back("transparency", "laid over white");
    if (!succeeds(decoder.png, [&] { set_up_rows(decoder, layout); }))
        fail(request, decoder);

    RowTaker taker(layout, *picture.image);
    const std::size_t row_bytes = png_get_rowbytes(decoder.png, decoder.info);
    const bool is_interlaced = layout.interlacing != PNG_INTERLACE_NONE;
    std::vector<png_byte> block(row_bytes * (is_interlaced ? layout.rows : 1));
    const auto row_at = [&](png_uint_32 i) {
        return block.data() + (is_interlaced ? i : 0) * row_bytes;
    };
    const int passes = is_interlaced ? 7 : 1;
    const bool is_whole = succeeds(decoder.png, [&] {
        for (int pass = 0; pass < passes; ++pass) {
            for (png_uint_32 i = 0; i < layout.rows; ++i) {
                png_read_row(decoder.png, row_at(i), nullptr);
                if (!is_interlaced)
                    taker.take(i, row_at(i));
            }
        }
    });
    if (!is_whole && !(decoder.is_short && request.allow_truncated))
        fail(request, decoder);
    for (png_uint_32 i = 0; is_interlaced && i < layout.rows; ++i)
        taker.take(i, row_at(i));
    return picture;
}

struct Encoder {
    std::FILE* file = nullptr;
    png_structp png = nullptr;
    png_infop info = nullptr;
    char reason[200] = "";

    Encoder() = default;
    ~Encoder() {
        png_destroy_write_struct(&png, &info);
        if (file)
            std::fclose(file);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
};

void write_rows(Encoder& encoder, const SampleRows& samples, png_byte* bytes) {
    png_structp png = encoder.png;
    const bool is_wide = samples.depth() == Depth::bits16;
    png_init_io(png, encoder.file);
    png_set_IHDR(png, encoder.info, static_cast<png_uint_32>(samples.cols()),
                 static_cast<png_uint_32>(samples.rows()), is_wide ? 16 : 8,
                 samples.channels() == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, encoder.info);
    if (is_wide)
        png_set_swap(png);
    for (int i = 0; i < samples.rows(); ++i) {
        if (is_wide)
            samples.words(i, reinterpret_cast<std::uint16_t*>(bytes));
        else
            samples.bytes(i, bytes);
        png_write_row(png, bytes);
    }
    png_write_end(png, encoder.info);
}

void write_png(const WriteRequest& request) {
    Encoder encoder;
    encoder.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &encoder, keep_reason<Encoder>,
                                          ignore_warning);
    encoder.info = encoder.png ? png_create_info_struct(encoder.png) : nullptr;
    encoder.file = open_file(request.path.c_str(), "wb");
    if (!encoder.info || !encoder.file)
        request.fail("can't be written");
    png_set_user_limits(encoder.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    const std::size_t words = request.samples.row_samples();
    const auto row = std::make_unique<std::uint16_t[]>(words);
    auto* const bytes = reinterpret_cast<png_byte*>(row.get());
    if (!succeeds(encoder.png, [&] { write_rows(encoder, request.samples, bytes); }))
        request.fail(std::string("can't be written: ") + encoder.reason);
    if (std::fclose(std::exchange(encoder.file, nullptr)) != 0)
        request.fail("can't be written: the disk may be full");
}

constexpr std::string_view endings[] = {".png"};

} // namespace

const Format png_format = {
    .name = "PNG", .endings = endings, .read = read_png, .write = write_png, .bits16 = true};

} // namespace vorlane::host
