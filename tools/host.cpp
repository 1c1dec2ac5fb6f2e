#include "host.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Ending {
    const char* text;
    int file_format;
};

constexpr Ending endings[] = {{".pgm", 1},  {".ppm", 2}, {".bmp", 3},    {".tq", 4},
                              {".velk", 7}, {".raw", 8}, {".halvort", 9}};

constexpr int tq_format = 4;
constexpr int byte_samples = 4;
constexpr int float_samples = 6;

std::string first_message;

int keep_message(const char* text, unsigned type, unsigned) {
    constexpr int ok = 1;
    if (type == 0 && first_message.empty())
        first_message = text;
    return ok;
}

} // namespace

void collect_messages() {
    SetMessageBoxHandler(keep_message);
}

std::string take_message(const std::string& otherwise) {
    std::string text = std::exchange(first_message, {});
    return text.empty() ? otherwise : text;
}

ImagePtr checked(CImage* result, const std::string& what) {
    if (!result)
        throw CommandError(take_message(what));
    return ImagePtr(result);
}

std::string check_positive(const std::string& text) {
    char* end = nullptr;
    const float value = std::strtof(text.c_str(), &end);
    return *end == '\0' && value > 0.0f && std::isfinite(value)
               ? ""
               : text + " is not a positive number";
}

ImagePtr load(const std::string& path) {
    auto image = std::make_unique<CImage>();
    if (!image->ReadImage(path.c_str()))
        throw CommandError(path + ": " + take_message("Can't read data"));
    return image;
}

int format_of_ending(const std::string& path) {
    const std::string ending = std::filesystem::path(path).extension().string();
    std::string known;
    for (const Ending& candidate : endings) {
        if (ending == candidate.text)
            return candidate.file_format;
        known += std::string(known.empty() ? "" : ", ") + candidate.text;
    }
    throw CommandError(path + ": the ending must be one of " + known);
}

void save(CImage& image, const std::string& path) {
    image.file_format = format_of_ending(path);
    if (image.file_format == tq_format && image.image_type == 1)
        image.pixel_format = byte_samples; // the only colour there is in such files
    else if (image.pixel_format == 0)
        image.pixel_format = float_samples; // an image that states no encoding keeps its values
    save_whole(path, [&](const char* file) { return image.WriteImage(file); });
}

PendingFile::PendingFile(const std::string& path) : final_(path), temporary_(path + ".XXXXXX") {
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored) &&
        !std::filesystem::is_regular_file(path, ignored)) {
        temporary_ = path; // a device or a pipe is written as it stands
        is_pending_ = false;
        return;
    }
    const int file = mkstemp(temporary_.data());
    if (file < 0)
        throw CommandError(path + ": " + std::generic_category().message(errno));
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(file, 0666 & ~mask);
    close(file);
}

PendingFile::~PendingFile() {
    std::error_code ignored;
    if (is_pending_)
        std::filesystem::remove(temporary_, ignored);
}

void PendingFile::commit() {
    if (!is_pending_)
        return;
    std::error_code error;
    std::filesystem::rename(temporary_, final_, error);
    if (error)
        throw CommandError(final_ + ": " + error.message());
    is_pending_ = false;
}
