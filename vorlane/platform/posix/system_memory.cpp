#include <vorlane/platform/system_memory.h>

#include <algorithm>
#include <limits>

#include <sys/mman.h>
#include <unistd.h>

namespace vorlane {

std::uint64_t machine_memory() {
    constexpr std::uint64_t addressable = std::numeric_limits<std::size_t>::max() / 2;
#if defined(_SC_PHYS_PAGES) && defined(_SC_PAGESIZE)
    static const std::uint64_t memory = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                                        static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return std::min(memory, addressable);
#else
    return addressable;
#endif
}

void prefer_large_pages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr std::size_t large_page = std::size_t{2} << 20;
    if (size < 2 * large_page)
        return;
    static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto begin = (reinterpret_cast<std::uintptr_t>(block) + page - 1) / page * page;
    const auto end = (reinterpret_cast<std::uintptr_t>(block) + size) / page * page;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE); // only a hint
#endif
}

} // namespace vorlane
