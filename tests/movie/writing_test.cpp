// Writing movies and copying them.

#include <vorlane/movie/video.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/movies.h>
#include <support/scratch_folder.h>
#include <vorlane/platform/system_files.h>

namespace {

namespace fs = std::filesystem;

} // namespace

TEST(MovieWriting, EncodesTqFrames) {
    const ScratchFolder folder;
    const std::string path = folder.path("m.tq");
    const auto body = [&](int pixel_format, int image_type, ImagePtr frame) {
        const std::string header = "TQ\n1 " + std::to_string(frame->ncols) + " 1\n" +
                                   std::to_string(pixel_format) + "\n" +
                                   std::to_string(image_type) + "\n";
        std::vector<ImagePtr> frames;
        frames.push_back(std::move(frame));
        write_movie(path, 4, pixel_format, image_type, frames);
        const std::string all = folder.read("m.tq");
        EXPECT_EQ(all.substr(0, header.size()), header);
        return all.substr(header.size());
    };
    EXPECT_EQ(body(4, 0, row_of({300.7f, -1.5f})), "\x2C\xFF");
    EXPECT_EQ(body(7, 0, row_of({-1.5f, 70000.0f})), "\xFF\xFF\x70\x11");
    EXPECT_EQ(body(4, 1, row_of({300.7f, -1.5f})), "\x2C\x2C\x2C\xFF\xFF\xFF");
    EXPECT_EQ(body(4, 0, row_of({10, 20, 31}, 1)), "\x14"); // a third of 61
    EXPECT_EQ(body(4, 1, row_of({10, 20, 31}, 1)), "\x0A\x14\x1F");
    EXPECT_EQ(body(6, 1, row_of({10, 20, 31}, 1)), "");

    CVideo movie(path.c_str(), 2, 3, 5, 4, 4, 0);
    EXPECT_EQ(movie.frame_bytes, 6);
    EXPECT_EQ(movie.dib, nullptr);
    EXPECT_EQ(movie.image->file_format, 4);
    EXPECT_EQ(movie.image->pixel_format, 4);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    // Images of other sizes give their top left part, and zeros beyond it; no image at all too.
    for (const int size : {1, 4, 2})
        movie.WriteCurrentFrame(make_random(size, size, size == 4 ? 1 : 0, 7).get());
    const CImage none;
    movie.WriteCurrentFrame(&none);
    movie.write_tqf_frame(make_random(2, 3, 0, 8).get());
    EXPECT_EQ(movie.current_frame, 0);
    EXPECT_EQ(movie.OpenVideo(path.c_str()), 1); // finished before
    EXPECT_EQ(fs::file_size(path), 13u + 30);
    EXPECT_EQ(movie.nframes, 5);
    EXPECT_EQ(movie.image->pixels[0][1], 0.0f);
    movie.CloseVideo();
}

TEST(MovieWriting, WritesAviFrames) {
    const ScratchFolder folder;
    const std::string path = folder.path("m.avi");
    const auto colour = make_random(5, 7, 1, 1, true);
    const auto gray = make_random(5, 7, 0, 2, true);
    CVideo movie(path.c_str(), 5, 7, 99, 5, 0, 0); // counted, whatever the argument
    movie.WriteCurrentFrame(colour.get());
    EXPECT_EQ(movie.current_frame, 1);
    movie.WriteCurrentFrame(gray.get());
    movie.WriteCurrentFrame(make_random(9, 3, 1, 1).get());
    EXPECT_EQ(movie.current_frame, 3);
    EXPECT_EQ(movie.OpenVideo(path.c_str()), 1); // finished before
    EXPECT_EQ(movie.nframes, 3);
    movie.CloseVideo();
    const auto frames = frames_of(path);
    EXPECT_EQ(frames[0], samples_of(*colour));
    for (std::size_t k = 0; k < frames[1].size(); ++k)
        EXPECT_EQ(frames[1][k], gray->pixels[k / 21][k % 21 / 3]);

    for (const int rows : {0, 3}) { // nothing to see
        CVideo empty(path.c_str(), rows, 0, 0, 5, 0, 1);
        for (int n = 0; n < rows; ++n)
            empty.WriteCurrentFrame(colour.get());
        MessageCatcher messages;
        empty.CloseVideo();
        EXPECT_EQ(messages.take_failures(), Texts{});
        EXPECT_EQ(empty.OpenVideo(path.c_str()), rows > 0 ? 1 : 0);
        EXPECT_EQ(empty.nframes, rows);
        empty.CloseVideo();
    }
}

TEST(MovieWriting, FailuresAreToldAndLeaveAnInertObject) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const auto frames = make_frames(1, 64, 64, 0);
    const std::string long_path = folder.path(std::string(100, 'x'));
    for (const std::string& path : {folder.path("no/m"), long_path, folder.path()}) {
        for (const int format : {4, 5}) {
            CVideo movie(path.c_str(), 64, 64, 1, format, 4, 0);
            EXPECT_EQ(messages.take_failures(),
                      Texts{format == 4 ? "read_tqf_image: Can't open file"
                                        : "create_movie: Can't create AVI file"});
            EXPECT_EQ(movie.file_format, 0);
            EXPECT_EQ(movie.WriteCurrentFrame(frames[0].get()), 1);
            EXPECT_EQ(movie.GetFrame(0, nullptr), 0);
            EXPECT_EQ(movie.CloseVideo(), 1);
        }
    }
    if (!std::ifstream("/dev/full"))
        return;
    const std::string source = folder.path("m.tq");
    write_movie(source, 4, 4, 0, frames);
    for (const int format : {4, 5}) {
        write_movie("/dev/full", format, 4, 0, frames);
        EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't write file"});
        CVideo copied;
        copied.OpenVideo(source.c_str());
        EXPECT_EQ(copied.WriteVideo("/dev/full", format, 0, 0, 4), 1);
        EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't write file"});
    }
}

TEST(MovieCopying, GoesToOtherKinds) {
    const ScratchFolder folder;
    MessageCatcher messages;
    std::vector<ImagePtr> frames;
    frames.push_back(row_of({10, 20, 30}));
    frames.push_back(row_of({100, 150, 120}));
    const std::string tq = folder.path("m.tq");
    const std::string avi = folder.path("it's a grüner movie $(no).avi");
    write_movie(tq, 4, 7, 0, frames);
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(tq.c_str()), 1);
    movie.GetFrame(1, nullptr);
    EXPECT_EQ(movie.WriteVideo(avi.c_str(), 5, 0, 1, 0), 1); // stretched frame by frame
    EXPECT_EQ(movie.tqf_file, nullptr);
    EXPECT_EQ(frames_of(avi), (std::vector<Samples>{{0, 127, 255}, {0, 255, 102}}));
    EXPECT_EQ(movie.WriteVideo(avi.c_str(), 5, 1, 1, 0), 1); // not towards colour
    EXPECT_EQ(frames_of(avi)[1], (Samples{100, 150, 120}));

    CVideo from_avi;
    ASSERT_EQ(from_avi.OpenVideo(avi.c_str()), 1);
    const std::string copy = folder.path("copy; of 'it'.avi");
    EXPECT_EQ(from_avi.WriteVideo(copy.c_str(), 5, 0, 0, 0), 1);
    const std::string bytes = folder.read("copy; of 'it'.avi");
    EXPECT_EQ(bytes, folder.read("it's a grüner movie $(no).avi"));
    EXPECT_EQ(from_avi.WriteVideo(from_avi.file_name, 5, 0, 0, 0), 1);
    EXPECT_EQ(bytes, folder.read("it's a grüner movie $(no).avi"));
    EXPECT_EQ(from_avi.WriteVideo(folder.path("back.tq").c_str(), 4, 0, 0, 6), 1);
    EXPECT_EQ(frames_of(folder.path("back.tq"))[0], (Samples{10, 20, 30}));
    EXPECT_EQ(messages.take_failures(), Texts{});

    // A movie that is gone, and one that can't be made: it is closed all the same.
    ASSERT_EQ(from_avi.OpenVideo(avi.c_str()), 1);
    vorlane::remove_file(avi);
    EXPECT_EQ(from_avi.WriteVideo(copy.c_str(), 4, 0, 0, 4), 1);
    EXPECT_EQ(from_avi.avi_file, nullptr);
    EXPECT_EQ(messages.take_failures(), Texts{"OpenMovie: Can't open file"});
    EXPECT_EQ(movie.WriteVideo(folder.path("no/m").c_str(), 5, 0, 0, 4), 1);
    EXPECT_EQ(messages.take_failures(), Texts{"create_movie: Can't create AVI file"});

    // Frames that can't be had, the last one among them, are told, and those before repeated.
    CVideo damaged;
    damaged.OpenVideo(folder.write("d.avi", small_avi({"aaabbb", "x", "cccddd", "x"})).c_str());
    damaged.WriteVideo(folder.path("d.tq").c_str(), 4, 0, 0, 4);
    EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't read frame"});
    EXPECT_EQ(folder.read("d.tq"), "TQ\n1 2 4\n4\n0\nababcdcd");
}

TEST(MovieCopying, TakesTheMoviesOwnPlaceWhenItIsWhole) {
    const ScratchFolder folder;
    MessageCatcher messages;
    // As long as a path may be.
    const std::size_t free = 99 - folder.path("").size();
    const std::string name = std::string(free - 3, 'n') + ".tq";
    const std::string path = folder.path(name);
    const auto names = [&] {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator(folder.path()))
            count += entry.exists() ? 1 : 0;
        return count;
    };
    std::vector<ImagePtr> frames;
    frames.push_back(row_of({10, 20, 30}));
    write_movie(path, 4, 7, 0, frames);
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read);
    std::error_code error;
    fs::create_symlink(name, folder.path("link"), error);
    const std::string link = error ? path : folder.path("link"); // where the system has links
    const auto former_mode = fs::status(path).permissions();
    const std::size_t files = names() + 1;
    folder.write(".vorlane-0", "another's");
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(path.c_str()), 1);
    EXPECT_EQ(movie.WriteVideo(link.c_str(), 4, 1, 0, 4), 1);
    EXPECT_EQ(messages.take_failures(), Texts{});
    EXPECT_EQ(frames_of(path)[0], (Samples{10, 10, 10, 20, 20, 20, 30, 30, 30}));
    EXPECT_TRUE(error || fs::is_symlink(link));
    EXPECT_EQ(fs::status(path).permissions(), former_mode);
    EXPECT_EQ(folder.read(".vorlane-0"), "another's");
    EXPECT_EQ(names(), files);

    const std::string damaged = small_avi({"aaabbb", "x"});
    ASSERT_EQ(movie.OpenVideo(folder.write(name, damaged).c_str()), 1);
    EXPECT_EQ(movie.WriteVideo(path.c_str(), 4, 0, 0, 4), 1);
    EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't read frame"});
    EXPECT_EQ(folder.read(name), damaged);
    EXPECT_EQ(names(), files);
}
