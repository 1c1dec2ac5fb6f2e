// Smooths every picture of a folder, two at a time: the library starts no thread, and a host may use its own
// on different objects.
//
//     smooth_a_folder IN OUT SIGMA

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include <vorlane/vorlane.h>

namespace fs = std::filesystem;

namespace {

bool smooth_file(const fs::path& in, const fs::path& out, float sigma) {
    CImage image;
    if (!image.ReadImage(in.string().c_str()))
        return false;
    const std::unique_ptr<CImage> smooth(image.smooth_image(sigma));
    if (!smooth)
        return false;
    // Smoothing multiplies the brightness; colour is stretched to 0 to 255 by itself.
    if (smooth->image_type == vorlane::ImageType::gray)
        smooth->Normalize(0.0f, 255.0f);
    smooth->file_format = image.file_format;
    smooth->pixel_format = vorlane::PixelFormat::byte;
    return smooth->WriteImage(out.string().c_str()) != 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    // Pictures of other kinds are told in one line each, in place of a box.
    SetMessageBoxHandler([](const char*, unsigned, unsigned) { return 1; });
    std::vector<fs::path> pictures;
    for (const fs::directory_entry& entry : fs::directory_iterator(argv[1])) {
        if (entry.is_regular_file())
            pictures.push_back(entry.path());
    }
    fs::create_directories(argv[2]);
    const auto sigma = static_cast<float>(std::atof(argv[3]));
    std::atomic<std::size_t> next{0};
    std::atomic<int> failed{0};
    const auto work = [&] {
        for (std::size_t k = next++; k < pictures.size(); k = next++) {
            if (!smooth_file(pictures[k], fs::path(argv[2]) / pictures[k].filename(), sigma)) {
                std::fprintf(stderr, "%s: isn't smoothed\n", pictures[k].string().c_str());
                ++failed;
            }
        }
    };
    std::thread other(work);
    work();
    other.join();
    return failed == 0 ? 0 : 1;
}
