// Movies built of images and of raw frames, taken apart and edited.

#include <vorlane/movie/video.h>

#include <algorithm>
#include <filesystem>
#include <limits>

#ifndef _WIN32
#include <unistd.h>
#endif

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/movies.h>
#include <support/scratch_folder.h>
#include <vorlane/platform/system_files.h>

namespace {

constexpr int largest = std::numeric_limits<int>::max();
const Texts cant_open = {"OpenMovie: Can't open file"};

} // namespace

TEST(MovieEditing, TakesApartAndPutsTogether) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const std::string f = folder.path("f");
    write_movie(folder.path("m.tq"), 4, 4, 0, make_frames(3, 4, 6, 0));
    CVideo movie;
    movie.OpenVideo(folder.path("m.tq").c_str());
    movie.ImagesFromVideo(f.c_str(), 10, ".pgm", 1, 4);
    EXPECT_NE(movie.tqf_file, nullptr); // stays open
    EXPECT_FALSE(folder.has("f9.pgm"));
    EXPECT_FALSE(folder.has("f13.pgm"));
    const MoviePtr built(VideoFromImages(f.c_str(), 10, 12, ".pgm"));
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->file_format, 4);
    EXPECT_EQ(built->dib, nullptr);
    EXPECT_EQ(frames_of(built->file_name), frames_of(movie.file_name));
    const std::filesystem::path path = built->file_name;
    EXPECT_EQ(path.filename().string().substr(0, 4), "temp");
    EXPECT_EQ(path.extension(), ".avi");
#ifndef _WIN32 // where the folder above is the user's own
    EXPECT_EQ(std::filesystem::status(path.parent_path()).permissions(),
              std::filesystem::perms::owner_all);
    EXPECT_EQ(path.parent_path().filename(), std::to_string(getpid())); // nobody else's name
#endif

    movie.ImagesFromVideo(f.c_str(), largest - 2, ".pgm", 1, 4);
    EXPECT_TRUE(folder.has("f2147483647.pgm"));
    movie.ImagesFromVideo(f.c_str(), largest - 1, "x", 1, 4);
    EXPECT_FALSE(folder.has("f2147483646x"));
    EXPECT_EQ(VideoFromImages("f", std::numeric_limits<int>::min(), 5, ""), nullptr);
    movie.CloseVideo();
    EXPECT_EQ(messages.take_failures(), Texts{});
    // The image before stands for one that isn't there or is none, and nothing for none at all.
    std::filesystem::remove(folder.path("f11.pgm"));
    folder.write("f12.pgm", "P5\n");
    const MoviePtr patched(VideoFromImages(f.c_str(), 10, 12, ".pgm"));
    EXPECT_EQ(messages.take_failures(),
              (Texts{"CImage: Can't open file", "CImage: Can't read data"}));
    const auto with_gaps = frames_of(patched->file_name);
    EXPECT_EQ(with_gaps[1], with_gaps[0]);
    EXPECT_EQ(with_gaps[2], with_gaps[0]);
    const MoviePtr empty(VideoFromImages(folder.path("g").c_str(), 1, 2, ".pgm"));
    EXPECT_EQ(empty->nrows, 0);
    EXPECT_EQ(empty->OpenVideo(empty->file_name), 1);
    EXPECT_EQ(empty->nframes, 2);
    empty->CloseVideo();
}

TEST(MovieEditing, EditsFrameByFrame) {
    const ScratchFolder folder;
    const auto frames = make_frames(4, 5, 6, 1);
    const auto none = std::make_unique<CImage>(5, 6, 0, 4, 6);
    none->pixels[2][3] = 1.0f;
    const std::string path = folder.path("m");
    const std::string marks = folder.path("marks");
    for (const int format : {4, 5}) {
        write_movie(path, format, 4, 1, frames);
        CVideo movie;
        ASSERT_EQ(movie.OpenVideo(path.c_str()), 1);

        const MoviePtr part(movie.Extract(1, 2, 1, 2, 3, 4));
        ASSERT_NE(part, nullptr);
        EXPECT_EQ(part->file_format, format);
        EXPECT_EQ(part->nframes, 2);
        EXPECT_EQ(movie.GetNextFrame(nullptr), 0); // closed
        auto result = frames_of(part->file_name);
        for (std::size_t k = 0; k < 2; ++k)
            EXPECT_EQ(result[k], samples_of(*ImagePtr(frames[k + 1]->Extract(1, 2, 3, 4))));
        // The temporary file is the source of the next one, in the same second or not.
        const MoviePtr part_of_part(part->Extract(1, 1, 0, 0, 2, 2));
        ASSERT_NE(part_of_part, nullptr);
        EXPECT_EQ(frames_of(part_of_part->file_name)[0],
                  samples_of(*ImagePtr(frames[2]->Extract(1, 2, 2, 2))));

        const MoviePtr reduced(movie.Reduce(2, 0));
        ASSERT_NE(reduced, nullptr);
        EXPECT_EQ(reduced->nrows, 2);
        EXPECT_EQ(reduced->ncols, 3);
        const ImagePtr expected(frames[3]->Reduce(2, 0));
        result = frames_of(reduced->file_name);
        for (std::size_t k = 0; k < result[3].size(); ++k)
            EXPECT_EQ(result[3][k], static_cast<float>(static_cast<int>(samples_of(*expected)[k])));

        // A shorter movie of marks, whose last frame stays if it is an AVI movie.
        std::vector<ImagePtr> mark;
        mark.push_back(std::make_unique<CImage>(none.get()));
        write_movie(marks, 5, 6, 0, mark);
        const MoviePtr marked(movie.Superpose(marks.c_str()));
        ASSERT_NE(marked, nullptr);
        EXPECT_EQ(marked->nframes, 4);
        result = frames_of(marked->file_name);
        EXPECT_EQ(result[3], samples_of(*ImagePtr(frames[3]->Superpose(none.get()))));
        write_movie(marks, 4, 6, 0, mark);

        // No frames, of which a TQ movie says that they are fewer than none.
        const MoviePtr no_frames(movie.Extract(2, 0, 0, 0, 1, 1));
        ASSERT_NE(no_frames, nullptr);
        EXPECT_EQ(no_frames->OpenVideo(no_frames->file_name), format == 4 ? 1 : 0);
        EXPECT_EQ(no_frames->nframes, format == 4 ? -1 : 0);
        no_frames->CloseVideo();
        const MoviePtr beyond(movie.Extract(-1, 5, 0, 0, 1, 6));
        ASSERT_EQ(beyond != nullptr, format == 5);
        if (beyond) {
            result = frames_of(beyond->file_name);
            const std::size_t shown[] = {0, 0, 1, 2, 3, 3, 3};
            for (std::size_t k = 0; k < std::size(shown); ++k)
                EXPECT_EQ(result[k], samples_of(*ImagePtr(frames[shown[k]]->Extract(0, 0, 1, 6))));
        }
        for (CVideo* refused :
             {movie.Extract(0, 0, 3, 0, 3, 1), movie.Extract(0, 0, -1, 0, 1, 1),
              movie.Extract(0, 0, largest, 0, 1, 1), movie.Extract(0, 0, 0, 0, 1, 7),
              movie.Reduce(0, 0), movie.Reduce(-2, 1), movie.Superpose(marks.c_str())})
            EXPECT_EQ(refused, nullptr);
    }
    // Red marks on a gray movie are stored as a third.
    std::vector<ImagePtr> gray;
    gray.push_back(row_of({0, 255}));
    write_movie(path, 4, 4, 0, gray);
    gray[0] = row_of({1, 0});
    write_movie(marks, 4, 4, 0, gray);
    CVideo movie;
    movie.OpenVideo(path.c_str());
    const MoviePtr marked(movie.Superpose(marks.c_str()));
    EXPECT_EQ(frames_of(marked->file_name)[0], (Samples{85, 255}));

    // Closed also where it can't be opened again.
    MessageCatcher messages;
    movie.OpenVideo(path.c_str());
    EXPECT_EQ(movie.Superpose("nowhere"), nullptr);
    EXPECT_EQ(movie.tqf_file, nullptr);
    movie.OpenVideo(path.c_str());
    vorlane::remove_file(path);
    EXPECT_EQ(movie.Extract(0, 0, 0, 0, 1, 1), nullptr);
    EXPECT_EQ(movie.tqf_file, nullptr);
    EXPECT_EQ(CVideo().Reduce(2, 0), nullptr);
    EXPECT_EQ(messages.take_failures(), (Texts{cant_open[0], cant_open[0], cant_open[0]}));
}

TEST(MovieBuilding, ConvertsYuvFrames) {
    const ScratchFolder folder;
    const auto frames = [&](const std::string& bytes, int rows, int cols, int count, int mode,
                            int half) {
        const MoviePtr movie(
            VideoFromYUV(folder.write("f.yuv", bytes).c_str(), rows, cols, count, mode, half));
        return movie ? frames_of(movie->file_name) : std::vector<Samples>();
    };
    // Many values at half the size, where luma is every second sample of every second row.
    constexpr int pixels = 4000;
    const auto random = make_random(1, 3 * pixels, 0, 9, true);
    const float* const yuv = random->pixels[0];
    std::string bytes;
    const auto put = [&](float value, int times) {
        bytes.append(static_cast<std::size_t>(times), static_cast<char>(static_cast<int>(value)));
    };
    for (int row = 0; row < 2; ++row)
        for (int k = 0; k < pixels; ++k)
            put(yuv[k], 2);
    for (int k = pixels; k < 3 * pixels; ++k)
        put(yuv[k], 1);
    const auto many = frames(bytes, 2, 2 * pixels, 1, 0, 1);
    ASSERT_EQ(many.size(), 1u);
    for (int k = 0; k < pixels; ++k) {
        const double y = (yuv[k] - 16.0) * double{298.082f};
        const double d = yuv[k + pixels] - 128.0;
        const double e = yuv[k + 2 * pixels] - 128.0;
        const double channels[] = {y + double{408.583f} * e,
                                   y - double{100.291f} * d - double{208.12f} * e,
                                   y + double{516.411f} * d};
        for (int c = 0; c < 3; ++c) {
            const double value = std::min(std::max(channels[c] * 0.00390625, 0.0), 255.0);
            ASSERT_EQ(many[0][static_cast<std::size_t>(3 * k + c)],
                      static_cast<int>(static_cast<float>(value)));
        }
    }
    std::string flat = std::string(24, '\x51') + std::string(6, '\x5A') + std::string(6, '\xF0');
    const auto red = frames(flat, 4, 6, 1, 0, 0);
    ASSERT_EQ(red.size(), 1u);
    EXPECT_EQ(red[0][0], 254.0f);
    EXPECT_EQ(red[0][1], 0.0f);
    EXPECT_EQ(red[0][2], 0.0f);
    // Where chroma is 0 the conversion takes it as such.
    const double c = (81.0 - 16.0) * double{298.082f};
    const double green = (c + 128.0 * double{100.291f} + 128.0 * double{208.12f}) * 0.00390625;
    EXPECT_EQ(red[0][3 * 23 + 1], static_cast<float>(static_cast<int>(green)));
    EXPECT_EQ(red[0][3 * 23], 0.0f);
    // Mode 1: chroma rows aren't scaled; what the file lacks repeats its last byte.
    const auto gray = frames(std::string(48, '\x80') + "\x10", 4, 6, 2, 1, 0);
    ASSERT_EQ(gray.size(), 2u);
    EXPECT_EQ(gray[0][0], gray[0][1]);
    EXPECT_EQ(gray[1][3 * 6 + 2], 0.0f);
    const auto small = frames(std::string(48, '\x80'), 4, 6, 1, 1, 1);
    EXPECT_EQ(small[0].size(), 3u * 2 * 3);

    MessageCatcher messages;
    const std::string path = folder.path("f.yuv");
    for (CVideo* refused :
         {VideoFromYUV(path.c_str(), 4, 6, 1, 2, 0), VideoFromYUV(path.c_str(), 4, 6, 1, -1, 0),
          VideoFromYUV(path.c_str(), 5, 6, 1, 0, 0), VideoFromYUV(path.c_str(), 4, 5, 1, 1, 0),
          VideoFromYUV(path.c_str(), 0, 6, 1, 0, 0), VideoFromYUV(path.c_str(), 1, 6, 1, 0, 1),
          VideoFromYUV(path.c_str(), 4, -6, 1, 0, 0), VideoFromYUV(path.c_str(), 4, 6, -1, 0, 0)})
        EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(messages.take_failures(), Texts{});
    for (const std::string& unreadable : {folder.path("no"), std::string("/proc/self/mem")}) {
        EXPECT_EQ(VideoFromYUV(unreadable.c_str(), 4, 6, 1, 0, 0), nullptr);
        EXPECT_EQ(messages.take_failures(), Texts{"VideoFromYUV: Can't open file"});
    }
}
