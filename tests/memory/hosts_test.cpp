// What hosts read, where memory runs short at any request of theirs or of the library's C++. Each
// reader gives the whole or throws, and leaves nothing behind.

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <host/movies.h>
#include <host/pictures.h>
#include <host/volumes.h>
#include <support/failing_memory.h>
#include <support/images.h>
#include <support/scratch_folder.h>

namespace {

namespace host = vorlane::host;
void append_samples(const CImage& image, Samples& samples) {
    const Samples more = samples_of(image);
    samples.insert(samples.end(), more.begin(), more.end());
}

// The samples that `read` gives are all there each time that it doesn't throw.
void expect_whole_or_thrown(const std::function<void(Samples&)>& read) {
    Samples whole;
    try {
        read(whole); // and the tables that are made once
    } catch (const host::Error&) {
        whole.clear(); // a file that is refused
    }
    const auto work = [&](Samples& read_samples) {
        try {
            read(read_samples);
        } catch (const std::bad_alloc&) {
            read_samples.clear();
        } catch (const host::Error&) {
            read_samples.clear();
        }
    };
    with_each_request_failing([] { return std::make_unique<Samples>(); }, work,
                              [&](const Samples& read_samples) {
                                  EXPECT_TRUE(read_samples.empty() || read_samples == whole);
                              });
}

std::vector<std::string> corpus(const char* reader) {
    std::vector<std::string> paths;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(VORLANE_CORPUS) / reader))
        if (entry.path().extension() != ".dcm") // DCMTK itself leaks where memory is short
            paths.push_back(entry.path().string());
    return paths;
}

TEST(ShortMemoryOfHosts, PicturesAreWholeOrNot) {
    for (const std::string& path : corpus("pictures")) {
        SCOPED_TRACE(path);
        expect_whole_or_thrown(
            [&](Samples& samples) { append_samples(*host::open_picture(path).image, samples); });
    }
}

TEST(ShortMemoryOfHosts, MoviesAreWholeOrNot) {
    for (const std::string& path : corpus("movies")) {
        SCOPED_TRACE(path);
        expect_whole_or_thrown([&](Samples& samples) {
            const auto movie = host::open_movie(path);
            while (const CImage* const frame = movie->next())
                append_samples(*frame, samples);
        });
    }
}

TEST(ShortMemoryOfHosts, VolumesAreWholeOrNot) {
    const ScratchFolder folder;
    folder.write("raw", std::string(60, 'x'));
    const std::string v2 = folder.write("v2", "V2\nfile=raw\nnbf=3\nrow=5\ncol=4\nsize=1\n");
    folder.write("s1.pgm", "P5\n4 5\n255\n" + std::string(20, 'y'));
    folder.write("s2.pgm", "P5\n4 5\n255\n" + std::string(20, 'z'));
    const std::string v1 = folder.write("v1", "V1\ndirectory=.\nprefix=s\nstart slice=1\n"
                                              "end slice=2\nsuffix=.pgm\n");
    for (const std::string& path : {v1, v2}) {
        SCOPED_TRACE(path);
        expect_whole_or_thrown([&](Samples& samples) {
            const host::Volume volume = host::open_volume(path);
            for (int k = 0; k < volume.volume->nslices; ++k)
                append_samples(volume.volume->slices[k], samples);
        });
    }
}

} // namespace
