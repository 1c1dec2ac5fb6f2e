#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "pictures.h"
#include "progress.h"

namespace {

using VolumePtr = std::unique_ptr<CVolume>;

struct VolumeOptions {
    std::string in, out, value = "middle", axis = "slices", projection;
    float sigma = 2.0f;
    int index = -1;
};

// One plane of every slice that could be read.
using Stack = std::vector<const float* const*>;

Stack planes_of(const CVolume& volume, float** CImage::*plane) {
    Stack stack;
    for (int k = 0; k < volume.nslices; ++k) {
        if (volume.slices[k].*plane)
            stack.push_back(volume.slices[k].*plane);
    }
    return stack;
}

VolumePtr load_volume(const std::string& path) {
    auto volume = std::make_unique<CVolume>();
    {
        const ProgressBar bar("reading", 1);
        if (!volume->ReadVolume(path.c_str()))
            throw CommandError(path + ": " + take_message("Not a description of a volume"));
    }
    const auto read = static_cast<int>(planes_of(*volume, &CImage::pixels).size());
    if (read == 0)
        throw CommandError(path + ": " + take_message("No slice can be read"));
    if (read < volume->nslices)
        std::fprintf(stderr, "vorlane: %s: %d of %d slices can't be read and are left out\n",
                     path.c_str(), volume->nslices - read, volume->nslices);
    take_message("");
    return volume;
}

// Gray slices of the size that the volume states, which is what pictures are made of.
void check_slices(const CVolume& volume, const std::string& path) {
    for (int k = 0; k < volume.nslices; ++k) {
        const CImage& slice = volume.slices[k];
        if (!slice.pixels)
            continue;
        if (slice.nrows != volume.nrows || slice.ncols != volume.ncols)
            throw CommandError(path + ": the slices differ in size");
        if (slice.image_type != 0)
            throw CommandError(path + ": the slices aren't gray");
    }
}

void print_info(const std::string& path) {
    const VolumePtr volume = load_volume(path);
    float low = std::numeric_limits<float>::infinity();
    float high = -low;
    for (int k = 0; k < volume->nslices; ++k) {
        if (!volume->slices[k].pixels)
            continue;
        const SampleRange range = range_of(volume->slices[k]);
        low = std::min(low, range.low);
        high = std::max(high, range.high);
    }
    std::printf("%s: %s, %d slices of %d rows x %d columns, %s, values %g to %g\n", path.c_str(),
                volume->file_format == 20 ? "a series of images" : "raw data", volume->nslices,
                volume->nrows, volume->ncols, name_of_encoding(volume->pixel_format),
                static_cast<double>(low), static_cast<double>(high));
}

bool can_be_described(const std::string& path) {
    constexpr std::size_t longest = 99;
    return path.size() <= longest && std::none_of(path.begin(), path.end(), [](unsigned char c) {
               return std::isspace(c) != 0;
           });
}

// The name of the data file as a description can hold it: whole, so that the description can be
// read from every folder, or as it was given if that is too long.
std::string described_name(const std::string& data) {
    const std::string whole = std::filesystem::absolute(data).lexically_normal().string();
    if (can_be_described(whole))
        return whole;
    if (can_be_described(data))
        return data;
    throw CommandError(data + ": a description takes names of up to 99 characters without blanks");
}

// Writes a description, and the samples as 32-bit floats into a file of the same name that ends in
// .raw.
void save_volume(const Stack& stack, int rows, int cols, const std::string& path) {
    const std::string data = std::filesystem::path(path).replace_extension(".raw").string();
    if (data == path)
        throw CommandError(path + ": name the description; its data goes to a .raw file beside it");
    const std::string name = described_name(data);
    PendingFile data_file(data);
    PendingFile description(path);
    const auto write = [](const PendingFile& file, const std::string& shown, const auto& fill) {
        std::FILE* const stream = std::fopen(file.path().c_str(), "wb");
        const bool done = stream && fill(stream);
        if ((stream && std::fclose(stream) != 0) || !done)
            throw CommandError(shown + ": Can't write all the data");
    };
    ProgressBar bar("writing", static_cast<std::int64_t>(stack.size()));
    write(data_file, data, [&](std::FILE* stream) {
        const auto count = static_cast<std::size_t>(cols);
        for (const float* const* const plane : stack) {
            for (int i = 0; i < rows; ++i) {
                if (std::fwrite(plane[i], sizeof(float), count, stream) < count)
                    return false;
            }
            bar.advance();
        }
        return true;
    });
    write(description, path, [&](std::FILE* stream) {
        constexpr int float_samples = 40;
        return std::fprintf(stream, "V2\nfile=%s\nnbf=%zu\nrow=%d\ncol=%d\nsize=%d\n", name.c_str(),
                            stack.size(), rows, cols, float_samples) > 0;
    });
    data_file.commit();
    description.commit();
}

void smooth(const VolumeOptions& options) {
    const VolumePtr volume = load_volume(options.in);
    VolumePtr result;
    {
        const ProgressBar bar("smoothing", 1);
        result.reset(volume->smooth_volume(options.sigma));
    }
    if (!result)
        throw CommandError(options.in + ": Can't smooth slices of different sizes");
    save_volume(planes_of(*result, &CImage::pixels), result->nrows, result->ncols, options.out);
}

void find_ridges(const VolumeOptions& options) {
    const VolumePtr volume = load_volume(options.in);
    {
        const ProgressBar bar("looking for ridges", 1);
        volume->ridges(options.sigma, 0.0f, 0, 0, 0);
    }
    const auto plane = options.value == "smallest" ? &CImage::mag_plane
                       : options.value == "middle" ? &CImage::dir_plane
                                                   : &CImage::scale_plane;
    const Stack stack = planes_of(*volume, plane);
    if (stack.empty())
        throw CommandError(options.in + ": Can't find ridges in slices of different sizes");
    save_volume(stack, volume->nrows, volume->ncols, options.out);
}

// What a picture of a volume is a cut or a projection along.
class View {
public:
    View(const Stack& stack, int rows, int cols, const std::string& axis)
        : stack_(stack), depth_(axis == "slices" ? static_cast<int>(stack.size())
                                : axis == "rows" ? rows
                                                 : cols),
          height_(axis == "slices" ? rows : static_cast<int>(stack.size())),
          width_(axis == "columns" ? rows : cols), axis_(axis[0]) {}

    int depth() const { return depth_; }
    int height() const { return height_; }
    int width() const { return width_; }

    float at(int position, int row, int col) const {
        switch (axis_) {
        case 's':
            return stack_[static_cast<std::size_t>(position)][row][col];
        case 'r':
            return stack_[static_cast<std::size_t>(row)][position][col];
        default:
            return stack_[static_cast<std::size_t>(row)][col][position];
        }
    }

private:
    const Stack& stack_;
    int depth_, height_, width_;
    char axis_;
};

float projected(const View& view, const std::string& projection, int row, int col) {
    double sum = 0.0;
    float largest = -std::numeric_limits<float>::infinity();
    for (int position = 0; position < view.depth(); ++position) {
        const float value = view.at(position, row, col);
        sum += value;
        largest = std::max(largest, value);
    }
    return projection == "maximum" ? largest : static_cast<float>(sum / view.depth());
}

void make_picture(const VolumeOptions& options) {
    format_of_ending(options.out); // before the work
    const VolumePtr volume = load_volume(options.in);
    check_slices(*volume, options.in);
    const Stack stack = planes_of(*volume, &CImage::pixels);
    const View view(stack, volume->nrows, volume->ncols, options.axis);
    const int index = options.index < 0 ? view.depth() / 2 : options.index;
    if (index >= view.depth())
        throw CommandError(options.in + ": there are only " + std::to_string(view.depth()) + " " +
                           options.axis);
    CImage picture(view.height(), view.width(), 0, 0, volume->pixel_format);
    if (!picture.pixels)
        throw CommandError("there is no memory for the picture");
    ProgressBar bar("drawing", view.height());
    for (int i = 0; i < view.height(); ++i, bar.advance()) {
        for (int j = 0; j < view.width(); ++j)
            picture.pixels[i][j] = options.projection.empty()
                                       ? view.at(index, i, j)
                                       : projected(view, options.projection, i, j);
    }
    fit_to_format(picture, options.out);
    save(picture, options.out);
}

CLI::App* add_command(CLI::App* parent, const char* name, const char* purpose,
                      const std::shared_ptr<VolumeOptions>& options, const char* out) {
    CLI::App* const command = parent->add_subcommand(name, purpose);
    command->add_option("IN", options->in, "A description of a volume")->required();
    command->add_option("OUT", options->out, out)->required();
    return command;
}

void add_sigma(CLI::App* command, const std::shared_ptr<VolumeOptions>& options) {
    command->add_option("--sigma", options->sigma, "Standard deviation of the Gaussian, in voxels")
        ->check(check_positive, "POSITIVE")
        ->capture_default_str();
}

} // namespace

void add_volume_command(CLI::App& program) {
    CLI::App* const parent =
        program.add_subcommand("volume", "Read, smooth and measure stacks of slices");
    parent->require_subcommand(1);
    parent->footer("A volume is read from a description file, V1 (a numbered series of images) or "
                   "V2 (raw data).\nExample: vorlane volume info head.txt");

    const auto path = std::make_shared<std::string>();
    CLI::App* command = parent->add_subcommand("info", "Say what a volume holds");
    command->add_option("FILE", *path, "A description of a volume")->required();
    command->footer("Example: vorlane volume info head.txt");
    command->callback([path] { print_info(*path); });

    constexpr const char* description =
        "The description to write; the data goes to a .raw file beside it";
    const auto smoothing = std::make_shared<VolumeOptions>();
    command = add_command(parent, "smooth", "Smooth with a Gaussian", smoothing, description);
    add_sigma(command, smoothing);
    command->footer("Example: vorlane volume smooth head.txt smooth.txt --sigma 1.5");
    command->callback([smoothing] { smooth(*smoothing); });

    const auto ridges = std::make_shared<VolumeOptions>();
    command = add_command(parent, "ridges", "Measure how each voxel's surroundings curve", ridges,
                          description);
    add_sigma(command, ridges);
    command
        ->add_option("--value", ridges->value,
                     "Which absolute eigenvalue of the second differences: the middle one is large "
                     "on lines and blobs, the largest also on sheets, the smallest on blobs only")
        ->check(CLI::IsMember({"smallest", "middle", "largest"}))
        ->capture_default_str();
    command->footer("Example: vorlane volume ridges head.txt vessels.txt --sigma 2 --value middle");
    command->callback([ridges] { find_ridges(*ridges); });

    const auto picture = std::make_shared<VolumeOptions>();
    command = add_command(parent, "slice", "Show a slice or a projection as a picture", picture,
                          "The picture to write; its ending picks the format");
    command->add_option("--axis", picture->axis, "What is counted: slices, rows or columns")
        ->check(CLI::IsMember({"slices", "rows", "columns"}))
        ->capture_default_str();
    const auto index =
        command->add_option("--index", picture->index, "Which one, from 0; the middle one if open")
            ->check(CLI::NonNegativeNumber);
    command->add_option("--projection", picture->projection, "All of them in one")
        ->check(CLI::IsMember({"maximum", "mean"}))
        ->excludes(index);
    command->footer("Values beyond 0 to 255 are stretched to that range for 8-bit formats.\n"
                    "Example: vorlane volume slice head.txt front.pgm --axis rows --projection "
                    "maximum");
    command->callback([picture] { make_picture(*picture); });
}
