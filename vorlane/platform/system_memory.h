// Private: memory as the system has it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorlane {

// The machine's memory in bytes; the system may promise more than it has.
std::uint64_t machine_memory();

// A large block costs a page fault for each page that is touched; asks for large pages.
void prefer_large_pages(void* block, std::size_t size);

} // namespace vorlane
