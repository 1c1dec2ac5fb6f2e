#include <vorlane/bitmap/dib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/bytes/input_file.h>
#include <vorlane/image/failure.h>
#include <vorlane/platform/bitmap_layout.h>

namespace {

using namespace vorlane;

constexpr std::uint32_t file_header_size = 14;
constexpr std::uint32_t info_header_size = 40;
constexpr std::uint16_t magic = 0x4D42; // "BM"
static_assert(sizeof(BITMAPINFOHEADER) == info_header_size);

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};
using BlockHandle = std::unique_ptr<unsigned char, FreeBlock>;

// Zeros, so that what no one writes has a value; at least one byte.
BlockHandle make_block(std::int64_t size) {
    return BlockHandle(
        static_cast<unsigned char*>(std::calloc(static_cast<std::size_t>(size) + 1, 1)));
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

bool is_depth(int bit_count) {
    constexpr int depths[] = {1, 2, 4, 8, 16, 24, 32};
    return std::find(std::begin(depths), std::end(depths), bit_count) != std::end(depths);
}

constexpr std::int64_t largest_int = std::numeric_limits<int>::max();

// The entries that a header promises.
int count_colours(const BITMAPINFOHEADER& header) {
    const std::int64_t count = header.biClrUsed != 0 ? std::int64_t{header.biClrUsed}
                                                     : std::int64_t{1} << header.biBitCount;
    return static_cast<int>(std::min(count, largest_int));
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

int refuse() {
    show_failure("Invalid bitmap file");
    return 0;
}

} // namespace

constinit CRuntimeClass CDib::classCDib = {
    "CDib", sizeof(CDib), 0, CDib::CreateObject, CObject::_GetBaseClass, nullptr};

CObject* CDib::CreateObject() {
    return new (std::nothrow) CDib;
}

CRuntimeClass* CDib::GetRuntimeClass() const {
    return &classCDib;
}

CDib::CDib()
    : header(nullptr), bits(nullptr), palette(nullptr), image_size(0), ncolors(0), width(0),
      height(0), row_bytes(0), pixel_bytes(0), table_limit_(std::numeric_limits<int>::max()) {}

CDib::CDib(int columns, int rows, int bit_count) : CDib() {
    allocate(columns, rows, bit_count);
}

CDib::~CDib() {
    std::free(header);
    std::free(bits);
    delete palette;
}

// Makes the blocks of a bitmap, in place of those that it has; a pixel block of the right size stays
// as it is. If that can't be, false, and the bitmap is empty.
bool CDib::allocate(int columns, int rows, int bit_count) {
    BlockHandle pixels(std::exchange(bits, nullptr));
    const std::int64_t size_before = std::exchange(image_size, 0);
    std::free(std::exchange(header, nullptr));
    delete std::exchange(palette, nullptr);
    ncolors = width = height = row_bytes = pixel_bytes = table_limit_ = 0;

    constexpr int largest_depth = std::numeric_limits<std::uint16_t>::max();
    if (columns < 1 || rows < 1 || bit_count < 1 || bit_count > largest_depth)
        return false;
    const std::int64_t row = word_aligned_row(columns, bit_count);
    if (row > largest_int || row > std::numeric_limits<std::uint32_t>::max() / rows)
        return false;
    const int colours = bit_count == 8 ? 256 : 0;
    auto info = make_block(std::int64_t{info_header_size} + 4 * colours);
    if (!pixels || size_before != row * rows)
        pixels = make_block(row * rows);
    if (!info || !pixels)
        return false;
    BITMAPINFOHEADER& fields = info_of(info.get())->bmiHeader;
    fields.biSize = info_header_size;
    fields.biWidth = columns;
    fields.biHeight = rows;
    fields.biPlanes = 1;
    fields.biBitCount = static_cast<std::uint16_t>(bit_count);
    fields.biClrUsed = fields.biClrImportant = static_cast<std::uint32_t>(colours);
    header = info.release();
    bits = pixels.release();
    image_size = static_cast<std::uint32_t>(row * rows);
    ncolors = colours;
    width = columns;
    height = rows;
    row_bytes = static_cast<int>(row);
    pixel_bytes = bit_count >> 3;
    table_limit_ = colours;
    return true;
}

int CDib::Read(CFile* file) {
    unsigned char file_bytes[file_header_size];
    if (!file || file->Read(file_bytes, file_header_size) != file_header_size) {
        show_failure("Read error 1");
        return 0;
    }
    const FileHeader file_header = parse_file_header(file_bytes);
    if (file_header.type != magic || file_header.pixels_at < file_header_size + info_header_size)
        return refuse();

    // Room for 256 colours in any case: what the file doesn't have of them is black.
    constexpr std::int64_t smallest_block = info_header_size + 4 * 256;
    const std::uint32_t info_size = file_header.pixels_at - file_header_size;
    std::int64_t left = file->GetLength() - file->GetPosition();
    if (!header_is_believable(1, info_size, 1, 1, 1, left))
        return refuse();
    const std::int64_t block_size = std::max<std::int64_t>(info_size, smallest_block);
    auto info = make_block(block_size);
    if (!info)
        return 0;
    if (file->Read(info.get(), info_size) < info_header_size)
        return refuse();
    left = file->GetLength() - file->GetPosition();

    BITMAPINFOHEADER& fields = info_of(info.get())->bmiHeader;
    const bool top_down = fields.biHeight < 0;
    const std::int64_t rows = std::abs(std::int64_t{fields.biHeight});
    const std::int64_t natural_row = word_aligned_row(fields.biWidth, fields.biBitCount);
    if (fields.biWidth < 1 || rows < 1 || rows > largest_int || natural_row > largest_int ||
        !is_depth(fields.biBitCount))
        return refuse();
    const std::int64_t size =
        fields.biSizeImage != 0 ? std::int64_t{fields.biSizeImage} : rows * natural_row;
    const std::int64_t pitch = size / rows;
    if (size > std::numeric_limits<std::uint32_t>::max() || pitch > largest_int ||
        !header_is_believable(rows, natural_row, 1, 1, 1, left) ||
        !header_is_believable(1, size, 1, 1, 1, left))
        return refuse();
    auto pixels = make_block(std::max(size, readable_size(fields, rows, pitch)));
    if (!pixels)
        return 0;
    if (top_down) {
        std::int64_t r = rows;
        while (r > 0 && pitch > 0 && read_whole(*file, pixels.get() + (r - 1) * pitch, pitch))
            --r;
        if (r == 0 || pitch == 0)
            read_whole(*file, pixels.get() + rows * pitch, size - rows * pitch);
        fields.biHeight = static_cast<std::int32_t>(rows);
    } else {
        read_whole(*file, pixels.get(), size);
    }

    std::free(std::exchange(header, info.release()));
    std::free(std::exchange(bits, pixels.release()));
    image_size = static_cast<std::uint32_t>(size);
    ncolors = count_colours(fields);
    width = fields.biWidth;
    height = fields.biHeight;
    row_bytes = static_cast<int>(pitch);
    pixel_bytes = fields.biBitCount >> 3;
    table_limit_ = static_cast<int>((block_size - info_header_size) / 4);
    return 1;
}

int CDib::Write(CFile* file) {
    if (!file)
        return 0;
    if (!header || !bits) {
        file->Close();
        return 0;
    }
    const BITMAPINFOHEADER& fields = info_of(header)->bmiHeader;
    const bool has_table = fields.biBitCount <= 8 || fields.biClrUsed != 0;
    const int colours = has_table ? std::clamp(ncolors, 0, table_limit_) : 0;
    const std::uint32_t info_size = info_header_size + 4 * static_cast<std::uint32_t>(colours);
    const std::uint32_t pixels_at = file_header_size + info_size;
    unsigned char file_bytes[file_header_size];
    put_file_header({magic, pixels_at + image_size, pixels_at}, file_bytes);
    file->Write(file_bytes, file_header_size);
    file->Write(header, info_size);
    file->Write(bits, image_size);
    file->Close();
    return 1;
}
