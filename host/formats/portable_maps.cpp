// Portable maps: P1 to P6 in numbers or in binary, P7 (PAM) with or without alpha, and PFM floats.
// Comments may stand anywhere in a header.

#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include <vorlane/platform/system_files.h>

#include "host/formats/format.h"

namespace vorlane::host {

namespace {

struct Header {
    char magic = 0; // '1' to '7', 'F' or 'f'
    std::int64_t cols = 0;
    std::int64_t rows = 0;
    std::int64_t maximum = 1;
    int channels = 1; // with alpha
    bool has_alpha = false;
    bool is_low_first = false; // PFM
};

// The numbers of a header, and of maps that are text.
class Scanner {
public:
    Scanner(SourceStream& stream, const ReadRequest& request)
        : stream_(stream), request_(request) {}

    // The first character that is neither blank nor in a comment, -1 at the end.
    int next_letter() {
        int c = stream_.next();
        while (c >= 0 && (std::isspace(c) || c == '#')) {
            if (c == '#')
                while (c >= 0 && c != '\n')
                    c = stream_.next();
            else
                c = stream_.next();
        }
        return c;
    }

    // A decimal number and the one character behind it, -1 at the end.
    std::int64_t next_number() {
        int c = next_letter();
        if (c < 0)
            return -1;
        std::int64_t value = 0;
        if (!std::isdigit(c))
            request_.fail("is a portable map with something else where a number belongs");
        for (; c >= 0 && std::isdigit(c); c = stream_.next())
            value = std::min<std::int64_t>(value * 10 + (c - '0'), largest);
        if (c == '#') // a comment right behind a number
            while (c >= 0 && c != '\n')
                c = stream_.next();
        return value;
    }

    // A word or the rest of a line, without what stands around it.
    std::string next_word() {
        std::string word;
        for (int c = next_letter(); c >= 0 && !std::isspace(c) && word.size() < 64;
             c = stream_.next())
            word += static_cast<char>(c);
        return word;
    }

private:
    static constexpr std::int64_t largest = std::int64_t{1} << 40;
    SourceStream& stream_;
    const ReadRequest& request_;
};

void read_pam_header(Scanner& scanner, const ReadRequest& request, Header& header) {
    header.channels = 0;
    header.maximum = 0;
    std::string kind;
    for (std::string word; (word = scanner.next_word()) != "ENDHDR";) {
        if (word == "WIDTH")
            header.cols = scanner.next_number();
        else if (word == "HEIGHT")
            header.rows = scanner.next_number();
        else if (word == "DEPTH")
            header.channels = static_cast<int>(std::min<std::int64_t>(scanner.next_number(), 99));
        else if (word == "MAXVAL")
            header.maximum = scanner.next_number();
        else if (word == "TUPLTYPE")
            kind = scanner.next_word();
        else
            request.fail("is a PAM file with a broken header");
    }
    header.has_alpha = kind.ends_with("_ALPHA") ||
                       (kind.empty() && (header.channels == 2 || header.channels == 4));
    const int colours = header.channels - (header.has_alpha ? 1 : 0);
    if (colours != 1 && colours != 3)
        request.fail("is a PAM file of " + std::to_string(header.channels) +
                     " channels, which isn't read; gray and red, green, blue are");
}

Header read_header(SourceStream& stream, const ReadRequest& request) {
    Header header;
    stream.next(); // P
    header.magic = static_cast<char>(stream.next());
    Scanner scanner(stream, request);
    if (header.magic == '7') {
        read_pam_header(scanner, request, header);
    } else {
        header.cols = scanner.next_number();
        header.rows = scanner.next_number();
        if (header.magic == '3' || header.magic == '6' || header.magic == 'F')
            header.channels = 3;
        if (header.magic == 'F' || header.magic == 'f') {
            const std::string scale = scanner.next_word();
            header.is_low_first = scale.starts_with('-');
        } else if (header.magic != '1' && header.magic != '4') {
            header.maximum = scanner.next_number();
        }
    }
    if (header.rows < 1 || header.cols < 1)
        request.fail("has no pixels");
    if (header.maximum < 1 || header.maximum > 65535)
        request.fail("is a portable map whose maximum isn't from 1 to 65535");
    return header;
}

// What a sample of a file becomes: 0 to 255 for up to 8 bits, itself for more.
std::vector<float> make_scale(std::int64_t maximum) {
    const auto count = static_cast<std::size_t>(maximum <= 255 ? 256 : 65536);
    std::vector<float> scale(count);
    for (std::size_t k = 0; k < count; ++k) {
        const auto value = static_cast<double>(std::min<std::int64_t>(k, maximum));
        scale[k] = static_cast<float>(
            maximum < 255 ? std::nearbyint(value * 255.0 / static_cast<double>(maximum)) : value);
    }
    return scale;
}

// Rows of samples, with alpha, one after the other into the image.
class RowReader {
public:
    RowReader(SourceStream& stream, const ReadRequest& request, const Header& header)
        : stream_(stream), request_(request), header_(header), scanner_(stream, request),
          samples_(static_cast<std::size_t>(header.cols) * header.channels),
          unit_(header.maximum > 255 ? 2 : 1), scale_(make_scale(header.maximum)) {}

    void read(float* out) {
        if (header_.magic == '1')
            read_text_bits(out);
        else if (header_.magic == '2' || header_.magic == '3')
            read_text(out);
        else if (header_.magic == '4')
            read_bits(out);
        else
            read_binary(out);
    }

private:
    // What is missing repeats the last sample.
    void fill(float* from, float* to) {
        if (!request_.allow_truncated)
            request_.fail_truncated();
        std::fill(from, to, last_);
    }

    void read_text_bits(float* out) {
        float* const end = out + samples_;
        for (; out < end; ++out) {
            const int c = scanner_.next_letter();
            if (c < 0)
                return fill(out, end);
            if (c != '0' && c != '1')
                request_.fail("is a portable map with something else where a 0 or 1 belongs");
            *out = last_ = c == '1' ? 0.0f : 255.0f;
        }
    }

    void read_text(float* out) {
        float* const end = out + samples_;
        for (; out < end; ++out) {
            const std::int64_t value = scanner_.next_number();
            if (value < 0)
                return fill(out, end);
            *out = last_ = scale_[std::min<std::size_t>(value, scale_.size() - 1)];
        }
    }

    void read_bits(float* out) {
        for (std::size_t j = 0; j < samples_; j += 8) {
            const int byte = stream_.next();
            if (byte < 0)
                return fill(out + j, out + samples_);
            for (std::size_t k = j; k < std::min(j + 8, samples_); ++k)
                out[k] = last_ = byte >> (7 - (k - j)) & 1 ? 0.0f : 255.0f;
        }
    }

    void read_binary(float* out) {
        float* const end = out + samples_;
        while (out < end) {
            auto bytes = stream_.ahead();
            if (bytes.size() < unit_) { // the end of a block, or of the file
                unsigned char pair[2];
                if (stream_.read(pair, unit_) < unit_)
                    return fill(out, end);
                *out++ = last_ = scale_[static_cast<std::size_t>(pair[0]) << 8 | pair[1]];
                continue;
            }
            const std::size_t count =
                std::min(bytes.size() / unit_, static_cast<std::size_t>(end - out));
            if (unit_ == 2) {
                for (std::size_t j = 0; j < count; ++j)
                    out[j] = scale_[static_cast<std::size_t>(bytes[2 * j]) << 8 | bytes[2 * j + 1]];
            } else if (header_.maximum == 255) {
                widen(bytes.data(), out, count);
            } else {
                for (std::size_t j = 0; j < count; ++j)
                    out[j] = scale_[bytes[j]];
            }
            out += count;
            last_ = out[-1];
            stream_.skip(static_cast<std::int64_t>(count * unit_));
        }
    }

    SourceStream& stream_;
    const ReadRequest& request_;
    const Header& header_;
    Scanner scanner_;
    std::size_t samples_;
    std::size_t unit_;
    std::vector<float> scale_;
    float last_ = 0.0f;
};

bool is_float_map(const Header& header) {
    return header.magic == 'F' || header.magic == 'f';
}

// From the bottom row up.
void read_floats(SourceStream& stream, const ReadRequest& request, const Header& header,
                 const CImage& image) {
    const std::size_t samples = static_cast<std::size_t>(header.cols) * header.channels;
    for (int i = image.nrows - 1; i >= 0; --i) {
        float* const row = image.pixels[i];
        if (stream.read(row, samples * sizeof(float)) < samples * sizeof(float) &&
            !request.allow_truncated)
            request.fail_truncated();
        if (header.is_low_first)
            continue;
        for (std::size_t j = 0; j < samples; ++j)
            row[j] = std::bit_cast<float>(__builtin_bswap32(std::bit_cast<std::uint32_t>(row[j])));
    }
}

// The fewest bytes that the pixels of a whole file take.
bool is_long_enough(const Header& header, std::int64_t available) {
    std::int64_t row = header.cols * header.channels;
    switch (header.magic) {
    case '1':
        break;
    case '2':
    case '3':
        row = 2 * row - 1; // a digit and a blank each
        break;
    case '4':
        row = (row + 7) / 8;
        break;
    case 'F':
    case 'f':
        row *= 4;
        break;
    default:
        row *= header.maximum > 255 ? 2 : 1;
    }
    return available / row >= header.rows;
}

Picture read_portable_map(const ReadRequest& request) {
    request.check_page(1);
    SourceStream stream(request.source);
    const Header header = read_header(stream, request);
    if (!request.allow_truncated && !is_long_enough(header, stream.left()))
        request.fail_truncated();
    const int colours = header.channels - (header.has_alpha ? 1 : 0);
    const bool is_float = is_float_map(header);
    Picture picture;
    picture.is_float = is_float;
    picture.bits = is_float ? 32 : header.maximum == 1 ? 1 : header.maximum <= 255 ? 8 : 16;
    picture.image = request.make_image(header.rows, header.cols,
                                       colours == 3 ? ImageType::colour : ImageType::gray,
                                       is_float                ? PixelFormat::float32
                                       : header.maximum <= 255 ? PixelFormat::byte
                                                               : PixelFormat::int16,
                                       is_float || header.maximum > 255 ? 2 : 1);
    CImage& image = *picture.image;
    if (is_float) {
        read_floats(stream, request, header, image);
        return picture;
    }
    if (header.maximum > 1 && header.maximum != 255 && header.maximum != 65535)
        picture.facts.emplace_back("maximum", std::to_string(header.maximum));
    RowReader rows(stream, request, header);
    std::vector<float> with_alpha(
        header.has_alpha ? static_cast<std::size_t>(header.cols) * header.channels : 0);
    const float white = header.maximum <= 255 ? 255.0f : static_cast<float>(header.maximum);
    for (int i = 0; i < image.nrows; ++i) {
        rows.read(header.has_alpha ? with_alpha.data() : image.pixels[i]);
        if (header.has_alpha)
            flatten_row(with_alpha.data(), image.pixels[i], static_cast<std::size_t>(header.cols),
                        colours, white);
    }
    if (header.has_alpha)
        picture.facts.emplace_back("transparency", "laid over white");
    if (header.magic == '5' || header.magic == '6')
        image.file_format = header.magic == '5' ? FileFormat::pgm : FileFormat::ppm;
    return picture;
}

// Writing

class MapFile {
public:
    explicit MapFile(const WriteRequest& request)
        : request_(request), file_(open_file(request.path.c_str(), "wb")) {
        if (!file_)
            request.fail("can't be written");
    }
    ~MapFile() {
        if (file_)
            std::fclose(file_);
    }
    MapFile(const MapFile&) = delete;
    MapFile& operator=(const MapFile&) = delete;

    std::FILE* get() { return file_; }
    void put(const void* bytes, std::size_t count) {
        if (std::fwrite(bytes, 1, count, file_) < count)
            request_.fail("can't be written: the disk may be full");
    }
    void close() {
        if (std::fclose(std::exchange(file_, nullptr)) != 0)
            request_.fail("can't be written: the disk may be full");
    }

private:
    const WriteRequest& request_;
    std::FILE* file_;
};

// Whole numbers of 8 or 16 bits, each repeated `repeats` times.
void put_rows(MapFile& file, const SampleRows& samples, std::size_t repeats) {
    const std::size_t count = samples.row_samples();
    const bool is_wide = samples.depth() == Depth::bits16;
    const std::size_t unit = is_wide ? 2 : 1;
    std::vector<std::uint16_t> words(is_wide ? count : 0);
    std::vector<std::uint8_t> bytes(count * unit * repeats);
    for (int i = 0; i < samples.rows(); ++i) {
        if (is_wide) {
            samples.words(i, words.data());
            std::uint8_t* out = bytes.data();
            for (const std::uint16_t word : words) {
                for (std::size_t k = 0; k < repeats; ++k) {
                    *out++ = static_cast<std::uint8_t>(word >> 8);
                    *out++ = static_cast<std::uint8_t>(word & 255);
                }
            }
        } else {
            samples.bytes(i, bytes.data());
            for (std::size_t j = count; repeats > 1 && j-- > 0;) // from the back
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(j * repeats), repeats,
                            bytes[j]);
        }
        file.put(bytes.data(), bytes.size());
    }
    file.close();
}

int maximum_of(const SampleRows& samples) {
    return samples.depth() == Depth::bits16 ? 65535 : 255;
}

void write_pnm(const WriteRequest& request, bool as_colour) {
    const SampleRows& samples = request.samples;
    MapFile file(request);
    std::fprintf(file.get(), "%s\n%d %d\n%d\n", as_colour ? "P6" : "P5", samples.cols(),
                 samples.rows(), maximum_of(samples));
    put_rows(file, samples, as_colour && samples.channels() == 1 ? 3 : 1);
}

void write_pgm(const WriteRequest& request) {
    write_pnm(request, false);
}

void write_ppm(const WriteRequest& request) {
    write_pnm(request, true);
}

void write_any_map(const WriteRequest& request) {
    write_pnm(request, request.samples.channels() == 3);
}

void write_pam(const WriteRequest& request) {
    const SampleRows& samples = request.samples;
    MapFile file(request);
    std::fprintf(file.get(), "P7\nWIDTH %d\nHEIGHT %d\nDEPTH %d\nMAXVAL %d\nTUPLTYPE %s\nENDHDR\n",
                 samples.cols(), samples.rows(), samples.channels(), maximum_of(samples),
                 samples.channels() == 3 ? "RGB" : "GRAYSCALE");
    put_rows(file, samples, 1);
}

void write_pbm(const WriteRequest& request) {
    const SampleRows& samples = request.samples;
    MapFile file(request);
    std::fprintf(file.get(), "P4\n%d %d\n", samples.cols(), samples.rows());
    std::vector<std::uint8_t> bytes(samples.row_samples());
    std::vector<std::uint8_t> bits((bytes.size() + 7) / 8);
    for (int i = 0; i < samples.rows(); ++i) {
        samples.bytes(i, bytes.data());
        std::fill(bits.begin(), bits.end(), std::uint8_t{0});
        for (std::size_t j = 0; j < bytes.size(); ++j) {
            if (bytes[j] != 0 && bytes[j] != 255)
                request.fail("PBM holds black and white only, 0 and 255; apply a threshold before, "
                             "or write .pgm");
            if (bytes[j] == 0)
                bits[j / 8] = static_cast<std::uint8_t>(bits[j / 8] | 128 >> j % 8);
        }
        file.put(bits.data(), bits.size());
    }
    file.close();
}

void write_pfm(const WriteRequest& request) {
    const SampleRows& samples = request.samples;
    MapFile file(request);
    std::fprintf(file.get(), "%s\n%d %d\n-1.0\n", samples.channels() == 3 ? "PF" : "Pf",
                 samples.cols(), samples.rows());
    std::vector<float> row(samples.row_samples());
    for (int i = samples.rows() - 1; i >= 0; --i) {
        samples.floats(i, row.data());
        file.put(row.data(), row.size() * sizeof(float));
    }
    file.close();
}

constexpr std::string_view pbm_endings[] = {".pbm"};
constexpr std::string_view pgm_endings[] = {".pgm"};
constexpr std::string_view ppm_endings[] = {".ppm"};
constexpr std::string_view pnm_endings[] = {".pnm"};
constexpr std::string_view pam_endings[] = {".pam"};
constexpr std::string_view pfm_endings[] = {".pfm"};

constexpr Format table[] = {
    {.name = "PBM",
     .endings = pbm_endings,
     .read = read_portable_map,
     .write = write_pbm,
     .colour = false},
    {.name = "PGM",
     .endings = pgm_endings,
     .read = read_portable_map,
     .write = write_pgm,
     .colour = false,
     .bits16 = true},
    {.name = "PPM",
     .endings = ppm_endings,
     .read = read_portable_map,
     .write = write_ppm,
     .bits16 = true},
    {.name = "PNM",
     .endings = pnm_endings,
     .read = read_portable_map,
     .write = write_any_map,
     .bits16 = true},
    {.name = "PAM",
     .endings = pam_endings,
     .read = read_portable_map,
     .write = write_pam,
     .bits16 = true},
    {.name = "PFM",
     .endings = pfm_endings,
     .read = read_portable_map,
     .write = write_pfm,
     .bits8 = false,
     .float32 = true},
};

} // namespace

std::span<const Format> portable_map_formats() {
    return table;
}

} // namespace vorlane::host
