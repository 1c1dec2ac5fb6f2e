// A chain of operations on an image gives the same bits with every instruction set, whatever the
// sizes, the samples and the arguments.

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <vorlane/bitmap/dib.h>
#include <vorlane/image/plane.h>
#include <vorlane/platform/message_box.h>
#include <vorlane/simd/instruction_set.h>
#include <vorlane/volume/volume.h>

#include "any_operation.h"

namespace {

using Bits = std::vector<std::uint32_t>;

// All not-a-numbers count as one.
void append(Bits& bits, const float* const* plane, int rows, int cols) {
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            bits.push_back(std::isnan(plane[i][j]) ? 0x7fc00000u
                                                   : std::bit_cast<std::uint32_t>(plane[i][j]));
}

void append(Bits& bits, const CImage& image) {
    for (const int number : {image.nrows, image.ncols, image.image_type, image.pixel_format})
        bits.push_back(static_cast<std::uint32_t>(number));
    append(bits, image.pixels, image.nrows, row_length(image));
    for (const float* const* plane : {image.mag_plane, image.dir_plane, image.scale_plane})
        if (vorlane::plane_holds(plane, image.nrows, image.ncols))
            append(bits, plane, image.nrows, image.ncols);
}

Bits results(ByteInput input) {
    Bits bits;
    ImagePtr image = make_any_image(input);
    for (int step = 0; step < 3; ++step) {
        const ImagePtr other =
            input.below(3) == 0 ? make_any_image(input) : ImagePtr(new CImage(*image));
        if (input.below(3) == 0)
            apply_any_change(*image, *other, input);
        else if (ImagePtr next = apply_any_operation(*image, *other, input))
            image = std::move(next);
        append(bits, *image);
    }
    const CDib bitmap(image.get(), input.below(2), 0.0f, 0.0f);
    for (unsigned k = 0; bitmap.bits && k < bitmap.image_size; ++k)
        bits.push_back(bitmap.bits[k]);
    return bits;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SetMessageBoxHandler([](const char*, unsigned, unsigned) { return 1; });
    vorlane::force_instruction_set(vorlane::InstructionSet::plain);
    const Bits plain = results({data, size});
    for (const auto set : vorlane::instruction_sets) {
        if (vorlane::force_instruction_set(set) && results({data, size}) != plain) {
            std::fprintf(stderr, "instruction set %d differs\n", static_cast<int>(set));
            std::abort();
        }
    }
    return 0;
}
