// Descriptions V1 and V2, in and out.
#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

#include "host/natural_parts.h"
#include "host/pending_file.h"
#include "host/pictures.h"
#include "host/source.h"
#include "host/volumes/parts.h"

namespace vorlane::host {

namespace {

namespace fs = std::filesystem;

std::string trimmed(const std::string& text) {
    const auto is_blank = [](unsigned char c) { return std::isspace(c) != 0; };
    const auto first = std::find_if_not(text.begin(), text.end(), is_blank);
    const auto last = std::find_if_not(text.rbegin(), text.rend(), is_blank).base();
    return first < last ? std::string(first, last) : "";
}

class Description {
public:
    explicit Description(const std::string& path) : path_(path) {
        Source source(path);
        std::string text(1 << 16, '\0');
        text.resize(source.read(0, text.data(), text.size()));
        for (std::size_t at = 0; at < text.size() && lines_.size() < 6;) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            lines_.push_back(text.substr(at, end - at));
            at = end + 1;
        }
        lines_.resize(6);
    }

    bool is_series() const { return lines_[0].starts_with("V1"); }

    // The value of a line, from 2 on, which must begin with the key.
    std::string text(int line, const std::string& key) const {
        const std::string& whole = lines_[static_cast<std::size_t>(line - 1)];
        if (!whole.starts_with(key + "="))
            throw Error(path_ + ": line " + std::to_string(line) + " must begin with " + key + "=");
        return trimmed(whole.substr(key.size() + 1));
    }

    int number(int line, const std::string& key, int least) const {
        const std::string value = text(line, key);
        char* end = nullptr;
        const long number = std::strtol(value.c_str(), &end, 10);
        if (end == value.c_str() || number < least || number > 1 << 24)
            throw Error(path_ + ": line " + std::to_string(line) + ": " + key +
                        " must be a number from " + std::to_string(least) + " to 16777216, not \"" +
                        value + "\"");
        return static_cast<int>(number);
    }

    // A name as it stands, or from the description's folder, or moved there with it. A name is all
    // of its line; what the library would read is its first word.
    std::string found(const std::string& name) const {
        const fs::path folder = path_of(path_).parent_path();
        const std::string word = name.substr(0, name.find_first_of(" \t"));
        std::error_code error;
        for (const std::string& spelling : {name, word}) {
            for (const fs::path& place : {path_of(spelling), folder / path_of(spelling),
                                          folder / path_of(spelling).filename()}) {
                if (!spelling.empty() && fs::exists(place, error))
                    return utf8_of(place);
            }
        }
        throw Error(path_ + ": there is no file or folder " + name + ", neither as it stands nor " +
                    "beside the description");
    }

private:
    std::string path_;
    std::vector<std::string> lines_;
};

// Slice n of a series: PREFIXnSUFFIX, on disk with or without zeros before the number.
std::string slice_name(const fs::path& folder, const std::string& prefix, int n,
                       const std::string& suffix) {
    std::string digits = std::to_string(n);
    std::string plain = utf8_of(folder / path_of(prefix + digits + suffix));
    constexpr std::size_t longest = 8;
    std::error_code error;
    while (digits.size() <= longest) {
        std::string name = utf8_of(folder / path_of(prefix + digits + suffix));
        if (fs::exists(path_of(name), error))
            return name;
        digits.insert(digits.begin(), '0');
    }
    return plain;
}

Volume open_series(const std::string& path, const Description& description,
                   const OpenVolumeOptions& options) {
    const std::string named = description.text(2, "directory");
    const fs::path folder = named.empty() ? fs::path(".") : path_of(description.found(named));
    const std::string prefix = description.text(3, "prefix");
    const int first = description.number(4, "start slice", 0);
    const int last = description.number(5, "end slice", 0);
    const std::string suffix = description.text(6, "suffix");
    if (last < first)
        throw Error(path + ": its end slice lies before its start slice");
    Volume result;
    std::vector<ImagePtr> slices;
    std::vector<std::string> names;
    std::string missing;
    for (int n = first; n <= last; ++n) {
        if (options.progress)
            options.progress(n - first, last - first + 1);
        const std::string name = slice_name(folder, prefix, n, suffix);
        try {
            Picture picture = open_picture(name);
            if (slices.empty()) {
                result.format = "a series of " + picture.format + " pictures";
                result.row_spacing = picture.row_spacing;
                result.col_spacing = picture.col_spacing;
            }
            slices.push_back(std::move(picture.image));
            names.push_back(name);
        } catch (const Error& error) {
            if (!options.leave_out)
                throw;
            if (missing.empty())
                missing = error.what();
        }
    }
    if (slices.empty())
        throw Error(missing);
    const int count = last - first + 1;
    if (const int lacking = count - static_cast<int>(slices.size()); lacking > 0)
        result.notes.push_back(path + ": " + std::to_string(lacking) + " of " +
                               std::to_string(count) +
                               " slices can't be read and are left out; the first: " + missing);
    result.volume = volume_of(std::move(slices), names);
    result.volume->file_format = FileFormat::v1;
    return result;
}

struct Encoding {
    int size; // as a description states it
    int bytes;
    int pixel_format;
    const char* name;
};
constexpr Encoding encodings[] = {{1, 1, PixelFormat::byte, "unsigned bytes"},
                                  {2, 2, PixelFormat::int16, "signed 16-bit integers"},
                                  {4, 4, PixelFormat::int32, "signed 32-bit integers"},
                                  {40, 4, PixelFormat::float32, "32-bit floats"}};

// Low byte first.
float decoded(const unsigned char* bytes, const Encoding& encoding) {
    std::uint32_t word = 0;
    for (int n = 0; n < encoding.bytes; ++n)
        word |= std::uint32_t{bytes[n]} << (8 * n);
    switch (encoding.pixel_format) {
    case PixelFormat::byte:
        return static_cast<float>(word);
    case PixelFormat::int16:
        return static_cast<float>(static_cast<std::int16_t>(word));
    case PixelFormat::int32:
        return static_cast<float>(static_cast<std::int32_t>(word));
    default:
        return std::bit_cast<float>(word);
    }
}

std::uint32_t encoded(float value, const Encoding& encoding) {
    if (encoding.pixel_format == PixelFormat::float32)
        return std::bit_cast<std::uint32_t>(value);
    const bool is_byte = encoding.pixel_format == PixelFormat::byte;
    const double high = is_byte ? 255.0 : std::ldexp(1.0, 8 * encoding.bytes - 1) - 1.0;
    const double low = is_byte ? 0.0 : -high - 1.0;
    const double inside = value > low ? std::min(double{value}, high) : low;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::nearbyint(inside)));
}

Volume open_raw(const std::string& path, const Description& description,
                const OpenVolumeOptions& options) {
    const std::string data = description.found(description.text(2, "file"));
    const int slices = description.number(3, "nbf", 1);
    const int rows = description.number(4, "row", 1);
    const int cols = description.number(5, "col", 1);
    const int size = description.number(6, "size", 1);
    const auto* const encoding =
        std::find_if(std::begin(encodings), std::end(encodings),
                     [&](const Encoding& candidate) { return candidate.size == size; });
    if (encoding == std::end(encodings))
        throw Error(path + ": line 6: size must be 1, 2, 4 or 40, not " + std::to_string(size));
    Source source(data);
    const std::int64_t row_bytes = std::int64_t{encoding->bytes} * cols;
    const std::int64_t slice_bytes = row_bytes * rows; // below 2^50
    const std::int64_t held = source.size() / slice_bytes;
    if (held < slices && !options.leave_out)
        throw Error(data + ": is cut short: it holds " + std::to_string(held) + " of the " +
                    std::to_string(slices) + " slices that " + path + " states");
    const int count = static_cast<int>(std::min<std::int64_t>(held, slices));
    if (count == 0)
        throw Error(data + ": holds no whole slice");
    Volume result;
    result.format = std::string("raw data, ") + encoding->name;
    if (count < slices)
        result.notes.push_back(data + ": is cut short; " + std::to_string(slices - count) + " of " +
                               std::to_string(slices) + " slices are left out");
    else if (source.size() > slice_bytes * slices)
        result.notes.push_back(data + ": holds " +
                               std::to_string(source.size() - slice_bytes * slices) +
                               " bytes more than " + path + " states");
    result.volume = make_volume(count, rows, cols);
    result.volume->pixel_format = encoding->pixel_format;
    result.volume->file_format = FileFormat::v2;
    std::vector<unsigned char> row(static_cast<std::size_t>(row_bytes));
    SourceStream stream(source);
    for (int k = 0; k < count; ++k) {
        if (options.progress)
            options.progress(k, count);
        CImage& slice = result.volume->slices[k];
        slice.pixel_format = encoding->pixel_format;
        for (int i = 0; i < rows; ++i) {
            if (stream.read(row.data(), row.size()) < row.size())
                throw Error(data + ": can't be read to its end");
            for (int j = 0; j < cols; ++j)
                slice.pixels[i][j] =
                    decoded(row.data() + std::ptrdiff_t{j} * encoding->bytes, *encoding);
        }
    }
    return result;
}

class OutputStream {
public:
    OutputStream(const PendingFile& file, std::string name)
        : name_(std::move(name)), stream_(open_file(file.path().c_str(), "wb")) {
        if (!stream_)
            fail();
    }
    ~OutputStream() {
        if (stream_)
            std::fclose(stream_);
    }
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    void write(const void* from, std::size_t count) {
        if (std::fwrite(from, 1, count, stream_) < count)
            fail();
    }
    void close() {
        if (std::fclose(std::exchange(stream_, nullptr)) != 0)
            fail();
    }

private:
    [[noreturn]] void fail() const { throw Error(name_ + ": Can't write all the data"); }
    std::string name_;
    std::FILE* stream_;
};

} // namespace

Volume open_description(const std::string& path, const OpenVolumeOptions& options) {
    const Description description(path);
    return description.is_series() ? open_series(path, description, options)
                                   : open_raw(path, description, options);
}

void save_volume(const CVolume& volume, const std::string& path, const SaveVolumeOptions& options) {
    check_volume(volume);
    const auto* const encoding =
        std::find_if(std::begin(encodings), std::end(encodings), [&](const Encoding& candidate) {
            return candidate.pixel_format == options.pixel_format;
        });
    if (encoding == std::end(encodings))
        throw UsageError("samples of a volume are bytes, 16-bit, 32-bit integers or floats");
    const std::string data = utf8_of(path_of(path).replace_extension(".raw"));
    if (data == path || path == "-")
        throw UsageError(path + ": name the description, such as out.txt; its data goes to a .raw "
                                "file beside it");
    std::error_code error;
    if (!options.force && fs::exists(path_of(data), error))
        throw UsageError(data +
                         ": is there already, beside the description; --force overwrites it");
    const std::string name = utf8_of(fs::absolute(path_of(data)).lexically_normal());
    if (name.find('\n') != std::string::npos)
        throw UsageError(path + ": a description can't hold a name of two lines");
    PendingFile data_file(data);
    PendingFile description(path);
    OutputStream samples(data_file, data);
    std::vector<unsigned char> row;
    for (int k = 0; k < volume.nslices; ++k) {
        if (options.progress)
            options.progress(k, volume.nslices);
        for (int i = 0; i < volume.nrows; ++i) {
            row.clear();
            for (int j = 0; j < volume.ncols; ++j) {
                const std::uint32_t word = encoded(volume.slices[k].pixels[i][j], *encoding);
                for (int n = 0; n < encoding->bytes; ++n)
                    row.push_back(static_cast<unsigned char>(word >> (8 * n)));
            }
            samples.write(row.data(), row.size());
        }
    }
    samples.close();
    OutputStream text(description, path);
    const std::string lines = "V2\nfile=" + name + "\nnbf=" + std::to_string(volume.nslices) +
                              "\nrow=" + std::to_string(volume.nrows) +
                              "\ncol=" + std::to_string(volume.ncols) +
                              "\nsize=" + std::to_string(encoding->size) + "\n";
    text.write(lines.data(), lines.size());
    text.close();
    data_file.commit();
    description.commit();
}

} // namespace vorlane::host
