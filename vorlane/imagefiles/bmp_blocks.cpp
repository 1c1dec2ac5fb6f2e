#include <vorlane/imagefiles/bmp_blocks.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <vorlane/bytes/gate.h>
#include <vorlane/image/failure.h>

namespace vorlane {

namespace {

constexpr std::uint32_t file_header_size = 14;
constexpr std::uint16_t magic = 0x4D42; // "BM"
constexpr std::int64_t most_palette_colours = 256;
constexpr std::int64_t colour_size = sizeof(RGBQUAD);
constexpr std::int64_t largest_int = std::numeric_limits<int>::max();
constexpr std::int64_t largest_size = std::numeric_limits<std::uint32_t>::max();

// Zeros, so that what no one writes has a value; at least one byte.
Bytes make_bytes(std::int64_t size) {
    Bytes block(static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(size) + 1, 1)));
    if (!block)
        throw std::bad_alloc();
    return block;
}

// What stands in front of the information block in a file.
struct FileHeader {
    std::uint16_t type;
    std::uint32_t size;
    std::uint32_t pixels_at;
};

FileHeader parse_file_header(const unsigned char* bytes) {
    FileHeader header;
    std::memcpy(&header.type, bytes, 2);
    std::memcpy(&header.size, bytes + 2, 4);
    std::memcpy(&header.pixels_at, bytes + 10, 4);
    return header;
}

void put_file_header(const FileHeader& header, unsigned char* bytes) {
    std::memset(bytes, 0, file_header_size);
    std::memcpy(bytes, &header.type, 2);
    std::memcpy(bytes + 2, &header.size, 4);
    std::memcpy(bytes + 10, &header.pixels_at, 4);
}

// The colours that a depth has by itself.
std::int64_t colours_of_depth(int bit_count) {
    return bit_count < 31 ? std::int64_t{1} << bit_count : largest_int;
}

// The entries that a header promises.
std::int64_t promised_colours(const BITMAPINFOHEADER& header) {
    const std::int64_t count =
        header.biClrUsed != 0 ? header.biClrUsed : colours_of_depth(header.biBitCount);
    return std::min(count, largest_int);
}

bool has_indices(const BITMAPINFOHEADER& header) {
    return header.biBitCount <= 8;
}

// Makes the header say what the `length` bytes of its block hold.
void make_true(BITMAPINFOHEADER& header, std::int64_t length) {
    const std::int64_t colours = has_indices(header) ? promised_colours(header) : 0;
    const std::int64_t long_header = header_length(header);
    const bool table_fits = long_header + colour_size * colours <= length;
    const bool fits_plain = plain_header + colour_size * colours <= length;
    if (long_header > length || (!table_fits && fits_plain))
        header.biSize = plain_header;
    else
        header.biSize = static_cast<std::uint32_t>(long_header);
    if (table_offset(header) > length)
        header.biCompression = 0; // no masks are there
    const std::int64_t there = (length - table_offset(header)) / colour_size;
    const std::int64_t room = has_indices(header) ? most_palette_colours : 0;
    if (header.biClrUsed > std::max(there, room))
        header.biClrUsed = static_cast<std::uint32_t>(
            std::max(there, has_indices(header) ? colours_of_depth(header.biBitCount) : 0));
}

// Bytes of a block whose `rows` rows stand `pitch` bytes apart and can all be read to their end,
// whatever biSizeImage says.
std::int64_t readable_size(const BITMAPINFOHEADER& header, std::int64_t rows, std::int64_t pitch) {
    const std::int64_t last_row =
        std::max(word_aligned_row(header.biWidth, header.biBitCount), pitch);
    return (rows - 1) * pitch + last_row;
}

// False at the end of the file.
bool read_whole(CFile& file, unsigned char* to, std::int64_t size) {
    return file.Read(to, static_cast<unsigned>(size)) == size;
}

BitmapBlocks refuse() {
    show_failure("Invalid bitmap file");
    return {};
}

// The entries of the colour table that a bitmap has. Beyond 256 the header has the last word: a
// count that came from a file may promise more than there was.
std::int64_t colours_to_write(const BITMAPINFOHEADER& header, int ncolors) {
    const std::int64_t counted = std::max(ncolors, 0);
    if (!has_indices(header))
        return std::min<std::int64_t>(counted, header.biClrUsed);
    return counted <= most_palette_colours ? counted : std::min(counted, promised_colours(header));
}

// The last header has room for a colour profile, which stood behind the pixels and isn't kept.
void drop_profile(unsigned char* header) {
    constexpr std::size_t colour_space_at = 56, profile_at = 112, profile_end = 120;
    constexpr std::uint32_t linked = 0x4C494E4B, embedded = 0x4D424544, srgb = 0x73524742;
    std::uint32_t space;
    std::memcpy(&space, header + colour_space_at, sizeof space);
    if (space == linked || space == embedded)
        std::memcpy(header + colour_space_at, &srgb, sizeof srgb);
    std::memset(header + profile_at, 0, profile_end - profile_at);
}

} // namespace

BitmapBlocks make_bitmap(int width, int height, int bit_count, Bytes bits,
                         std::uint32_t size_before) {
    constexpr int largest_depth = std::numeric_limits<std::uint16_t>::max();
    if (width < 1 || height < 1 || bit_count < 1 || bit_count > largest_depth)
        return {};
    const std::int64_t row = word_aligned_row(width, bit_count);
    if (row > largest_int || row > largest_size / height)
        return {};
    BitmapBlocks made;
    made.header = make_bytes(plain_header + colour_size * most_palette_colours);
    made.bits = bits && size_before == row * height ? std::move(bits) : make_bytes(row * height);
    made.image_size = static_cast<std::uint32_t>(row * height);
    made.ncolors = bit_count == 8 ? most_palette_colours : 0;
    made.width = width;
    made.height = height;
    made.row_bytes = static_cast<int>(row);
    made.pixel_bytes = bit_count >> 3;
    BITMAPINFOHEADER& fields = info_of(made.header.get())->bmiHeader;
    fields.biSize = plain_header;
    fields.biWidth = width;
    fields.biHeight = height;
    fields.biPlanes = 1;
    fields.biBitCount = static_cast<std::uint16_t>(bit_count);
    fields.biClrUsed = fields.biClrImportant = static_cast<std::uint32_t>(made.ncolors);
    return made;
}

BitmapBlocks read_bitmap(CFile& file) {
    unsigned char file_bytes[file_header_size];
    if (!read_whole(file, file_bytes, file_header_size)) {
        show_failure("Read error 1");
        return {};
    }
    const FileHeader file_header = parse_file_header(file_bytes);
    if (file_header.type != magic || file_header.pixels_at < file_header_size + plain_header)
        return refuse();

    const std::int64_t info_size = file_header.pixels_at - file_header_size;
    std::int64_t left = file.GetLength() - file.GetPosition();
    if (!header_is_believable(1, info_size, 1, 1, 1, left))
        return refuse();
    constexpr std::int64_t smallest_block = largest_header + colour_size * most_palette_colours;
    BitmapBlocks found;
    found.header = make_bytes(std::max(info_size, smallest_block));
    const std::int64_t info_read = file.Read(found.header.get(), static_cast<unsigned>(info_size));
    if (info_read < plain_header)
        return refuse();
    left = file.GetLength() - file.GetPosition();

    BITMAPINFOHEADER& fields = info_of(found.header.get())->bmiHeader;
    const bool top_down = fields.biHeight < 0;
    const std::int64_t rows = std::abs(std::int64_t{fields.biHeight});
    if (fields.biWidth < 1 || rows < 1 || rows > largest_int)
        return refuse();
    const std::int64_t natural_row = word_aligned_row(fields.biWidth, fields.biBitCount);
    if (natural_row > largest_int)
        return refuse();
    const std::int64_t size =
        fields.biSizeImage != 0 ? std::int64_t{fields.biSizeImage} : rows * natural_row;
    const std::int64_t pitch = size / rows;
    if (size > largest_size || pitch > largest_int ||
        !header_is_believable(rows, natural_row, 1, 1, 1, left) ||
        !header_is_believable(1, size, 1, 1, 1, left))
        return refuse();
    found.bits = make_bytes(std::max(size, readable_size(fields, rows, pitch)));
    unsigned char* const bits = found.bits.get();
    if (top_down) {
        std::int64_t r = rows;
        while (r > 0 && pitch > 0 && read_whole(file, bits + (r - 1) * pitch, pitch))
            --r;
        if (r == 0 || pitch == 0)
            read_whole(file, bits + rows * pitch, size - rows * pitch);
        fields.biHeight = static_cast<std::int32_t>(rows);
    } else {
        read_whole(file, bits, size);
    }
    found.image_size = static_cast<std::uint32_t>(size);
    found.ncolors = static_cast<int>(promised_colours(fields));
    found.width = fields.biWidth;
    found.height = fields.biHeight;
    found.row_bytes = static_cast<int>(pitch);
    found.pixel_bytes = fields.biBitCount >> 3;
    make_true(fields, info_read);
    return found;
}

void write_bitmap(CFile& file, const unsigned char* header, const unsigned char* bits,
                  std::uint32_t image_size, int ncolors) {
    const BITMAPINFOHEADER& fields = info_of(header)->bmiHeader;
    const std::int64_t header_size = header_length(fields);
    const std::int64_t behind_header =
        mask_length(fields) + colour_size * colours_to_write(fields, ncolors);
    const auto pixels_at =
        static_cast<std::uint32_t>(file_header_size + header_size + behind_header);
    unsigned char start[file_header_size + largest_header];
    put_file_header({magic, pixels_at + image_size, pixels_at}, start);
    std::memcpy(start + file_header_size, header, static_cast<std::size_t>(header_size));
    if (header_size == largest_header)
        drop_profile(start + file_header_size);
    file.Write(start, static_cast<unsigned>(file_header_size + header_size));
    file.Write(header + header_size, static_cast<unsigned>(behind_header));
    file.Write(bits, image_size);
}

} // namespace vorlane
