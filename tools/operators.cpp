#include <array>
#include <climits>
#include <functional>
#include <memory>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"

namespace {

struct Options {
    std::string in, other, out;
    int size = 3;
    int factor = 2;
    int degrees = 90;
    float level = 127.0f;
    float sigma = 10.0f;
    float value = 255.0f;
    float boundary = 255.0f;
    float radius = 20.0f;
    int length = 5;
    bool is_smooth = false;
    std::array<int, 2> from = {0, 0}, to = {0, 0}, at = {0, 0}, shift = {0, 0};
    std::array<int, 4> rectangle = {0, 0, 0, 0};
    std::vector<float> factors = {1.0f};
};

using Shared = std::shared_ptr<Options>;
using Work = std::function<CImage*(CImage& image, const Options& options)>;

void save_result(CImage* result, const Options& options) {
    const ImagePtr image = checked(result, "These arguments have no meaning for this image");
    fit_to_format(*image, options.out);
    save(*image, options.out);
}

CLI::App* add_group(CLI::App& program, const char* name, const char* purpose) {
    CLI::App* const group = program.add_subcommand(name, purpose);
    group->require_subcommand(1);
    group->footer("Values beyond 0 to 255 are stretched to that range for 8-bit formats.");
    return group;
}

// A command from one image to another.
CLI::App* add_operation(CLI::App* group, const std::string& name, const char* purpose,
                        const std::string& example, const Shared& options, const Work& work) {
    CLI::App* const command = group->add_subcommand(name, purpose);
    command->add_option("IN", options->in, "An image")->required();
    command->add_option("OUT", options->out, "The file to write; its ending picks the format")
        ->required();
    command->footer("Example: vorlane " + group->get_name() + " " + name + " " + example);
    command->callback([=] {
        format_of_ending(options->out); // before the work
        const ImagePtr image = load(options->in);
        save_result(work(*image, *options), *options);
    });
    return command;
}

// A command from two images to one.
void add_combination(CLI::App* group, const std::string& name, const char* purpose,
                     CImage* (CImage::*operation)(const CImage*) const) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = group->add_subcommand(name, purpose);
    command->add_option("A", options->in, "An image")->required();
    command->add_option("B", options->other, "Another of the same size")->required();
    command->add_option("OUT", options->out, "The file to write; its ending picks the format")
        ->required();
    command->footer("Example: vorlane math " + name + " a.pgm b.pgm out.pgm");
    command->callback([options, operation] {
        format_of_ending(options->out);
        const ImagePtr a = load(options->in);
        const ImagePtr b = load(options->other);
        CImage* const result = ((*a).*operation)(b.get());
        if (!result)
            throw CommandError(take_message("The second image is smaller than the first"));
        save_result(result, *options);
    });
}

// A copy with this drawn into it.
template<class Draw>
Work drawing(Draw draw) {
    return [draw](CImage& image, const Options& options) {
        auto copy = std::make_unique<CImage>(&image);
        draw(*copy, options);
        return copy.release();
    };
}

void add_pair(CLI::App* command, const char* name, std::array<int, 2>& pair, const char* purpose) {
    command->add_option(name, pair, purpose)->type_name("ROW COL");
}

void add_value(CLI::App* command, const Shared& options) {
    command->add_option("--value", options->value, "The value to draw with")->capture_default_str();
}

} // namespace

void add_filter_commands(CLI::App& program) {
    CLI::App* const group = add_group(program, "filter", "Look at the neighbours of each pixel");
    const auto add = [group](const char* name, const char* purpose, const char* example,
                             const Shared& options, const Work& work) {
        return add_operation(group, name, purpose, example, options, work);
    };
    const auto options = [] { return std::make_shared<Options>(); };

    Shared o = options();
    add("median", "The median of a square window", "in.pgm out.pgm --size 5", o,
        [](CImage& image, const Options& given) { return image.Median(given.size); })
        ->add_option("--size", o->size, "Side of the window in pixels")
        ->check(CLI::Range(1, INT_MAX))
        ->capture_default_str();

    o = options();
    add("distance", "A mean that weights near pixels more", "in.pgm out.pgm --size 5", o,
        [](CImage& image, const Options& given) { return image.DistanceFilter(given.size); })
        ->add_option("--size", o->size, "Side of the window in pixels")
        ->check(CLI::Range(2, INT_MAX))
        ->capture_default_str();

    o = options();
    add("threshold", "White where all samples are above a level", "in.pgm out.pgm --level 100", o,
        [](CImage& image, const Options& given) { return image.Threshold(given.level); })
        ->add_option("--level", o->level, "The level")
        ->capture_default_str();

    o = options();
    add("sobel", "The magnitude of the gradient", "in.pgm out.pgm", o,
        [](CImage& image, const Options&) {
            image.SobelFilter();
            return image_of_plane(image, image.mag_plane).release();
        });

    o = options();
    add("chamfer", "The distance to the nearest pixel that isn't black", "in.pgm out.tqf", o,
        [](CImage& image, const Options&) { return image.Chamfer(); });

    o = options();
    add("noise", "Add Gaussian noise to a gray image", "in.pgm out.pgm --sigma 8", o,
        [](CImage& image, const Options& given) { return image.GNoise(given.sigma); })
        ->add_option("--sigma", o->sigma, "Standard deviation of the noise")
        ->capture_default_str();
}

void add_math_commands(CLI::App& program) {
    CLI::App* const group = add_group(program, "math", "Combine images pixel by pixel");
    add_combination(group, "add", "The sum of two images", &CImage::Addseq);
    add_combination(group, "multiply", "The product of two images", &CImage::Multseq);
    add_combination(group, "max", "The brighter pixel of two", &CImage::Maxseq);
    add_combination(group, "min", "The darker pixel of two", &CImage::Minseq);
    add_combination(group, "or", "A, with its largest value where B isn't 0", &CImage::Orseq);
    add_combination(group, "and", "A where B isn't 0, and 0 elsewhere", &CImage::Andseq);
    add_combination(group, "superpose", "A, red where B isn't 0", &CImage::Superpose);
    add_operation(group, "invert", "Mirror the range of the image", "in.pgm out.pgm",
                  std::make_shared<Options>(),
                  [](CImage& image, const Options&) { return image.Invert(); });
}

void add_geometry_commands(CLI::App& program) {
    CLI::App* const group = add_group(program, "geometry", "Crop, resample and turn images");
    const auto options = [] { return std::make_shared<Options>(); };

    Shared o = options();
    add_operation(group, "crop", "Cut out a rectangle", "in.pgm out.pgm --rectangle 10 20 100 200",
                  o,
                  [](CImage& image, const Options& given) {
                      const auto& r = given.rectangle;
                      return image.Extract(r[0], r[1], r[2], r[3]);
                  })
        ->add_option("--rectangle", o->rectangle, "First row and column, and how many of each")
        ->type_name("ROW COL ROWS COLS")
        ->required();

    o = options();
    CLI::App* command =
        add_operation(group, "reduce", "Shrink by a whole factor", "in.pgm out.pgm --factor 2", o,
                      [](CImage& image, const Options& given) {
                          return image.Reduce(given.factor, given.is_smooth ? 1 : 0);
                      });
    command->add_option("--factor", o->factor, "The factor")
        ->check(CLI::Range(1, INT_MAX))
        ->capture_default_str();
    command->add_flag("--smooth", o->is_smooth, "For factor 2: a wider filter than the mean");

    o = options();
    command = add_operation(group, "enlarge", "Grow by a whole factor", "in.pgm out.pgm --factor 3",
                            o, [](CImage& image, const Options& given) {
                                return image.Enlarge(given.factor, given.is_smooth ? 1 : 0);
                            });
    command->add_option("--factor", o->factor, "The factor")
        ->check(CLI::Range(1, INT_MAX))
        ->capture_default_str();
    command->add_flag("--smooth", o->is_smooth, "Interpolate instead of repeating pixels");

    o = options();
    command = add_operation(group, "translate", "Move the picture", "in.pgm out.pgm --shift 10 -20",
                            o, [](CImage& image, const Options& given) {
                                return image.Translate(given.shift[0], given.shift[1]);
                            });
    command->add_option("--shift", o->shift, "Rows down and columns to the right")
        ->type_name("ROWS COLS")
        ->required();

    o = options();
    add_operation(group, "rotate", "Turn counter-clockwise", "in.pgm out.pgm --degrees 30", o,
                  [](CImage& image, const Options& given) { return image.Rotate(given.degrees); })
        ->add_option("--degrees", o->degrees, "Whole degrees; negative ones turn clockwise")
        ->capture_default_str();

    o = options();
    add_operation(group, "scale", "Scale by any factor", "in.pgm out.pgm --factor 1.5", o,
                  [](CImage& image, const Options& given) {
                      return image.Scale(given.factors.front(),
                                         given.factors.size() > 1 ? given.factors[1] : 0.0f);
                  })
        ->add_option("--factor", o->factors, "The factor, or one for rows and one for columns")
        ->expected(1, 2)
        ->required();
}

void add_draw_commands(CLI::App& program) {
    CLI::App* const group = add_group(program, "draw", "Draw into an image");
    const auto options = [] { return std::make_shared<Options>(); };

    Shared o = options();
    CLI::App* command = add_operation(
        group, "line", "A line", "in.pgm out.pgm --from 0 0 --to 90 120", o,
        drawing([](CImage& image, const Options& given) {
            image.DrawLine(given.from[0], given.from[1], given.to[0], given.to[1], given.value);
        }));
    add_pair(command, "--from", o->from, "The first end");
    add_pair(command, "--to", o->to, "The last end");
    add_value(command, o);

    o = options();
    command = add_operation(
        group, "circle", "360 points of a circle", "in.pgm out.pgm --at 50 60 --radius 30", o,
        drawing([](CImage& image, const Options& given) {
            image.DrawCircle(given.at[0], given.at[1], given.radius, given.value);
        }));
    add_pair(command, "--at", o->at, "The centre");
    command->add_option("--radius", o->radius, "The radius")->capture_default_str();
    add_value(command, o);

    o = options();
    command =
        add_operation(group, "cross", "An upright cross", "in.pgm out.pgm --at 50 60 --length 4", o,
                      drawing([](CImage& image, const Options& given) {
                          image.DrawCross(given.at[0], given.at[1], given.value, given.length);
                      }));
    add_pair(command, "--at", o->at, "The centre");
    command->add_option("--length", o->length, "Pixels of an arm")->capture_default_str();
    add_value(command, o);

    o = options();
    command =
        add_operation(group, "fill", "Fill up to a boundary",
                      "in.pgm out.pgm --at 50 60 --value 80 --boundary 255", o,
                      drawing([](CImage& image, const Options& given) {
                          image.FillObject(given.at[0], given.at[1], given.value, given.boundary);
                      }));
    add_pair(command, "--at", o->at, "Where to start");
    command->add_option("--boundary", o->boundary, "The value that stops the fill")
        ->capture_default_str();
    add_value(command, o);

    o = options();
    command = add_operation(
        group, "convex", "Fill each row between its marks", "in.pgm out.pgm --value 255", o,
        drawing([](CImage& image, const Options& given) { image.FillConvexObject(given.value); }));
    add_value(command, o);
}
