#include <vorlane/movie/video.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/bytes/input_file.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/image_parts.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/imagefiles/tq.h>
#include <vorlane/movie/movie_files.h>

using namespace vorlane;

constinit CRuntimeClass CVideo::classCVideo = {
    "CVideo", sizeof(CVideo), 0, &CVideo::CreateObject, &CObject::_GetBaseClass, nullptr};

CObject* CVideo::CreateObject() {
    return new (std::nothrow) CVideo;
}

CRuntimeClass* CVideo::GetRuntimeClass() const {
    return &classCVideo;
}

CVideo::CVideo()
    : nrows(0), ncols(0), nframes(0), file_format(0), pixel_format(0), image_type(0),
      frame_bytes(0), image(nullptr), dib(nullptr), tqf_file(nullptr), current_frame(0),
      file_name(), avi_file(nullptr), avi_stream(nullptr), avi_info(), frame_reader(nullptr),
      state_(State::closed), write_failed_(false), lent_bits_(nullptr) {}

CVideo::~CVideo() {
    drop_dib();
    delete image;
    if (state_ == State::closed)
        release_avi();
}

int CVideo::OpenVideo(const char* path) {
    constexpr const char* cant_open = "OpenMovie: Can't open file";
    char name[sizeof file_name]; // `path` may be this movie's own name
    if (!copy_movie_path(path, name)) {
        show_failure(cant_open);
        return 0;
    }
    if (state_ == State::writing && tqf_file)
        std::fflush(tqf_file); // it may be the very file that is opened
    char line[256];
    {
        const FileHandle file(open_file(name, "rb"));
        if (!file) {
            show_failure(cant_open);
            return 0;
        }
        read_line(file.get(), line, sizeof line);
    }
    int is_open = 0;
    if (are_equal(line, "RIFF")) {
        is_open = open_avi(name);
    } else if (are_equal(line, "TQ")) {
        is_open = open_tq(name);
        if (!is_open)
            show_failure(cant_open);
    }
    if (is_open)
        std::memcpy(file_name, name, sizeof name);
    return is_open;
}

int CVideo::open_avi(const char* path) {
    AVIFileInit();
    PAVIFILE file = nullptr;
    if (AVIFileOpenA(&file, path, 0, nullptr) != 0) {
        show_failure("Can't open AVI file");
        return 0;
    }
    CloseVideo();
    release_avi();
    avi_file = file;
    if (AVIFileGetStream(avi_file, &avi_stream, streamtypeVIDEO, 0) != 0) {
        show_failure("Can't get video stream");
        return 0;
    }
    AVIFileInfoA(avi_file, &avi_info, sizeof avi_info);
    nrows = static_cast<int>(avi_info.dwHeight);
    ncols = static_cast<int>(avi_info.dwWidth);
    drop_dib();
    dib = new (std::nothrow) CDib(ncols, nrows, 24);
    const BITMAPINFOHEADER wanted = avi_frame_format(nrows, ncols);
    frame_reader = AVIStreamGetFrameOpen(avi_stream, &wanted);
    if (!frame_reader) {
        AVIStreamRelease(std::exchange(avi_stream, nullptr));
        show_failure("The decompressor is not open");
        return 0;
    }
    AVISTREAMINFOA info = {};
    AVIStreamInfoA(avi_stream, &info, sizeof info);
    nframes = static_cast<int>(info.dwLength);
    void* const frame = AVIStreamGetFrame(frame_reader, 0);
    const bool is_empty = nrows == 0 || ncols == 0;
    if (!frame || !dib || (!is_empty && !dib->header))
        return 0;
    lend_bits(frame);
    std::unique_ptr<CImage> first(new (std::nothrow) CImage);
    if (!first)
        return 0;
    first->nrows = nrows;
    first->ncols = ncols;
    first->pixels = is_empty
                        ? make_plane(nrows, ncols)
                        : dib->MakeFloatImage(&first->nrows, &first->ncols, &first->image_type);
    if (!first->pixels)
        return 0;
    delete std::exchange(image, first.release());
    pixel_format = 4;
    file_format = 5;
    image_type = image->image_type;
    state_ = State::reading;
    return 1;
}

int CVideo::open_tq(const char* path) {
    FileHandle file(open_file(path, "rb"));
    if (!file)
        return 0;
    TqHeader header = {nrows, ncols, nframes, pixel_format, image_type};
    constexpr int numbers = 4;
    if (scan_tq_header(file.get(), header) < numbers || header.nrows < 0 || header.ncols < 0 ||
        header.nframes < 0)
        return 0;
    TqHeader not_empty = header; // a movie without rows, columns or frames may be opened as well
    not_empty.nrows = std::max(header.nrows, 1);
    not_empty.ncols = std::max(header.ncols, 1);
    if (!tq_header_is_believable(not_empty, std::max(header.nframes, 1), bytes_left(file.get())))
        return 0;
    std::unique_ptr<CImage> first(new (std::nothrow)
                                      CImage(header.nrows, header.ncols, header.image_type, 0, 0));
    if (!first || (!first->pixels && channel_count(header.image_type) != 0))
        return 0;
    CloseVideo();
    release_avi();
    drop_dib();
    delete std::exchange(image, first.release());
    tqf_file = file.release();
    nrows = header.nrows;
    ncols = header.ncols;
    nframes = header.nframes;
    pixel_format = header.pixel_format;
    image_type = header.image_type;
    file_format = 4;
    set_frame_bytes();
    state_ = State::reading;
    read_tqf_frame(image);
    dib = new (std::nothrow) CDib(image, pixel_format == 4 ? 0 : 1, 0.0f, 0.0f);
    return 1;
}

int CVideo::CloseVideo() {
    const bool was_written = state_ == State::writing;
    if (!close_files() && was_written)
        show_failure("CVideo: Can't write file");
    return 1;
}

// False if something of a written movie isn't in its file.
bool CVideo::close_files() {
    bool failed = std::exchange(write_failed_, false);
    if (file_format == 5 && avi_stream) {
        if (dib && dib->bits && dib->bits == lent_bits_) {
            dib->bits = static_cast<unsigned char*>(std::malloc(dib->image_size));
            if (dib->bits)
                std::memcpy(dib->bits, lent_bits_, dib->image_size);
        }
        lent_bits_ = nullptr;
        frame_reader = nullptr;
        failed = AVIStreamRelease(std::exchange(avi_stream, nullptr)) != 0 || failed;
        failed = AVIFileRelease(std::exchange(avi_file, nullptr)) != 0 || failed;
    } else if (file_format == 4 && tqf_file) {
        failed = std::ferror(tqf_file) != 0 || failed;
        failed = std::fclose(std::exchange(tqf_file, nullptr)) != 0 || failed;
    }
    state_ = State::closed;
    return !failed;
}

// Gives back what an opening that failed has left.
void CVideo::release_avi() {
    if (dib && dib->bits == lent_bits_)
        dib->bits = nullptr;
    lent_bits_ = nullptr;
    frame_reader = nullptr;
    if (avi_stream)
        AVIStreamRelease(std::exchange(avi_stream, nullptr));
    if (avi_file)
        AVIFileRelease(std::exchange(avi_file, nullptr));
}

void CVideo::drop_dib() {
    if (dib && dib->bits == lent_bits_)
        dib->bits = nullptr;
    lent_bits_ = nullptr;
    delete std::exchange(dib, nullptr);
}

// Aims the bitmap at the pixels behind the header of a frame.
void CVideo::lend_bits(void* frame) {
    if (!dib || !dib->header)
        return;
    if (dib->bits != lent_bits_)
        std::free(dib->bits);
    auto* const bytes = static_cast<unsigned char*>(frame);
    std::uint32_t header_size;
    std::memcpy(&header_size, bytes, sizeof header_size);
    dib->bits = lent_bits_ = bytes + header_size;
}

// Bytes of a frame in a TQ file. A colour frame has three a pixel, also where the format has no
// encoding for it; of an unknown gray sample the number stays as it was.
std::int64_t CVideo::frame_length() const {
    const std::int64_t pixels = std::int64_t{std::max(nrows, 0)} * std::max(ncols, 0);
    const auto size = image_type == 1 ? 3 : static_cast<std::int64_t>(sample_size(pixel_format));
    if (size == 0)
        return frame_bytes;
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    return pixels <= largest / size ? pixels * size : largest;
}

void CVideo::set_frame_bytes() {
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    frame_bytes = static_cast<int>(std::min(frame_length(), largest));
}

int CVideo::read_tqf_frame(CImage* target) {
    if (!tqf_file || tq_pixel_size(image_type, pixel_format) == 0)
        return 1;
    const std::int64_t samples = std::int64_t{channel_count(image_type)} * std::max(ncols, 0);
    const std::int64_t length = frame_length();
    const std::int64_t available = bytes_left(tqf_file);
    if (!target || !plane_holds(target->pixels, std::max(nrows, 0), samples)) {
        seek_by(tqf_file, std::min(length, available));
        return 1;
    }
    if (available < length) { // missing samples of 0 aren't written
        for (int i = 0; i < nrows; ++i)
            std::fill_n(target->pixels[i], samples, 0.0f);
    }
    read_tq_frame(tqf_file, target->pixels, {nrows, ncols, nframes, pixel_format, image_type});
    return 1;
}
