#include "host/operations/parts.h"

namespace vorlane::host {

namespace {

constexpr Option second_picture[] = {
    {.name = "B",
     .kind = Kind::picture,
     .purpose = "Another picture of the same size",
     .is_required = true},
};
constexpr Option superpose_options[] = {
    plain_option("The library's own form: a gray picture is stretched to 0 to 255"),
};

template<CImage* (CImage::*operation)(const CImage*) const>
Result combine(Subject& subject, const Call& call) {
    const CImage& b = *call.arguments.picture("B");
    ImagePtr result(((*subject).*operation)(&b));
    if (!result)
        throw Error(take_message("these two pictures can't be combined"));
    return picture_result(std::move(result));
}

// Sums and products leave the range of bytes.
template<CImage* (CImage::*operation)(const CImage*) const>
Result compute(Subject& subject, const Call& call) {
    Result result = combine<operation>(subject, call);
    result.image->pixel_format = PixelFormat::float32;
    return result;
}

Result run_superpose(Subject& subject, const Call& call) {
    const CImage& marks = *call.arguments.picture("B");
    if (marks.nrows < subject->nrows || marks.ncols < subject->ncols)
        throw UsageError("the second picture is smaller than the first");
    if (call.arguments.flag("plain"))
        return combine<&CImage::Superpose>(subject, call);
    ImagePtr picture = is_colour(*subject) ? subject.take() : colour_copy(*subject);
    picture->pixel_format = subject->pixel_format;
    const int channels = is_colour(marks) ? 3 : 1;
    for (int i = 0; i < picture->nrows; ++i) {
        for (int j = 0; j < picture->ncols; ++j) {
            bool is_marked = false;
            for (int k = 0; k < channels; ++k)
                is_marked = is_marked || marks.pixels[i][channels * j + k] != 0.0f;
            if (is_marked) {
                float* const pixel = picture->pixels[i] + 3 * j;
                pixel[0] = 255.0f;
                pixel[1] = pixel[2] = 0.0f;
            }
        }
    }
    return picture_result(std::move(picture));
}

Result run_invert(Subject& subject, const Call&) {
    return picture_result(ImagePtr(subject->Invert()));
}

constexpr Description pair_of(const char* name, const char* purpose) {
    return {.group = "math",
            .name = name,
            .purpose = purpose,
            .example = "a.pgm b.pgm out.pgm",
            .places = second_picture};
}

constexpr Operation table[] = {
    {.description = pair_of("add", "The sum of two pictures"), .run = compute<&CImage::Addseq>},
    {.description = pair_of("multiply", "The product of two pictures"),
     .run = compute<&CImage::Multseq>},
    {.description = pair_of("max", "The brighter pixel of two"), .run = combine<&CImage::Maxseq>},
    {.description = pair_of("min", "The darker pixel of two"), .run = combine<&CImage::Minseq>},
    {.description = pair_of("or", "A, with its largest value where B isn't 0"),
     .run = combine<&CImage::Orseq>},
    {.description = pair_of("and", "A where B isn't 0, and 0 elsewhere"),
     .run = combine<&CImage::Andseq>},
    {.description = {.group = "math",
                     .name = "superpose",
                     .purpose = "A, red where B isn't 0",
                     .example = "a.pgm b.pgm out.ppm",
                     .places = second_picture,
                     .options = superpose_options},
     .run = run_superpose},
    {.description = {.group = "math",
                     .name = "invert",
                     .purpose = "Mirror the range of the picture",
                     .notes = "Of a gray picture its own range, from the darkest to the brightest "
                              "pixel; of a colour one 0 to 255.",
                     .example = "in.pgm out.pgm"},
     .run = run_invert},
};

} // namespace

std::span<const Operation> arithmetic_operations() {
    return table;
}

} // namespace vorlane::host
