#include <vorlane/bytes/blocks.h>
#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/text_lines.h>
#include <vorlane/platform/system_files.h>
#include <vorlane/volume/volume.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include <vorlane/bytes/samples.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/image/plane.h>
#include <vorlane/imagefiles/image_files.h>

namespace {

using namespace vorlane;

constexpr std::size_t line_size = 256; // of which 255 bytes are text
constexpr std::size_t longest_name = 99;
constexpr std::size_t text_size = longest_name + 2;

int fail() {
    show_failure("Can't open file");
    return 0;
}

bool is_blank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// What stands behind `key` at the start of a line, or null. A blank in the key stands for any
// number of them, also none, as in a scan format.
const char* value_of(const char* line, const char* key) {
    for (; *key; ++key) {
        if (is_blank(*key)) {
            while (is_blank(*line))
                ++line;
        } else if (*line++ != *key) {
            return nullptr;
        }
    }
    return line;
}

// The lines of a description, told apart by their place.
class Description {
public:
    explicit Description(const char* path) : file_(open_file(path, "rb")) { next_line(); }

    bool is_open() const { return file_ != nullptr; }

    void read(const char* key, char (&text)[text_size]) {
        const char* value = next_value(key);
        if (!value)
            return;
        while (is_blank(*value))
            ++value;
        if (!*value)
            return;
        std::size_t length = 0;
        // One byte more than a name may have tells a text that is too long.
        for (; value[length] && !is_blank(value[length]) && length < text_size - 1; ++length)
            text[length] = value[length];
        text[length] = '\0';
    }

    void read(const char* key, int& number) {
        if (const char* const value = next_value(key))
            scan_ints(value, &number, 1);
    }

private:
    void next_line() {
        if (file_)
            read_line(file_.get(), line_, sizeof line_);
    }

    const char* next_value(const char* key) {
        next_line();
        return value_of(line_, key);
    }

    FileHandle file_;
    char line_[line_size] = "";
};

// Every slice and every row takes memory of its own, however few samples it has: a row a table
// entry and a cache line, a slice some rows more.
bool stack_is_believable(Index rows, Index cols, Index slices, Index bytes_per_sample,
                         Index available) {
    constexpr Index samples_per_row = 16;
    constexpr Index rows_per_slice = 4;
    return rows > 0 && cols > 0 &&
           header_is_believable(rows, cols, slices, 1, bytes_per_sample, available) &&
           header_is_believable(rows + rows_per_slice, samples_per_row, slices, 1, bytes_per_sample,
                                available);
}

// The code of a sample on file; any other size keeps the code that was there.
int pixel_format_of(int size, int otherwise) {
    switch (size) {
    case 1:
        return PixelFormat::byte;
    case 2:
        return PixelFormat::int16;
    case 4:
        return PixelFormat::int32;
    case 40:
        return PixelFormat::float32;
    default:
        return otherwise;
    }
}

// Fills a slice whose plane was made with `fill`. What the file lacks is 0.
void read_slice(BlockReader& reader, CImage& slice, Fill fill) {
    const auto cols = static_cast<std::size_t>(slice.ncols);
    auto [row, at] =
        read_unit_rows(reader, slice.nrows, cols, sample_size(slice.pixel_format),
                       [&](int i, std::size_t j, std::size_t count, const unsigned char* bytes) {
                           decode_samples(slice.pixel_format, bytes, slice.pixels[i] + j, count);
                           return true;
                       });
    for (; fill == Fill::none && row < slice.nrows; ++row, at = 0)
        std::fill(slice.pixels[row] + at, slice.pixels[row] + cols, 0.0f);
}

} // namespace

int CVolume::ReadVolume(const char* path) {
    char line[line_size];
    {
        const FileHandle file(open_file(path, "rb"));
        if (!file)
            return fail();
        read_line(file.get(), line, sizeof line);
    }
    if (are_equal(line, "V1"))
        return ReadV1Volume(path);
    if (are_equal(line, "V2"))
        return ReadV2Volume(path);
    return 0;
}

int CVolume::ReadV1Volume(const char* path) {
    char directory[text_size] = "";
    char prefix[text_size] = "";
    char suffix[text_size] = "";
    int start = 0;
    int end = 0;
    {
        Description description(path);
        if (!description.is_open())
            return 0;
        description.read("directory=", directory);
        description.read("prefix=", prefix);
        description.read("start slice=", start);
        description.read("end slice=", end);
        description.read("suffix=", suffix);
    }
    const Index count = Index{end} - start + 1;
    const auto remake_slices = [&] {
        make_slices(static_cast<int>(count));
        return true;
    };
    if (!stack_is_believable(1, 1, count, 1, 0) || !guarded(remake_slices))
        return fail();
    nslices = static_cast<int>(count);
    for (int k = 0; k < nslices; ++k) {
        char name[text_size];
        const int length =
            std::snprintf(name, sizeof name, "%s/%s%d%s", directory, prefix, start + k, suffix);
        // What doesn't fit would name another file.
        if (static_cast<std::size_t>(length) <= longest_name)
            slices[k].ReadImage(name);
        else
            show_failure("CImage: Can't open file");
    }
    nrows = slices[0].nrows;
    ncols = slices[0].ncols;
    image_type = slices[0].image_type;
    pixel_format = slices[0].pixel_format;
    file_format = FileFormat::v1;
    return 1;
}

int CVolume::ReadV2Volume(const char* path) {
    char name[text_size] = "";
    int size = 0;
    {
        Description description(path);
        if (!description.is_open())
            return 0;
        description.read("file=", name);
        description.read("nbf=", nslices);
        description.read("row=", nrows);
        description.read("col=", ncols);
        description.read("size=", size);
    }
    file_format = FileFormat::v2;
    pixel_format = pixel_format_of(size, pixel_format);

    const FileHandle file(std::strlen(name) <= longest_name ? open_file(name, "rb") : nullptr);
    if (!file)
        return fail();
    const Index available = bytes_left(file.get());
    const auto unit = static_cast<Index>(sample_size(pixel_format));
    if (!stack_is_believable(nrows, ncols, nslices, std::max<Index>(unit, 1), available))
        return fail();
    const auto read_slices = [&] {
        make_slices(nslices);
        BlockReader reader(file.get());
        // Planes that the file doesn't fill are made of zeros, which take memory only when touched.
        const Index slice_bytes = Index{nrows} * ncols * unit;
        Index left = available;
        PlaneStack whole_slices(nrows, ncols, Fill::none, nslices);
        for (int k = 0; k < nslices; ++k, left -= slice_bytes) {
            CImage& slice = slices[k];
            slice.nrows = nrows;
            slice.ncols = ncols;
            slice.pixel_format = pixel_format;
            slice.file_format = FileFormat::raw;
            const Fill fill = unit > 0 && left >= slice_bytes ? Fill::none : Fill::zeros;
            Plane plane = fill == Fill::none ? whole_slices.next() : Plane(nrows, ncols);
            slice.pixels = plane.release();
            if (unit > 0)
                read_slice(reader, slice, fill);
        }
        return true;
    };
    if (guarded(read_slices))
        return 1;
    make_slices(0);
    return fail();
}
