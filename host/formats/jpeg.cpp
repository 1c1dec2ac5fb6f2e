// JPEG, through libjpeg. It leaves a failed call by longjmp, so what lies between setjmp and the
// failure has no destructors to run.

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include <jpeglib.h>

#include <jerror.h>

#include <vorlane/platform/system_files.h>

#include "host/formats/format.h"

namespace vorlane::host {

namespace {

// What libjpeg calls when something fails, and what it said.
struct Failure {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char reason[JMSG_LENGTH_MAX] = "";
    bool is_short = false;

    Failure() {
        jpeg_std_error(&base);
        base.error_exit = [](j_common_ptr codec) {
            auto* const failure = reinterpret_cast<Failure*>(codec->err);
            codec->err->format_message(codec, failure->reason);
            std::longjmp(failure->jump, 1);
        };
        base.emit_message = [](j_common_ptr codec, int level) {
            auto* const failure = reinterpret_cast<Failure*>(codec->err);
            const int code = codec->err->msg_code;
            if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER))
                failure->is_short = true;
        };
        base.output_message = [](j_common_ptr) {};
    }
};

template<class Work>
bool succeeds(Failure& failure, Work work) {
    if (setjmp(failure.jump))
        return false;
    work();
    return true;
}

struct Decoder {
    jpeg_decompress_struct codec{};
    Failure failure;
    jpeg_source_mgr input{};
    jpeg_progress_mgr progress{};
    SourceStream stream;
    std::span<const unsigned char> block;
    bool is_made = false;

    explicit Decoder(Source& source) : stream(source) { codec.err = &failure.base; }
    ~Decoder() {
        if (is_made)
            jpeg_destroy_decompress(&codec);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
};

boolean fill_buffer(j_decompress_ptr codec) {
    auto* const decoder = static_cast<Decoder*>(codec->client_data);
    decoder->stream.skip(static_cast<std::int64_t>(decoder->block.size()));
    decoder->block = decoder->stream.ahead();
    if (decoder->block.empty()) { // ends the picture here
        static constexpr JOCTET end_of_image[] = {0xFF, JPEG_EOI};
        WARNMS(codec, JWRN_JPEG_EOF);
        codec->src->next_input_byte = end_of_image;
        codec->src->bytes_in_buffer = sizeof end_of_image;
        return TRUE;
    }
    codec->src->next_input_byte = decoder->block.data();
    codec->src->bytes_in_buffer = decoder->block.size();
    return TRUE;
}

void skip_input(j_decompress_ptr codec, long count) {
    while (count > 0 && static_cast<std::size_t>(count) > codec->src->bytes_in_buffer) {
        count -= static_cast<long>(codec->src->bytes_in_buffer);
        fill_buffer(codec);
    }
    if (count > 0) {
        codec->src->next_input_byte += count;
        codec->src->bytes_in_buffer -= static_cast<std::size_t>(count);
    }
}

// A small file may hold thousands of scans, each of which goes over the whole picture.
void limit_scans(j_common_ptr codec) {
    constexpr int most_scans = 500;
    auto* const decoder = reinterpret_cast<j_decompress_ptr>(codec);
    if (decoder->input_scan_number > most_scans)
        ERREXIT(codec, JERR_NOTIMPL);
}

void read_header(Decoder& decoder) {
    j_decompress_ptr codec = &decoder.codec;
    jpeg_create_decompress(codec);
    decoder.is_made = true;
    codec->client_data = &decoder;
    decoder.input.init_source = [](j_decompress_ptr) {};
    decoder.input.fill_input_buffer = fill_buffer;
    decoder.input.skip_input_data = skip_input;
    decoder.input.resync_to_restart = jpeg_resync_to_restart;
    decoder.input.term_source = [](j_decompress_ptr) {};
    codec->src = &decoder.input;
    decoder.progress.progress_monitor = limit_scans;
    codec->progress = &decoder.progress;
    jpeg_save_markers(codec, JPEG_APP0 + 1, 0xFFFF);
    jpeg_read_header(codec, TRUE);
    if (codec->num_components == 4)
        codec->out_color_space = JCS_CMYK;
    else
        codec->out_color_space = codec->num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
}

// The orientation that a camera states in its EXIF block: 1 to 8, 1 if there is none.
int orientation_in(const jpeg_saved_marker_ptr markers) {
    for (const jpeg_marker_struct* marker = markers; marker; marker = marker->next) {
        constexpr std::size_t prefix = 6;
        if (marker->data_length < prefix + 8 || std::memcmp(marker->data, "Exif\0\0", prefix) != 0)
            continue;
        const JOCTET* const block = marker->data + prefix;
        const std::size_t length = marker->data_length - prefix;
        const bool low_first = block[0] == 'I';
        const auto number = [&](std::size_t at, int bytes) {
            std::uint32_t value = 0;
            for (int k = 0; k < bytes; ++k) {
                const std::uint32_t byte = block[at + static_cast<std::size_t>(k)];
                value = low_first ? value | byte << 8 * k : value << 8 | byte;
            }
            return value;
        };
        const std::size_t directory = number(4, 4);
        if (directory > length - 2)
            return 1;
        const std::size_t entries = number(directory, 2);
        for (std::size_t k = 0; k < entries; ++k) {
            constexpr std::uint32_t orientation_tag = 0x112;
            const std::size_t entry = directory + 2 + 12 * k;
            if (entry + 12 > length)
                return 1;
            if (number(entry, 2) == orientation_tag)
                return static_cast<int>(std::min<std::uint32_t>(number(entry + 8, 2), 9));
        }
    }
    return 1;
}

// Inks to light. Files of the usual make store inks inverted and say so by their marker.
void take_inks(const JSAMPLE* inks, float* out, std::size_t pixels, bool is_inverted) {
    for (std::size_t j = 0; j < pixels; ++j, inks += 4) {
        const int black = is_inverted ? inks[3] : 255 - inks[3];
        for (int k = 0; k < 3; ++k) {
            const int light = is_inverted ? inks[k] : 255 - inks[k];
            const int level = (light * black + 127) / 255; // rounded
            *out++ = static_cast<float>(level);
        }
    }
}

void read_rows(Decoder& decoder, CImage& image, JSAMPROW* rows, int count) {
    j_decompress_ptr codec = &decoder.codec;
    const auto samples = static_cast<std::size_t>(image.ncols) * codec->output_components;
    while (codec->output_scanline < codec->output_height) {
        const JDIMENSION first = codec->output_scanline;
        const JDIMENSION got = jpeg_read_scanlines(codec, rows, static_cast<JDIMENSION>(count));
        for (JDIMENSION k = 0; k < got; ++k) {
            float* const out = image.pixels[first + k];
            if (codec->output_components == 4)
                take_inks(rows[k], out, static_cast<std::size_t>(image.ncols),
                          codec->saw_Adobe_marker != FALSE);
            else
                widen(rows[k], out, samples);
        }
    }
}

Picture read_jpeg(const ReadRequest& request) {
    request.check_page(1);
    request.source.size(); // keeps a stream before libjpeg asks for more of it
    Decoder decoder(request.source);
    jpeg_decompress_struct& codec = decoder.codec;
    const auto fail = [&] {
        if (decoder.failure.is_short)
            request.fail_truncated();
        request.fail(std::string("is a broken JPEG file: ") + decoder.failure.reason);
    };
    if (!succeeds(decoder.failure, [&] { read_header(decoder); }))
        fail();
    if (codec.num_components == 2 || codec.num_components > 4)
        request.fail("is a JPEG file of " + std::to_string(codec.num_components) +
                     " channels, which isn't read");
    Picture picture;
    picture.image = request.make_image(
        codec.image_height, codec.image_width,
        codec.num_components == 1 ? ImageType::gray : ImageType::colour, PixelFormat::byte, 1);
    CImage& image = *picture.image;
    constexpr int most_rows = 16;
    const std::size_t row_bytes =
        static_cast<std::size_t>(codec.image_width) * codec.num_components;
    std::vector<JSAMPLE> block(most_rows * row_bytes);
    JSAMPROW rows[most_rows];
    for (std::size_t k = 0; k < most_rows; ++k)
        rows[k] = block.data() + k * row_bytes;
    const bool is_read = succeeds(decoder.failure, [&] {
        jpeg_start_decompress(&codec);
        read_rows(decoder, image, rows, std::min(codec.rec_outbuf_height, most_rows));
    });
    if (!is_read || (decoder.failure.is_short && !request.allow_truncated))
        fail();
    if (codec.num_components == 4)
        picture.facts.emplace_back("colours", "of inks");
    const int orientation = orientation_in(codec.marker_list);
    if (orientation > 1 && orientation < 9)
        picture.facts.emplace_back("turned",
                                   "as its orientation " + std::to_string(orientation) + " says");
    picture.image = upright(std::move(picture.image), orientation);
    return picture;
}

struct Encoder {
    jpeg_compress_struct codec{};
    Failure failure;
    std::FILE* file = nullptr;
    bool is_made = false;

    Encoder() { codec.err = &failure.base; }
    ~Encoder() {
        if (is_made)
            jpeg_destroy_compress(&codec);
        if (file)
            std::fclose(file);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
};

void write_rows(Encoder& encoder, const SampleRows& samples, int quality, JSAMPLE* row) {
    j_compress_ptr codec = &encoder.codec;
    jpeg_create_compress(codec);
    encoder.is_made = true;
    jpeg_stdio_dest(codec, encoder.file);
    codec->image_width = static_cast<JDIMENSION>(samples.cols());
    codec->image_height = static_cast<JDIMENSION>(samples.rows());
    codec->input_components = samples.channels();
    codec->in_color_space = samples.channels() == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(codec);
    jpeg_set_quality(codec, quality, TRUE);
    jpeg_start_compress(codec, TRUE);
    for (int i = 0; i < samples.rows(); ++i) {
        samples.bytes(i, row);
        jpeg_write_scanlines(codec, &row, 1);
    }
    jpeg_finish_compress(codec);
}

void write_jpeg(const WriteRequest& request) {
    const SampleRows& samples = request.samples;
    if (samples.rows() > JPEG_MAX_DIMENSION || samples.cols() > JPEG_MAX_DIMENSION)
        request.fail("JPEG holds at most " + std::to_string(JPEG_MAX_DIMENSION) +
                     " rows and columns; write .png or .tif");
    Encoder encoder;
    encoder.file = open_file(request.path.c_str(), "wb");
    if (!encoder.file)
        request.fail("can't be written");
    std::vector<JSAMPLE> row(samples.row_samples());
    if (!succeeds(encoder.failure,
                  [&] { write_rows(encoder, samples, request.quality, row.data()); }))
        request.fail(std::string("can't be written: ") + encoder.failure.reason);
    if (std::fclose(std::exchange(encoder.file, nullptr)) != 0)
        request.fail("can't be written: the disk may be full");
}

constexpr std::string_view endings[] = {".jpg", ".jpeg"};

} // namespace

const Format jpeg_format = {
    .name = "JPEG", .endings = endings, .read = read_jpeg, .write = write_jpeg};

} // namespace vorlane::host
