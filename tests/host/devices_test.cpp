// Pictures at pipes, devices, links and permissions, as POSIX has them, and what a signal leaves.

#include <csignal>
#include <fstream>
#include <string>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <host/pending_file.h>
#include <host/pictures.h>
#include <support/scratch_folder.h>

namespace {

using namespace vorlane::host;

class Devices : public testing::Test {
protected:
    ScratchFolder folder;
    CImage pixel{1, 1, 0, 0, 4};

    Devices() { pixel.pixels[0][0] = 'x'; }
};

TEST_F(Devices, APipeIsReadLikeAFile) {
    const std::string bytes = "P5\n400 400\n255\n" + std::string(160000, 'x');
    const std::string tq = "TQ\n300 300\n4\n0\n" + std::string(90000, 'y');
    for (const std::string& content : {bytes, tq}) {
        const std::string path = folder.path("pipe");
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        const pid_t writer = fork();
        if (writer == 0) {
            std::ofstream(path, std::ios::binary) << content;
            _exit(0);
        }
        EXPECT_EQ(open_picture(path).image->pixels[299][299], content.back());
        unlink(path.c_str());
    }
}

TEST_F(Devices, AColonMayStandInAName) {
    folder.write("a:7", "P5\n1 1\n255\ny");
    EXPECT_EQ(open_picture(folder.path("a:7")).image->pixels[0][0], 'y');
}

TEST_F(Devices, ADeviceThatIsFullGivesAnError) {
    try {
        save_picture(pixel, "/dev/full", {.as = "PPM"});
        FAIL() << "written";
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), "/dev/full: can't be written: No space left on device");
    }
}

TEST_F(Devices, AFileIsReplacedWholeWithItsPermissionsAndThroughItsLink) {
    folder.write("real.pgm", "old");
    chmod(folder.path("real.pgm").c_str(), 0640);
    symlink("real.pgm", folder.path("link.pgm").c_str());
    {
        PendingFile file(folder.path("link.pgm"));
        std::ofstream(file.path()) << "half";
        EXPECT_TRUE(std::ifstream(file.path()).good());
    }
    EXPECT_EQ(folder.read("real.pgm"), "old");
    save_picture(pixel, folder.path("link.pgm"));
    EXPECT_EQ(folder.read("real.pgm"), "P5\n1 1\n255\nx");
    struct stat status;
    ASSERT_EQ(stat(folder.path("real.pgm").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    ASSERT_EQ(lstat(folder.path("link.pgm").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(Devices, ASignalLeavesNoPendingFile) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        remove_pending_files_on_signals();
        const PendingFile file(folder.path("never.pgm"));
        const ssize_t told = ::write(ready[1], file.path().c_str(), file.path().size() + 1);
        pause();
        _exit(told > 0 ? 0 : 1);
    }
    char path[4096] = {};
    ASSERT_GT(::read(ready[0], path, sizeof path - 1), 0);
    EXPECT_EQ(access(path, F_OK), 0);
    kill(child, SIGTERM);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_NE(access(path, F_OK), 0);
}

} // namespace
