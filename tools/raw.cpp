#include <climits>
#include <map>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

struct RawOptions {
    std::string in, out, samples = "byte", colour;
    int rows = 0;
    int cols = 0;
    int offset = 0;
    bool swap = false;
};

const std::map<std::string, int> gray_formats = {
    {"byte", 0}, {"12bit", 1}, {"int16", 2}, {"int32", 3}, {"float", 4}};
const std::map<std::string, int> colour_formats = {{"together", 0}, {"planes", 1}};

void load_raw(const RawOptions& options) {
    const bool is_colour = !options.colour.empty();
    const int format =
        is_colour ? colour_formats.at(options.colour) : gray_formats.at(options.samples);
    const ImagePtr image =
        checked(Raw2Img(options.in.c_str(), options.rows, options.cols, is_colour ? 1 : 0, format,
                        options.swap ? 1 : 0, options.offset),
                options.in + ": Can't read an image of this size");
    fit_to_format(*image, options.out);
    save(*image, options.out);
}

} // namespace

void add_raw_command(CLI::App& program) {
    CLI::App* const command = program.add_subcommand("raw", "Load data that has no header");
    const auto options = std::make_shared<RawOptions>();
    command->add_option("IN", options->in, "A file of samples, from the top row")->required();
    command->add_option("OUT", options->out, "The file to write; its ending picks the format")
        ->required();
    const CLI::Range size(1, INT_MAX);
    command->add_option("--rows", options->rows, "Rows of the image")->required()->check(size);
    command->add_option("--cols", options->cols, "Columns of the image")->required()->check(size);
    CLI::Option* const samples =
        command
            ->add_option("--samples", options->samples,
                         "Gray samples: byte, 12bit (of 16-bit words), int16, int32 or float")
            ->check(CLI::IsMember(gray_formats))
            ->capture_default_str();
    command
        ->add_option(
            "--colour", options->colour,
            "Colour, in bytes: red, green, blue together, or in planes one after the other")
        ->check(CLI::IsMember(colour_formats))
        ->excludes(samples);
    command->add_flag("--swap", options->swap, "The high byte of a sample comes first");
    command->add_option("--offset", options->offset, "Bytes before the first sample")
        ->check(CLI::NonNegativeNumber);
    command->footer(
        "Values beyond 0 to 255 are stretched to that range for 8-bit formats.\n"
        "Example: vorlane raw scan.dat scan.tq --rows 256 --cols 256 --samples int16 --swap");
    command->callback([options] { load_raw(*options); });
}
