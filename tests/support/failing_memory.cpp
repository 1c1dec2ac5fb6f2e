#include <support/failing_memory.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct Watch {
    bool is_on = false;
    bool is_armed = false;
    bool and_later = false;
    bool has_failed = false;
    long failing = 0;
    long requests = 0;
    long blocks = 0;
    std::size_t largest = 0;
};
thread_local Watch watch;

bool is_refused(std::size_t size) {
    if (!watch.is_on)
        return false;
    watch.largest = std::max(watch.largest, size);
    if (!watch.is_armed)
        return false;
    const long number = watch.requests++;
    const bool fails = number == watch.failing || (watch.and_later && number > watch.failing);
    watch.has_failed |= fails;
    return fails;
}

void* counted(void* block) {
    if (block && watch.is_on)
        ++watch.blocks;
    return block;
}

} // namespace

// The linker sends the calls of these functions here (--wrap). It takes calls inside shared libraries for calls
// of these too where a sanitizer's library defines the originals, and refuses them if these are hidden.
#pragma GCC visibility push(default)
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return is_refused(size) ? nullptr : counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return is_refused(count * size) ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (is_refused(size))
        return nullptr;
    void* const moved = __real_realloc(block, size);
    return block ? moved : counted(moved);
}

void __wrap_free(void* block) {
    if (block && watch.is_on)
        --watch.blocks;
    __real_free(block);
}
}
#pragma GCC visibility pop

// Every form is here: a run-time system that watches memory has forms of its own that don't come to these.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return __wrap_malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    const auto unit = static_cast<std::size_t>(alignment);
    return is_refused(size) ? nullptr : counted(std::aligned_alloc(unit, (size / unit + 1) * unit));
}

namespace {
void* or_throw(void* block) {
    if (!block)
        throw std::bad_alloc();
    return block;
}
} // namespace

void* operator new(std::size_t size) {
    return or_throw(operator new(size, std::nothrow));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return or_throw(operator new(size, alignment, std::nothrow));
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}
void* operator new[](std::size_t size, const std::nothrow_t& never) noexcept {
    return operator new(size, never);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& never) noexcept {
    return operator new(size, alignment, never);
}

void operator delete(void* block) noexcept {
    __wrap_free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    __wrap_free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    __wrap_free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    __wrap_free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    __wrap_free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    __wrap_free(block);
}

FailingMemory::FailingMemory() {
    watch = Watch{};
    watch.is_on = true;
}

FailingMemory::~FailingMemory() {
    watch.is_on = false;
}

void FailingMemory::arm(long number, bool and_later) {
    watch.is_armed = true;
    watch.and_later = and_later;
    watch.failing = number;
    watch.requests = 0;
}

void FailingMemory::disarm() {
    watch.is_armed = false;
}

bool FailingMemory::has_failed() const {
    return watch.has_failed;
}

long FailingMemory::blocks() const {
    return watch.blocks;
}

std::size_t FailingMemory::largest_request() const {
    return watch.largest;
}
