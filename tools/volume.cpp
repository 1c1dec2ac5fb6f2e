// The sub-commands on volumes.

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "host/pictures.h"
#include "host/vessels.h"
#include "host/volumes.h"
#include "progress.h"

using namespace vorlane::host;

namespace {

// A progress bar for something that tells how much of how many is done.
class Progress {
public:
    Progress(std::string what, const Arguments& common)
        : what_(std::move(what)), is_quiet_(common.flag("quiet")) {}
    void operator()(int done, int count) {
        if (is_quiet_)
            return;
        if (!bar_)
            bar_ = std::make_unique<ProgressBar>(what_, count);
        bar_->show(done);
    }

private:
    std::string what_;
    bool is_quiet_;
    std::unique_ptr<ProgressBar> bar_;
};

Volume load(const Arguments& arguments, const Arguments& common) {
    Progress progress("reading", common);
    OpenVolumeOptions options;
    options.series = arguments.text("series");
    options.leave_out = arguments.flag("allow-missing");
    options.progress = [&progress](int done, int count) { progress(done, count); };
    Volume volume = open_volume(arguments.text("IN"), options);
    for (const std::string& note : volume.notes) {
        if (!common.flag("quiet"))
            std::fprintf(stderr, "%s\n", note.c_str());
    }
    return volume;
}

void save(const CVolume& volume, const Arguments& arguments, const Arguments& common,
          int pixel_format = vorlane::PixelFormat::float32) {
    Progress progress("writing", common);
    SaveVolumeOptions options;
    options.force = common.flag("force");
    options.pixel_format = pixel_format;
    options.progress = [&progress](int done, int count) { progress(done, count); };
    save_volume(volume, arguments.text("OUT"), options);
}

struct Range {
    float low, high;
};

// The smallest and the largest sample that is a number.
Range range_of(const CVolume& volume) {
    Range range{std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity()};
    for (int k = 0; k < volume.nslices; ++k) {
        for (int i = 0; i < volume.nrows; ++i) {
            const float* const row = volume.slices[k].pixels[i];
            for (int j = 0; j < volume.ncols; ++j) {
                range.low = row[j] < range.low ? row[j] : range.low;
                range.high = row[j] > range.high ? row[j] : range.high;
            }
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

int print_info(const Arguments& arguments, const Arguments& common) {
    const Volume opened = load(arguments, common);
    const CVolume& volume = *opened.volume;
    const Range range = range_of(volume);
    std::printf("%s: %s, %d slices of %d rows x %d columns, %s, values %g to %g\n",
                arguments.text("IN").c_str(), opened.format.c_str(), volume.nslices, volume.nrows,
                volume.ncols, name_of_encoding(volume.pixel_format), static_cast<double>(range.low),
                static_cast<double>(range.high));
    if (opened.slice_spacing > 0.0 || opened.row_spacing > 0.0)
        std::printf("  %g mm from slice to slice, %g from row to row, %g from column to column\n",
                    opened.slice_spacing, opened.row_spacing, opened.col_spacing);
    if (opened.width > 0.0)
        std::printf("  window: %g values around %g\n", opened.width, opened.centre);
    for (const auto& [what, text] : opened.facts)
        std::printf("  %s: %s\n", what.c_str(), text.c_str());
    return 0;
}

int convert_volume(const Arguments& arguments, const Arguments& common) {
    const Volume opened = load(arguments, common);
    save(*opened.volume, arguments, common, encoding_of_values(*opened.volume));
    return 0;
}

int smooth_volume(const Arguments& arguments, const Arguments& common) {
    const Volume opened = load(arguments, common);
    const double sigma = arguments.number("sigma");
    VolumePtr result;
    {
        const ProgressBar bar("smoothing", 1);
        if (arguments.flag("plain"))
            result.reset(opened.volume->smooth_volume(static_cast<float>(sigma)));
        else
            result = smooth(*opened.volume, sigma);
    }
    if (!result)
        throw Error(arguments.text("IN") + ": can't be smoothed, there may be no memory");
    save(*result, arguments, common);
    return 0;
}

int find_ridges(const Arguments& arguments, const Arguments& common) {
    const Volume opened = load(arguments, common);
    CVolume& volume = *opened.volume;
    {
        const ProgressBar bar("looking for ridges", 1);
        volume.ridges(static_cast<float>(arguments.number("sigma")), 0.0f, 0, 0, 0);
    }
    const auto plane = arguments.text("value") == "smallest" ? &CImage::mag_plane
                       : arguments.text("value") == "middle" ? &CImage::dir_plane
                                                             : &CImage::scale_plane;
    for (int k = 0; k < volume.nslices; ++k) {
        if (!(volume.slices[k].*plane))
            throw Error(arguments.text("IN") + ": there is no memory for the ridges");
        std::swap(volume.slices[k].pixels, volume.slices[k].*plane);
    }
    save(volume, arguments, common);
    return 0;
}

int find_all_vessels(const Arguments& arguments, const Arguments& common) {
    VesselOptions options;
    options.from = arguments.number("from");
    options.to = arguments.number("to");
    options.count = arguments.integer("scales");
    options.dark = arguments.flag("dark");
    options.structure = arguments.text("structure") == "line"    ? Structure::line
                        : arguments.text("structure") == "sheet" ? Structure::sheet
                                                                 : Structure::blob;
    options.measure =
        arguments.text("measure") == "sato" ? VesselMeasure::sato : VesselMeasure::frangi;
    const Volume opened = load(arguments, common);
    VesselMap map;
    {
        Progress progress("scales", common);
        map = find_vessels(*opened.volume, options,
                           [&progress](int done, int count) { progress(done, count); });
    }
    save(arguments.flag("scale") ? *map.scale : *map.strength, arguments, common);
    return 0;
}

// What a picture of a volume is a cut or a projection along.
class View {
public:
    View(const CVolume& volume, const std::string& axis)
        : volume_(volume), depth_(axis == "slices" ? volume.nslices
                                  : axis == "rows" ? volume.nrows
                                                   : volume.ncols),
          height_(axis == "slices" ? volume.nrows : volume.nslices),
          width_(axis == "columns" ? volume.nrows : volume.ncols), axis_(axis[0]) {}

    int depth() const { return depth_; }
    int height() const { return height_; }
    int width() const { return width_; }

    float at(int position, int row, int col) const {
        switch (axis_) {
        case 's':
            return volume_.slices[position].pixels[row][col];
        case 'r':
            return volume_.slices[row].pixels[position][col];
        default:
            return volume_.slices[row].pixels[col][position];
        }
    }

private:
    const CVolume& volume_;
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
        throw UsageError(arguments.text("OUT") + ": the ending names no format of pictures");
    const Volume opened = load(arguments, common);
    const View view(*opened.volume, arguments.text("axis"));
    const int index = arguments.is_given("index") ? arguments.integer("index") : view.depth() / 2;
    const std::string& projection = arguments.text("projection");
    if (index >= view.depth())
        throw Error(arguments.text("IN") + ": there are only " + std::to_string(view.depth()) +
                    " " + arguments.text("axis"));
    CImage picture(view.height(), view.width(), 0, 0, opened.volume->pixel_format);
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

constexpr const char* volume_notes =
    "A volume is a folder of DICOM files, a DICOM or TIFF file of several images, or a "
    "description: six lines of text, told apart by their place. V1, a numbered series of pictures: "
    "'V1', 'directory=FOLDER', 'prefix=NAME', 'start slice=FIRST', 'end slice=LAST', "
    "'suffix=.pgm'; slice n is FOLDER/NAMEn.pgm. V2, samples in one file without a header: 'V2', "
    "'file=PATH', 'nbf=SLICES', 'row=ROWS', 'col=COLUMNS', 'size=N', where N is 1 for unsigned "
    "bytes, 2 for signed 16-bit and 4 for signed 32-bit integers, 40 for 32-bit floats, low byte "
    "first. Names are taken as they stand and then relative to the description's folder.";

constexpr Option in_place = {.name = "IN",
                             .kind = Kind::path,
                             .purpose =
                                 "A description of a volume, a file or a folder of DICOM files",
                             .is_required = true};
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
constexpr Option series_option = {.name = "series",
                                  .kind = Kind::text,
                                  .purpose = "Of a folder: the number of the series, or its end",
                                  .values = "NUMBER"};
constexpr Option missing_option = {.name = "allow-missing",
                                   .purpose = "Leave out slices that can't be read"};
constexpr Option reading_options[] = {series_option, missing_option};
constexpr Option smooth_options[] = {
    sigma_option,
    {.name = "plain", .purpose = "As the library does: with a gain, and falling off at the border"},
    series_option,
    missing_option,
};
constexpr Option vessel_options[] = {
    {.name = "from",
     .kind = Kind::number,
     .purpose = "Smallest scale; a line of radius r answers most at about r",
     .initial = "1",
     .low = 0.5,
     .high = 50,
     .unit = "voxels"},
    {.name = "to",
     .kind = Kind::number,
     .purpose = "Largest scale",
     .initial = "3",
     .low = 0.5,
     .high = 50,
     .unit = "voxels"},
    {.name = "scales",
     .kind = Kind::integer,
     .purpose = "Number of scales, in equal steps",
     .initial = "3",
     .low = 1,
     .high = 1000},
    {.name = "structure",
     .kind = Kind::choice,
     .purpose = "What to look for",
     .initial = "line",
     .choices = "line|sheet|blob"},
    {.name = "measure",
     .kind = Kind::choice,
     .purpose = "sato in gray levels, frangi from 0 to 1",
     .initial = "sato",
     .choices = "sato|frangi"},
    {.name = "dark", .purpose = "Structures that are darker than what lies around them"},
    {.name = "scale", .purpose = "Write the scale of each voxel in place of its strength"},
    series_option,
    missing_option,
};
constexpr Option ridge_options[] = {
    sigma_option,
    {.name = "value",
     .kind = Kind::choice,
     .purpose = "Which absolute eigenvalue of the second differences: the middle one is large on "
                "lines and blobs, the largest also on sheets, the smallest on blobs only",
     .initial = "middle",
     .choices = "smallest|middle|largest"},
    series_option,
    missing_option,
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
    series_option,
    missing_option,
};

constexpr Command table[] = {
    {.description = {.group = "volume",
                     .name = "info",
                     .purpose = "Say what a volume holds",
                     .notes = volume_notes,
                     .example = "head.txt",
                     .places = info_places,
                     .options = reading_options},
     .run = print_info},
    {.description = {.group = "volume",
                     .name = "convert",
                     .purpose = "Write a volume as a description, in the encoding of its values",
                     .notes = volume_notes,
                     .example = "head.txt copy.txt",
                     .places = volume_places,
                     .options = reading_options},
     .run = convert_volume},
    {.description = {.group = "volume",
                     .name = "smooth",
                     .purpose = "Smooth with a Gaussian",
                     .notes = volume_notes,
                     .example = "head.txt smooth.txt --sigma 1.5",
                     .places = volume_places,
                     .options = smooth_options},
     .run = smooth_volume},
    {.description = {.group = "volume",
                     .name = "ridges",
                     .purpose = "Measure how each voxel's surroundings curve",
                     .notes = volume_notes,
                     .example = "head.txt vessels.txt --sigma 2 --value middle",
                     .places = volume_places,
                     .options = ridge_options},
     .run = find_ridges},
    {.description = {.group = "volume",
                     .name = "vessels",
                     .purpose = "Find lines, sheets or blobs of several widths",
                     .notes = volume_notes,
                     .example = "head.txt tubes.txt --from 1 --to 4 --scales 4",
                     .places = volume_places,
                     .options = vessel_options},
     .run = find_all_vessels},
    {.description = {.group = "volume",
                     .name = "slice",
                     .purpose = "Show a slice or a projection as a picture",
                     .notes = volume_notes,
                     .example = "head.txt front.pgm --axis rows --projection maximum",
                     .places = picture_places,
                     .options = slice_options},
     .run = make_picture},
};

} // namespace

std::span<const Command> volume_commands() {
    return table;
}
