#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

struct ConvertOptions {
    std::string in, out, samples, halvort_template;
    std::vector<float> normalize; // lowest, highest
    std::vector<float> window;    // centre, width
    bool gray = false;
};

// Maps `width` values around `centre` to 0 to 255, and what lies beyond to the ends.
void apply_window(CImage& image, float centre, float width) {
    const SampleRange range = range_of(image);
    constexpr float limit = 1 << 24;
    if (!(range.low > -limit && range.high < limit))
        throw CommandError("--window needs values of a magnitude below 16777216");
    const int first = std::min(static_cast<int>(range.low), 0);
    const int last = std::max(static_cast<int>(range.high), 0);
    std::vector<int> table(static_cast<std::size_t>(last - first) + 1);
    for (int value = first; value <= last; ++value) {
        const double part = (value - (double{centre} - width / 2.0)) / width;
        table[static_cast<std::size_t>(value - first)] =
            static_cast<int>(std::lround(255.0 * std::clamp(part, 0.0, 1.0)));
    }
    image.WindowCenter(table.data() - first);
}

// What a sample is on file, for formats that leave the choice.
const std::map<std::string, int> pixel_formats = {
    {"byte", 4}, {"int32", 5}, {"float", 6}, {"int16", 7}};

void convert(const ConvertOptions& options) {
    ImagePtr image = load(options.in);
    if (options.gray && image->image_type == 1)
        image = checked(image->MakeGray(), "Can't convert to gray");
    if (!options.window.empty()) {
        if (image->image_type == 1)
            throw CommandError("--window is for gray images; add --gray");
        if (!(options.window[1] > 0.0f))
            throw CommandError("the width of --window must be positive");
        apply_window(*image, options.window[0], options.window[1]);
    }
    if (!options.normalize.empty())
        stretch(*image, options.normalize[0], options.normalize[1]);
    if (!options.samples.empty())
        image->pixel_format = pixel_formats.at(options.samples);
    if (!options.halvort_template.empty())
        SetHalvortTemplate(options.halvort_template.c_str());
    save(*image, options.out);
}

} // namespace

void add_convert_command(CLI::App& program) {
    CLI::App* const command = program.add_subcommand("convert", "Write an image in another format");
    const auto options = std::make_shared<ConvertOptions>();
    command->add_option("IN", options->in, "An image")->required();
    command->add_option("OUT", options->out, "The file to write; its ending picks the format")
        ->required();
    command->add_option("--normalize", options->normalize, "Stretch the values to LO to HI")
        ->expected(2)
        ->type_name("LO HI");
    command->add_option("--window", options->window, "Show WIDTH values around CENTRE as 0 to 255")
        ->expected(2)
        ->type_name("CENTRE WIDTH");
    command->add_flag("--gray", options->gray, "Turn colour into gray");
    command
        ->add_option("--samples", options->samples,
                     "What a gray sample is in a TQ or raw file: byte, int16, int32 or float")
        ->check(CLI::IsMember(pixel_formats));
    command
        ->add_option("--template", options->halvort_template,
                     "The scanner file whose header a halvort file takes")
        ->check(CLI::ExistingFile);
    command->footer(
        "Endings: .pgm .ppm .bmp .tq .velk .raw .halvort. 8-bit formats keep the low 8 bits of\n"
        "each value, velk and halvort files 16, so bring other values into range.\n"
        "Example: vorlane convert picture.ppm gray.pgm --gray --normalize 0 255");
    command->callback([options] { convert(*options); });
}
