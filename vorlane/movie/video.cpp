// The object, and what it asks of the source or the sink that its file format calls for.

#include <vorlane/movie/video.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/bytes/text_lines.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/movie/avi_sink.h>
#include <vorlane/movie/avi_source.h>
#include <vorlane/movie/movie_files.h>
#include <vorlane/movie/tq_movie.h>
#include <vorlane/movie/tq_sink.h>
#include <vorlane/movie/tq_source.h>
#include <vorlane/platform/system_files.h>

using namespace vorlane;

namespace {

// What act(source) returns; 0 if the movie isn't open for reading.
template<class Act>
int with_source(CVideo& movie, Act act) {
    AviSource avi(movie);
    TqSource tq(movie);
    MovieSource* source = nullptr;
    if (movie.file_format == FileFormat::avi)
        source = &avi;
    else if (movie.file_format == FileFormat::tq)
        source = &tq;
    return source && source->is_open() ? guarded([&] { return act(*source); }) : 0;
}

// Whether the movie is open for writing and act(sink) gives false, as it does without memory.
template<class Act>
bool fails_with_sink(CVideo& movie, Act act) {
    AviSink avi(movie);
    TqSink tq(movie);
    MovieSink* sink = nullptr;
    if (movie.file_format == FileFormat::avi)
        sink = &avi;
    else if (movie.file_format == FileFormat::tq)
        sink = &tq;
    if (!sink || !sink->is_open())
        return false;
    return !guarded([&] { return act(*sink); });
}

// Converts a frame to the kind that a sink takes, and writes it.
bool write_converted(MovieSink& sink, const CImage& frame) {
    const int wanted = sink.image_type();
    if (frame.image_type == wanted)
        return sink.write(frame.pixels);
    std::unique_ptr<CImage> converted;
    if (frame.pixels && wanted == ImageType::colour && frame.image_type == ImageType::gray)
        converted.reset(frame.MakeColor(0));
    else if (frame.pixels && wanted == ImageType::gray && frame.image_type == ImageType::colour)
        converted.reset(frame.MakeGray());
    else
        return sink.write(nullptr);
    return converted && sink.write(converted->pixels);
}

} // namespace

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
      lent_bits_(nullptr), shown_bits_(nullptr), last_sample_(0.0f), write_failed_(false),
      opening_failed_(false) {}

CVideo::CVideo(const char* path, int rows, int cols, int frames, int file_code, int pixel_code,
               int type)
    : CVideo() {
    char name[sizeof file_name] = {};
    const bool fits = copy_movie_path(path, name);
    if (create(fits ? name : nullptr, rows, cols, frames, file_code, pixel_code, type))
        std::memcpy(file_name, name, sizeof name);
}

// Makes this empty movie one that is written to `path`, of any length, save for its file_name.
// False after a message, and the movie stays empty.
bool CVideo::create(const char* path, int rows, int cols, int frames, int file_code, int pixel_code,
                    int type) {
    nrows = rows;
    ncols = cols;
    nframes = frames;
    file_format = file_code;
    pixel_format = pixel_code;
    image_type = type;
    const bool is_sound = path && rows >= 0 && cols >= 0;
    const char* failure = nullptr;
    if (file_code == FileFormat::avi && !(is_sound && AviSink(*this).create(path)))
        failure = "create_movie: Can't create AVI file";
    else if (file_code == FileFormat::tq && !(is_sound && TqSink(*this).create(path)))
        failure = "read_tqf_image: Can't open file";
    if (failure) {
        nrows = ncols = nframes = file_format = pixel_format = image_type = 0;
        show_failure(failure);
        return false;
    }
    image = new (std::nothrow) CImage(rows, cols, type, FileFormat::tq, pixel_code);
    return true;
}

CVideo::~CVideo() {
    drop_dib();
    delete image;
    if (opening_failed_)
        close_files();
}

int CVideo::OpenVideo(const char* path) {
    constexpr const char* cant_open = "OpenMovie: Can't open file";
    char name[sizeof file_name]; // `path` may be this movie's own name
    if (!copy_movie_path(path, name)) {
        show_failure(cant_open);
        return 0;
    }
    const bool is_written = fails_with_sink(*this, [](MovieSink&) { return false; });
    const bool is_compared = guarded([&] {
        if (is_written && are_one_file(name, file_name))
            CloseVideo(); // or there would be only a part to open
        return true;
    });
    FileHandle file(is_compared && is_regular_file(name) ? open_file(name, "rb") : nullptr);
    char line[256];
    if (file)
        read_line(file.get(), line, sizeof line);
    if (!file || std::ferror(file.get())) {
        show_failure(cant_open);
        return 0;
    }
    bool is_open = false;
    if (are_equal(line, "RIFF")) {
        file.reset();
        is_open = AviSource(*this).open(name);
    } else if (are_equal(line, "TQ")) {
        is_open = seek_to(file.get(), 0) &&
                  guarded([&] { return TqSource(*this).open(std::move(file)); });
        if (!is_open)
            show_failure(cant_open);
    }
    if (is_open)
        std::memcpy(file_name, name, sizeof name);
    return is_open ? 1 : 0;
}

int CVideo::CloseVideo() {
    if (!close_files())
        show_failure(cant_write_movie);
    return 1;
}

// False if something of a written movie isn't in its file.
bool CVideo::close_files() {
    bool failed = std::exchange(write_failed_, false);
    if (file_format == FileFormat::avi || opening_failed_) {
        if (dib && dib->bits && dib->bits == lent_bits_) {
            dib->bits = static_cast<unsigned char*>(std::malloc(dib->image_size));
            if (dib->bits)
                std::memcpy(dib->bits, lent_bits_, dib->image_size);
        }
        lent_bits_ = nullptr;
        if (frame_reader)
            AVIStreamGetFrameClose(std::exchange(frame_reader, nullptr));
        failed =
            close_avi(std::exchange(avi_file, nullptr), std::exchange(avi_stream, nullptr)) != 0 ||
            failed;
        opening_failed_ = false;
    }
    if (file_format == FileFormat::tq && tqf_file) {
        const bool was_written = can_write(tqf_file);
        failed = (was_written && std::ferror(tqf_file) != 0) || failed;
        failed = (std::fclose(std::exchange(tqf_file, nullptr)) != 0 && was_written) || failed;
    }
    return !failed;
}

void CVideo::drop_dib() {
    if (dib && dib->bits == lent_bits_)
        dib->bits = nullptr;
    lent_bits_ = nullptr;
    shown_bits_ = nullptr;
    delete std::exchange(dib, nullptr);
}

int CVideo::GetFrame(int frame, const int* table) {
    return with_source(*this, [&](MovieSource& source) {
        if (!source.takes_number(frame) || !source.fetch(frame, Approach::anywhere, table))
            return 0;
        current_frame = frame;
        return 1;
    });
}

int CVideo::GetNextFrame(const int* table) {
    return with_source(*this, [&](MovieSource& source) {
        const bool wraps = std::int64_t{current_frame} + 1 >= nframes;
        current_frame = wraps ? 0 : current_frame + 1;
        const Approach approach = wraps ? Approach::anywhere : Approach::behind;
        return source.fetch(current_frame, approach, table) ? 1 : 0;
    });
}

int CVideo::GetPreviousFrame(const int* table) {
    return with_source(*this, [&](MovieSource& source) {
        const bool wraps = current_frame <= 0;
        constexpr int smallest = std::numeric_limits<int>::min();
        current_frame = wraps ? std::max(nframes, smallest + 1) - 1 : current_frame - 1;
        const Approach approach = wraps ? Approach::anywhere : Approach::before;
        return source.fetch(current_frame, approach, table) ? 1 : 0;
    });
}

int CVideo::read_tqf_frame(CImage* target) {
    if (TqSource source(*this); source.is_open())
        guarded([&] { return source.read(target); });
    return 1;
}

int CVideo::WriteCurrentFrame(const CImage* frame) {
    if (frame &&
        fails_with_sink(*this, [&](MovieSink& sink) { return write_converted(sink, *frame); }))
        write_failed_ = true;
    return 1;
}

int CVideo::write_tqf_frame(const CImage* frame) {
    if (TqSink sink(*this);
        frame && sink.is_open() && !guarded([&] { return sink.write(frame->pixels); }))
        write_failed_ = true;
    return 1;
}
