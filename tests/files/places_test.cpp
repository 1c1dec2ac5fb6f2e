// Every reader and every writer at every place that can't be read, written or filled: its message,
// its result, and what was there before.

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include <support/bad_places.h>
#include <support/messages.h>
#include <support/movies.h>
#include <support/volumes.h>
#include <vorlane/movie/movie_files.h>

namespace {

using vorlane::MovieHandle;

constexpr const char* thrown = "CFileException";

// What a call shows or throws, and whether it gave something.
struct Outcome {
    Texts told;
    bool has_result;
    bool operator==(const Outcome& other) const {
        return told == other.told && has_result == other.has_result;
    }
};
void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << testing::PrintToString(outcome.told) << (outcome.has_result ? " and a result" : "");
}

Outcome outcome_of(const std::function<bool(const char*)>& call, const std::string& path) {
    MessageCatcher messages;
    try {
        const bool has_result = call(path.c_str());
        return {messages.take_failures(), has_result};
    } catch (const CFileException&) {
        return {{thrown}, false};
    }
}

struct Reader {
    const char* name;
    std::function<bool(const char*)> read;
    Texts told;
    bool has_result = false;
};

bool gave(float** plane) {
    return vorlane::Plane(plane).get() != nullptr;
}

TEST(BadPlacesToRead, EachReaderTellsAsDocumented) {
    int rows, cols, type, format;
    const BadPlaces places;
    const std::string description = places.folder.path("v2"), series = places.folder.path("v1");
    const Reader readers[] = {
        {"ReadImage",
         [](const char* path) { return CImage().ReadImage(path) != 0; },
         {"CImage: Can't open file"}},
        {"PGM",
         [&](const char* path) { return gave(read_pgm_image(path, &rows, &cols)); },
         {"read_pgm_image: Can't open file"}},
        {"PPM",
         [&](const char* path) { return gave(read_ppm_image(path, &rows, &cols)); },
         {"read_ppm_image: Can't open file"}},
        {"BMP",
         [&](const char* path) { return gave(read_bmp_image(path, &rows, &cols, &type)); },
         {thrown}},
        {"TQ",
         [&](const char* path) { return gave(read_tqf_image(path, &rows, &cols, &type, &format)); },
         {"read_tqf_image: Can't open file"}},
        {"scanner",
         [&](const char* path) { return gave(read_medical_image(path, &rows, &cols)); },
         {"read_senvoc_image: Can't open file"}},
        {"raw",
         [](const char* path) { return ImagePtr(Raw2Img(path, 1, 1, 0, 0, 0, 0)) != nullptr; },
         {}},
        {"movie",
         [](const char* path) { return CVideo().OpenVideo(path) != 0; },
         {"OpenMovie: Can't open file"}},
        {"AVI",
         [](const char* path) {
             PAVIFILE file = nullptr;
             return open_avi(&file, path, 0) != AVIERR_FILEOPEN;
         },
         {}},
        {"YUV",
         [](const char* path) { return MovieHandle(VideoFromYUV(path, 2, 2, 1, 0, 0)) != nullptr; },
         {"VideoFromYUV: Can't open file"}},
        {"images of a movie",
         [](const char* path) { return MovieHandle(VideoFromImages(path, 1, 1, "")) != nullptr; },
         {"CImage: Can't open file", "CImage: Can't open file"},
         true},
        {"volume",
         [](const char* path) { return CVolume().ReadVolume(path) != 0; },
         {"Can't open file"}},
        {"V2 data",
         [&](const char* path) {
             std::ofstream(description) << "V2\nfile=" << path << "\nnbf=1\nrow=1\ncol=1\nsize=1\n";
             return CVolume().ReadVolume(description.c_str()) != 0;
         },
         {"Can't open file"}},
        {"V1 slices",
         [&](const char* path) {
             std::ofstream(series)
                 << "V1\ndirectory=\nprefix=" << path << "\nstart slice=1\nend slice=1\nsuffix=\n";
             return CVolume().ReadVolume(series.c_str()) != 0;
         },
         {"CImage: Can't open file"},
         true},
    };
    for (const Reader& reader : readers) {
        SCOPED_TRACE(reader.name);
        for (const std::string& path : {places.missing, places.folder.path("closed"), places.pipe,
                                        places.unreadable, places.dangling}) {
            SCOPED_TRACE(path);
            const WithoutPrivilege user;
            EXPECT_EQ(outcome_of(reader.read, path), (Outcome{reader.told, reader.has_result}));
        }
    }
}

struct Writer {
    const char* name;
    std::function<bool(const char*)> write;
    const char* cant_create; // or what is thrown
    const char* cant_fill;
    bool has_result = false;
};

std::vector<Writer> writers(const std::string& movie) {
    std::vector<Writer> all;
    const auto image = [&](const char* name, int format, const char* message) {
        all.push_back({name,
                       [format](const char* path) {
                           const ImagePtr written = make_random(60, 70, 0, 1);
                           written->file_format = format;
                           written->pixel_format = 4;
                           return written->WriteImage(path) != 0;
                       },
                       message, message});
    };
    image("PGM", 1, "write_pgm_image: Can't create file");
    image("PPM", 2, "write_ppm_image: Can't create file");
    image("BMP", 3, thrown);
    image("TQ", 4, "write_tqf_image: Can't create file");
    image("velk", 7, "write_velk_image: Can't create file");
    image("raw", 8, "write_raw_image: Can't create file");
    image("halvort", 9, "write_raw_image: Can't create file");
    for (const int format : {4, 5}) {
        const char* const cant_create =
            format == 4 ? "read_tqf_image: Can't open file" : "create_movie: Can't create AVI file";
        all.push_back({format == 4 ? "TQ movie" : "AVI movie",
                       [format](const char* path) {
                           CVideo made(path, 60, 70, 1, format, 4, 0);
                           made.WriteCurrentFrame(make_random(60, 70, 0, 1).get());
                           made.CloseVideo();
                           return false;
                       },
                       cant_create, "CVideo: Can't write file"});
        all.push_back({format == 4 ? "copy to TQ" : "copy to AVI",
                       [format, movie](const char* path) {
                           CVideo source;
                           EXPECT_EQ(source.OpenVideo(movie.c_str()), 1);
                           return source.WriteVideo(path, format, 0, 0, 4) != 0;
                       },
                       cant_create, "CVideo: Can't write file", true});
    }
    return all;
}

TEST(BadPlacesToWrite, EachWriterTellsAndTouchesNothing) {
    const BadPlaces places;
    const std::string movie = places.folder.path("movie");
    write_movie(movie, 4, 4, 0, make_frames(2, 60, 70, 0));
    SetHalvortTemplate(places.folder.write("template", "header").c_str());
    std::filesystem::permissions(places.folder.path("template"), std::filesystem::perms::all);
    for (const Writer& writer : writers(movie)) {
        SCOPED_TRACE(writer.name);
        for (const std::string& path :
             {places.missing, places.folder.path("closed"), places.unwritable, places.dangling,
              places.in_closed_folder}) {
            SCOPED_TRACE(path);
            const WithoutPrivilege user;
            EXPECT_EQ(outcome_of(writer.write, path),
                      (Outcome{{writer.cant_create}, writer.has_result}));
        }
        EXPECT_EQ(places.folder.read("unwritable"), "kept");
        EXPECT_TRUE(std::filesystem::is_symlink(places.dangling));
        EXPECT_FALSE(places.folder.has("missing"));
        EXPECT_TRUE(std::filesystem::is_empty(places.folder.path("closed")));
    }
    SetHalvortTemplate(nullptr);
}

// An older file is emptied, as documented; a movie that is copied upon itself isn't.
TEST(BadPlacesToWrite, AFullDiskIsTold) {
    const ScratchFolder folder;
    const std::string movie = folder.path("movie"), target = folder.write("target", "older");
    write_movie(movie, 4, 4, 0, make_frames(2, 60, 70, 0));
    const std::vector<Samples> before = frames_of(movie);
    SetHalvortTemplate(folder.write("template", "header").c_str());
    for (const rlim_t room : {0, 3, 20, 1000, 4000}) {
        for (const Writer& writer : writers(movie)) {
            SCOPED_TRACE(writer.name);
            const FullDisk disk(room);
            EXPECT_EQ(outcome_of(writer.write, target),
                      (Outcome{{writer.cant_fill}, writer.has_result}));
        }
        EXPECT_LE(std::filesystem::file_size(target), room);
        for (const int format : {4, 5}) {
            const FullDisk disk(room);
            MessageCatcher messages;
            CVideo source;
            EXPECT_EQ(source.OpenVideo(movie.c_str()), 1);
            EXPECT_EQ(source.WriteVideo(movie.c_str(), format, 0, 0, 4), 1);
            EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't write file"});
        }
        EXPECT_EQ(frames_of(movie), before);
        EXPECT_FALSE(folder.has(".vorlane-0"));
    }
    SetHalvortTemplate(nullptr);
}

// What has gone of a file since it was opened counts as what a short file lacks.
TEST(FilesThatShrink, AreTakenForShort) {
    const ScratchFolder folder;
    const auto frames = make_frames(3, 70, 100, 0);
    for (const int format : {4, 5}) {
        const std::string path = folder.path("movie");
        write_movie(path, format, 4, 0, frames);
        CVideo movie;
        ASSERT_EQ(movie.OpenVideo(path.c_str()), 1);
        const Samples first = samples_of(*movie.image);
        std::filesystem::resize_file(path, format == 4 ? 12000 : 700);
        MessageCatcher messages;
        EXPECT_EQ(movie.GetNextFrame(nullptr), format == 4 ? 1 : 0);
        if (format == 4) { // the last sample that was read repeats
            EXPECT_EQ(movie.image->pixels[69][99], movie.image->pixels[69][98]);
        } else {
            EXPECT_TRUE(same_bits(samples_of(*movie.image), first));
        }
        movie.CloseVideo();
        EXPECT_EQ(messages.take_failures(), Texts{});
    }
    // A file of the system that states more bytes than it has.
    const std::string longer = "/sys/devices/system/cpu/online";
    std::error_code error;
    if (std::filesystem::file_size(longer, error) < 1000 || error)
        return;
    const ImagePtr raw(Raw2Img(longer.c_str(), 20, 30, 0, 0, 0, 0));
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->pixels[19][29], '\n');
    const std::string description =
        folder.write("v2", "V2\nfile=" + longer + "\nnbf=2\nrow=9\ncol=9\nsize=1\n");
    CVolume volume;
    ASSERT_EQ(volume.ReadVolume(description.c_str()), 1);
    EXPECT_EQ(volume.slices[0].pixels[8][8], 0.0f);
    EXPECT_EQ(volume.slices[1].pixels[8][8], 0.0f);
}

} // namespace
