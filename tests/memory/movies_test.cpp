// Movies where memory runs short at any of their requests.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <numeric>

#include <gtest/gtest.h>

#include <support/failing_memory.h>
#include <support/movies.h>
#include <support/scratch_folder.h>
#include <vorlane/movie/movie_files.h>
#include <vorlane/platform/message_box.h>

namespace {

using vorlane::MovieHandle;

// Boxes that are counted, which takes no memory.
int boxes = 0;

// A movie, what is made of it, and what the last call gave.
struct Work {
    MovieHandle movie{new CVideo};
    MovieHandle made;
    int result = 0;
};

struct Kind {
    const char* name;
    int file_format, pixel_format, image_type;
};
void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}
constexpr Kind kinds[] = {
    {"Bytes", 4, 4, 0}, {"Floats", 4, 6, 0}, {"Colour", 4, 4, 1}, {"Avi", 5, 4, 1}};

class ShortMemoryOfMovies : public testing::TestWithParam<Kind> {
protected:
    ShortMemoryOfMovies()
        : former_(SetMessageBoxHandler([](const char*, unsigned, unsigned) { return ++boxes, 1; })),
          frames_(make_frames(3, 12, 10, GetParam().image_type)) {
        write_movie(path_, format_, encoding_, type_, frames_);
        write_movie(other_, 4, 6, 0, make_frames(2, 3, 5, 0));
        for (const ImagePtr& frame : frames_)
            samples_.push_back(samples_of(*frame));
    }
    ~ShortMemoryOfMovies() override { SetMessageBoxHandler(former_); }

    std::unique_ptr<Work> opened() const {
        auto work = std::make_unique<Work>();
        EXPECT_EQ(work->movie->OpenVideo(path_.c_str()), 1);
        boxes = 0;
        return work;
    }

    // Whether the current frame is this one, as image and as bitmap.
    static void expect_current(CVideo& movie, const Samples& samples) {
        ASSERT_TRUE(movie.image && movie.image->pixels);
        EXPECT_TRUE(same_bits(samples_of(*movie.image), samples));
        ASSERT_TRUE(movie.dib && movie.dib->bits);
        EXPECT_EQ(movie.dib->height, movie.nrows);
    }

    // A movie that is made of this one has these frames, or else there is none or a box says so.
    void expect_made_or_told(std::function<CVideo*(CVideo&)> make,
                             const std::vector<Samples>& frames) const {
        with_each_request_failing([&] { return opened(); },
                                  [&](Work& work) { work.made.reset(make(*work.movie)); },
                                  [&](Work& work) {
                                      if (work.made && boxes == 0) {
                                          EXPECT_EQ(frames_of(work.made->file_name), frames);
                                      }
                                      EXPECT_EQ(work.movie->OpenVideo(path_.c_str()), 1);
                                  });
    }

    const int format_ = GetParam().file_format, encoding_ = GetParam().pixel_format;
    const int type_ = GetParam().image_type;
    ScratchFolder folder_;
    std::string path_ = folder_.path("movie"), other_ = folder_.path("other");
    std::string target_ = folder_.path("target");

private:
    MessageBoxHandler former_;

protected:
    std::vector<ImagePtr> frames_;
    std::vector<Samples> samples_;
};
INSTANTIATE_TEST_SUITE_P(, ShortMemoryOfMovies, testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

// The movie before stays, but for one that gave way to an AVI movie; either opens afterwards.
TEST_P(ShortMemoryOfMovies, OpenOrKeepTheOneBefore) {
    const std::vector<Samples> before = frames_of(other_);
    with_each_request_failing(
        [&] {
            auto work = std::make_unique<Work>();
            EXPECT_EQ(work->movie->OpenVideo(other_.c_str()), 1);
            return work;
        },
        [&](Work& work) { work.result = work.movie->OpenVideo(path_.c_str()); },
        [&](Work& work) {
            CVideo& movie = *work.movie;
            if (work.result == 1 || format_ == 4) {
                EXPECT_EQ(movie.file_name, work.result == 1 ? path_ : other_);
                EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
                expect_current(movie, work.result == 1 ? samples_[1] : before[1]);
            }
            EXPECT_EQ(movie.OpenVideo(path_.c_str()), 1);
            expect_current(movie, samples_[0]);
        });
}

// A step that failed leaves the movie where its number says, so that the next one is right.
TEST_P(ShortMemoryOfMovies, StepsFindTheirWayAfterwards) {
    static std::vector<int> table(300);
    std::iota(table.begin(), table.end(), 0);
    using Step = std::function<int(CVideo&)>;
    const Step steps[] = {[](CVideo& movie) { return movie.GetNextFrame(nullptr); },
                          [](CVideo& movie) { return movie.GetNextFrame(table.data()); },
                          [](CVideo& movie) { return movie.GetPreviousFrame(nullptr); },
                          [](CVideo& movie) { return movie.GetFrame(1, nullptr); },
                          [](CVideo& movie) { return movie.read_tqf_frame(movie.image); }};
    for (const Step& step : steps) {
        const auto check = [&](Work& work) {
            CVideo& movie = *work.movie;
            const auto current = [&] { return static_cast<std::size_t>(movie.current_frame); };
            if (&step == &steps[4])
                return;
            if (work.result == 1) {
                EXPECT_TRUE(same_bits(samples_of(*movie.image), samples_[current()]));
            }
            EXPECT_EQ(movie.GetPreviousFrame(nullptr), 1);
            expect_current(movie, samples_[current()]);
            EXPECT_EQ(movie.GetNextFrame(nullptr), 1);
            expect_current(movie, samples_[current()]);
        };
        with_each_request_failing(
            [&] {
                auto work = opened();
                EXPECT_EQ(work->movie->GetNextFrame(nullptr), 1);
                return work;
            },
            [&](Work& work) { work.result = step(*work.movie); }, check);
    }
}

TEST_P(ShortMemoryOfMovies, ClosedMoviesKeepAUsableBitmap) {
    with_each_request_failing(
        [&] { return opened(); }, [](Work& work) { work.movie->CloseVideo(); },
        [](Work& work) {
            int rows, cols, type;
            free_2D_float_array(work.movie->dib->MakeFloatImage(&rows, &cols, &type));
            work.movie->dib->MakePalette();
        });
}

TEST_P(ShortMemoryOfMovies, FilesAreWholeOrABoxTells) {
    for (const bool fits : {true, false}) {
        const ImagePtr other = make_random(5, 30, 1 - type_, 7, true);
        with_each_request_failing(
            [] {
                boxes = 0;
                return std::make_unique<Work>();
            },
            [&](Work& work) {
                work.movie.reset(new (std::nothrow)
                                     CVideo(target_.c_str(), 12, 10, 3, format_, encoding_, type_));
                if (!work.movie)
                    return;
                for (const ImagePtr& frame : frames_)
                    work.movie->WriteCurrentFrame(fits ? frame.get() : other.get());
                if (format_ == 4)
                    work.movie->write_tqf_frame(other.get());
                work.movie->CloseVideo();
            },
            [&](Work& work) {
                if (work.movie && boxes == 0 && fits && format_ == 5) {
                    EXPECT_EQ(frames_of(target_), samples_);
                }
                if (work.movie && boxes == 0) {
                    EXPECT_EQ(MovieHandle(new CVideo)->OpenVideo(target_.c_str()), 1);
                }
            });
    }
}

TEST_P(ShortMemoryOfMovies, EditedMoviesAreWholeOrABoxTells) {
    const std::function<CVideo*(CVideo&)> edits[] = {
        [](CVideo& movie) { return movie.Extract(0, 2, 2, 3, 8, 4); },
        [](CVideo& movie) { return movie.Reduce(2, 0); },
        [&](CVideo& movie) { return movie.Superpose(path_.c_str()); }};
    for (const auto& edit : edits) {
        const MovieHandle whole(edit(*opened()->movie));
        expect_made_or_told(edit, frames_of(whole->file_name));
    }
}

TEST_P(ShortMemoryOfMovies, CopiesAreWholeOrABoxTells) {
    const std::string itself = folder_.path("itself");
    for (const int to_format : {4, 5}) {
        for (const std::string& to : {target_, itself}) {
            with_each_request_failing(
                [&] {
                    write_movie(itself, format_, encoding_, type_, frames_);
                    auto work = std::make_unique<Work>();
                    EXPECT_EQ(work->movie->OpenVideo(itself.c_str()), 1);
                    boxes = 0;
                    return work;
                },
                [&](Work& work) { work.movie->WriteVideo(to.c_str(), to_format, 1, 1, 4); },
                [&](Work&) {
                    if (boxes == 0) {
                        EXPECT_EQ(frames_of(to).size(), 3u);
                    } else if (to == itself) { // stays as it was
                        EXPECT_EQ(frames_of(to), samples_);
                    }
                });
        }
    }
    EXPECT_FALSE(folder_.has(".vorlane-0"));
    const std::string prefix = folder_.path("f");
    with_each_request_failing(
        [&] { return opened(); },
        [&](Work& work) {
            work.movie->ImagesFromVideo(prefix.c_str(), 0, ".tq", 4, type_ == 1 ? 4 : 6);
        },
        [&](Work&) {
            for (int n = 0; boxes == 0 && n < 3; ++n) {
                CImage image;
                const std::string name = "f" + std::to_string(n) + ".tq";
                ASSERT_EQ(image.ReadImage(folder_.path(name).c_str()), 1);
                EXPECT_TRUE(same_bits(samples_of(image), samples_[static_cast<std::size_t>(n)]));
            }
        });
}

TEST_P(ShortMemoryOfMovies, MoviesOfOtherFilesAreWholeOrABoxTells) {
    for (int n = 0; n < 3; ++n) {
        frames_[static_cast<std::size_t>(n)]->file_format = 4;
        frames_[static_cast<std::size_t>(n)]->pixel_format = type_ == 1 ? 4 : encoding_;
        frames_[static_cast<std::size_t>(n)]->WriteImage(
            folder_.path("i" + std::to_string(n) + ".tq").c_str());
    }
    const std::string prefix = folder_.path("i"), suffix = ".tq";
    const auto of_images = [&](CVideo&) {
        return VideoFromImages(prefix.c_str(), 0, 2, suffix.c_str());
    };
    expect_made_or_told(of_images, samples_);
    const std::string yuv = folder_.write("yuv", std::string(200, 'x'));
    for (const int half : {0, 1}) {
        for (const int mode : {0, 1}) {
            const auto of_yuv = [&](CVideo&) {
                return VideoFromYUV(yuv.c_str(), 8, 8, 2, mode, half);
            };
            const MovieHandle whole(of_yuv(*opened()->movie));
            expect_made_or_told(of_yuv, frames_of(whole->file_name));
        }
    }
}

} // namespace
