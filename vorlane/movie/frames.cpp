// Stepping through a movie.

#include <vorlane/movie/video.h>

#include <algorithm>
#include <limits>
#include <new>

#include <vorlane/bytes/input_file.h>
#include <vorlane/image/image_parts.h>

using namespace vorlane;

namespace {

constexpr int tq = 4;
constexpr int avi = 5;
constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

} // namespace

int CVideo::GetFrame(int frame, const int* table) {
    if (state_ != State::reading)
        return 0;
    if (file_format == avi) {
        if (frame < 0 || frame >= nframes || !fetch_avi(frame))
            return 0;
        current_frame = frame;
        return 1;
    }
    if (file_format != tq)
        return 0;
    current_frame = frame;
    if (seek_frames_from_end(std::int64_t{nframes} - frame))
        read_tqf_frame(image);
    show_tq_frame(table);
    return 1;
}

int CVideo::GetNextFrame(const int* table) {
    if (state_ != State::reading || (file_format != avi && file_format != tq))
        return 0;
    const bool wraps = std::int64_t{current_frame} + 1 >= nframes;
    current_frame = wraps ? 0 : current_frame + 1;
    if (file_format == avi)
        return fetch_avi(current_frame) ? 1 : 0;
    if (!wraps || seek_frames_from_end(nframes))
        read_tqf_frame(image);
    show_tq_frame(table);
    return 1;
}

int CVideo::GetPreviousFrame(const int* table) {
    if (state_ != State::reading || (file_format != avi && file_format != tq))
        return 0;
    const bool wraps = current_frame <= 0;
    current_frame = wraps ? std::max(nframes, 0) - 1 : current_frame - 1;
    if (file_format == avi)
        return fetch_avi(current_frame) ? 1 : 0;
    // Back over the frame that was read, and the one before it.
    const bool stands =
        wraps ? seek_frames_from_end(1)
              : frame_length() <= largest / 2 && tqf_file && seek_by(tqf_file, -2 * frame_length());
    if (stands)
        read_tqf_frame(image);
    show_tq_frame(table);
    return 1;
}

// Brings an AVI frame into `dib` and `image`; if it can't be had, both stay.
bool CVideo::fetch_avi(int frame) {
    void* const pixels = AVIStreamGetFrame(frame_reader, frame);
    if (!pixels)
        return false;
    lend_bits(pixels);
    const std::int64_t samples = std::int64_t{channel_count(image_type)} * ncols;
    if (dib && dib->width == ncols && dib->height == nrows && image &&
        plane_holds(image->pixels, nrows, samples))
        dib->MakeKnownFloatImage(image->pixels, image_type);
    return true;
}

// Makes the bitmap of a TQ frame anew.
void CVideo::show_tq_frame(const int* table) {
    drop_dib();
    const bool as_they_are = image && image->pixel_format == 4;
    dib = table ? new (std::nothrow) CDib(image, table)
                : new (std::nothrow) CDib(image, as_they_are ? 0 : 1, 0.0f, 0.0f);
}

// Brings a TQ file to the frame that is so many before its end; false, and no change, if that lies
// before its begin.
bool CVideo::seek_frames_from_end(std::int64_t frames) {
    const std::int64_t length = frame_length();
    const bool fits = length == 0 || (frames <= largest / length && frames >= -(largest / length));
    return fits && tqf_file && seek_from_end(tqf_file, -frames * length);
}
