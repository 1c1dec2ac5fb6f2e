#include <filesystem>
#include <memory>
#include <system_error>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

struct EdgeOptions {
    std::string in, out, stages;
    float sigma = 2.0f;
    float high = 0.2f;
    float low = 0.08f;
};

// The steps on the way as pictures: how steep, which way, and what is left before edges are linked.
void save_stages(const CImage& image, const CImage& thin, const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw CommandError(folder + ": " + error.message());
    const auto save_gray = [&](const CImage& stage, const char* name) {
        CImage picture(&stage);
        stretch(picture, 0.0f, 255.0f);
        save(picture, folder + "/" + name);
    };
    save_gray(*image_of_plane(image, image.mag_plane), "magnitude.pgm");
    save_gray(thin, "thin.pgm");
    save(*colour_wheel(image, image.dir_plane, image.mag_plane), folder + "/direction.ppm");
}

void find_edges(const EdgeOptions& options) {
    const int format = format_of_ending(options.out); // before the work
    const ImagePtr image = load(options.in);
    image->edges_mag_dir(options.sigma);
    const ImagePtr thin =
        checked(image->non_maximum_suppression(), "Can't find edges in this image");
    const ImagePtr edges =
        checked(thin->hysteresis_thresholding(options.high, options.low), "Can't link edges");
    if (!options.stages.empty())
        save_stages(*image, *thin, options.stages);
    edges->file_format = format;
    save(*edges, options.out);
}

} // namespace

void add_edges_command(CLI::App& program) {
    CLI::App* const command = program.add_subcommand("edges", "Find the edges of an image");
    const auto options = std::make_shared<EdgeOptions>();
    command->add_option("IN", options->in, "An image, gray or colour")->required();
    command
        ->add_option("OUT", options->out,
                     "The edge map, white on black; its ending picks the format")
        ->required();
    command->add_option("--sigma", options->sigma, "Standard deviation of the smoothing, in pixels")
        ->check(check_positive, "POSITIVE")
        ->capture_default_str();
    command
        ->add_option("--high", options->high, "Edges start above this part of the steepest slope")
        ->capture_default_str();
    command->add_option("--low", options->low, "Edges go on above this part of the steepest slope")
        ->capture_default_str();
    command->add_option(
        "--stages", options->stages,
        "Also leave magnitude.pgm, direction.ppm (as a colour wheel: red rises to the right) "
        "and thin.pgm in this folder");
    command->footer("Example: vorlane edges picture.pgm edges.pgm --sigma 2 --high 0.2 --low 0.08");
    command->callback([options] { find_edges(*options); });
}
