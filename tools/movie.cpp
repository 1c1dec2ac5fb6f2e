// The sub-commands on movies.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <vorlane/platform/system_files.h>

#include "commands.h"
#include "host/command_line.h"
#include "host/file_kinds.h"
#include "host/movies.h"
#include "host/pictures.h"
#include "progress.h"

using namespace vorlane::host;

namespace {

using vorlane::ImageType;
using vorlane::PixelFormat;

std::unique_ptr<MovieReader> open_with(const Arguments& arguments, const char* place = "IN") {
    return open_movie(arguments.text(place),
                      {.allow_truncated = arguments.flag("allow-truncated")});
}

// A frame on its way into another movie; gives null behind the last one.
using NextFrame = std::function<const CImage*()>;

// What becomes of values that bytes don't hold: one rule for the whole movie. Where they are to be
// stretched, all frames are gone through twice: `begin` starts them anew.
void save_frames(const Arguments& arguments, const Arguments& common, MovieSettings settings,
                 const std::function<NextFrame()>& begin) {
    const std::string& out = arguments.text("OUT");
    if (arguments.is_given("fps"))
        settings.rate = arguments.number("fps");
    if (arguments.flag("colour"))
        settings.image_type = ImageType::colour;
    settings.range = RangeRule::parse(arguments.text("range"));
    if (!is_movie_path(out))
        throw UsageError(out + ": the ending isn't that of a movie; endings are " +
                         movie_endings());
    if (settings.range.kind == RangeRule::stretch) {
        RangeOfFrames range;
        if (settings.pixel_format != PixelFormat::byte && movie_holds_bytes(out, settings)) {
            const NextFrame next = begin();
            while (const CImage* const frame = next())
                range.add(*frame);
        }
        settings.range = range.resolve(settings.range);
        if (settings.range.kind == RangeRule::fixed && !common.flag("quiet"))
            std::fprintf(stderr, "%s: values %g to %g stretched to 0 to 255\n", out.c_str(),
                         range.low(), range.high());
    }
    const auto movie = create_movie(out, settings);
    ProgressBar progress("frames", std::max<std::int64_t>(settings.frame_count, 1));
    settings.frame_count = -1;
    const NextFrame next = begin();
    while (const CImage* const frame = next()) {
        movie->add(*frame);
        progress.advance();
    }
    movie->finish();
}

MovieSettings settings_of(const MovieInfo& info) {
    MovieSettings settings;
    settings.rows = info.rows;
    settings.cols = info.cols;
    settings.image_type = info.image_type;
    settings.pixel_format = info.pixel_format;
    settings.rate = info.rate;
    settings.frame_count = info.frame_count;
    return settings;
}

// Frames `first` to `last` (below 0: to the end) of a movie, each changed by `change`.
using Change = std::function<const CImage*(const CImage& frame)>;
void copy_frames(const Arguments& arguments, const Arguments& common, MovieReader& movie,
                 const MovieSettings& settings, std::int64_t first, std::int64_t last,
                 const Change& change) {
    save_frames(arguments, common, settings, [&movie, first, last, change]() -> NextFrame {
        movie.seek(first);
        return [&movie, change, n = first, last]() mutable -> const CImage* {
            if (last >= 0 && n > last)
                return nullptr;
            const CImage* const frame = movie.next();
            ++n;
            return frame ? change(*frame) : nullptr;
        };
    });
}

std::string rate_text(double rate) {
    if (rate <= 0.0)
        return "no frame rate stated";
    char text[40];
    std::snprintf(text, sizeof text, "%.6g frames a second", rate);
    return text;
}

int print_info(const Arguments& arguments, const Arguments&) {
    const auto movie = open_with(arguments);
    const std::int64_t count = movie->count_frames();
    const MovieInfo& info = movie->info();
    std::printf("%s: %s movie, %lld frames of %d rows x %d columns, %s, %s, codec %s",
                arguments.text("IN").c_str(), info.format.c_str(), static_cast<long long>(count),
                info.rows, info.cols, info.image_type == ImageType::colour ? "colour" : "gray",
                rate_text(info.rate).c_str(), info.codec.c_str());
    for (const auto& [what, value] : info.facts)
        std::printf(", %s %s", what.c_str(), value.c_str());
    std::printf("\n");
    return 0;
}

// "f%.pgm" or "f%04d.pgm": where the number stands, and to how many digits.
struct Pattern {
    std::string before, behind;
    std::size_t digits = 1;

    explicit Pattern(const std::string& text) {
        const std::size_t mark = text.rfind('%');
        if (mark == std::string::npos)
            throw UsageError(text + ": there is no % for the number of the frame");
        before = text.substr(0, mark);
        std::size_t end = mark + 1;
        std::size_t wanted = 0;
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])) != 0 &&
               wanted < 10)
            wanted = wanted * 10 + static_cast<std::size_t>(text[end++] - '0');
        const bool is_number = end < text.size() && text[end] == 'd';
        if (is_number)
            digits = std::clamp<std::size_t>(wanted, 1, 20);
        behind = text.substr(is_number ? end + 1 : mark + 1);
    }

    std::string name_of(std::int64_t n) const {
        std::string number = std::to_string(n);
        if (number.size() < digits)
            number.insert(0, digits - number.size(), '0');
        return before + number + behind;
    }
};

// Formats whose files hold values of any size.
bool holds_values(const std::string& path) {
    const std::string ending = ending_of(path);
    return ending == ".tif" || ending == ".tiff" || ending == ".tq" || ending == ".pfm" ||
           ending == ".raw";
}

int take_apart(const Arguments& arguments, const Arguments& common) {
    const Pattern pattern(arguments.text("OUT"));
    const auto movie = open_with(arguments);
    const MovieInfo& info = movie->info();
    SaveOptions save;
    save.range = RangeRule::parse(arguments.text("range"));
    const bool has_values =
        info.pixel_format == PixelFormat::float32 || info.pixel_format == PixelFormat::int32;
    if (save.range.kind == RangeRule::stretch && has_values &&
        !holds_values("x" + pattern.behind)) {
        RangeOfFrames range; // one for all pictures
        while (const CImage* const frame = movie->next())
            range.add(*frame);
        movie->seek(0);
        const RangeRule rule = range.resolve(save.range);
        save.range = rule;
        if (rule.kind == RangeRule::fixed && !common.flag("quiet"))
            std::fprintf(stderr, "%s: values %g to %g stretched to 0 to 255\n",
                         arguments.text("OUT").c_str(), range.low(), range.high());
    }
    ProgressBar progress("frames", std::max<std::int64_t>(info.frame_count, 1));
    for (std::int64_t n = arguments.integer("first");; ++n) {
        const CImage* const frame = movie->next();
        if (!frame)
            return 0;
        save_picture(*frame, pattern.name_of(n), save);
        progress.advance();
    }
}

int put_together(const Arguments& arguments, const Arguments& common) {
    const std::vector<std::string> names = arguments.texts("IMAGES");
    MovieSettings settings;
    {
        const ImagePtr first = open_picture(names.front()).image;
        settings.rows = first->nrows;
        settings.cols = first->ncols;
        settings.image_type = first->image_type;
        settings.pixel_format = first->pixel_format;
        settings.frame_count = static_cast<std::int64_t>(names.size());
    }
    save_frames(arguments, common, settings, [&names]() -> NextFrame {
        auto image = std::make_shared<ImagePtr>();
        return [&names, image, n = std::size_t{0}]() mutable -> const CImage* {
            *image = n < names.size() ? open_picture(names[n++]).image : nullptr;
            return image->get();
        };
    });
    return 0;
}

int convert(const Arguments& arguments, const Arguments& common) {
    const auto movie = open_with(arguments);
    MovieSettings settings = settings_of(movie->info());
    const bool is_normalized =
        arguments.flag("normalize") && settings.image_type == ImageType::gray;
    if (is_normalized)
        settings.pixel_format = PixelFormat::byte;
    ImagePtr stretched;
    copy_frames(arguments, common, *movie, settings, 0, -1, [&](const CImage& frame) {
        if (!is_normalized)
            return &frame;
        stretched = std::make_unique<CImage>(&frame);
        stretched->Normalize(0.0f, 255.0f);
        return static_cast<const CImage*>(stretched.get());
    });
    return 0;
}

int extract(const Arguments& arguments, const Arguments& common) {
    const auto movie = open_with(arguments);
    const bool has_frames = arguments.is_given("frames");
    const int first = has_frames ? arguments.integer("frames", 0) : 0;
    const int last = has_frames ? arguments.integer("frames", 1) : -1;
    if (has_frames) {
        const std::int64_t count = movie->count_frames();
        if (last < first || last >= count)
            throw UsageError(arguments.text("IN") + ": it has frames 0 to " +
                             std::to_string(count - 1));
    }
    MovieSettings settings = settings_of(movie->info());
    std::vector<int> part = {0, 0, settings.rows, settings.cols};
    if (arguments.is_given("rectangle")) {
        for (int n = 0; n < 4; ++n)
            part[static_cast<std::size_t>(n)] = arguments.integer("rectangle", n);
    }
    if (part[2] < 1 || part[3] < 1 || part[0] > settings.rows - part[2] ||
        part[1] > settings.cols - part[3])
        throw UsageError("The rectangle doesn't lie in the frames");
    settings.rows = part[2];
    settings.cols = part[3];
    if (has_frames)
        settings.frame_count = last - first + 1;
    ImagePtr result;
    copy_frames(arguments, common, *movie, settings, first, last, [&](const CImage& frame) {
        result = checked(frame.Extract(part[0], part[1], part[2], part[3]),
                         "there is no memory for a frame");
        return result.get();
    });
    return 0;
}

int reduce(const Arguments& arguments, const Arguments& common) {
    const auto movie = open_with(arguments);
    const int factor = arguments.integer("factor");
    const int mode = arguments.flag("smooth") ? 1 : 0;
    MovieSettings settings = settings_of(movie->info());
    settings.rows /= factor;
    settings.cols /= factor;
    ImagePtr result;
    copy_frames(arguments, common, *movie, settings, 0, -1, [&](const CImage& frame) {
        result = checked(frame.Reduce(factor, mode), "there is no memory for a frame");
        return result.get();
    });
    return 0;
}

int superpose(const Arguments& arguments, const Arguments& common) {
    const auto movie = open_with(arguments);
    const auto marks = open_with(arguments, "MARKS");
    MovieSettings settings = settings_of(movie->info());
    settings.image_type = ImageType::colour;
    settings.pixel_format = PixelFormat::byte;
    ImagePtr result;
    ImagePtr mark; // the last one stays where the marks are fewer
    copy_frames(arguments, common, *movie, settings, 0, -1, [&](const CImage& frame) {
        if (const CImage* const next = marks->next())
            mark = std::make_unique<CImage>(next);
        result =
            checked(frame.Superpose(mark.get()), "The marks have smaller frames than the movie");
        return result.get();
    });
    return 0;
}

int run_chain(const Arguments& arguments, const Arguments& common) {
    Chain chain = Chain::parse(chain_text(arguments.text("CHAIN")));
    if (chain.input() == Input::file || chain.output() == Output::text)
        throw UsageError("the steps for a movie take and give pictures");
    chain.open_pictures({});
    const auto movie = open_with(arguments);
    const std::string& name = arguments.text("IN");
    const auto change = [&](const CImage& frame) {
        return chain.run(std::make_unique<CImage>(&frame), name, nullptr).image;
    };
    const CImage* const first = movie->next();
    if (!first)
        throw Error(name + ": there are no frames");
    ImagePtr result = change(*first);
    MovieSettings settings = settings_of(movie->info()); // of what the steps make of a frame
    settings.rows = result->nrows;
    settings.cols = result->ncols;
    settings.image_type = result->image_type;
    settings.pixel_format = result->pixel_format;
    copy_frames(arguments, common, *movie, settings, 0, -1, [&](const CImage& frame) {
        result = change(frame);
        return result.get();
    });
    return 0;
}

// The library makes a movie in a temporary file of this.
int from_yuv(const Arguments& arguments, const Arguments& common) {
    const std::unique_ptr<CVideo> made(VideoFromYUV(
        arguments.text("IN").c_str(), arguments.integer("rows"), arguments.integer("cols"),
        arguments.integer("frames"), arguments.integer("chroma"), arguments.flag("half") ? 1 : 0));
    const std::string failure = take_message("");
    if (!made || !failure.empty())
        throw Error(arguments.text("IN") + ": " +
                    (failure.empty() ? "No movie has such sizes" : failure));
    const std::string temporary = made->file_name;
    const auto remove = [](const std::string* path) { vorlane::remove_file(*path); };
    const std::unique_ptr<const std::string, decltype(remove)> removes(&temporary, remove);
    const auto movie = open_movie(temporary);
    MovieSettings settings = settings_of(movie->info());
    settings.rate = 0.0; // raw frames have none
    settings.image_type = ImageType::colour;
    copy_frames(arguments, common, *movie, settings, 0, -1,
                [](const CImage& frame) { return &frame; });
    return 0;
}

constexpr Option in_place = {
    .name = "IN", .kind = Kind::path, .purpose = "A movie", .is_required = true};
constexpr Option out_place = {.name = "OUT",
                              .kind = Kind::output,
                              .purpose = "The movie to write; its ending picks the format",
                              .is_required = true};
constexpr Option info_places[] = {in_place};
constexpr Option copy_places[] = {in_place, out_place};
constexpr Option frames_places[] = {
    in_place,
    {.name = "OUT",
     .kind = Kind::output,
     .purpose = "Name of the pictures; % stands for the number, %03d for one of three digits",
     .is_required = true}};
constexpr Option build_places[] = {out_place,
                                   {.name = "IMAGES",
                                    .kind = Kind::path,
                                    .purpose = "Its frames",
                                    .most = 1000000,
                                    .is_required = true}};
constexpr Option run_places[] = {{.name = "CHAIN",
                                  .kind = Kind::text,
                                  .purpose = "Operations in quotes, or @FILE",
                                  .is_required = true},
                                 in_place,
                                 out_place};
constexpr Option superpose_places[] = {in_place,
                                       {.name = "MARKS",
                                        .kind = Kind::path,
                                        .purpose = "A movie; pixels other than 0 mark",
                                        .is_required = true},
                                       out_place};

constexpr double largest_int = 2147483647.0;
constexpr Option number_option(const char* name, const char* purpose) {
    return {.name = name,
            .kind = Kind::integer,
            .purpose = purpose,
            .low = 1,
            .high = largest_int,
            .is_required = true};
}
constexpr Option truncated_option = {
    .name = "allow-truncated",
    .purpose = "Take the frames that are there of a file that is cut short"};
constexpr Option fps_option = {.name = "fps",
                               .kind = Kind::number,
                               .purpose = "The frame rate; if open that of the source, or 25",
                               .low = 0.01,
                               .high = 1000,
                               .unit = "frames a second"};
constexpr Option range_option = {
    .name = "range",
    .kind = Kind::text,
    .purpose = "Values outside 0 to 255 in a movie of bytes: stretch the range of all frames, "
               "clamp or wrap those, or bring LO:HI to 0 to 255",
    .values = "stretch|clamp|wrap|LO:HI",
    .initial = "stretch"};
constexpr Option colour_option = {.name = "colour",
                                  .purpose = "Write in colour, whatever the first frame is"};
constexpr Option frames_options[] = {
    {.name = "first",
     .kind = Kind::integer,
     .purpose = "Number of the first",
     .initial = "0",
     .low = 0},
    range_option,
    truncated_option,
};
constexpr Option info_options[] = {truncated_option};
constexpr Option build_options[] = {fps_option, range_option, colour_option};
constexpr Option superpose_options[] = {fps_option, range_option, colour_option, truncated_option};
constexpr Option yuv_options[] = {
    number_option("rows", "Rows of a frame"),
    number_option("cols", "Columns of a frame"),
    number_option("frames", "Frames in the file"),
    {.name = "chroma",
     .kind = Kind::integer,
     .purpose = "Chroma rows: 0 half of them, 1 all",
     .initial = "0",
     .low = 0,
     .high = 1},
    {.name = "half", .purpose = "Frames of half the size"},
    fps_option,
    range_option,
    colour_option,
    truncated_option,
};
constexpr Option convert_options[] = {
    {.name = "normalize", .purpose = "Stretch each gray frame to 0 to 255 by itself"},
    fps_option,
    range_option,
    colour_option,
    truncated_option,
};
constexpr Option crop_options[] = {
    {.name = "frames",
     .kind = Kind::integer,
     .purpose = "The first and the last",
     .values = "FIRST LAST",
     .low = 0,
     .least = 2,
     .most = 2},
    {.name = "rectangle",
     .kind = Kind::integer,
     .purpose = "First row and column, from 0, and how many of each",
     .values = "ROW COL ROWS COLS",
     .low = 0,
     .least = 4,
     .most = 4},
    fps_option,
    range_option,
    colour_option,
    truncated_option,
};
constexpr Option reduce_options[] = {
    {.name = "factor",
     .kind = Kind::integer,
     .purpose = "The factor",
     .initial = "2",
     .low = 1,
     .high = 1048576},
    {.name = "smooth",
     .purpose = "For factor 2: a wider filter than the mean, over 3 x 3 pixels",
     .alias = "filtered"},
    fps_option,
    range_option,
    colour_option,
    truncated_option,
};

constexpr Command table[] = {
    {.description = {.group = "movie",
                     .name = "info",
                     .purpose = "Say what a movie file holds",
                     .example = "heart.avi",
                     .places = info_places,
                     .options = info_options},
     .run = print_info},
    {.description = {.group = "movie",
                     .name = "frames",
                     .purpose = "Write each frame to a picture",
                     .example = "heart.avi frame%03d.png --first 1",
                     .places = frames_places,
                     .options = frames_options},
     .run = take_apart},
    {.description = {.group = "movie",
                     .name = "build",
                     .purpose = "Make a movie of pictures, of the size and kind of the first",
                     .example = "heart.avi frame1.pgm frame2.pgm",
                     .places = build_places,
                     .options = build_options},
     .run = put_together},
    {.description = {.group = "movie",
                     .name = "from-yuv",
                     .purpose = "Make a movie of raw YUV frames",
                     .notes =
                         "Each frame is its luma and then both chroma planes, in bytes. Chroma "
                         "is enlarged by bilinear samples that end before the last rows and "
                         "columns, so that a dark, greenish border of a pixel or two stays at "
                         "the bottom and on the right; --half leaves luma out in place of "
                         "enlarging chroma.",
                     .example = "heart.yuv heart.avi --rows 288 --cols 352 --frames 50",
                     .places = copy_places,
                     .options = yuv_options},
     .run = from_yuv},
    {.description = {.group = "movie",
                     .name = "convert",
                     .purpose = "Copy a movie to another format",
                     .example = "heart.avi heart.tq",
                     .places = copy_places,
                     .options = convert_options},
     .run = convert},
    {.description = {.group = "movie",
                     .name = "crop",
                     .purpose = "Cut frames and a rectangle out of a movie",
                     .example = "heart.avi part.avi --frames 10 20 --rectangle 5 5 64 64",
                     .places = copy_places,
                     .options = crop_options},
     .run = extract},
    {.description = {.group = "movie",
                     .name = "reduce",
                     .purpose = "Make frames smaller by a whole factor",
                     .example = "heart.avi small.avi --factor 2",
                     .places = copy_places,
                     .options = reduce_options},
     .run = reduce},
    {.description = {.group = "movie",
                     .name = "run",
                     .purpose = "Operations on every frame, one after the other in memory",
                     .notes = "CHAIN is that of 'vorlane run'.",
                     .example = "'smooth --sigma 2 | edges' heart.avi edges.tq",
                     .places = run_places,
                     .options = superpose_options},
     .run = run_chain},
    {.description = {.group = "movie",
                     .name = "superpose",
                     .purpose = "Paint the marks of another movie in red",
                     .example = "heart.avi edges.tq marked.avi",
                     .places = superpose_places,
                     .options = superpose_options},
     .run = superpose},
};

} // namespace

std::span<const Command> movie_commands() {
    return table;
}
