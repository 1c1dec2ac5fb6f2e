#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

const char* name_of_format(int file_format) {
    constexpr const char* names[] = {"unknown format",      "PGM",  "PPM", "BMP",    "TQ", "AVI",
                                     "senvoc scanner file", "velk", "raw", "halvort"};
    return file_format >= 0 && file_format < 10 ? names[file_format] : names[0];
}

void print_info(const std::string& path) {
    const ImagePtr image = load(path);
    const SampleRange range = range_of(*image);
    std::printf("%s: %s, %d rows x %d columns, %s, %s, values %g to %g\n", path.c_str(),
                name_of_format(image->file_format), image->nrows, image->ncols,
                image->image_type == 1 ? "colour" : "gray", name_of_encoding(image->pixel_format),
                static_cast<double>(range.low), static_cast<double>(range.high));
}

} // namespace

void add_info_command(CLI::App& program) {
    CLI::App* const command = program.add_subcommand("info", "Say what an image file holds");
    const auto path = std::make_shared<std::string>();
    command->add_option("FILE", *path, "An image")->required();
    command->footer("Example: vorlane info picture.pgm");
    command->callback([path] { print_info(*path); });
}
