#include <gtest/gtest.h>

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

} // namespace
