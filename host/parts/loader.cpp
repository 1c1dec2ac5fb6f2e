// What the parts define, by way of modules that are loaded at the first call.
#include <filesystem>

#include <dlfcn.h>

#include "host/movies/parts.h"
#include "host/parts/parts.h"
#include "host/volumes/parts.h"

namespace vorlane::host {

namespace {

// Of an installed program, or of one in its build tree.
std::string module_folder() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto installed = program / VORLANE_MODULES;
    return (std::filesystem::is_directory(installed, error) ? installed
                                                            : program.parent_path() / "modules")
        .string();
}

// A module stays until the program ends.
[[maybe_unused]] const void* load(const char* name) {
    const std::string path = module_folder() + "/" + name;
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const void* const part = module ? dlsym(module, part_symbol) : nullptr;
    if (!part)
        throw Error(std::string("a part of the program can't be loaded: ") + dlerror());
    return part;
}

#ifdef VORLANE_HAS_DCMTK
const DicomPart& dicom_part() {
    static const auto* const part = static_cast<const DicomPart*>(load("vorlane-dicom.so"));
    return *part;
}

Picture read_dicom(const ReadRequest& request) {
    return dicom_part().read(request);
}
#endif

#ifdef VORLANE_HAS_FFMPEG
const MoviePart& movie_part() {
    static const auto* const part = static_cast<const MoviePart*>(load("vorlane-movies.so"));
    return *part;
}
#endif

} // namespace

#ifdef VORLANE_HAS_DCMTK
const Format dicom_format = {.name = "DICOM", .endings = {}, .read = read_dicom, .write = nullptr};

Volume open_dicom_volume(const std::vector<std::string>& files, const std::string& name,
                         const OpenVolumeOptions& options) {
    return dicom_part().open_volume(files, name, options);
}
#endif

#ifdef VORLANE_HAS_FFMPEG
std::unique_ptr<MovieReader> open_coded_movie(std::unique_ptr<Source> source,
                                              const OpenMovieOptions& options) {
    return movie_part().open(std::move(source), options);
}

std::unique_ptr<MovieWriter> create_coded_movie(const std::string& path,
                                                const MovieSettings& settings) {
    return movie_part().create(path, settings);
}
#endif

} // namespace vorlane::host
