#include <vorlane/bytes/colour_order.h>

#include <algorithm>

#include <vorlane/bytes/sample_kernels.h>

namespace vorlane {

void swap_ends(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    pick_sample_kernels().swap_ends(from, to, pixels);
}

void swap_ends(const unsigned char* from, float* to, std::size_t pixels) {
    const SampleKernels& kernels = pick_sample_kernels();
    unsigned char swapped[3 * 256];
    while (pixels > 0) {
        const std::size_t count = std::min<std::size_t>(pixels, sizeof swapped / 3);
        kernels.swap_ends(from, swapped, count);
        kernels.from_bytes(swapped, to, 3 * count);
        from += 3 * count;
        to += 3 * count;
        pixels -= count;
    }
}

} // namespace vorlane
