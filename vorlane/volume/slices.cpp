#include <vorlane/volume/slices.h>

#include <cstddef>

#include <vorlane/image/soundness.h>

namespace vorlane {

namespace {

// The number of images in an array from new CImage[n]. The fields of a volume may state another one
// (a read that failed keeps the array and sets nslices), and a host may have put the array there.
// Images have destructors, so the array's length stands right before it: C++ ABI for Itanium, 2.7.
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize("address"), noinline))
#endif
std::size_t
length_of(const CImage* array) {
    return reinterpret_cast<const std::size_t*>(array)[-1];
}

} // namespace

std::vector<int> slices_to_process(const CVolume& volume) {
    if (!volume.slices || volume.nslices < 1 || volume.nrows < 1 || volume.ncols < 1 ||
        static_cast<std::size_t>(volume.nslices) > length_of(volume.slices))
        return {};
    std::vector<int> indices;
    for (int k = 0; k < volume.nslices; ++k) {
        const CImage& slice = volume.slices[k];
        if (!slice.pixels)
            continue;
        if (!is_sound(slice) || slice.nrows < volume.nrows || slice.ncols < volume.ncols)
            return {};
        indices.push_back(k);
    }
    return indices;
}

} // namespace vorlane
