// Stepping through a colour AVI movie of 1920 x 1080 pixels, against reading its bytes alone.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <vorlane/movie/video.h>

namespace {

constexpr int rows = 1080;
constexpr int cols = 1920;
constexpr int frames = 30;

// A movie in a file of its own, removed behind.
class Movie {
public:
    explicit Movie(int file_format)
        : path_((std::filesystem::temp_directory_path() / "vorlane-bench.avi").string()) {
        constexpr int colour = 1;
        constexpr int byte_samples = 4;
        CVideo movie(path_.c_str(), rows, cols, frames, file_format, byte_samples, colour);
        CImage image(rows, cols, colour, file_format, byte_samples);
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < 3 * cols; ++j)
                image.pixels[i][j] = static_cast<float>((i * 7 + j * 5) % 256);
        for (int n = 0; n < frames; ++n)
            movie.WriteCurrentFrame(&image);
        movie.CloseVideo();
    }
    ~Movie() { std::filesystem::remove(path_); }
    Movie(const Movie&) = delete;
    Movie& operator=(const Movie&) = delete;

    const char* path() const { return path_.c_str(); }

private:
    std::string path_;
};

void step(benchmark::State& state, int file_format) {
    const Movie file(file_format);
    CVideo movie;
    movie.OpenVideo(file.path());
    for (auto _ : state)
        benchmark::DoNotOptimize(movie.GetNextFrame(nullptr));
    movie.CloseVideo();
    state.SetItemsProcessed(state.iterations());
}

void step_avi(benchmark::State& state) {
    step(state, 5);
}
BENCHMARK(step_avi)->Unit(benchmark::kMillisecond);

void step_tq(benchmark::State& state) {
    step(state, 4);
}
BENCHMARK(step_tq)->Unit(benchmark::kMillisecond);

void read_bytes_of_frame_alone(benchmark::State& state) {
    const Movie movie(5);
    std::vector<char> frame(std::size_t{3} * rows * cols);
    std::FILE* const file = std::fopen(movie.path(), "rb");
    for (auto _ : state) {
        if (std::fread(frame.data(), 1, frame.size(), file) < frame.size())
            std::rewind(file);
        benchmark::DoNotOptimize(frame.data());
    }
    std::fclose(file);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(read_bytes_of_frame_alone)->Unit(benchmark::kMillisecond);

} // namespace
