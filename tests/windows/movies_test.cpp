#include <gtest/gtest.h>

#include <support/avi_files.h>
#include <support/movies.h>
#include <support/scratch_folder.h>
#include <windows/system_avi.h>

namespace {

TEST(SystemAvi, ReadsOurMoviesAndIsRead) {
    const ScratchFolder folder;
    const std::string ours = folder.path("unser Über-Film.avi");
    const std::string theirs = folder.path("der des Systems.avi");
    write_movie(ours, 5, 4, 1, make_frames(3, 5, 7, 1)); // rows with padding
    const std::vector<std::string> frames = read_avi_by_system(ours);
    ASSERT_EQ(frames.size(), 3u);
    write_avi_by_system(theirs, 7, 5, frames);
    EXPECT_EQ(frames_of(theirs), frames_of(ours));
}

// Our files behind the system's calls, beyond what movies ask for.
TEST(SystemAvi, ItsCallsKnowOurFiles) {
    const ScratchFolder folder;
    const std::string path = folder.path("f.avi");
    write_movie(path, 5, 4, 1, make_frames(3, 5, 7, 1));
    AVIFileInit();
    PAVIFILE file = nullptr;
    PAVISTREAM stream = nullptr;
    ASSERT_EQ(open_avi(&file, path.c_str(), 0), AVIERR_OK);
    ASSERT_EQ(AVIFileGetStream(file, &stream, streamtypeVIDEO, 0), AVIERR_OK);
    EXPECT_EQ(AVIStreamLength(stream), 3);
    BITMAPINFOHEADER format = {};
    LONG size = sizeof format;
    EXPECT_EQ(AVIStreamReadFormat(stream, 0, &format, &size), AVIERR_OK);
    EXPECT_EQ(format.biWidth, 7);
    const std::vector<std::string> frames = read_avi_by_system(path);
    std::string frame(frames[2].size(), '\0');
    LONG bytes = 0;
    EXPECT_EQ(AVIStreamRead(stream, 2, 1, frame.data(), 10, &bytes, nullptr),
              AVIERR_BUFFERTOOSMALL);
    EXPECT_EQ(
        AVIStreamRead(stream, 2, 1, frame.data(), static_cast<LONG>(frame.size()), &bytes, nullptr),
        AVIERR_OK);
    EXPECT_EQ(frame, frames[2]);
    EXPECT_NE(
        AVIStreamRead(stream, 3, 1, frame.data(), static_cast<LONG>(frame.size()), &bytes, nullptr),
        AVIERR_OK);
    // A reader of frames keeps what it needs.
    const PGETFRAME reader = open_avi_frames(stream, nullptr);
    ASSERT_TRUE(reader);
    EXPECT_EQ(close_avi(file, stream), AVIERR_OK);
    const auto* const shown = static_cast<const char*>(AVIStreamGetFrame(reader, 1));
    ASSERT_TRUE(shown);
    EXPECT_EQ(std::string(shown + 40, frames[1].size()), frames[1]);
    AVIStreamGetFrameClose(reader);
    AVIFileExit();
}

// One block of one colour in the first video codec that the system had.
TEST(SystemAvi, ShowsWhatADecompressorKnows) {
    const ScratchFolder folder;
    const std::string path =
        folder.write("f.avi", avi::video(avi::format(4, 4, 16, mmioFOURCC('C', 'R', 'A', 'M')),
                                         avi::chunk("00dc", std::string("\xFF\xFF\0\0", 4))));
    CVideo movie;
    ASSERT_TRUE(movie.OpenVideo(path.c_str()));
    EXPECT_EQ(movie.nrows, 4);
    EXPECT_EQ(movie.nframes, 1);
    EXPECT_GE(movie.image->pixels[3][3], 248.0f);
}

} // namespace
