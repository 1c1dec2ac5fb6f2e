#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "host/pictures.h"
#include "progress.h"

using namespace vorlane::host;

namespace {

using VolumePtr = std::unique_ptr<CVolume>;

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
            throw Error(path + ": " + take_message("Not a description of a volume"));
    }
    const auto read = static_cast<int>(planes_of(*volume, &CImage::pixels).size());
    if (read == 0)
        throw Error(path + ": " + take_message("No slice can be read"));
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
            throw Error(path + ": the slices differ in size");
        if (slice.image_type != 0)
            throw Error(path + ": the slices aren't gray");
    }
}

struct Range {
    float low, high;
};

// The smallest and the largest sample that is a number.
Range range_of(const CImage& image) {
    Range range{std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity()};
    const int count = image.image_type == 1 ? 3 * image.ncols : image.ncols;
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < count; ++j) {
            range.low = std::fmin(range.low, image.pixels[i][j]);
            range.high = std::fmax(range.high, image.pixels[i][j]);
        }
    }
    return range;
}

const char* name_of_encoding(int pixel_format) {
    switch (pixel_format) {
    case vorlane::PixelFormat::byte:
        return "unsigned bytes";
    case vorlane::PixelFormat::int32:
        return "signed 32-bit integers";
    case vorlane::PixelFormat::float32:
        return "32-bit floats";
    case vorlane::PixelFormat::int16:
        return "signed 16-bit integers";
    default:
        return "no stated encoding";
    }
}

int print_info(const Arguments& arguments, const Arguments&) {
    const std::string path = arguments.text("IN");
    const VolumePtr volume = load_volume(path);
    float low = std::numeric_limits<float>::infinity();
    float high = -low;
    for (int k = 0; k < volume->nslices; ++k) {
        if (!volume->slices[k].pixels)
            continue;
        const Range range = range_of(volume->slices[k]);
        low = std::min(low, range.low);
        high = std::max(high, range.high);
    }
    std::printf("%s: %s, %d slices of %d rows x %d columns, %s, values %g to %g\n", path.c_str(),
                volume->file_format == 20 ? "a series of images" : "raw data", volume->nslices,
                volume->nrows, volume->ncols, name_of_encoding(volume->pixel_format),
                static_cast<double>(low), static_cast<double>(high));
    return 0;
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
    throw Error(data + ": a description takes names of up to 99 characters without blanks");
}

// Writes a description, and the samples as 32-bit floats into a file of the same name that ends in
// .raw.
void save_volume(const Stack& stack, int rows, int cols, const std::string& path, bool force) {
    const std::string data = std::filesystem::path(path).replace_extension(".raw").string();
    if (data == path)
        throw Error(path + ": name the description; its data goes to a .raw file beside it");
    if (!force && std::filesystem::exists(data))
        throw UsageError(data +
                         ": is there already, beside the description; --force overwrites it");
    const std::string name = described_name(data);
    PendingFile data_file(data);
    PendingFile description(path);
    const auto write = [](const PendingFile& file, const std::string& shown, const auto& fill) {
        std::FILE* const stream = std::fopen(file.path().c_str(), "wb");
        const bool done = stream && fill(stream);
        if ((stream && std::fclose(stream) != 0) || !done)
            throw Error(shown + ": Can't write all the data");
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

int smooth_volume(const Arguments& arguments, const Arguments& common) {
    const VolumePtr volume = load_volume(arguments.text("IN"));
    VolumePtr result;
    {
        const ProgressBar bar("smoothing", 1);
        result.reset(volume->smooth_volume(static_cast<float>(arguments.number("sigma"))));
    }
    if (!result)
        throw Error(arguments.text("IN") + ": Can't smooth slices of different sizes");
    save_volume(planes_of(*result, &CImage::pixels), result->nrows, result->ncols,
                arguments.text("OUT"), common.flag("force"));
    return 0;
}

int find_ridges(const Arguments& arguments, const Arguments& common) {
    const VolumePtr volume = load_volume(arguments.text("IN"));
    {
        const ProgressBar bar("looking for ridges", 1);
        volume->ridges(static_cast<float>(arguments.number("sigma")), 0.0f, 0, 0, 0);
    }
    const auto plane = arguments.text("value") == "smallest" ? &CImage::mag_plane
                       : arguments.text("value") == "middle" ? &CImage::dir_plane
                                                             : &CImage::scale_plane;
    const Stack stack = planes_of(*volume, plane);
    if (stack.empty())
        throw Error(arguments.text("IN") + ": Can't find ridges in slices of different sizes");
    save_volume(stack, volume->nrows, volume->ncols, arguments.text("OUT"), common.flag("force"));
    return 0;
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

int make_picture(const Arguments& arguments, const Arguments& common) {
    if (!is_picture_path(arguments.text("OUT"))) // before the work
        throw Error(arguments.text("OUT") + ": the ending names no format of pictures");
    const VolumePtr volume = load_volume(arguments.text("IN"));
    check_slices(*volume, arguments.text("IN"));
    const Stack stack = planes_of(*volume, &CImage::pixels);
    const View view(stack, volume->nrows, volume->ncols, arguments.text("axis"));
    const int index = arguments.is_given("index") ? arguments.integer("index") : view.depth() / 2;
    const std::string projection = arguments.text("projection");
    if (index >= view.depth())
        throw Error(arguments.text("IN") + ": there are only " + std::to_string(view.depth()) +
                    " " + arguments.text("axis"));
    CImage picture(view.height(), view.width(), 0, 0, volume->pixel_format);
    if (!picture.pixels)
        throw Error("there is no memory for the picture");
    ProgressBar bar("drawing", view.height());
    for (int i = 0; i < view.height(); ++i, bar.advance()) {
        for (int j = 0; j < view.width(); ++j)
            picture.pixels[i][j] =
                projection.empty() ? view.at(index, i, j) : projected(view, projection, i, j);
    }
    SaveOptions save;
    if (arguments.is_given("window")) {
        const double centre = arguments.number("window", 0);
        const double half = arguments.number("window", 1) / 2.0;
        if (!(half > 0.0))
            throw UsageError("the width of --window must be above 0");
        save.range = {RangeRule::fixed, centre - half, centre + half};
    }
    save_picture(picture, arguments.text("OUT"), save, [&](const std::string& note) {
        if (!common.flag("quiet"))
            std::fprintf(stderr, "%s\n", note.c_str());
    });
    return 0;
}

constexpr const char* description_notes =
    "A volume is read from a description: six lines of text, told apart by their place. V1, a "
    "numbered series of pictures: 'V1', 'directory=FOLDER', 'prefix=NAME', 'start slice=FIRST', "
    "'end slice=LAST', 'suffix=.pgm'; slice n is FOLDER/NAMEn.pgm. V2, samples in one file without "
    "a header: 'V2', 'file=PATH', 'nbf=SLICES', 'row=ROWS', 'col=COLUMNS', 'size=N', where N is 1 "
    "for unsigned bytes, 2 for signed 16-bit and 4 for signed 32-bit integers, 40 for 32-bit "
    "floats, low byte first. Names are taken as they stand, not relative to the description.";

constexpr Option in_place = {
    .name = "IN", .kind = Kind::path, .purpose = "A description of a volume", .is_required = true};
constexpr Option info_places[] = {in_place};
constexpr Option volume_places[] = {
    in_place,
    {.name = "OUT",
     .kind = Kind::output,
     .purpose = "The description to write; the data goes to a .raw file beside it",
     .is_required = true}};
constexpr Option picture_places[] = {
    in_place,
    {.name = "OUT",
     .kind = Kind::output,
     .purpose = "The picture to write; its ending picks the format",
     .is_required = true}};
constexpr Option sigma_option = {.name = "sigma",
                                 .kind = Kind::number,
                                 .purpose = "Standard deviation of the Gaussian",
                                 .initial = "2",
                                 .low = 0,
                                 .high = 1000,
                                 .excludes_low = true,
                                 .unit = "voxels"};
constexpr Option smooth_options[] = {sigma_option};
constexpr Option ridge_options[] = {
    sigma_option,
    {.name = "value",
     .kind = Kind::choice,
     .purpose = "Which absolute eigenvalue of the second differences: the middle one is large on "
                "lines and blobs, the largest also on sheets, the smallest on blobs only",
     .initial = "middle",
     .choices = "smallest|middle|largest"},
};
constexpr Option slice_options[] = {
    {.name = "axis",
     .kind = Kind::choice,
     .purpose = "What is counted",
     .initial = "slices",
     .choices = "slices|rows|columns"},
    {.name = "index",
     .kind = Kind::integer,
     .purpose = "Which one, from 0; the middle one if open",
     .low = 0,
     .excludes = "projection"},
    {.name = "projection",
     .kind = Kind::choice,
     .purpose = "All of them in one",
     .choices = "maximum|mean"},
    {.name = "window",
     .kind = Kind::number,
     .purpose = "Show WIDTH values around CENTRE as 0 to 255",
     .values = "CENTRE WIDTH",
     .least = 2,
     .most = 2},
};

constexpr Command table[] = {
    {.description = {.group = "volume",
                     .name = "info",
                     .purpose = "Say what a volume holds",
                     .notes = description_notes,
                     .example = "head.txt",
                     .places = info_places},
     .run = print_info},
    {.description = {.group = "volume",
                     .name = "smooth",
                     .purpose = "Smooth with a Gaussian",
                     .notes = description_notes,
                     .example = "head.txt smooth.txt --sigma 1.5",
                     .places = volume_places,
                     .options = smooth_options},
     .run = smooth_volume},
    {.description = {.group = "volume",
                     .name = "ridges",
                     .purpose = "Measure how each voxel's surroundings curve",
                     .notes = description_notes,
                     .example = "head.txt vessels.txt --sigma 2 --value middle",
                     .places = volume_places,
                     .options = ridge_options},
     .run = find_ridges},
    {.description = {.group = "volume",
                     .name = "slice",
                     .purpose = "Show a slice or a projection as a picture",
                     .notes = description_notes,
                     .example = "head.txt front.pgm --axis rows --projection maximum",
                     .places = picture_places,
                     .options = slice_options},
     .run = make_picture},
};

} // namespace

std::span<const Command> volume_commands() {
    return table;
}
