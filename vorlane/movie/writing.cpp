// Creating movies, appending frames to them, and copying them to other formats.

#include <vorlane/movie/video.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string>

#include <vorlane/bytes/input_file.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/imagefiles/tq.h>
#include <vorlane/movie/movie_files.h>

using namespace vorlane;

namespace {

constexpr int tq = 4;
constexpr int avi = 5;
constexpr std::uint32_t frames_a_second = 5;
constexpr const char* cant_write = "CVideo: Can't write file";

// rows x samples of zeros with what a plane, or null, has of them. Null if there is no memory.
PlaneHandle fill_up(const float* const* from, int rows, std::int64_t samples) {
    PlaneHandle plane(make_plane(rows, samples));
    if (plane && from) {
        const std::int64_t common = std::min(samples, plane_cols(from));
        for (std::int64_t i = 0; i < std::min<std::int64_t>(rows, plane_rows(from)); ++i)
            std::copy_n(from[i], common, plane.get()[i]);
    }
    return plane;
}

// Whether two paths lead to one file.
bool are_one_file(const char* a, const char* b) {
    std::error_code error;
    return std::filesystem::equivalent(a, b, error) && !error;
}

void copy_file(const char* from, const char* to) {
    if (are_one_file(from, to))
        return;
    std::error_code error;
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing, error);
    if (error)
        show_failure(cant_write);
}

} // namespace

CVideo::CVideo(const char* path, int rows, int cols, int frames, int file_code, int pixel_code,
               int type)
    : CVideo() {
    char name[sizeof file_name];
    const bool is_sound = copy_movie_path(path, name) && rows >= 0 && cols >= 0;
    if (file_code == avi) {
        if (!is_sound || !create_avi(name, rows, cols)) {
            show_failure("create_movie: Can't create AVI file");
            return;
        }
    } else if (file_code == tq) {
        if (is_sound)
            tqf_file = open_file(name, "wb");
        if (!tqf_file) {
            show_failure("read_tqf_image: Can't open file");
            return;
        }
        print_tq_movie_header(tqf_file, {rows, cols, frames, pixel_code, type});
    }
    nrows = rows;
    ncols = cols;
    nframes = frames;
    file_format = file_code;
    pixel_format = pixel_code;
    image_type = type;
    if (is_sound)
        std::memcpy(file_name, name, sizeof name);
    if (file_code == tq)
        set_frame_bytes();
    image = new (std::nothrow) CImage(rows, cols, type, 4, pixel_code);
    if (file_code == avi || file_code == tq)
        state_ = State::writing;
}

bool CVideo::create_avi(const char* path, int rows, int cols) {
    constexpr unsigned create_read_and_write = 0x1002;
    AVIFileInit();
    if (AVIFileOpenA(&avi_file, path, create_read_and_write, nullptr) != 0)
        return false;
    AVISTREAMINFOA info = {};
    info.fccType = streamtypeVIDEO;
    info.dwScale = 1;
    info.dwRate = frames_a_second;
    const BITMAPINFOHEADER format = avi_frame_format(rows, cols);
    write_failed_ = AVIFileCreateStreamA(avi_file, &avi_stream, &info) != 0 ||
                    AVIStreamSetFormat(avi_stream, 0, &format, sizeof format) != 0;
    return true;
}

int CVideo::WriteCurrentFrame(const CImage* frame) {
    if (state_ != State::writing || !frame)
        return 1;
    const int wanted = file_format == avi ? 1 : image_type;
    const float* const* plane = frame->image_type == wanted ? frame->pixels : nullptr;
    std::unique_ptr<CImage> converted;
    if (wanted == 1 && frame->image_type == 0)
        converted.reset(frame->MakeColor(0));
    else if (wanted == 0 && frame->image_type == 1)
        converted.reset(frame->MakeGray());
    write_plane(converted ? converted->pixels : plane);
    return 1;
}

int CVideo::write_tqf_frame(const CImage* frame) {
    if (state_ == State::writing && file_format == tq && frame)
        write_plane(frame->pixels);
    return 1;
}

// Appends a frame of samples of the movie's kind.
void CVideo::write_plane(const float* const* plane) {
    const std::int64_t samples =
        std::int64_t{file_format == avi ? 3 : channel_count(image_type)} * ncols;
    PlaneHandle whole;
    if (!plane_holds(plane, nrows, samples)) {
        whole = fill_up(plane, nrows, samples);
        plane = whole.get();
        if (!plane) {
            write_failed_ = true;
            return;
        }
    }
    if (file_format == tq) {
        const TqHeader header = {nrows, ncols, nframes, pixel_format, image_type};
        write_failed_ = !write_tq_frame(tqf_file, plane, header) || write_failed_;
        return;
    }
    const CDib bitmap(nrows, ncols, 1, plane, 0);
    const bool is_made = bitmap.bits || nrows == 0 || ncols == 0;
    constexpr int one_frame = 1;
    if (!is_made || AVIStreamWrite(avi_stream, current_frame, one_frame, bitmap.bits,
                                   bitmap.image_size, AVIIF_KEYFRAME, nullptr, nullptr) != 0)
        write_failed_ = true;
    ++current_frame;
}

int CVideo::WriteVideo(const char* path, int to_format, int to_type, int normalize,
                       int to_pixel_format) {
    if (to_format == avi && file_format == avi) {
        if (path)
            copy_file(file_name, path);
        return 1;
    }
    // A movie that goes upon itself is written beside, and takes its place when it is whole.
    const bool is_itself =
        path && (to_format == avi || to_format == tq) && are_one_file(file_name, path);
    const std::string beside = is_itself ? std::string(path) + ".new" : std::string();
    const std::unique_ptr<CVideo> made(new (std::nothrow)
                                           CVideo(is_itself ? beside.c_str() : path, nrows, ncols,
                                                  nframes, to_format, to_pixel_format, to_type));
    if (!made)
        return 1;
    const bool is_created = made->state_ == State::writing;
    const bool is_open = OpenVideo(file_name) != 0;
    if (is_open) {
        GetFrame(nframes - 1, nullptr);
        for (int k = 0; k < nframes && !made->write_failed_; ++k) {
            GetNextFrame(nullptr);
            if (image_type == 0 && to_type == 0 && normalize != 0)
                image->Normalize(0.0f, 255.0f);
            made->WriteCurrentFrame(image);
        }
    }
    CloseVideo();
    bool is_written = made->close_files();
    if (is_itself && is_created) {
        std::error_code error;
        if (is_written && is_open)
            std::filesystem::rename(beside, path, error);
        else
            std::filesystem::remove(beside, error);
        is_written = is_written && !error;
    }
    if (!is_written && is_created)
        show_failure(cant_write);
    return 1;
}
