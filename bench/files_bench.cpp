// Portable maps of 4096 x 4096 bytes against reading and writing the same bytes with nothing done
// to them.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "pictures.h"

namespace {

constexpr int file_side = 4096;

std::string scratch(const char* name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

std::string written_map() {
    const std::string path = scratch("vorlane-bench.pgm");
    make_gray_picture(file_side, file_side)->WriteImage(path.c_str());
    return path;
}

void read_pgm(benchmark::State& state) {
    const std::string path = written_map();
    for (auto _ : state) {
        CImage image;
        benchmark::DoNotOptimize(image.ReadImage(path.c_str()));
    }
    std::filesystem::remove(path);
}
BENCHMARK(read_pgm)->Unit(benchmark::kMillisecond);

void read_bytes_alone(benchmark::State& state) {
    const std::string path = written_map();
    std::vector<char> block(1 << 18);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        while (std::fread(block.data(), 1, block.size(), file) == block.size())
            benchmark::DoNotOptimize(block.data());
        std::fclose(file);
    }
    std::filesystem::remove(path);
}
BENCHMARK(read_bytes_alone)->Unit(benchmark::kMillisecond);

void write_pgm(benchmark::State& state) {
    const ImagePtr image = make_gray_picture(file_side, file_side);
    const std::string path = scratch("vorlane-bench.pgm");
    for (auto _ : state)
        benchmark::DoNotOptimize(image->WriteImage(path.c_str()));
    std::filesystem::remove(path);
}
BENCHMARK(write_pgm)->Unit(benchmark::kMillisecond);

void write_bytes_alone(benchmark::State& state) {
    const std::string path = scratch("vorlane-bench.pgm");
    const std::vector<char> block(1 << 18);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        for (int k = 0; k < (file_side * file_side >> 18); ++k)
            std::fwrite(block.data(), 1, block.size(), file);
        std::fclose(file);
    }
    std::filesystem::remove(path);
}
BENCHMARK(write_bytes_alone)->Unit(benchmark::kMillisecond);

} // namespace
