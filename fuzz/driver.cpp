// Replays a corpus folder and mutations of its files through a fuzz target, in seconds and always
// alike.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> read_corpus(const char* folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    std::vector<Bytes> corpus;
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return corpus;
}

// Flips, sets, removes and repeats a few bytes, mostly near the start, where headers stand.
Bytes mutate(Bytes bytes, std::mt19937& random) {
    const auto below = [&](std::size_t n) { return n ? random() % n : 0; };
    for (int k = 0, steps = 1 + static_cast<int>(below(4)); k < steps && !bytes.empty(); ++k) {
        const std::size_t reach =
            below(3) ? std::min<std::size_t>(bytes.size(), 200) : bytes.size();
        const std::size_t at = below(reach);
        const auto position = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        constexpr std::uint8_t telling[] = {0, 1, 127, 128, 255, '0', '9', '-', ' ', '\n', '#'};
        switch (below(5)) {
        case 0:
            *position = static_cast<std::uint8_t>(*position ^ 1u << below(8));
            break;
        case 1:
            *position = telling[below(std::size(telling))];
            break;
        case 2:
            bytes.erase(position, position + static_cast<std::ptrdiff_t>(below(bytes.size() - at)));
            break;
        case 3:
            bytes.insert(position, 1 + below(9), telling[below(std::size(telling))]);
            break;
        default:
            for (std::size_t b = 0; b < 4 && at + b < bytes.size(); ++b)
                bytes[at + b] = static_cast<std::uint8_t>(random());
        }
    }
    return bytes;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: fuzz_NAME CORPUS_FOLDER [MUTATIONS_OF_EACH]\n", stderr);
        return 2;
    }
    const int mutations_of_each = argc > 2 ? std::atoi(argv[2]) : 150;
    const auto corpus = read_corpus(argv[1]);
    std::mt19937 random(1);
    for (const Bytes& bytes : corpus) {
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        for (int k = 0; k < mutations_of_each; ++k) {
            const Bytes mutated = mutate(bytes, random);
            LLVMFuzzerTestOneInput(mutated.data(), mutated.size());
        }
    }
    std::printf("%zu files, %d mutations of each\n", corpus.size(), mutations_of_each);
    return corpus.empty() ? 1 : 0;
}
