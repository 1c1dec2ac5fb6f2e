// Scanner images, TQ files and bitmaps of 4096 x 4096 against reading the same bytes with nothing
// done to them, and bitmaps on a screen.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <vorlane/bitmap/dib.h>
#include <vorlane/imagefiles/image_files.h>

#include "pictures.h"

namespace {

constexpr int file_side = 4096;

// A file in the scratch folder, removed at the end.
class ScratchFile {
public:
    explicit ScratchFile(const char* name)
        : path_((std::filesystem::temp_directory_path() / name).string()) {}
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const char* path() const { return path_.c_str(); }

private:
    std::string path_;
};

void read_all(benchmark::State& state, const char* path) {
    for (auto _ : state) {
        CImage image;
        benchmark::DoNotOptimize(image.ReadImage(path));
    }
}

// Two bytes a sample: the high one first, as a raw file of bytes in pairs gives it, or the low one.
void write_scanner_file(const char* path, bool high_first) {
    std::vector<unsigned char> row(2 * file_side);
    std::FILE* const file = std::fopen(path, "wb");
    for (int i = 0; i < file_side; ++i) {
        for (int j = 0; j < file_side; ++j) {
            const int sample = (i * 7 + j * 13) % 4096;
            row[2 * j + (high_first ? 0 : 1)] = static_cast<unsigned char>(sample >> 8);
            row[2 * j + (high_first ? 1 : 0)] = static_cast<unsigned char>(sample);
        }
        std::fwrite(row.data(), 1, row.size(), file);
    }
    std::fclose(file);
}

void read_scanner(benchmark::State& state) {
    const ScratchFile file("vorlane-bench.scan");
    write_scanner_file(file.path(), state.range(0) != 0);
    read_all(state, file.path());
}
BENCHMARK(read_scanner)->ArgName("high_first")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// The same file through one block of memory: what the system takes for its part.
void read_words_alone(benchmark::State& state) {
    const ScratchFile file("vorlane-bench.scan");
    write_scanner_file(file.path(), true);
    std::vector<char> block(1 << 18);
    for (auto _ : state) {
        std::FILE* const stream = std::fopen(file.path(), "rb");
        while (std::fread(block.data(), 1, block.size(), stream) == block.size())
            benchmark::DoNotOptimize(block.data());
        std::fclose(stream);
    }
}
BENCHMARK(read_words_alone)->Unit(benchmark::kMillisecond);

// The same into a new plane, which the system clears first: what a reader can't do without.
void read_words_into_new_plane(benchmark::State& state) {
    const ScratchFile file("vorlane-bench.scan");
    write_scanner_file(file.path(), true);
    for (auto _ : state) {
        const ImagePtr image = std::make_unique<CImage>(file_side, file_side, 0, 1, 4);
        std::FILE* const stream = std::fopen(file.path(), "rb");
        for (int i = 0; i < file_side; ++i)
            benchmark::DoNotOptimize(std::fread(image->pixels[i], 2, file_side, stream));
        std::fclose(stream);
    }
}
BENCHMARK(read_words_into_new_plane)->Unit(benchmark::kMillisecond);

void read_tq(benchmark::State& state) {
    const ScratchFile file("vorlane-bench.tq");
    const ImagePtr image = make_gray_picture(file_side, file_side);
    image->file_format = 4;
    image->pixel_format = static_cast<int>(state.range(0));
    image->WriteImage(file.path());
    read_all(state, file.path());
}
BENCHMARK(read_tq)->ArgName("pixel_format")->DenseRange(4, 7)->Unit(benchmark::kMillisecond);

void write_tq(benchmark::State& state) {
    const ScratchFile file("vorlane-bench.tq");
    const ImagePtr image = make_gray_picture(file_side, file_side);
    image->file_format = 4;
    image->pixel_format = static_cast<int>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(image->WriteImage(file.path()));
}
BENCHMARK(write_tq)->ArgName("pixel_format")->DenseRange(4, 7)->Unit(benchmark::kMillisecond);

void read_bmp(benchmark::State& state) {
    const ScratchFile file("vorlane-bench.bmp");
    const ImagePtr image = make_gray_picture(file_side, file_side);
    image->file_format = 3;
    image->WriteImage(file.path());
    read_all(state, file.path());
}
BENCHMARK(read_bmp)->Unit(benchmark::kMillisecond);

void make_bitmap(benchmark::State& state) {
    const ImagePtr image = make_gray_picture(2048, 2048);
    for (auto _ : state) {
        const CDib bitmap(image.get(), static_cast<int>(state.range(0)), 0.0f, 0.0f);
        benchmark::DoNotOptimize(bitmap.bits);
    }
}
BENCHMARK(make_bitmap)->ArgName("normalize")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void draw(benchmark::State& state) {
    const ImagePtr image = make_gray_picture(2048, 2048);
    CDib bitmap(image.get(), 0, 0.0f, 0.0f);
    CMemoryDC device(1920, 1080, CMemoryDC::true_colour);
    for (auto _ : state)
        bitmap.Draw(&device, 0, 0, 1920, 1080);
}
BENCHMARK(draw)->Unit(benchmark::kMillisecond);

} // namespace
