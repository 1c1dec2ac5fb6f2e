// The sub-commands on movies.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "host/pictures.h"
#include "progress.h"

using namespace vorlane::host;

namespace {

constexpr int tq = 4;
constexpr int avi = 5;
constexpr int byte_samples = 4;

struct CloseMovie {
    void operator()(CVideo* movie) const {
        movie->CloseVideo();
        delete movie;
    }
};
using MoviePtr = std::unique_ptr<CVideo, CloseMovie>;

MoviePtr open_movie(const std::string& path) {
    MoviePtr movie(new CVideo);
    if (!movie->OpenVideo(path.c_str()))
        throw Error(path + ": " + take_message("Not a movie"));
    return movie;
}

int movie_format_of_ending(const std::string& path) {
    const std::string ending = std::filesystem::path(path).extension().string();
    if (ending == ".tq")
        return tq;
    if (ending == ".avi")
        return avi;
    throw Error(path + ": the ending must be one of .tq, .avi");
}

// Writes `count` frames to a movie in the format of the path's ending: to a file beside, which
// takes its place when it is whole. frame(n) gives an image, or null for a failure.
template<class Frame>
void save_movie(const std::string& path, int rows, int cols, int count, int pixel_format,
                int image_type, Frame frame) {
    const int format = movie_format_of_ending(path);
    PendingFile file(path);
    const int encoding = image_type == 1 || pixel_format == 0 ? byte_samples : pixel_format;
    MoviePtr movie(
        new CVideo(file.path().c_str(), rows, cols, count, format, encoding, image_type));
    if (movie->file_format == 0)
        throw Error(path + ": " + take_message("Can't create file"));
    ProgressBar progress("frames", count);
    for (int n = 0; n < count; ++n) {
        const CImage* const image = frame(n);
        if (!image)
            throw Error(take_message("Can't make frame " + std::to_string(n)));
        movie->WriteCurrentFrame(image);
        progress.advance();
    }
    movie->CloseVideo();
    const std::string failure = take_message("");
    if (!failure.empty())
        throw Error(path + ": " + failure);
    file.commit();
}

const CImage* fetch(CVideo& movie, int n) {
    return movie.GetFrame(n, nullptr) ? movie.image : nullptr;
}

int print_info(const Arguments& arguments, const Arguments&) {
    const MoviePtr movie = open_movie(arguments.text("IN"));
    std::printf("%s: %s movie, %d frames of %d rows x %d columns, %s\n",
                arguments.text("IN").c_str(), movie->file_format == avi ? "AVI" : "TQ",
                movie->nframes, movie->nrows, movie->ncols,
                movie->image_type == 1 ? "colour" : "gray");
    return 0;
}

// "dir/f%.pgm": the number takes the place of the per cent sign.
int take_apart(const Arguments& arguments, const Arguments&) {
    const std::size_t mark = arguments.text("OUT").rfind('%');
    if (mark == std::string::npos)
        throw Error(arguments.text("OUT") + ": there is no % for the number of the frame");
    const MoviePtr movie = open_movie(arguments.text("IN"));
    ProgressBar progress("frames", movie->nframes);
    for (int n = 0; n < movie->nframes; ++n) {
        if (!fetch(*movie, n))
            throw Error(arguments.text("IN") + ": can't read frame " + std::to_string(n));
        CImage image(movie->image);
        image.pixel_format = movie->pixel_format;
        save_picture(image, arguments.text("OUT").substr(0, mark) +
                                std::to_string(n + arguments.integer("first")) +
                                arguments.text("OUT").substr(mark + 1));
        progress.advance();
    }
    return 0;
}

int put_together(const Arguments& arguments, const Arguments&) {
    const std::vector<std::string> images = arguments.texts("IMAGES");
    ImagePtr image = open_picture(images.front()).image;
    save_movie(arguments.text("OUT"), image->nrows, image->ncols, static_cast<int>(images.size()),
               image->pixel_format, image->image_type, [&](int n) {
                   image = open_picture(images[static_cast<std::size_t>(n)]).image;
                   return image.get();
               });
    return 0;
}

void copy_movie(const std::string& in, const std::string& out, bool is_normalized) {
    const MoviePtr movie = open_movie(in);
    save_movie(out, movie->nrows, movie->ncols, movie->nframes, movie->pixel_format,
               movie->image_type, [&](int n) {
                   const bool is_there = fetch(*movie, n) != nullptr;
                   if (is_there && is_normalized && movie->image_type == 0)
                       movie->image->Normalize(0.0f, 255.0f);
                   return is_there ? movie->image : nullptr;
               });
}

int convert(const Arguments& arguments, const Arguments&) {
    copy_movie(arguments.text("IN"), arguments.text("OUT"), arguments.flag("normalize"));
    return 0;
}

int extract(const Arguments& arguments, const Arguments&) {
    const MoviePtr movie = open_movie(arguments.text("IN"));
    const int first = arguments.is_given("frames") ? arguments.integer("frames", 0) : 0;
    const int last =
        arguments.is_given("frames") ? arguments.integer("frames", 1) : movie->nframes - 1;
    const std::vector<int> part =
        !arguments.is_given("rectangle")
            ? std::vector<int>{0, 0, movie->nrows, movie->ncols}
            : std::vector<int>{arguments.integer("rectangle", 0), arguments.integer("rectangle", 1),
                               arguments.integer("rectangle", 2),
                               arguments.integer("rectangle", 3)};
    if (first < 0 || last < first || last >= movie->nframes)
        throw Error(arguments.text("IN") + ": it has frames 0 to " +
                    std::to_string(movie->nframes - 1));
    ImagePtr result;
    save_movie(arguments.text("OUT"), part[2], part[3], last - first + 1, movie->pixel_format,
               movie->image_type, [&](int n) {
                   const CImage* const frame = fetch(*movie, first + n);
                   result.reset(frame ? frame->Extract(part[0], part[1], part[2], part[3])
                                      : nullptr);
                   if (frame && !result)
                       throw Error("The rectangle doesn't lie in the frames");
                   return result.get();
               });
    return 0;
}

int reduce(const Arguments& arguments, const Arguments&) {
    const MoviePtr movie = open_movie(arguments.text("IN"));
    ImagePtr result;
    save_movie(arguments.text("OUT"), movie->nrows / arguments.integer("factor"),
               movie->ncols / arguments.integer("factor"), movie->nframes, movie->pixel_format,
               movie->image_type, [&](int n) {
                   const CImage* const frame = fetch(*movie, n);
                   result.reset(frame ? frame->Reduce(arguments.integer("factor"),
                                                      arguments.flag("smooth") ? 1 : 0)
                                      : nullptr);
                   return result.get();
               });
    return 0;
}

int superpose(const Arguments& arguments, const Arguments&) {
    const MoviePtr movie = open_movie(arguments.text("IN"));
    const MoviePtr marks = open_movie(arguments.text("MARKS"));
    ImagePtr result;
    constexpr int colour = 1;
    save_movie(arguments.text("OUT"), movie->nrows, movie->ncols, movie->nframes, byte_samples,
               colour, [&](int n) {
                   const CImage* const frame = fetch(*movie, n);
                   if (n < marks->nframes)
                       marks->GetFrame(n, nullptr);
                   result.reset(frame ? frame->Superpose(marks->image) : nullptr);
                   return result.get();
               });
    return 0;
}

// The library makes a movie in a temporary file of this.
int from_yuv(const Arguments& arguments, const Arguments&) {
    const MoviePtr made(VideoFromYUV(arguments.text("IN").c_str(), arguments.integer("rows"),
                                     arguments.integer("cols"), arguments.integer("frames"),
                                     arguments.integer("chroma"), arguments.flag("half") ? 1 : 0));
    const std::string failure = take_message("");
    if (!made || !failure.empty())
        throw Error(arguments.text("IN") + ": " +
                    (failure.empty() ? "No movie has such sizes" : failure));
    const std::string temporary = made->file_name;
    const auto remove = [](const std::string* path) {
        std::error_code ignored;
        std::filesystem::remove(*path, ignored);
    };
    const std::unique_ptr<const std::string, decltype(remove)> removes(&temporary, remove);
    if (movie_format_of_ending(arguments.text("OUT")) ==
        avi) { // as it is, also if it begins with gray
        PendingFile file(arguments.text("OUT"));
        made->WriteVideo(file.path().c_str(), avi, 0, 0, 0);
        const std::string unwritten = take_message("");
        if (!unwritten.empty())
            throw Error(arguments.text("OUT") + ": " + unwritten);
        file.commit();
        return 0;
    }
    copy_movie(temporary, arguments.text("OUT"), false);
    return 0;
}

constexpr Option in_place = {
    .name = "IN", .kind = Kind::path, .purpose = "A movie", .is_required = true};
constexpr Option out_place = {.name = "OUT",
                              .kind = Kind::output,
                              .purpose = "The movie to write, .tq or .avi",
                              .is_required = true};
constexpr Option info_places[] = {in_place};
constexpr Option copy_places[] = {in_place, out_place};
constexpr Option frames_places[] = {in_place,
                                    {.name = "OUT",
                                     .kind = Kind::output,
                                     .purpose = "Name of the pictures; % stands for the number",
                                     .is_required = true}};
constexpr Option build_places[] = {out_place,
                                   {.name = "IMAGES",
                                    .kind = Kind::path,
                                    .purpose = "Its frames",
                                    .most = 1000000,
                                    .is_required = true}};
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
constexpr Option frames_options[] = {{.name = "first",
                                      .kind = Kind::integer,
                                      .purpose = "Number of the first",
                                      .initial = "0",
                                      .low = 0}};
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
};
constexpr Option convert_options[] = {
    {.name = "normalize", .purpose = "Stretch each gray frame to 0 to 255"}};
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
};

constexpr Command table[] = {
    {.description = {.group = "movie",
                     .name = "info",
                     .purpose = "Say what a movie file holds",
                     .example = "heart.avi",
                     .places = info_places},
     .run = print_info},
    {.description = {.group = "movie",
                     .name = "frames",
                     .purpose = "Write each frame to a picture",
                     .example = "heart.avi frame%.pgm --first 1",
                     .places = frames_places,
                     .options = frames_options},
     .run = take_apart},
    {.description = {.group = "movie",
                     .name = "build",
                     .purpose = "Make a movie of pictures, of the size and kind of the first",
                     .example = "heart.avi frame1.pgm frame2.pgm",
                     .places = build_places},
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
                     .name = "superpose",
                     .purpose = "Paint the marks of another movie in red",
                     .example = "heart.avi edges.tq marked.avi",
                     .places = superpose_places},
     .run = superpose},
};

} // namespace

std::span<const Command> movie_commands() {
    return table;
}
