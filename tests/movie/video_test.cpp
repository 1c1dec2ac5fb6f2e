// Opening movies and stepping through them.

#include <vorlane/movie/video.h>

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include <support/avi_files.h>
#include <support/messages.h>
#include <support/pictures.h>
#include <support/scratch_folder.h>

namespace {

using std::string_literals::operator""s;

template<class Number>
std::string bytes_of(std::initializer_list<Number> numbers) {
    return {reinterpret_cast<const char*>(numbers.begin()), numbers.size() * sizeof(Number)};
}

std::vector<int> bits_of(const CDib& dib, int count) {
    return {dib.bits, dib.bits + count};
}

// A 24-bit AVI of 2 x 1 pixels; each frame is blue, green, red twice, and two bytes that fill up.
std::string small_avi(std::initializer_list<const char*> frames) {
    std::string chunks;
    for (const char* frame : frames)
        chunks += avi::chunk("00db", frame + "\0\0"s);
    return avi::file(2, 1, avi::stream("vids", avi::format(2, 1, 24)), chunks);
}

} // namespace

TEST(Video, IsEmptyFromTheStart) {
    const std::unique_ptr<CObject> made(CVideo::CreateObject());
    EXPECT_EQ(made->GetRuntimeClass(), &CVideo::classCVideo);
    EXPECT_STREQ(CVideo::classCVideo.m_lpszClassName, "CVideo");
    CVideo movie;
    EXPECT_EQ(movie.file_format, 0);
    EXPECT_STREQ(movie.file_name, "");
    EXPECT_EQ(movie.image, nullptr);
    EXPECT_EQ(movie.GetFrame(0, nullptr), 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    EXPECT_EQ(movie.GetPreviousFrame(nullptr), 0);
    EXPECT_EQ(movie.CloseVideo(), 1);
}

TEST(TqMovie, ReadsEveryEncoding) {
    const ScratchFolder folder;
    const auto frames_of = [&](const std::string& bytes, int frame_bytes) {
        CVideo movie;
        EXPECT_EQ(movie.OpenVideo(folder.write("m.tq", bytes).c_str()), 1);
        EXPECT_EQ(movie.frame_bytes, frame_bytes);
        EXPECT_EQ(movie.nframes, 2);
        std::vector<float> all = samples_of(*movie.image);
        EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
        const std::vector<float> second = samples_of(*movie.image);
        all.insert(all.end(), second.begin(), second.end());
        movie.CloseVideo();
        return all;
    };
    EXPECT_EQ(frames_of("TQ\n1 2 2\n4\n0\n" + bytes_of<unsigned char>({1, 200, 3, 4}), 2),
              (std::vector<float>{1, 200, 3, 4}));
    EXPECT_EQ(frames_of("TQ\n1 2 2\n7\n0\n" + bytes_of<short>({-1, 300, 5, -32768}), 4),
              (std::vector<float>{-1, 300, 5, -32768}));
    EXPECT_EQ(frames_of("TQ\n1 1 2\n5\n0\n" + bytes_of<int>({16777217, -70000}), 4),
              (std::vector<float>{16777216, -70000}));
    EXPECT_EQ(frames_of("TQ\n1 1 2\n6\n0\n" + bytes_of<float>({0.1f, -2.5e30f}), 4),
              (std::vector<float>{0.1f, -2.5e30f}));
    EXPECT_EQ(frames_of("TQ\n1 1 2\n4\n1\n" + bytes_of<unsigned char>({1, 2, 3, 4, 5, 6}), 3),
              (std::vector<float>{1, 2, 3, 4, 5, 6}));
    // No encoding: no samples, but a length.
    EXPECT_EQ(frames_of("TQ\n1 1 2\n6\n1\nabcdef", 3), (std::vector<float>(6)));
    EXPECT_EQ(frames_of("TQ\n1 1 2\n9\n0\nabcdef", 0), (std::vector<float>(2)));
}

TEST(TqMovie, StepsBothWaysAndAroundItsEnds) {
    const ScratchFolder folder;
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(folder.write("m.tq", "TQ\n2 2 3\n4\n0\nabcdABCD\0\1\2\3"s).c_str()),
              1);
    const std::vector<std::vector<float>> frames = {
        {97, 98, 99, 100}, {65, 66, 67, 68}, {0, 1, 2, 3}};
    CImage* const image = movie.image;
    float** const plane = image->pixels;
    EXPECT_EQ(std::ftell(movie.tqf_file), 13 + 4);
    EXPECT_EQ(movie.image->pixel_format, 0);
    EXPECT_EQ(movie.image->file_format, 0);
    EXPECT_EQ(bits_of(*movie.dib, 6), (std::vector<int>{99, 100, 0, 0, 97, 98})); // as they are
    int at = 0;
    const auto expect_at = [&](int frame) {
        EXPECT_EQ(movie.current_frame, frame);
        EXPECT_EQ(samples_of(*movie.image), frames[static_cast<std::size_t>(frame)]);
        EXPECT_EQ(std::ftell(movie.tqf_file), 13 + 4 * (frame + 1));
    };
    for (const int step : {1, 1, 1, 1, -1, -1, -1, -1, -1, 1, 1, 1}) {
        at = (at + step + 3) % 3;
        EXPECT_EQ(step > 0 ? movie.GetNextFrame(nullptr) : movie.GetPreviousFrame(nullptr), 1);
        expect_at(at);
    }
    EXPECT_EQ(movie.GetFrame(2, nullptr), 1);
    expect_at(2);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    expect_at(0);
    EXPECT_EQ(bits_of(*movie.dib, 6), (std::vector<int>{170, 255, 0, 0, 0, 85})); // windowed
    int table[256];
    for (int k = 0; k < 256; ++k)
        table[k] = 1000 - k;
    EXPECT_EQ(movie.GetFrame(1, table), 1);
    expect_at(1);
    EXPECT_EQ(movie.dib->bits[0], (1000 - 67) & 0xFF);
    movie.image->pixel_format = 4;
    EXPECT_EQ(movie.GetFrame(1, nullptr), 1);
    EXPECT_EQ(bits_of(*movie.dib, 6), (std::vector<int>{67, 68, 0, 0, 65, 66}));
    EXPECT_EQ(movie.image, image);
    EXPECT_EQ(movie.image->pixels, plane);

    // Numbers out of range are taken, and nothing breaks.
    for (const int number : {-1, 3, 1000000000, -2147483647 - 1, 2147483647}) {
        EXPECT_EQ(movie.GetFrame(number, nullptr), 1);
        EXPECT_EQ(movie.current_frame, number);
        movie.GetPreviousFrame(nullptr);
        movie.GetFrame(number, nullptr);
        movie.GetNextFrame(nullptr);
    }
    movie.CloseVideo();
    EXPECT_EQ(movie.tqf_file, nullptr);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    EXPECT_EQ(movie.image, image);
    EXPECT_EQ(movie.OpenVideo(movie.file_name), 1);
    EXPECT_EQ(samples_of(*movie.image), frames[0]);
    movie.CloseVideo();
}

TEST(TqMovie, RepeatsTheLastSampleBehindItsEnd) {
    const ScratchFolder folder;
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(
                  folder.write("m.tq", "TQ\n1 3 3\n7\n0\n" + bytes_of<short>({5, 6, 7, 8, 9}) + "x")
                      .c_str()),
              1);
    movie.GetNextFrame(nullptr);
    EXPECT_EQ(samples_of(*movie.image), (std::vector<float>{8, 9, 9}));
    movie.GetNextFrame(nullptr); // nothing read in this call
    EXPECT_EQ(samples_of(*movie.image), (std::vector<float>{0, 0, 0}));
    movie.CloseVideo();
}

TEST(TqMovie, OpensImagesAndEmptyMoviesAndRefusesTheRest) {
    const ScratchFolder folder;
    MessageCatcher messages;
    CVideo movie;
    const auto open = [&](const std::string& bytes) {
        return movie.OpenVideo(folder.write("m.tq", bytes).c_str());
    };
    EXPECT_EQ(open("TQ\n2 1 7\n4\n0\nabcdefghijklmn"), 1);
    movie.GetFrame(3, nullptr);
    EXPECT_EQ(open("TQ\n1 1\n4\n0\nz"), 1); // an image: numbers that it doesn't state stay
    EXPECT_EQ(movie.nframes, 7);
    EXPECT_EQ(movie.current_frame, 3);
    EXPECT_EQ(samples_of(*movie.image), (std::vector<float>{122}));
    EXPECT_EQ(open("TQ\n0 5 2\n4\n0\n"), 1);
    EXPECT_EQ(movie.image->nrows, 0);
    EXPECT_EQ(movie.dib->bits, nullptr);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(open("TQ\n1 1 1\n4\n7\nz"), 1); // neither gray nor colour
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(messages.take_failures(), Texts{});

    const CImage* const before = movie.image;
    for (const char* header : {"TQ", "TQ\nhello", "TQ\n-1 4 1\n4\n0\n", "TQ\n4 -1 1\n4\n0\n",
                               "TQ\n4 4 -1\n4\n0\n", "TQ\n2000000000 2000000000 1\n4\n0\n",
                               "TQ\n50000 50000 1\n6\n0\nabcd", "TQ\n2000000000 0 1\n4\n0\n"}) {
        EXPECT_EQ(open(header), 0) << header;
        EXPECT_EQ(messages.take_failures(), Texts{"OpenMovie: Can't open file"}) << header;
    }
    EXPECT_EQ(movie.OpenVideo(folder.path("missing").c_str()), 0);
    EXPECT_EQ(movie.OpenVideo(folder.path().c_str()), 0);
    EXPECT_EQ(movie.OpenVideo(nullptr), 0);
    EXPECT_EQ(movie.OpenVideo(std::string(100, 'x').c_str()), 0);
    EXPECT_EQ(messages.take_failures(), Texts(4, "OpenMovie: Can't open file"));
    EXPECT_EQ(open(""), 0);
    EXPECT_EQ(open("P5\n"), 0);
    EXPECT_EQ(messages.take_failures(), Texts{});
    EXPECT_EQ(movie.image, before);
    EXPECT_EQ(movie.GetFrame(0, nullptr), 1); // still open
    movie.CloseVideo();
}

TEST(AviMovie, LendsItsFramesToTheBitmap) {
    const ScratchFolder folder;
    const std::string path = folder.write("m.avi", small_avi({"abcdef", "ghijkl", "mnopqr"}));
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(path.c_str()), 1);
    EXPECT_EQ(movie.file_format, 5);
    EXPECT_EQ(movie.pixel_format, 4);
    EXPECT_EQ(movie.image_type, 1);
    EXPECT_EQ(movie.nframes, 3);
    EXPECT_EQ(movie.nrows, 1);
    EXPECT_EQ(movie.ncols, 2);
    EXPECT_EQ(movie.image->file_format, 4);
    EXPECT_EQ(movie.image->pixel_format, 6);
    EXPECT_EQ(samples_of(*movie.image), (std::vector<float>{'c', 'b', 'a', 'f', 'e', 'd'}));
    const CDib* const dib = movie.dib;
    float** const plane = movie.image->pixels;
    EXPECT_EQ(movie.GetPreviousFrame(nullptr), 1);
    EXPECT_EQ(movie.current_frame, 2);
    EXPECT_EQ(std::memcmp(movie.dib->bits, "mnopqr", 6), 0);
    EXPECT_EQ(movie.GetFrame(3, nullptr), 0);
    EXPECT_EQ(movie.GetFrame(-1, nullptr), 0);
    EXPECT_EQ(movie.current_frame, 2);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(movie.current_frame, 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(movie.dib, dib);
    EXPECT_EQ(movie.image->pixels, plane);
    movie.CloseVideo();
    EXPECT_EQ(std::memcmp(movie.dib->bits, "ghijkl", 6), 0); // a copy that may be drawn
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);

    // Open and opened again, as itself and as the other kind.
    EXPECT_EQ(movie.OpenVideo(movie.file_name), 1);
    EXPECT_EQ(movie.OpenVideo(movie.file_name), 1);
    const std::string tq = folder.write("m.tq", "TQ\n1 1 1\n4\n0\nz");
    EXPECT_EQ(movie.OpenVideo(tq.c_str()), 1);
    EXPECT_EQ(movie.dib->bits[0], 'z');
    EXPECT_EQ(movie.OpenVideo(path.c_str()), 1);
    EXPECT_EQ(movie.tqf_file, nullptr);
    movie.CloseVideo();
}

TEST(AviMovie, IsGrayIfItsFirstFrameIs) {
    const ScratchFolder folder;
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(folder.write("m.avi", small_avi({"aaabbb", "\1\2\4\1\1\1"})).c_str()),
              1);
    EXPECT_EQ(movie.image_type, 0);
    EXPECT_EQ(samples_of(*movie.image), (std::vector<float>{'a', 'b'}));
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_TRUE(same_bits(samples_of(*movie.image), {7 * 0.33333334f, 1.0f}));
    movie.CloseVideo();
}

TEST(AviMovie, FailsStageByStage) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const std::string header = avi::stream("vids", avi::format(2, 1, 24));
    const std::string frame = avi::chunk("00db", "abcdef\0\0"s);
    {
        CVideo movie;
        EXPECT_EQ(movie.OpenVideo(folder.write("m", "RIFF").c_str()), 0);
        EXPECT_EQ(messages.take_failures(), Texts{"Can't open AVI file"});
        const std::string sound = avi::file(0, 0, avi::stream("auds", "x"), "");
        EXPECT_EQ(movie.OpenVideo(folder.write("m", sound).c_str()), 0);
        EXPECT_EQ(messages.take_failures(), Texts{"Can't get video stream"});
        EXPECT_NE(movie.avi_file, nullptr);
        EXPECT_EQ(movie.file_format, 0);
    }
    {
        CVideo movie;
        const std::string packed = avi::file(
            2, 1, avi::stream("vids", avi::format(2, 1, 24, 0x47504A4D)), avi::chunk("00dc", "x"));
        EXPECT_EQ(movie.OpenVideo(folder.write("m", packed).c_str()), 0);
        EXPECT_EQ(messages.take_failures(), Texts{"The decompressor is not open"});
        EXPECT_NE(movie.dib, nullptr);
        EXPECT_EQ(movie.ncols, 2);
        EXPECT_EQ(movie.file_format, 0);
    }
    CVideo movie;
    EXPECT_EQ(movie.OpenVideo(folder.write("m", avi::file(2, 1, header, "")).c_str()), 0);
    EXPECT_NE(movie.dib, nullptr);
    EXPECT_NE(movie.frame_reader, nullptr);
    EXPECT_EQ(movie.nframes, 0);
    EXPECT_EQ(movie.file_format, 0);
    EXPECT_STREQ(movie.file_name, "");
    // A frame that is too short: the steps move on without it, GetFrame stays.
    ASSERT_EQ(
        movie.OpenVideo(
            folder.write("m", avi::file(2, 1, header, frame + avi::chunk("00db", "abc") + frame))
                .c_str()),
        1);
    EXPECT_EQ(movie.GetFrame(1, nullptr), 0);
    EXPECT_EQ(movie.current_frame, 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    EXPECT_EQ(movie.current_frame, 1);
    EXPECT_EQ(std::memcmp(movie.dib->bits, "abcdef", 6), 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(movie.GetPreviousFrame(nullptr), 0);
    EXPECT_EQ(movie.current_frame, 1);
    movie.CloseVideo();
    EXPECT_EQ(messages.take_failures(), Texts{});
}
