// Movies from and to image files, and movies of which each frame is edited.

#include <vorlane/movie/video.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/image/soundness.h>
#include <vorlane/movie/movie_files.h>

using namespace vorlane;

namespace {

using std::int64_t;

bool fits_int(int64_t value) {
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

// last - first + 1, if that is an int.
std::optional<int> count_of(int first, int last) {
    const int64_t count = int64_t{last} - first + 1;
    return fits_int(count) ? std::optional<int>(static_cast<int>(count)) : std::nullopt;
}

// "%s%d%s".
std::string numbered(const char* prefix, int64_t number, const char* suffix) {
    return (prefix ? prefix : "") + std::to_string(number) + (suffix ? suffix : "");
}

// The movie for the caller, closed.
CVideo* finish(MovieHandle& movie) {
    if (movie)
        movie->CloseVideo();
    return movie.release();
}

// Makes a frame current. A number beyond the end of an AVI movie leaves the frame that is, and so
// does one that can't be read; false for that.
bool fetch(CVideo& movie, int64_t n) {
    return (fits_int(n) && movie.GetFrame(static_cast<int>(n), nullptr)) || n < 0 ||
           n >= movie.nframes;
}

// A movie like the open one `source`, in another size and number of frames: of each frame n from
// `first` on, edit(n) gives the new image, or null to give up. edit may clear `is_whole` as well.
template<class Edit>
CVideo* edit_frames(CVideo& source, int rows, int cols, int first, int count, Edit edit) {
    return guarded([&]() -> CVideo* {
        MovieHandle made = make_temporary_movie(rows, cols, count, source.file_format,
                                                source.pixel_format, source.image_type);
        const bool is_created = made && made->file_format != FileFormat::none;
        bool is_whole = true;
        for (int64_t n = first; is_created && n < int64_t{first} + count; ++n) {
            is_whole = fetch(source, n) && is_whole;
            const std::unique_ptr<CImage> frame(edit(n, is_whole));
            if (!frame)
                return nullptr;
            made->WriteCurrentFrame(frame.get());
        }
        if (!is_whole)
            show_failure(cant_read_frame);
        return finish(made);
    });
}

// A frame as an operator takes it, which needs no planes where there is nothing to see.
CImage* empty_image(const CImage& like, int rows, int cols) {
    return new (std::nothrow)
        CImage(rows, cols, like.image_type, like.file_format, like.pixel_format);
}

} // namespace

void CVideo::ImagesFromVideo(const char* prefix, int first, const char* suffix, int to_format,
                             int to_pixel_format) {
    if (!OpenVideo(file_name) || !fits_int(int64_t{first} + nframes - 1))
        return;
    bool is_whole = true;
    const bool is_written = guarded([&] {
        for (int n = 0; n < nframes; ++n) {
            is_whole = fetch(*this, n) && is_whole;
            CImage copy(image);
            if (image->pixels && !copy.pixels)
                return false;
            copy.file_format = to_format;
            copy.pixel_format = to_pixel_format;
            copy.WriteImage(numbered(prefix, int64_t{n} + first, suffix).c_str());
        }
        return true;
    });
    if (!is_whole)
        show_failure(cant_read_frame);
    if (!is_written)
        show_failure(cant_write_movie);
}

CVideo* CVideo::Extract(int first, int last, int first_row, int first_col, int rows, int cols) {
    const ClosesBehind closes(*this);
    if (!OpenVideo(file_name))
        return nullptr;
    const std::optional<int> count = count_of(first, last);
    const bool has_frames =
        file_format == FileFormat::avi || !count || *count <= 0 || (first >= 0 && last < nframes);
    const bool has_rectangle = first_row >= 0 && first_col >= 0 && rows >= 0 && cols >= 0 &&
                               rows <= nrows - first_row && cols <= ncols - first_col;
    if (!count || !has_frames || !has_rectangle)
        return nullptr;
    return edit_frames(*this, rows, cols, first, *count, [&](int64_t, bool&) {
        return image->Extract(first_row, first_col, rows, cols);
    });
}

CVideo* CVideo::Reduce(int factor, int mode) {
    const ClosesBehind closes(*this);
    if (!OpenVideo(file_name) || factor < 1)
        return nullptr;
    const int rows = nrows / factor;
    const int cols = ncols / factor;
    const bool is_empty = rows == 0 || cols == 0;
    return edit_frames(*this, rows, cols, 0, nframes, [&](int64_t, bool&) {
        return is_empty ? empty_image(*image, rows, cols) : image->Reduce(factor, mode);
    });
}

CVideo* CVideo::Superpose(const char* path) {
    const ClosesBehind closes(*this);
    CVideo marks;
    const ClosesBehind closes_marks(marks);
    if (!OpenVideo(file_name) || !marks.OpenVideo(path))
        return nullptr;
    const bool has_frames = marks.file_format == FileFormat::avi || marks.nframes >= nframes;
    if (!has_frames || marks.nrows < nrows || marks.ncols < ncols)
        return nullptr;
    const bool is_empty = nrows == 0 || ncols == 0;
    return edit_frames(*this, nrows, ncols, 0, nframes, [&](int64_t n, bool& is_whole) {
        is_whole = fetch(marks, n) && is_whole;
        return is_empty ? empty_image(*image, nrows, ncols) : image->Superpose(marks.image);
    });
}

CVideo* VideoFromImages(const char* prefix, int first, int last, const char* suffix) {
    const std::optional<int> count = count_of(first, last);
    if (!count)
        return nullptr;
    return guarded([&] {
        auto image = std::make_unique<CImage>();
        const auto read = [&](int64_t number) {
            auto next = std::make_unique<CImage>();
            if (next->ReadImage(numbered(prefix, number, suffix).c_str()))
                image = std::move(next);
        };
        read(first);
        MovieHandle movie = make_temporary_movie(image->nrows, image->ncols, *count, FileFormat::tq,
                                                 image->pixel_format, image->image_type);
        for (int64_t n = first; n <= last; ++n) {
            read(n);
            if (movie)
                movie->WriteCurrentFrame(image.get());
        }
        return finish(movie);
    });
}
