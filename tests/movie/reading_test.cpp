// Opening movies and stepping through them.

#include <vorlane/movie/video.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include <support/avi_files.h>
#include <support/messages.h>
#include <support/movies.h>
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

const Texts cant_open = {"OpenMovie: Can't open file"};

} // namespace

TEST(Video, IsEmptyFromTheStart) {
    CVideo movie;
    EXPECT_EQ(movie.file_format, 0);
    EXPECT_STREQ(movie.file_name, "");
    EXPECT_EQ(movie.image, nullptr);
    EXPECT_EQ(movie.GetFrame(0, nullptr), 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    EXPECT_EQ(movie.GetPreviousFrame(nullptr), 0);
    EXPECT_EQ(movie.CloseVideo(), 1);
}

TEST(TqMovie, FindsFramesByTheirEncoding) {
    const ScratchFolder folder;
    struct Case {
        std::string file;
        int frame_bytes;
        Samples first, second;
    };
    for (const Case& sample : std::initializer_list<Case>{
             {"TQ\n1 2 2\n4\n0\nabcd", 2, {97, 98}, {99, 100}},
             {"TQ\n1 1 2\n4\n1\nabcdef", 3, {97, 98, 99}, {100, 101, 102}},
             {"TQ\n1 1 2\n7\n0\n" + bytes_of<short>({-1, 300}), 2, {-1}, {300}},
             {"TQ\n1 1 2\n5\n0\n" + bytes_of<int>({5, -70000}), 4, {5}, {-70000}},
             // No encoding: no samples, but a length.
             {"TQ\n1 1 2\n6\n1\nabcdef", 3, Samples(3), Samples(3)},
             {"TQ\n1 1 2\n9\n0\nabcdef", 0, Samples(1), Samples(1)}}) {
        CVideo movie;
        EXPECT_EQ(movie.OpenVideo(folder.write("m.tq", sample.file).c_str()), 1);
        EXPECT_EQ(movie.frame_bytes, sample.frame_bytes);
        EXPECT_EQ(movie.nframes, 2);
        EXPECT_EQ(samples_of(*movie.image), sample.first) << sample.file;
        EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
        EXPECT_EQ(samples_of(*movie.image), sample.second) << sample.file;
        movie.CloseVideo();
    }
}

TEST(TqMovie, StepsBothWaysAndAroundItsEnds) {
    const ScratchFolder folder;
    CVideo movie;
    ASSERT_EQ(movie.OpenVideo(folder.write("m.tq", "TQ\n2 2 3\n4\n0\nabcdABCD\0\1\2\3"s).c_str()),
              1);
    const std::vector<Samples> frames = {{97, 98, 99, 100}, {65, 66, 67, 68}, {0, 1, 2, 3}};
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

// Whatever way a bitmap is made or made again, it is that of the constructor.
TEST(TqMovie, ShowsEachFrameAsTheConstructorOfBitmapsDoes) {
    const ScratchFolder folder;
    int table[256];
    for (int k = 0; k < 256; ++k)
        table[k] = 1000 - k;
    for (const int pixel_format : {4, 5})
        for (const int image_type : {0, 1})
            for (const int cols : {1, 6, 19}) {
                const auto frames = make_frames(4, 3, cols, image_type);
                write_movie(folder.path("m.tq"), 4, pixel_format, image_type, frames);
                CVideo movie;
                ASSERT_EQ(movie.OpenVideo(folder.path("m.tq").c_str()), 1);
                for (int step = 0; step < 12; ++step) {
                    movie.image->pixel_format = step % 3 == 0 ? 4 : 0;
                    const int* const by = step % 4 == 1 ? table : nullptr;
                    if (step == 6) // a host puts something else there
                        delete std::exchange(movie.dib, new CDib(3, 2, 24));
                    else if (step == 8)
                        delete std::exchange(movie.dib->palette, nullptr);
                    movie.GetNextFrame(by);
                    const CImage* const image = movie.image;
                    const CDib made(image, image->pixel_format == 4 ? 0 : 1, 0.0f, 0.0f);
                    const CDib mapped(image, table);
                    const CDib& wanted = by ? mapped : made;
                    ASSERT_EQ(movie.dib->image_size, wanted.image_size);
                    EXPECT_EQ(movie.dib->palette == nullptr, wanted.palette == nullptr);
                    EXPECT_EQ(std::memcmp(movie.dib->bits, wanted.bits, wanted.image_size), 0)
                        << step << pixel_format << image_type;
                    EXPECT_EQ(std::memcmp(movie.dib->header, wanted.header,
                                          40 + 4 * static_cast<std::size_t>(wanted.ncolors)),
                              0);
                }
                movie.CloseVideo();
            }
}

TEST(TqMovie, RepeatsTheLastSampleBehindItsEnd) {
    const ScratchFolder folder;
    CVideo movie;
    const std::string file = "TQ\n1 3 4\n7\n0\n" + bytes_of<short>({5, 6, 7, 8, 9}) + "x";
    ASSERT_EQ(movie.OpenVideo(folder.write("m.tq", file).c_str()), 1);
    for (const Samples& expected : {Samples{8, 9, 9}, {9, 9, 9}, {9, 9, 9}}) {
        EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
        EXPECT_EQ(samples_of(*movie.image), expected);
    }
    movie.GetPreviousFrame(nullptr);
    EXPECT_EQ(samples_of(*movie.image), (Samples{9, 9, 9}));
    movie.GetPreviousFrame(nullptr);
    EXPECT_EQ(samples_of(*movie.image), (Samples{8, 9, 9}));
    movie.CloseVideo();
    ASSERT_EQ(movie.OpenVideo(folder.write("m.tq", "TQ\n1 2 5\n4\n0\n").c_str()), 1);
    movie.GetNextFrame(nullptr);
    EXPECT_EQ(samples_of(*movie.image), (Samples{0, 0})); // none of the movie before
    movie.CloseVideo();
}

// Fields that a host assigned, and files that it opened, are what is worked by.
TEST(TqMovie, GoesByItsFields) {
    const ScratchFolder folder;
    const std::string path = folder.path("frames");
    CVideo movie;
    movie.tqf_file = std::fopen(path.c_str(), "wb");
    movie.nrows = 1;
    movie.ncols = 2;
    movie.pixel_format = 4;
    EXPECT_EQ(movie.write_tqf_frame(row_of({97, 98}).get()), 1);
    movie.file_format = 4;
    std::fputs("--", movie.tqf_file);
    EXPECT_EQ(movie.WriteCurrentFrame(row_of({99, 99, 99, 65, 66, 67}, 1).get()), 1);
    std::fputs("--", movie.tqf_file);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0); // of a file that can't be read
    movie.CloseVideo();
    EXPECT_EQ(folder.read("frames"), "ab--cB--");

    movie.tqf_file = std::fopen(path.c_str(), "rb");
    movie.image = new CImage(1, 2, 0, 0, 4);
    movie.nframes = 2;
    movie.frame_bytes = 4;
    EXPECT_EQ(movie.WriteCurrentFrame(movie.image), 1); // to one that can't be written
    EXPECT_EQ(movie.GetFrame(1, nullptr), 1);
    EXPECT_EQ(samples_of(*movie.image), (Samples{99, 66}));
    EXPECT_EQ(bits_of(*movie.dib, 2), (std::vector<int>{99, 66}));
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(samples_of(*movie.image), (Samples{97, 98}));
    movie.ncols = 1; // a smaller frame fits as well
    movie.GetFrame(1, nullptr);
    EXPECT_EQ(samples_of(*movie.image), (Samples{99, 98}));
    movie.CloseVideo();
#if defined(__GLIBC__)
    movie.tqf_file = fopencookie(nullptr, "rb",
                                 {[](void*, char*, std::size_t) -> ssize_t {
                                      errno = EIO;
                                      return -1;
                                  },
                                  nullptr, nullptr, nullptr});
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    EXPECT_EQ(movie.read_tqf_frame(movie.image), 1);
    movie.CloseVideo();
#endif
}

TEST(TqMovie, OpensImagesAndEmptyMoviesAndRefusesTheRest) {
    const ScratchFolder folder;
    MessageCatcher messages;
    CVideo movie;
    const auto open = [&](const std::string& bytes) {
        return movie.OpenVideo(folder.write("m.tq", bytes).c_str());
    };
    EXPECT_EQ(open("TQ\n2 1 2000000000\n4\n0\nabcdefghijklmn"), 1); // one frame takes memory
    movie.GetFrame(3, nullptr);
    EXPECT_EQ(open("TQ\n1 1\n4\n0\nz"), 1); // an image: numbers that it doesn't state stay
    EXPECT_EQ(movie.nframes, 2000000000);
    EXPECT_EQ(movie.current_frame, 3);
    EXPECT_EQ(samples_of(*movie.image), (Samples{122}));
    EXPECT_EQ(open("TQ\n1 1 -1\n4\n0\nz"), 1);
    EXPECT_EQ(movie.nframes, -1);
    for (int k = 0; k < 3; ++k)
        movie.GetPreviousFrame(nullptr);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(open("TQ\n0 5 2\n4\n0\n"), 1);
    EXPECT_EQ(movie.image->nrows, 0);
    EXPECT_EQ(movie.dib->bits, nullptr);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(open("TQ\n1 1 1\n4\n7\nz"), 1); // neither gray nor colour
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(messages.take_failures(), Texts{});

    const CImage* const before = movie.image;
    for (const char* header : {"TQ", "TQ\nhello", "TQ\n-1 4 1\n4\n0\n", "TQ\n4 -1 1\n4\n0\n",
                               "TQ\n2000000000 2000000000 1\n4\n0\n",
                               "TQ\n50000 50000 1\n6\n0\nabcd", "TQ\n2000000000 0 1\n4\n0\n"}) {
        EXPECT_EQ(open(header), 0) << header;
        EXPECT_EQ(messages.take_failures(), cant_open) << header;
    }
    const std::string pipe = folder.pipe("pipe");
    for (const std::string& path :
         {pipe, folder.path("missing"), folder.path(), std::string(100, 'x'), "/proc/self/mem"s}) {
        EXPECT_EQ(movie.OpenVideo(path.c_str()), 0);
        EXPECT_EQ(messages.take_failures(), cant_open) << path;
    }
    EXPECT_EQ(movie.OpenVideo(nullptr), 0);
    EXPECT_EQ(messages.take_failures(), cant_open);
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
    EXPECT_EQ(samples_of(*movie.image), (Samples{'c', 'b', 'a', 'f', 'e', 'd'}));
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
    EXPECT_EQ(movie.WriteCurrentFrame(movie.image), 1); // isn't written
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
    EXPECT_EQ(samples_of(*movie.image), (Samples{'a', 'b'}));
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_TRUE(same_bits(samples_of(*movie.image), {7 * 0.33333334f, 1.0f}));
    movie.CloseVideo();
}

TEST(AviMovie, FailsStageByStage) {
    const ScratchFolder folder;
    MessageCatcher messages;
    const auto open = [&](CVideo& movie, const std::string& bytes) {
        return movie.OpenVideo(folder.write("m", bytes).c_str());
    };
    const std::string sound = avi::file(0, 0, avi::stream("auds", "x"), "");
    const std::string packed =
        avi::video(avi::format(2, 1, 24, 0x47504A4D), avi::chunk("00dc", "x"));
    {
        CVideo movie; // what the last failure leaves goes with the movie
        EXPECT_EQ(open(movie, "RIFF"), 0);
        EXPECT_EQ(messages.take_failures(), Texts{"Can't open AVI file"});
        EXPECT_EQ(open(movie, sound), 0);
        EXPECT_EQ(messages.take_failures(), Texts{"Can't get video stream"});
        EXPECT_NE(movie.avi_file, nullptr);
        movie.CloseVideo();
        EXPECT_EQ(movie.avi_file, nullptr);
        EXPECT_EQ(open(movie, packed), 0);
        EXPECT_EQ(messages.take_failures(), Texts{"The decompressor is not open"});
        EXPECT_NE(movie.dib, nullptr);
        EXPECT_EQ(movie.ncols, 2);
        EXPECT_EQ(movie.file_format, 0);
    }
    CVideo movie;
    EXPECT_EQ(open(movie, small_avi({})), 0);
    EXPECT_NE(movie.dib, nullptr);
    EXPECT_NE(movie.frame_reader, nullptr);
    EXPECT_EQ(movie.nframes, 0);
    EXPECT_EQ(movie.file_format, 0);
    EXPECT_STREQ(movie.file_name, "");
    // A frame that is too short: the steps move on without it, GetFrame stays.
    ASSERT_EQ(open(movie, small_avi({"abcdef", "abc", "abcdef"})), 1);
    EXPECT_EQ(movie.GetFrame(1, nullptr), 0);
    EXPECT_EQ(movie.current_frame, 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 0);
    EXPECT_EQ(movie.current_frame, 1);
    EXPECT_EQ(std::memcmp(movie.dib->bits, "abcdef", 6), 0);
    EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
    EXPECT_EQ(movie.GetPreviousFrame(nullptr), 0);
    EXPECT_EQ(movie.current_frame, 1);
    EXPECT_EQ(open(movie, sound), 0);
    EXPECT_EQ(messages.take_failures(), Texts{"Can't get video stream"});
    movie.CloseVideo();
    EXPECT_EQ(messages.take_failures(), Texts{});
}
