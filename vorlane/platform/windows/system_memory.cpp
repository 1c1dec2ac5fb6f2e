#include <vorlane/platform/system_memory.h>

#include <algorithm>
#include <cstdint>

#include <windows.h>

namespace vorlane {

std::uint64_t machine_memory() {
    static const std::uint64_t memory = [] {
        MEMORYSTATUSEX status = {};
        status.dwLength = sizeof status;
        return GlobalMemoryStatusEx(&status) ? std::min(status.ullTotalPhys, status.ullTotalVirtual)
                                             : std::uint64_t{SIZE_MAX / 2};
    }();
    return memory;
}

// Large pages are a privilege here.
void prefer_large_pages(void*, std::size_t) {}

} // namespace vorlane
