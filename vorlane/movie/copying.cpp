// Copying a movie to another format.

#include <vorlane/movie/video.h>

#include <filesystem>
#include <memory>
#include <new>
#include <optional>

#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/movie/movie_files.h>

using namespace vorlane;

namespace {

constexpr const char* cant_write = "CVideo: Can't write file";

void copy_file(const char* from, const char* to) {
    if (are_one_file(from, to))
        return;
    std::error_code error;
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, error);
    if (error)
        show_failure(cant_write);
}

} // namespace

int CVideo::WriteVideo(const char* path, int to_format, int to_type, int normalize,
                       int to_pixel_format) {
    if (to_format == FileFormat::avi && file_format == FileFormat::avi) {
        if (path)
            copy_file(file_name, path);
        return 1;
    }
    // A movie that goes upon itself is written beside, and takes its place when it is whole.
    std::optional<Successor> successor;
    const bool makes_file = to_format == FileFormat::avi || to_format == FileFormat::tq;
    if (path && makes_file && are_one_file(file_name, path))
        successor.emplace(path);
    char name[sizeof file_name];
    const char* const target = successor                     ? successor->path()
                               : copy_movie_path(path, name) ? name
                                                             : nullptr;
    CVideo made;
    const bool is_created =
        made.create(target, nrows, ncols, nframes, to_format, to_pixel_format, to_type);
    const bool is_open = OpenVideo(file_name) != 0;
    bool is_whole = is_open;
    if (is_open) {
        GetFrame(nframes - 1, nullptr);
        current_frame = nframes - 1; // also if that one can't be had
        for (int k = 0; k < nframes && is_created && !made.write_failed_; ++k) {
            is_whole = GetNextFrame(nullptr) != 0 && is_whole;
            if (image_type == ImageType::gray && to_type == ImageType::gray && normalize != 0)
                image->Normalize(0.0f, 255.0f);
            made.WriteCurrentFrame(image);
        }
    }
    CloseVideo();
    bool is_written = made.close_files();
    if (successor && is_created && is_written && is_whole)
        is_written = successor->take_place();
    if (is_open && !is_whole)
        show_failure(cant_read_frame);
    if (!is_written)
        show_failure(cant_write);
    return 1;
}
