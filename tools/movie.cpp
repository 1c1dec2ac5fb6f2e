// The sub-commands on movies.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"
#include "progress.h"

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
        throw CommandError(path + ": " + take_message("Not a movie"));
    return movie;
}

int movie_format_of_ending(const std::string& path) {
    const std::string ending = std::filesystem::path(path).extension().string();
    if (ending == ".tq")
        return tq;
    if (ending == ".avi")
        return avi;
    throw CommandError(path + ": the ending must be one of .tq, .avi");
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
        throw CommandError(path + ": " + take_message("Can't create file"));
    ProgressBar progress("frames", count);
    for (int n = 0; n < count; ++n) {
        const CImage* const image = frame(n);
        if (!image)
            throw CommandError(take_message("Can't make frame " + std::to_string(n)));
        movie->WriteCurrentFrame(image);
        progress.advance();
    }
    movie->CloseVideo();
    const std::string failure = take_message("");
    if (!failure.empty())
        throw CommandError(path + ": " + failure);
    file.commit();
}

const CImage* fetch(CVideo& movie, int n) {
    return movie.GetFrame(n, nullptr) ? movie.image : nullptr;
}

// What a sub-command is given.
struct Options {
    std::string in, out, marks;
    std::vector<std::string> images;
    std::vector<int> frames, rectangle;
    int first = 0, factor = 2, rows = 0, cols = 0, chroma = 0, count = 0;
    bool filtered = false, half = false, normalize = false;
};
using OptionsPtr = std::shared_ptr<Options>;

void print_info(const Options& options) {
    const MoviePtr movie = open_movie(options.in);
    std::printf("%s: %s movie, %d frames of %d rows x %d columns, %s\n", options.in.c_str(),
                movie->file_format == avi ? "AVI" : "TQ", movie->nframes, movie->nrows,
                movie->ncols, movie->image_type == 1 ? "colour" : "gray");
}

// "dir/f%.pgm": the number takes the place of the per cent sign.
void take_apart(const Options& options) {
    const std::size_t mark = options.out.rfind('%');
    if (mark == std::string::npos)
        throw CommandError(options.out + ": there is no % for the number of the frame");
    const MoviePtr movie = open_movie(options.in);
    ProgressBar progress("frames", movie->nframes);
    for (int n = 0; n < movie->nframes; ++n) {
        if (!fetch(*movie, n))
            throw CommandError(options.in + ": can't read frame " + std::to_string(n));
        CImage image(movie->image);
        image.pixel_format = movie->pixel_format;
        save(image, options.out.substr(0, mark) + std::to_string(n + options.first) +
                        options.out.substr(mark + 1));
        progress.advance();
    }
}

void put_together(const Options& options) {
    ImagePtr image = load(options.images.front());
    save_movie(options.out, image->nrows, image->ncols, static_cast<int>(options.images.size()),
               image->pixel_format, image->image_type, [&](int n) {
                   image = load(options.images[static_cast<std::size_t>(n)]);
                   return image.get();
               });
}

void convert(const Options& options) {
    const MoviePtr movie = open_movie(options.in);
    save_movie(options.out, movie->nrows, movie->ncols, movie->nframes, movie->pixel_format,
               movie->image_type, [&](int n) {
                   const bool is_there = fetch(*movie, n) != nullptr;
                   if (is_there && options.normalize && movie->image_type == 0)
                       movie->image->Normalize(0.0f, 255.0f);
                   return is_there ? movie->image : nullptr;
               });
}

void extract(const Options& options) {
    const MoviePtr movie = open_movie(options.in);
    const int first = options.frames.empty() ? 0 : options.frames[0];
    const int last = options.frames.empty() ? movie->nframes - 1 : options.frames[1];
    const std::vector<int> part = options.rectangle.empty()
                                      ? std::vector<int>{0, 0, movie->nrows, movie->ncols}
                                      : options.rectangle;
    if (first < 0 || last < first || last >= movie->nframes)
        throw CommandError(options.in + ": it has frames 0 to " +
                           std::to_string(movie->nframes - 1));
    ImagePtr result;
    save_movie(options.out, part[2], part[3], last - first + 1, movie->pixel_format,
               movie->image_type, [&](int n) {
                   const CImage* const frame = fetch(*movie, first + n);
                   result.reset(frame ? frame->Extract(part[0], part[1], part[2], part[3])
                                      : nullptr);
                   if (frame && !result)
                       throw CommandError("The rectangle doesn't lie in the frames");
                   return result.get();
               });
}

void reduce(const Options& options) {
    const MoviePtr movie = open_movie(options.in);
    ImagePtr result;
    save_movie(options.out, movie->nrows / options.factor, movie->ncols / options.factor,
               movie->nframes, movie->pixel_format, movie->image_type, [&](int n) {
                   const CImage* const frame = fetch(*movie, n);
                   result.reset(frame ? frame->Reduce(options.factor, options.filtered ? 1 : 0)
                                      : nullptr);
                   return result.get();
               });
}

void superpose(const Options& options) {
    const MoviePtr movie = open_movie(options.in);
    const MoviePtr marks = open_movie(options.marks);
    ImagePtr result;
    constexpr int colour = 1;
    save_movie(options.out, movie->nrows, movie->ncols, movie->nframes, byte_samples, colour,
               [&](int n) {
                   const CImage* const frame = fetch(*movie, n);
                   if (n < marks->nframes)
                       marks->GetFrame(n, nullptr);
                   result.reset(frame ? frame->Superpose(marks->image) : nullptr);
                   return result.get();
               });
}

// The library makes a movie in a temporary file of this.
void from_yuv(const Options& options) {
    const MoviePtr made(VideoFromYUV(options.in.c_str(), options.rows, options.cols, options.count,
                                     options.chroma, options.half ? 1 : 0));
    const std::string failure = take_message("");
    if (!made || !failure.empty())
        throw CommandError(options.in + ": " +
                           (failure.empty() ? "No movie has such sizes" : failure));
    const std::string temporary = made->file_name;
    const auto remove = [](const std::string* path) {
        std::error_code ignored;
        std::filesystem::remove(*path, ignored);
    };
    const std::unique_ptr<const std::string, decltype(remove)> removes(&temporary, remove);
    if (movie_format_of_ending(options.out) == avi) { // as it is, also if it begins with gray
        PendingFile file(options.out);
        made->WriteVideo(file.path().c_str(), avi, 0, 0, 0);
        const std::string unwritten = take_message("");
        if (!unwritten.empty())
            throw CommandError(options.out + ": " + unwritten);
        file.commit();
        return;
    }
    Options rest;
    rest.in = temporary;
    rest.out = options.out;
    convert(rest);
}

CLI::App* add(CLI::App* movie, const char* name, const char* purpose, const char* example,
              const OptionsPtr& options, void (*run)(const Options&)) {
    CLI::App* const command = movie->add_subcommand(name, purpose);
    command->footer(std::string("Example: vorlane movie ") + example);
    command->callback([options, run] { run(*options); });
    return command;
}

} // namespace

void add_movie_commands(CLI::App& program) {
    CLI::App* const movie = program.add_subcommand(
        "movie", "Look into movies, take them apart, make and edit them (.tq, .avi)");
    movie->require_subcommand(1);
    movie->footer("Example: vorlane movie frames heart.avi frame%.pgm");
    const auto options = std::make_shared<Options>();
    const auto takes_in = [&](CLI::App* command) {
        command->add_option("IN", options->in, "A movie")->required();
        return command;
    };
    const auto takes_in_and_out = [&](CLI::App* command) {
        takes_in(command);
        command->add_option("OUT", options->out, "The movie to write, .tq or .avi")->required();
        return command;
    };

    takes_in(
        add(movie, "info", "Say what a movie file holds", "info heart.avi", options, print_info));
    CLI::App* command = takes_in(add(movie, "frames", "Write each frame to an image file",
                                     "frames heart.avi frame%.pgm --first 1", options, take_apart));
    command->add_option("OUT", options->out, "Name of the images; % stands for the number")
        ->required();
    command->add_option("--first", options->first, "Number of the first")->capture_default_str();

    command = add(movie, "build", "Make a movie of images, of the size and kind of the first",
                  "build heart.avi frame1.pgm frame2.pgm", options, put_together);
    command->add_option("OUT", options->out, "The movie to write, .tq or .avi")->required();
    command->add_option("IMAGES", options->images, "Its frames")->required();

    command = takes_in_and_out(add(movie, "from-yuv", "Make a movie of raw YUV frames",
                                   "from-yuv heart.yuv heart.avi --rows 288 --cols 352 --frames 50",
                                   options, from_yuv));
    command->add_option("--rows", options->rows, "Rows of a frame")->required();
    command->add_option("--cols", options->cols, "Columns of a frame")->required();
    command->add_option("--frames", options->count, "Frames in the file")->required();
    command->add_option("--chroma", options->chroma, "Chroma rows: 0 half of them, 1 all")
        ->check(CLI::Range(0, 1))
        ->capture_default_str();
    command->add_flag("--half", options->half, "Frames of half the size");

    command = takes_in_and_out(add(movie, "convert", "Copy a movie to another format",
                                   "convert heart.avi heart.tq", options, convert));
    command->add_flag("--normalize", options->normalize, "Stretch each gray frame to 0 to 255");

    command = takes_in_and_out(add(movie, "crop", "Cut frames and a rectangle out of a movie",
                                   "crop heart.avi part.avi --frames 10 20 --rectangle 5 5 64 64",
                                   options, extract));
    command->add_option("--frames", options->frames, "The first and the last")->expected(2);
    command->add_option("--rectangle", options->rectangle, "First row, first column, rows, columns")
        ->expected(4);

    command = takes_in_and_out(add(movie, "reduce", "Make frames smaller by a whole factor",
                                   "reduce heart.avi small.avi --factor 2", options, reduce));
    command->add_option("--factor", options->factor, "From 1 on")
        ->check(CLI::Range(1, 1 << 20))
        ->capture_default_str();
    command->add_flag("--filtered", options->filtered, "For factor 2: smooth over 3 x 3 pixels");

    command = takes_in(add(movie, "superpose", "Paint the marks of another movie in red",
                           "superpose heart.avi edges.tq marked.avi", options, superpose));
    command->add_option("MARKS", options->marks, "A movie; pixels other than 0 mark")->required();
    command->add_option("OUT", options->out, "The movie to write, .tq or .avi")->required();
}
