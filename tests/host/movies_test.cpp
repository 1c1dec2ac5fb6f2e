#include "host/movies.h"

#include <cmath>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "support/images.h"
#include "support/scratch_folder.h"

namespace {

using namespace vorlane;
using host::MovieSettings;

constexpr int rows = 24;
constexpr int cols = 38;

// Told apart by their level, with something that moves.
CImage frame_of(int n, int image_type, double unit = 1.0) {
    CImage image(rows, cols, image_type, FileFormat::none, PixelFormat::byte);
    const int channels = image_type == ImageType::colour ? 3 : 1;
    for (int i = 0; i < rows; ++i) {
        for (int k = 0; k < cols * channels; ++k)
            image.pixels[i][k] = static_cast<float>(
                unit * (5 * n + (k / channels / 4 == n % 9 ? 60 : 0) + 10 * (k % channels)));
    }
    return image;
}

double distance(const CImage& a, const CImage& b) {
    if (a.nrows != b.nrows || a.ncols != b.ncols || a.image_type != b.image_type)
        return INFINITY;
    const Samples x = samples_of(a), y = samples_of(b);
    double largest = 0.0;
    for (std::size_t k = 0; k < x.size(); ++k)
        largest = std::max<double>(largest, std::abs(x[k] - y[k]));
    return largest;
}

MovieSettings settings_of(int image_type, double rate, int pixel_format = PixelFormat::byte) {
    return {.rows = rows,
            .cols = cols,
            .image_type = image_type,
            .pixel_format = pixel_format,
            .rate = rate};
}

void write(const std::string& path, const MovieSettings& settings, int count, double unit = 1.0) {
    const auto movie = host::create_movie(path, settings);
    for (int n = 0; n < count; ++n)
        movie->add(frame_of(n, settings.image_type, unit));
    movie->finish();
}

bool can_write(const std::string& ending) {
    return host::movie_endings().find(ending) != std::string::npos;
}

struct Kind {
    const char* ending;
    int image_type;
    int pixel_format;
    double unit;
    double loss; // the largest difference that the codec may make
    double rate;
    double read_rate; // 0 if the format keeps none
};

constexpr int gray = ImageType::gray;
constexpr int colour = ImageType::colour;

class Movies : public testing::TestWithParam<Kind> {};

TEST_P(Movies, ComeBackFrameByFrameInAnyOrder) {
    const Kind kind = GetParam();
    if (!can_write(kind.ending))
        GTEST_SKIP() << "this build has no " << kind.ending;
    ScratchFolder folder;
    const std::string path = folder.path(std::string(100, 'm') + kind.ending);
    write(path, settings_of(kind.image_type, kind.rate, kind.pixel_format), 30, kind.unit);
    const auto movie = host::open_movie(path);
    EXPECT_EQ(movie->info().rows, rows);
    EXPECT_EQ(movie->info().cols, cols);
    EXPECT_NEAR(movie->info().rate, kind.read_rate, 1e-3);
    EXPECT_EQ(movie->count_frames(), 30);
    const auto expect = [&](int n) {
        const CImage* const frame = movie->next();
        ASSERT_NE(frame, nullptr) << n;
        EXPECT_EQ(frame->pixel_format, movie->info().pixel_format);
        // A gray movie may come back in colour.
        const CImage wanted = frame_of(n, kind.image_type, kind.unit);
        const std::unique_ptr<CImage> painted(
            frame->image_type == wanted.image_type ? new CImage(&wanted) : wanted.MakeColor(0));
        EXPECT_LE(distance(*frame, *painted), kind.loss) << n;
    };
    for (int n = 0; n < 30; ++n)
        expect(n);
    EXPECT_EQ(movie->next(), nullptr);
    for (const int n : {7, 8, 29, 0, 3, 28, 12}) {
        movie->seek(n);
        expect(n);
    }
    EXPECT_THROW(movie->seek(30), host::UsageError);
    EXPECT_THROW(movie->seek(-1), host::UsageError);
}

constexpr Kind kinds[] = {
    {".tq", gray, PixelFormat::byte, 1.0, 0.0, 12.0, 0.0},
    {".tq", gray, PixelFormat::int16, -90.0, 0.0, 0.0, 0.0},
    {".tq", gray, PixelFormat::int32, 1e5, 0.0, 0.0, 0.0},
    {".tq", gray, PixelFormat::float32, 0.37, 0.0, 0.0, 0.0},
    {".tq", colour, PixelFormat::float32, 1.0, 0.0, 0.0, 0.0},
    {".avi", gray, PixelFormat::byte, 1.0, 0.0, 12.5, 12.5},
    {".avi", colour, PixelFormat::byte, 1.0, 0.0, 29.97, 29.97},
    {".mkv", gray, PixelFormat::byte, 1.0, 0.0, 30.0, 30.0},
    {".mkv", gray, PixelFormat::int16, 200.0, 0.0, 24.0, 24.0},
    {".mkv", colour, PixelFormat::byte, 1.0, 0.0, 0.0, host::default_rate},
    {".gif", gray, PixelFormat::byte, 1.0, 0.0, 10.0, 10.0},
    {".gif", colour, PixelFormat::byte, 1.0, 0.0, 20.0, 20.0},
    {".mp4", gray, PixelFormat::byte, 1.0, 12.0, 25.0, 25.0},
    {".mov", colour, PixelFormat::byte, 1.0, 24.0, 60.0, 60.0},
};
INSTANTIATE_TEST_SUITE_P(Kinds, Movies, testing::ValuesIn(kinds), [](const auto& kind) {
    return (kind.param.ending + 1) + std::to_string(kind.index);
});

TEST(MovieWriter, LeavesAWholeFileOrNone) {
    ScratchFolder folder;
    for (const char* const ending : {".tq", ".avi", ".mkv", ".gif"}) {
        if (!can_write(ending))
            continue;
        const std::string path = folder.path(std::string("movie") + ending);
        {
            const auto movie = host::create_movie(path, settings_of(gray, 10.0));
            movie->add(frame_of(0, gray));
            EXPECT_THROW(movie->add(frame_of(1, colour)), host::Error);
            CImage small(rows, cols - 1, gray, 0, 4);
            EXPECT_THROW(movie->add(small), host::Error);
        }
        EXPECT_TRUE(std::filesystem::is_empty(folder.path("."))) << ending;
    }
    EXPECT_THROW(host::create_movie(folder.path("a.xyz"), settings_of(gray, 1.0)),
                 host::UsageError);
    EXPECT_THROW(host::create_movie(folder.path("a.avi"), settings_of(gray, -1.0)),
                 host::UsageError);
}

TEST(MovieWriter, BringsValuesIntoBytesByTheRule) {
    ScratchFolder folder;
    const CImage wide = *row_of({-300.0f, 0.6f, 260.0f, 500.0f});
    host::RangeOfFrames range;
    range.add(wide);
    const auto bytes_by = [&](host::RangeRule rule) {
        const std::string path = folder.path("m.tq");
        const auto writer = host::create_movie(path, {.rows = 1, .cols = 4, .range = rule});
        writer->add(wide);
        writer->finish();
        const auto movie = host::open_movie(path);
        return samples_of(*movie->next());
    };
    EXPECT_EQ(bytes_by({host::RangeRule::clamp}), (Samples{0, 1, 255, 255}));
    EXPECT_EQ(bytes_by({host::RangeRule::wrap}), (Samples{212, 0, 4, 244}));
    EXPECT_EQ(bytes_by({host::RangeRule::fixed, 0.0, 520.0}), (Samples{0, 0, 128, 245}));
    EXPECT_EQ(bytes_by(range.resolve({host::RangeRule::stretch})), (Samples{0, 96, 178, 255}));
    EXPECT_THROW(bytes_by({host::RangeRule::stretch}), host::UsageError);
}

TEST(MovieWriter, PaintsAGifInTheNearestOfManyColours) {
    if (!can_write(".gif"))
        GTEST_SKIP();
    ScratchFolder folder;
    const ImagePtr image = make_colour(64, 64, [](int i, int j, int k) {
        return k == 0   ? 4.0f * static_cast<float>(i)
               : k == 1 ? 4.0f * static_cast<float>(j)
                        : 128.0f;
    });
    MovieSettings settings = settings_of(colour, 5.0);
    settings.rows = settings.cols = 64;
    const std::string path = folder.path("a.gif");
    const auto writer = host::create_movie(path, settings);
    writer->add(*image);
    writer->finish();
    EXPECT_LT(distance(*host::open_movie(path)->next(), *image), 20.0);
}

// Reads what it can, and ends with an Error or with the last frame.
int frames_of(const std::string& path, bool allow_truncated) {
    int count = 0;
    try {
        const auto movie = host::open_movie(path, {allow_truncated});
        while (count < 1000 && movie->next())
            ++count;
        movie->seek(0);
    } catch (const host::Error& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        EXPECT_NE(text.find("hurt"), std::string::npos) << text;
        return -1;
    }
    return count;
}

TEST(MovieReader, StandsFilesThatAreCutShortOrDamaged) {
    ScratchFolder folder;
    std::mt19937 random(5);
    for (const char* const ending : {".tq", ".avi", ".mkv", ".gif", ".mp4"}) {
        if (!can_write(ending))
            continue;
        const std::string name = std::string("whole") + ending;
        write(folder.path(name), settings_of(colour, 10.0), 6);
        const std::string whole = folder.read(name);
        for (int n = 0; n < 12; ++n) {
            const std::size_t length = whole.size() * static_cast<std::size_t>(n) / 12;
            const std::string hurt = folder.write("hurt", whole.substr(0, length));
            const int count = frames_of(hurt, false);
            EXPECT_EQ(count, -1) << ending << ' ' << n;
            frames_of(hurt, true);
        }
        for (int n = 0; n < 20; ++n) {
            std::string bytes = whole;
            for (int k = 0; k < 4; ++k)
                bytes[random() % std::min<std::size_t>(bytes.size(), n < 10 ? 600 : bytes.size())] =
                    static_cast<char>(random());
            const std::string hurt = folder.write("hurt", bytes);
            frames_of(hurt, false);
            frames_of(hurt, true);
        }
    }
}

TEST(MovieReader, RefusesWhatIsNoMovie) {
    ScratchFolder folder;
    const auto refuses = [&](const std::string& bytes) {
        EXPECT_THROW(host::open_movie(folder.write("a.mp4", bytes)), host::Error) << bytes;
    };
    refuses("");
    refuses("just some words\n");
    refuses("#EXTM3U\n#EXTINF:1,\n/etc/passwd\n");
    refuses("ffconcat version 1.0\nfile '/etc/passwd'\n");
    refuses(std::string(5000, '\0'));
    EXPECT_THROW(host::open_movie(folder.path("missing.mp4")), host::Error);
    EXPECT_THROW(host::open_movie(folder.path(".")), host::Error);
}

} // namespace
