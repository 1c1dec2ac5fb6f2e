// Writing, building and editing movies.

#include <vorlane/movie/video.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>

namespace {

using MoviePtr = std::unique_ptr<CVideo>;

// Creates a movie of these images.
void write_movie(const std::string& path, int file_format, int pixel_format, int image_type,
                 const std::vector<const CImage*>& frames) {
    CVideo movie(path.c_str(), frames[0]->nrows, frames[0]->ncols, static_cast<int>(frames.size()),
                 file_format, pixel_format, image_type);
    for (const CImage* frame : frames)
        EXPECT_EQ(movie.WriteCurrentFrame(frame), 1);
    EXPECT_EQ(movie.CloseVideo(), 1);
}

std::vector<std::vector<float>> frames_of(const char* path) {
    CVideo movie;
    EXPECT_EQ(movie.OpenVideo(path), 1) << path;
    std::vector<std::vector<float>> frames;
    for (int n = 0; n < movie.nframes; ++n) {
        EXPECT_EQ(movie.GetFrame(n, nullptr), 1);
        frames.push_back(samples_of(*movie.image));
    }
    movie.CloseVideo();
    return frames;
}

ImagePtr row_of(std::initializer_list<float> samples, int image_type = 0) {
    const int count = static_cast<int>(samples.size());
    auto image = std::make_unique<CImage>(1, image_type == 0 ? count : count / 3, image_type, 4, 6);
    std::copy(samples.begin(), samples.end(), image->pixels[0]);
    return image;
}

} // namespace

TEST(MovieWriting, EncodesTqFrames) {
    const ScratchFolder folder;
    const std::string path = folder.path("m.tq");
    const auto body = [&](int pixel_format, int image_type, const CImage& frame) {
        write_movie(path, 4, pixel_format, image_type, {&frame});
        const std::string all = folder.read("m.tq");
        const std::string header = "TQ\n1 " + std::to_string(frame.ncols) + " 1\n" +
                                   std::to_string(pixel_format) + "\n" +
                                   std::to_string(image_type) + "\n";
        EXPECT_EQ(all.substr(0, header.size()), header);
        return all.substr(header.size());
    };
    const auto gray = row_of({300.7f, -1.5f});
    const auto colour = row_of({10, 20, 31}, 1);
    EXPECT_EQ(body(4, 0, *gray), "\x2C\xFF");
    EXPECT_EQ(body(7, 0, *row_of({-1.5f, 70000.0f})), "\xFF\xFF\x70\x11");
    EXPECT_EQ(body(5, 0, *row_of({70000.9f})), std::string("\x70\x11\x01\x00", 4));
    EXPECT_EQ(body(4, 1, *gray), "\x2C\x2C\x2C\xFF\xFF\xFF");
    EXPECT_EQ(body(4, 0, *colour), "\x14"); // a third of 61
    EXPECT_EQ(body(4, 1, *colour), "\x0A\x14\x1F");
    EXPECT_EQ(body(6, 1, *colour), "");
    const auto exact = make_random(1, 50, 0, 3);
    write_movie(path, 4, 6, 0, {exact.get(), exact.get()});
    EXPECT_TRUE(same_bits(frames_of(path.c_str())[1], samples_of(*exact)));

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
    EXPECT_EQ(movie.OpenVideo(path.c_str()), 1); // closes first
    EXPECT_EQ(std::filesystem::file_size(path), 13u + 30);
    EXPECT_EQ(movie.nframes, 5);
    EXPECT_EQ(movie.image->pixels[0][1], 0.0f);
    movie.CloseVideo();
}

TEST(MovieWriting, WritesAviFrames) {
    const ScratchFolder folder;
    const std::string path = folder.path("m.avi");
    const auto colour = make_random(5, 7, 1, 1, true);
    const auto gray = make_random(5, 7, 0, 2, true);
    write_movie(path, 5, 0, 0, {colour.get(), gray.get()});
    const auto frames = frames_of(path.c_str());
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0], samples_of(*colour));
    for (std::size_t k = 0; k < frames[1].size(); ++k)
        EXPECT_EQ(frames[1][k], gray->pixels[k / 21][k % 21 / 3]);
    CVideo movie(path.c_str(), 5, 7, 99, 5, 0, 1);
    movie.WriteCurrentFrame(colour.get());
    EXPECT_EQ(movie.current_frame, 1);
    movie.WriteCurrentFrame(make_random(9, 3, 1, 1).get());
    EXPECT_EQ(movie.current_frame, 2);
    movie.CloseVideo();
    EXPECT_EQ(frames_of(path.c_str()).size(), 2u); // counted, whatever the argument
}

TEST(MovieWriting, FailuresAreToldAndLeaveAnInertObject) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const auto image = make_random(64, 64, 0, 1);
    const std::string nowhere = folder.path("no/m");
    const std::string long_path = folder.path(std::string(100, 'x'));
    for (const std::string& path : {nowhere, long_path, folder.path()}) {
        for (const int format : {4, 5}) {
            CVideo movie(path.c_str(), 64, 64, 1, format, 4, 0);
            EXPECT_EQ(messages.take_failures(),
                      Texts{format == 4 ? "read_tqf_image: Can't open file"
                                        : "create_movie: Can't create AVI file"});
            EXPECT_EQ(movie.file_format, 0);
            EXPECT_EQ(movie.WriteCurrentFrame(image.get()), 1);
            EXPECT_EQ(movie.GetFrame(0, nullptr), 0);
            EXPECT_EQ(movie.CloseVideo(), 1);
        }
    }
    if (!std::ifstream("/dev/full"))
        return;
    const std::string source = folder.path("m.tq");
    write_movie(source, 4, 4, 0, {image.get()});
    for (const int format : {4, 5}) {
        CVideo movie("/dev/full", 64, 64, 1, format, 4, 0);
        EXPECT_EQ(movie.WriteCurrentFrame(image.get()), 1);
        EXPECT_EQ(movie.CloseVideo(), 1);
        EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't write file"});
        CVideo copied;
        copied.OpenVideo(source.c_str());
        EXPECT_EQ(copied.WriteVideo("/dev/full", format, 0, 0, 4), 1);
        EXPECT_EQ(messages.take_failures(), Texts{"CVideo: Can't write file"});
    }
}

TEST(MovieWriting, CopiesToOtherKinds) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const auto first = row_of({10, 20, 30});
    const auto second = row_of({100, 150, 120});
    const std::string tq = folder.path("m.tq");
    const std::string avi = folder.path("it's a \"movie\" $(no).avi");
    write_movie(tq, 4, 7, 0, {first.get(), second.get()});
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(tq.c_str()), 1);
    movie.GetFrame(1, nullptr);
    EXPECT_EQ(movie.WriteVideo(avi.c_str(), 5, 0, 1, 0), 1); // stretched frame by frame
    EXPECT_EQ(frames_of(avi.c_str()),
              (std::vector<std::vector<float>>{{0, 127, 255}, {0, 255, 102}}));
    EXPECT_EQ(movie.WriteVideo(avi.c_str(), 5, 1, 1, 0), 1); // not towards colour
    EXPECT_EQ(frames_of(avi.c_str())[1], (std::vector<float>{100, 150, 120}));

    CVideo from_avi;
    ASSERT_EQ(from_avi.OpenVideo(avi.c_str()), 1);
    const std::string copy = folder.path("copy; of 'it'.avi");
    EXPECT_EQ(from_avi.WriteVideo(copy.c_str(), 5, 0, 0, 0), 1);
    const std::string bytes = folder.read("copy; of 'it'.avi");
    EXPECT_EQ(bytes, folder.read("it's a \"movie\" $(no).avi"));
    EXPECT_EQ(from_avi.WriteVideo(from_avi.file_name, 5, 0, 0, 0), 1);
    EXPECT_EQ(bytes, folder.read("it's a \"movie\" $(no).avi"));
    EXPECT_EQ(from_avi.WriteVideo(folder.path("back.tq").c_str(), 4, 0, 0, 6), 1);
    EXPECT_EQ(frames_of(folder.path("back.tq").c_str())[0], (std::vector<float>{10, 20, 30}));

    // Upon itself, in another kind.
    EXPECT_EQ(movie.WriteVideo(tq.c_str(), 4, 1, 0, 4), 1);
    EXPECT_EQ(frames_of(tq.c_str())[1],
              (std::vector<float>{100, 100, 100, 150, 150, 150, 120, 120, 120}));
    EXPECT_FALSE(folder.has("m.tq.new"));
    EXPECT_EQ(messages.take_failures(), Texts{});
    std::filesystem::remove(avi);
    EXPECT_EQ(from_avi.WriteVideo(copy.c_str(), 4, 0, 0, 4), 1);
    EXPECT_EQ(messages.take_failures(), Texts{"OpenMovie: Can't open file"});
    EXPECT_EQ(from_avi.WriteVideo(folder.path("no/m").c_str(), 5, 0, 0, 4), 1);
    EXPECT_FALSE(messages.take_failures().empty());
}

TEST(MovieEditing, TakesApartAndPutsTogether) {
    const ScratchFolder folder;
    MessageCatcher messages;
    std::vector<ImagePtr> images;
    std::vector<const CImage*> frames;
    for (unsigned k = 0; k < 3; ++k) {
        images.push_back(make_random(4, 6, 0, k, true));
        frames.push_back(images.back().get());
    }
    write_movie(folder.path("m.tq"), 4, 4, 0, frames);
    CVideo movie;
    movie.OpenVideo(folder.path("m.tq").c_str());
    movie.ImagesFromVideo(folder.path("f").c_str(), 10, ".pgm", 1, 4);
    EXPECT_NE(movie.tqf_file, nullptr); // stays open
    EXPECT_FALSE(folder.has("f9.pgm"));
    EXPECT_FALSE(folder.has("f13.pgm"));
    const MoviePtr built(VideoFromImages(folder.path("f").c_str(), 10, 12, ".pgm"));
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->file_format, 4);
    EXPECT_EQ(built->dib, nullptr);
    EXPECT_EQ(frames_of(built->file_name), frames_of(movie.file_name));
    const std::filesystem::path path = built->file_name;
    EXPECT_EQ(path.filename().string().substr(0, 4), "temp");
    EXPECT_EQ(path.extension(), ".avi");
    EXPECT_EQ(std::filesystem::status(path.parent_path()).permissions(),
              std::filesystem::perms::owner_all);

    movie.ImagesFromVideo(folder.path("f").c_str(), std::numeric_limits<int>::max(), "", 1, 4);
    EXPECT_EQ(VideoFromImages("f", std::numeric_limits<int>::min(), 5, ""), nullptr);
    movie.CloseVideo();
    EXPECT_EQ(messages.take_failures(), Texts{});
    // The image before stands for one that isn't there, and nothing for none at all.
    std::filesystem::remove(folder.path("f11.pgm"));
    const MoviePtr patched(VideoFromImages(folder.path("f").c_str(), 10, 12, ".pgm"));
    EXPECT_EQ(messages.take_failures(), Texts{"CImage: Can't open file"});
    const auto with_gap = frames_of(patched->file_name);
    EXPECT_EQ(with_gap[1], with_gap[0]);
    const MoviePtr empty(VideoFromImages(folder.path("g").c_str(), 1, 2, ".pgm"));
    EXPECT_EQ(empty->nrows, 0);
    EXPECT_EQ(empty->OpenVideo(empty->file_name), 1);
    EXPECT_EQ(empty->nframes, 2);
    empty->CloseVideo();
}

TEST(MovieEditing, EditsFrameByFrame) {
    const ScratchFolder folder;
    for (const int format : {4, 5}) {
        std::vector<ImagePtr> images;
        std::vector<const CImage*> frames;
        for (unsigned k = 0; k < 4; ++k) {
            images.push_back(make_random(5, 6, 1, k, true));
            frames.push_back(images.back().get());
        }
        const std::string path = folder.path("m");
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
            EXPECT_EQ(result[k], samples_of(*ImagePtr(images[k + 1]->Extract(1, 2, 3, 4))));
        // The temporary file is the source of the next one, in the same second or not.
        const MoviePtr part_of_part(part->Extract(1, 1, 0, 0, 2, 2));
        ASSERT_NE(part_of_part, nullptr);
        EXPECT_EQ(frames_of(part_of_part->file_name)[0],
                  samples_of(*ImagePtr(images[2]->Extract(1, 2, 2, 2))));

        const MoviePtr reduced(movie.Reduce(2, 0));
        ASSERT_NE(reduced, nullptr);
        EXPECT_EQ(reduced->nrows, 2);
        EXPECT_EQ(reduced->ncols, 3);
        const ImagePtr expected(images[3]->Reduce(2, 0));
        result = frames_of(reduced->file_name);
        for (std::size_t k = 0; k < result[3].size(); ++k)
            EXPECT_EQ(result[3][k], static_cast<float>(static_cast<int>(samples_of(*expected)[k])));

        const auto none = std::make_unique<CImage>(5, 6, 0, 4, 6);
        none->pixels[2][3] = 1.0f;
        write_movie(folder.path("marks"), 4, 6, 0, {none.get()}); // shorter than the movie
        const MoviePtr marked(movie.Superpose(folder.path("marks").c_str()));
        ASSERT_NE(marked, nullptr);
        EXPECT_EQ(marked->nframes, 4);
        result = frames_of(marked->file_name);
        EXPECT_EQ(result[3], samples_of(*ImagePtr(images[3]->Superpose(none.get()))));

        const MoviePtr no_frames(movie.Extract(2, 1, 0, 0, 1, 1));
        ASSERT_NE(no_frames, nullptr);
        EXPECT_EQ(no_frames->nframes, 0);
        for (CVideo* refused :
             {movie.Extract(0, 4, 0, 0, 1, 1), movie.Extract(-1, 0, 0, 0, 1, 1),
              movie.Extract(0, 0, 3, 0, 3, 1), movie.Extract(0, 0, -1, 0, 1, 1),
              movie.Extract(0, 0, 2147483647, 0, 1, 1), movie.Extract(0, 0, 0, 0, 1, 7),
              movie.Reduce(0, 0), movie.Reduce(-2, 1)})
            EXPECT_EQ(refused, nullptr);
    }
    // Red marks on a gray movie are stored as a third.
    const auto gray = row_of({0, 255});
    const auto mark = row_of({1, 0});
    write_movie(folder.path("gray"), 4, 4, 0, {gray.get()});
    write_movie(folder.path("mark"), 4, 4, 0, {mark.get()});
    CVideo movie;
    movie.OpenVideo(folder.path("gray").c_str());
    const MoviePtr marked(movie.Superpose(folder.path("mark").c_str()));
    EXPECT_EQ(frames_of(marked->file_name)[0], (std::vector<float>{85, 255}));

    MessageCatcher messages;
    CVideo closed;
    EXPECT_EQ(closed.Reduce(2, 0), nullptr);
    EXPECT_EQ(closed.Extract(0, 0, 0, 0, 1, 1), nullptr);
    EXPECT_EQ(movie.Superpose("nowhere"), nullptr);
    EXPECT_EQ(messages.take_failures(), Texts(3, "OpenMovie: Can't open file"));
}

TEST(MovieBuilding, ConvertsYuvFrames) {
    const ScratchFolder folder;
    const auto frames = [&](const std::string& bytes, int rows, int cols, int count, int mode,
                            int half) {
        const MoviePtr movie(
            VideoFromYUV(folder.write("f.yuv", bytes).c_str(), rows, cols, count, mode, half));
        return movie ? frames_of(movie->file_name) : std::vector<std::vector<float>>();
    };
    // Four pixels of one colour each, at half the size: 2 x 8 bytes of luma, one row of chroma.
    const auto frame = [](const std::vector<int>& y, const std::vector<int>& u,
                          const std::vector<int>& v) {
        std::string bytes;
        for (int row = 0; row < 2; ++row)
            for (const int value : y)
                bytes += std::string(2, static_cast<char>(value));
        for (const auto& plane : {u, v})
            for (const int value : plane)
                bytes += static_cast<char>(value);
        return bytes;
    };
    const std::string worked =
        frame({16, 235, 81, 255, 0}, {128, 128, 90, 0, 9}, {128, 128, 240, 0, 9}) +
        frame({100, 90, 80, 70, 0}, {1, 200, 3, 128, 9}, {128, 9, 128, 250, 9});
    const auto result = frames(worked, 2, 10, 2, 0, 1);
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0][3], 254.0f); // white of 254.99983
    EXPECT_EQ(result[0][6], 254.0f); // red
    EXPECT_EQ(result[0][7], 0.0f);

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
    const auto small = frames(worked, 2, 10, 1, 1, 1);
    ASSERT_EQ(small.size(), 1u);

    MessageCatcher messages;
    const std::string path = folder.path("f.yuv");
    for (CVideo* refused :
         {VideoFromYUV(path.c_str(), 4, 6, 1, 2, 0), VideoFromYUV(path.c_str(), 4, 6, 1, -1, 0),
          VideoFromYUV(path.c_str(), 5, 6, 1, 0, 0), VideoFromYUV(path.c_str(), 4, 5, 1, 1, 0),
          VideoFromYUV(path.c_str(), 0, 6, 1, 0, 0), VideoFromYUV(path.c_str(), 1, 6, 1, 0, 1),
          VideoFromYUV(path.c_str(), 4, -6, 1, 0, 0), VideoFromYUV(path.c_str(), 4, 6, -1, 0, 0)})
        EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(messages.take_failures(), Texts{});
    EXPECT_EQ(VideoFromYUV(folder.path("no").c_str(), 4, 6, 1, 0, 0), nullptr);
    EXPECT_EQ(messages.take_failures(), Texts{"VideoFromYUV: Can't open file"});
}
