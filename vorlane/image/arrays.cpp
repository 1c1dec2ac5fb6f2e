#include <vorlane/image/arrays.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <vorlane/image/plane.h>
#include <vorlane/platform/system_memory.h>
#include <vorlane/simd/widest_lanes.h>

#if defined(__SANITIZE_ADDRESS__)
#define VORLANE_WATCHES_PADDING 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VORLANE_WATCHES_PADDING 1
#endif
#endif
#ifdef VORLANE_WATCHES_PADDING
#include <sanitizer/asan_interface.h>
#endif

namespace vorlane {

namespace {

constexpr std::size_t cache_line = 64;
static_assert(cache_line % widest_lane_bytes == 0); // rows are aligned for lanes

} // namespace

// Memory that one or more planes share; it goes with the last of them.
struct PlaneBlock {
    alignas(16) std::atomic<std::size_t> users;
};

namespace {

// Stands in front of the row table.
struct PlaneHeader {
    PlaneBlock* block;
    std::int64_t rows;
    std::int64_t cols;
};

const PlaneHeader* header_of(const float* const* plane) {
    return reinterpret_cast<const PlaneHeader*>(plane) - 1;
}

// Bytes from one row to the next. An odd number of cache lines, so that a walk down a column
// doesn't hit the same few sets of the cache again and again.
std::uint64_t row_pitch(std::uint64_t cols) {
    const std::uint64_t lines = (cols * sizeof(float) + cache_line - 1) / cache_line;
    return (lines > 8 ? lines | 1 : lines) * cache_line;
}

// Bytes of a plane with its table, or 0 if it can't be.
std::size_t bytes_of_plane(std::int64_t rows, std::int64_t cols) {
    constexpr std::int64_t largest_side = std::int64_t{3} * std::numeric_limits<int>::max();
    if (rows < 0 || cols < 0 || rows > largest_side || cols > largest_side)
        return 0;
    const std::uint64_t pitch = row_pitch(static_cast<std::uint64_t>(cols));
    const std::uint64_t table =
        sizeof(PlaneHeader) + static_cast<std::uint64_t>(rows) * sizeof(float*);
    const std::uint64_t memory = machine_memory();
    if (table > memory || (rows > 0 && pitch > (memory - table) / static_cast<std::uint64_t>(rows)))
        return 0;
    const std::uint64_t size = table + static_cast<std::uint64_t>(rows) * pitch + cache_line;
    return static_cast<std::size_t>((size + cache_line - 1) / cache_line * cache_line);
}

// A block with one user; null if there is no memory.
PlaneBlock* make_block(std::size_t size, Fill fill) {
    void* const memory = fill == Fill::zeros ? std::calloc(size, 1) : std::malloc(size);
    if (!memory)
        return nullptr;
    prefer_large_pages(memory, size);
    return new (memory) PlaneBlock{{1}};
}

void release(PlaneBlock* block) {
    if (block && block->users.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::free(block);
}

// Nobody may touch what lies between a row and the next. AddressSanitizer looks behind whole blocks only, unless
// it is told; releasing a block makes it forget.
void forbid_padding([[maybe_unused]] const unsigned char* row,
                    [[maybe_unused]] std::uint64_t cols) {
#ifdef VORLANE_WATCHES_PADDING
    const std::uint64_t samples = cols * sizeof(float);
    ASAN_POISON_MEMORY_REGION(row + samples, row_pitch(cols) - samples);
#endif
}

// One more user of the block: a plane at `at`, whose rows are still to be placed.
float** place_table(PlaneBlock* block, unsigned char* at, std::int64_t rows, std::int64_t cols) {
    block->users.fetch_add(1, std::memory_order_relaxed);
    auto* const header = reinterpret_cast<PlaneHeader*>(at);
    *header = {block, rows, cols};
    return reinterpret_cast<float**>(header + 1);
}

// A plane at `at`, with its samples as they are there.
float** place_plane(PlaneBlock* block, unsigned char* at, std::int64_t rows, std::int64_t cols) {
    float** const plane = place_table(block, at, rows, cols);
    const auto behind_table = reinterpret_cast<std::uintptr_t>(plane + rows);
    const std::uint64_t pitch = row_pitch(static_cast<std::uint64_t>(cols));
    unsigned char* row = at + ((behind_table + cache_line - 1) / cache_line * cache_line -
                               reinterpret_cast<std::uintptr_t>(at));
    for (std::int64_t r = 0; r < rows; ++r, row += pitch) {
        plane[r] = reinterpret_cast<float*>(row);
        forbid_padding(row, static_cast<std::uint64_t>(cols));
    }
    return plane;
}

// The only plane of a block, which may be null.
float** place_alone(PlaneBlock* block, std::int64_t rows, std::int64_t cols,
                    decltype(place_plane)& place) {
    if (!block)
        return nullptr;
    float** const plane = place(block, reinterpret_cast<unsigned char*>(block + 1), rows, cols);
    release(block);
    return plane;
}

} // namespace

float** make_plane(std::int64_t rows, std::int64_t cols, Fill fill) {
    const std::size_t size = bytes_of_plane(rows, cols);
    return size == 0
               ? nullptr
               : place_alone(make_block(sizeof(PlaneBlock) + size, fill), rows, cols, place_plane);
}

PlaneStack::PlaneStack(std::int64_t rows, std::int64_t cols, Fill fill, std::size_t count)
    : rows_(rows), cols_(cols), fill_(fill), plane_size_(bytes_of_plane(rows, cols)), left_(count) {
}

PlaneStack::~PlaneStack() {
    release(block_);
}

Plane PlaneStack::next() {
    constexpr std::size_t preferred_block = std::size_t{32} << 20;
    if (left_ == 0 || plane_size_ == 0)
        throw std::bad_alloc();
    if (left_in_block_ == 0) {
        release(std::exchange(block_, nullptr));
        const std::size_t planes = std::clamp<std::size_t>(preferred_block / plane_size_, 1, left_);
        block_ = make_block(sizeof(PlaneBlock) + planes * plane_size_, fill_);
        if (!block_)
            throw std::bad_alloc();
        at_ = reinterpret_cast<unsigned char*>(block_ + 1);
        left_in_block_ = planes;
    }
    Plane plane(place_plane(block_, at_, rows_, cols_));
    at_ += plane_size_;
    --left_in_block_;
    --left_;
    return plane;
}

float** make_row_table(std::int64_t rows, std::int64_t cols) {
    const std::size_t size = bytes_of_plane(rows, 0);
    return size == 0 ? nullptr
                     : place_alone(make_block(sizeof(PlaneBlock) + size, Fill::none), rows, cols,
                                   place_table);
}

std::int64_t plane_rows(const float* const* plane) {
    return header_of(plane)->rows;
}

std::int64_t plane_cols(const float* const* plane) {
    return header_of(plane)->cols;
}

bool plane_holds(const float* const* plane, std::int64_t rows, std::int64_t cols) {
    return plane && plane_rows(plane) >= rows && plane_cols(plane) >= cols;
}

} // namespace vorlane

float** make_2D_float_array(int rows, int cols) {
    return vorlane::make_plane(rows, cols);
}

float** make_2D_float_view(float* samples, int rows, int cols, std::ptrdiff_t pitch) {
    float** const plane = cols < 0 ? nullptr : vorlane::make_row_table(rows, cols);
    for (int r = 0; plane && r < rows; ++r)
        plane[r] = samples + r * pitch;
    return plane;
}

void free_2D_float_array(float** plane) {
    if (plane)
        vorlane::release(vorlane::header_of(plane)->block);
}

float* make_1D_float_array(int n) {
    return n < 0 ? nullptr
                 : static_cast<float*>(
                       std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(float)));
}

void free_1D_float_array(float* array) {
    std::free(array);
}

int* make_1D_int_array(int n) {
    return n < 0 ? nullptr
                 : static_cast<int*>(std::calloc(static_cast<std::size_t>(n) + 1, sizeof(int)));
}

void free_1D_int_array(int* array) {
    std::free(array);
}

int rank_float_increasing(const void* a, const void* b) {
    float x;
    float y;
    std::memcpy(&x, a, sizeof x);
    std::memcpy(&y, b, sizeof y);
    if (std::isnan(x) || std::isnan(y))
        return static_cast<int>(std::isnan(x)) - static_cast<int>(std::isnan(y));
    return static_cast<int>(x > y) - static_cast<int>(x < y);
}
