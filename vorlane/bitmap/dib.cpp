#include <vorlane/bitmap/dib.h>

#include <cstdlib>
#include <new>
#include <utility>

#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/imagefiles/bmp_blocks.h>

using namespace vorlane;

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
      height(0), row_bytes(0), pixel_bytes(0) {}

CDib::CDib(int columns, int rows, int bit_count) : CDib() {
    allocate(columns, rows, bit_count);
}

CDib::~CDib() {
    std::free(header);
    std::free(bits);
    delete palette;
}

// Takes the blocks over, in place of those that it has.
void CDib::take(BitmapBlocks& blocks) {
    std::free(std::exchange(header, blocks.header.release()));
    std::free(std::exchange(bits, blocks.bits.release()));
    image_size = blocks.image_size;
    ncolors = blocks.ncolors;
    width = blocks.width;
    height = blocks.height;
    row_bytes = blocks.row_bytes;
    pixel_bytes = blocks.pixel_bytes;
}

// Makes the blocks of a bitmap, in place of those that it has; a pixel block of the right size stays
// as it is. If that can't be, false, and the bitmap is empty.
bool CDib::allocate(int columns, int rows, int bit_count) {
    delete std::exchange(palette, nullptr);
    Bytes pixels(std::exchange(bits, nullptr));
    const std::uint32_t size_before = image_size;
    BitmapBlocks made = guarded(
        [&] { return make_bitmap(columns, rows, bit_count, std::move(pixels), size_before); });
    take(made);
    return header != nullptr;
}

int CDib::Read(CFile* file) {
    if (!file) {
        show_failure("Read error 1");
        return 0;
    }
    BitmapBlocks found = guarded([&] { return read_bitmap(*file); });
    if (!found.header)
        return 0;
    take(found);
    return 1;
}

int CDib::Write(CFile* file) {
    if (!file)
        return 0;
    const bool is_empty = !header || !bits;
    if (!is_empty)
        write_bitmap(*file, header, bits, image_size, ncolors);
    file->Close();
    return is_empty ? 0 : 1;
}
