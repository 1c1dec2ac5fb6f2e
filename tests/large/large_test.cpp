// Images of more than 2^31 samples, movies above 4 GB, and volumes of thousands of slices. Files are full of holes
// and rows share their samples, so that the everyday tests take no time; those named Slow take minutes, memory and
// disk, and run by scripts/large.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <numeric>

#include <gtest/gtest.h>

#include <support/avi_files.h>
#include <support/messages.h>
#include <support/movies.h>
#include <support/scratch_folder.h>
#include <support/volumes.h>
#include <vorlane/histogram/histogram.h>
#include <vorlane/movie/movie_files.h>

namespace {

constexpr int side = 50000; // of 2.5 thousand million samples

// A gray image whose rows are all the same samples.
class WideImage {
public:
    WideImage() : row_(side) {
        for (std::size_t j = 0; j < row_.size(); ++j)
            row_[j] = static_cast<float>(j % 251);
        image.nrows = image.ncols = side;
        image.file_format = 1;
        image.pixel_format = 4;
        image.pixels = make_2D_float_view(row_.data(), side, side, 0);
    }
    const std::vector<float>& row() const { return row_; }

private:
    std::vector<float> row_;

public:
    CImage image; // goes before its samples
};

// The bytes at `at` of a file that may be longer than what was written of it.
void put(const std::string& path, std::int64_t at, const std::string& bytes) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(at);
    file << bytes;
    ASSERT_TRUE(file.flush());
}

TEST(LargeImages, AreReachedToTheirLastPixel) {
    WideImage wide;
    ASSERT_NE(wide.image.pixels, nullptr);
    const ImagePtr corner(wide.image.Extract(side - 3, side - 4, 3, 4));
    ASSERT_TRUE(corner);
    for (int j = 0; j < 4; ++j)
        EXPECT_EQ(corner->pixels[2][j], wide.row()[static_cast<std::size_t>(side - 4 + j)]);
    wide.image.DrawCross(side - 1, side - 1, 7.0f, 2);
    EXPECT_EQ(wide.row().back(), 7.0f);
    wide.image.DrawLine(0, 0, side - 1, side - 1, 9.0f);
    EXPECT_EQ(wide.row()[side / 2], 9.0f);
}

TEST(LargeMovies, OfTqAreGoneAboutInBehind4Gigabytes) {
    const ScratchFolder folder;
    constexpr std::int64_t frames = 6000, frame_bytes = 1000 * 1000;
    const std::string header = "TQ\n1000 1000 6000\n4\n0\n";
    const std::string path = folder.write("movie", header);
    const auto begin = static_cast<std::int64_t>(header.size());
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(begin + frames * frame_bytes));
    for (const std::int64_t n : {5000, 5001, 5999})
        put(path, begin + n * frame_bytes, std::string(1, static_cast<char>(n - 4950)));
    const vorlane::MovieHandle movie(new CVideo);
    ASSERT_EQ(movie->OpenVideo(path.c_str()), 1);
    const auto first = [&] { return movie->image->pixels[0][0]; };
    ASSERT_EQ(movie->GetPreviousFrame(nullptr), 1);
    EXPECT_EQ(movie->current_frame, 5999);
    EXPECT_EQ(first(), static_cast<float>((5999 - 4950) % 256));
    ASSERT_EQ(movie->GetFrame(5000, nullptr), 1);
    EXPECT_EQ(first(), 50.0f);
    ASSERT_EQ(movie->GetNextFrame(nullptr), 1);
    EXPECT_EQ(first(), 51.0f);
    ASSERT_EQ(movie->GetPreviousFrame(nullptr), 1);
    EXPECT_EQ(first(), 50.0f);
}

TEST(LargeMovies, OfAviHaveFramesBehind4Gigabytes) {
    const ScratchFolder folder;
    constexpr std::uint32_t hole = 1500000000;
    const std::string whole = small_avi({"abcdef"});
    const std::string frame = whole.substr(whole.find("00db"), 16);
    const std::string path = folder.write("movie.avi", whole.substr(0, whole.find("00db") + 16));
    auto at = static_cast<std::int64_t>(whole.find("00db") + 16);
    for (int n = 0; n < 3; ++n) {
        put(path, at, "JUNK" + avi::little32(hole));
        at += 8 + std::int64_t{hole};
        std::string next = frame;
        next[8] = static_cast<char>('A' + n);
        put(path, at, next);
        at += 16;
    }
    const vorlane::MovieHandle movie(new CVideo);
    ASSERT_EQ(movie->OpenVideo(path.c_str()), 1);
    ASSERT_EQ(movie->nframes, 4);
    ASSERT_EQ(movie->GetFrame(3, nullptr), 1);
    EXPECT_EQ(movie->image->pixels[0][2], static_cast<float>('C'));
}

TEST(LargeVolumes, HaveThousandsOfSlices) {
    const ScratchFolder folder;
    constexpr int slices = 6000, rows = 12, cols = 20;
    std::string bytes(std::size_t{slices} * rows * cols, '\0');
    for (std::size_t k = 0; k < slices; ++k)
        bytes[(k * rows + 5) * cols + 9] = static_cast<char>(k % 200);
    const std::string raw = folder.write("raw", bytes);
    const std::string path =
        folder.write("v2", "V2\nfile=" + raw + "\nnbf=6000\nrow=12\ncol=20\nsize=1\n");
    CVolume volume;
    ASSERT_EQ(volume.ReadVolume(path.c_str()), 1);
    for (const int k : {0, 199, 4321, 5999})
        EXPECT_EQ(volume.slices[k].pixels[5][9], static_cast<float>(k % 200));
    // The filter reaches a few slices: far from its ends, a stack of 60 around a slice gives the same.
    const VolumePtr smooth(volume.smooth_volume(1.0f));
    ASSERT_TRUE(smooth);
    const VolumePtr part = make_volume(
        60, rows, cols, [&](int k, int i, int j) { return volume.slices[4000 + k].pixels[i][j]; });
    const VolumePtr part_smooth(part->smooth_volume(1.0f));
    EXPECT_NEAR(smooth->slices[4030].pixels[5][9], part_smooth->slices[30].pixels[5][9], 1e-3);
    volume.ridges(1.0f, 0.0f, 0, 0, 0);
    EXPECT_NE(volume.slices[5999].scale_plane, nullptr);
}

TEST(LargeImages, DISABLED_SlowAreCountedReducedAndWritten) {
    WideImage wide;
    const CHistogram histogram(&wide.image, 0);
    EXPECT_EQ(histogram.nbins, 251);
    EXPECT_EQ(histogram.bins[0], 200 * side);
    const ImagePtr small(wide.image.Reduce(1000, 0));
    ASSERT_TRUE(small);
    const double sum = std::accumulate(wide.row().end() - 1000, wide.row().end(), 0.0);
    EXPECT_NEAR(small->pixels[49][49], sum / 1000.0, 1e-3);
    const ScratchFolder folder;
    const std::string path = folder.path("wide.pgm");
    ASSERT_EQ(wide.image.WriteImage(path.c_str()), 1);
    EXPECT_EQ(std::filesystem::file_size(path), 19u + std::uintmax_t{side} * side);
    std::ifstream file(path, std::ios::binary);
    file.seekg(-1, std::ios::end);
    EXPECT_EQ(file.get(), (side - 1) % 251);
    for (float* const* row : {wide.image.pixels})
        std::fill(row[0], row[0] + side, 3.0f);
    EXPECT_EQ(CHistogram(&wide.image, 0).bins[3], std::numeric_limits<int>::max()); // stops there
}

// Results of ten thousand million bytes.
TEST(LargeImages, DISABLED_SlowGiveLargeResults) {
    WideImage wide;
    const ImagePtr above(wide.image.Threshold(100.0f));
    ASSERT_TRUE(above) << "there isn't the memory for it";
    for (const int i : {0, side / 2, side - 1})
        for (const int j : {100, 101, side - 1})
            EXPECT_EQ(above->pixels[i][j],
                      wide.row()[static_cast<std::size_t>(j)] > 100.0f ? 255.0f : 0.0f);
    above->SetPixel(side - 2, side - 3, 1.0f);
    const ImagePtr corner(above->Extract(side - 4, side - 4, 4, 4));
    EXPECT_EQ(corner->pixels[2][1], 1.0f);
}

TEST(LargeMovies, DISABLED_SlowOfAviAreWrittenBehind4Gigabytes) {
    const ScratchFolder folder;
    const std::string path = folder.path("movie.avi");
    constexpr int frames = 48, rows = 5000, cols = 6000;
    const MessageCatcher messages;
    CImage frame(rows, cols, 1, 4, 4);
    {
        const vorlane::MovieHandle movie(new CVideo(path.c_str(), rows, cols, frames, 5, 4, 1));
        for (int n = 0; n < frames; ++n) {
            frame.pixels[rows - 1][0] = static_cast<float>(n);
            movie->WriteCurrentFrame(&frame);
        }
    }
    EXPECT_GT(std::filesystem::file_size(path), std::uintmax_t{1} << 32);
    const vorlane::MovieHandle movie(new CVideo);
    ASSERT_EQ(movie->OpenVideo(path.c_str()), 1);
    ASSERT_EQ(movie->nframes, frames);
    for (const int n : {1, 46, 47}) {
        ASSERT_EQ(movie->GetFrame(n, nullptr), 1);
        EXPECT_EQ(movie->dib->bits[2], n); // the red of the first pixel of the bottom row
    }
}

} // namespace
