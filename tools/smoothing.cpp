#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

struct FilterOptions {
    std::string in, out, axis = "x";
    float sigma = 2.0f;
};

CLI::App* add_command(CLI::App& program, const char* name, const char* purpose,
                      const std::shared_ptr<FilterOptions>& options) {
    CLI::App* const command = program.add_subcommand(name, purpose);
    command->add_option("IN", options->in, "An image")->required();
    command->add_option("OUT", options->out, "The file to write; its ending picks the format")
        ->required();
    return command;
}

void add_sigma(CLI::App* command, const std::shared_ptr<FilterOptions>& options) {
    command->add_option("--sigma", options->sigma, "Standard deviation of the Gaussian, in pixels")
        ->check(check_positive, "POSITIVE")
        ->capture_default_str();
}

void save_result(CImage* result, const FilterOptions& options) {
    const ImagePtr image = checked(result, "Can't filter this image");
    fit_to_format(*image, options.out);
    save(*image, options.out);
}

void differentiate(const FilterOptions& options) {
    ImagePtr image = load(options.in);
    if (image->image_type == 1)
        image = checked(image->MakeGray(), "Can't convert to gray");
    save_result(options.axis == "x" ? image->first_derivative_x(options.sigma)
                                    : image->first_derivative_y(options.sigma),
                options);
}

} // namespace

void add_smoothing_commands(CLI::App& program) {
    constexpr const char* stretching =
        "Values beyond 0 to 255 are stretched to that range for 8-bit formats.\n";

    const auto smooth = std::make_shared<FilterOptions>();
    CLI::App* command = add_command(program, "smooth", "Smooth with a Gaussian", smooth);
    add_sigma(command, smooth);
    command->footer(std::string(stretching) +
                    "Example: vorlane smooth picture.pgm smooth.pgm --sigma 4");
    command->callback(
        [smooth] { save_result(load(smooth->in)->smooth_image(smooth->sigma), *smooth); });

    const auto derivative = std::make_shared<FilterOptions>();
    command =
        add_command(program, "derivative", "First derivative of the smoothed image", derivative);
    add_sigma(command, derivative);
    command->add_option("--axis", derivative->axis, "x along the rows, y along the columns")
        ->check(CLI::IsMember({"x", "y"}))
        ->capture_default_str();
    command->footer(std::string(stretching) +
                    "The sign is opposite to the slope. Colour images are turned gray.\n"
                    "Example: vorlane derivative picture.pgm slope.pgm --axis y --sigma 2");
    command->callback([derivative] { differentiate(*derivative); });

    const auto luv = std::make_shared<FilterOptions>();
    command = add_command(program, "luv", "Convert a colour image to L*u*v*", luv);
    command->footer(std::string(stretching) + "Example: vorlane luv picture.ppm luv.ppm");
    command->callback([luv] {
        const ImagePtr image = load(luv->in);
        if (image->image_type != 1)
            throw CommandError(luv->in + ": not a colour image");
        save_result(image->RGB_to_LUV(), *luv);
    });
}
