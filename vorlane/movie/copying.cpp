// Copying a movie to another format.

#include <vorlane/movie/video.h>

#include <filesystem>
#include <memory>
#include <new>

#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/movie/movie_files.h>
#include <vorlane/platform/system_paths.h>

using namespace vorlane;

namespace {

bool copy_file(const char* from, const char* to) {
    if (are_one_file(from, to))
        return true;
    std::error_code error;
    std::filesystem::copy_file(path_of(from), path_of(to),
                               std::filesystem::copy_options::overwrite_existing, error);
    return !error;
}

} // namespace

int CVideo::WriteVideo(const char* path, int to_format, int to_type, int normalize,
                       int to_pixel_format) {
    const bool is_done = guarded([&] {
        if (to_format != FileFormat::avi || file_format != FileFormat::avi)
            return copy_frames(path, to_format, to_type, normalize, to_pixel_format);
        return !path || copy_file(file_name, path);
    });
    if (!is_done)
        show_failure(cant_write_movie);
    return 1;
}

// False if not all that was made is in its file.
bool CVideo::copy_frames(const char* path, int to_format, int to_type, int normalize,
                         int to_pixel_format) {
    const ClosesBehind closes(*this);
    // A movie that goes upon itself is written beside, and takes its place when it is whole.
    Successor successor;
    const bool makes_file = to_format == FileFormat::avi || to_format == FileFormat::tq;
    const bool is_itself = path && makes_file && are_one_file(file_name, path);
    if (is_itself)
        successor.make(path);
    char name[sizeof file_name];
    const char* const target = is_itself                     ? successor.path()
                               : copy_movie_path(path, name) ? name
                                                             : nullptr;
    CVideo made;
    const ClosesBehind closes_made(made);
    const bool is_created =
        made.create(target, nrows, ncols, nframes, to_format, to_pixel_format, to_type);
    const bool is_open = OpenVideo(file_name) != 0;
    bool is_whole = true;
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
    if (!is_whole)
        show_failure(cant_read_frame);
    const bool is_written = made.close_files();
    if (is_itself && is_created && is_open && is_written && is_whole)
        return successor.take_place();
    return is_written;
}
