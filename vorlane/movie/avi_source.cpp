#include <vorlane/movie/avi_source.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/soundness.h>
#include <vorlane/movie/avi_sink.h>

namespace vorlane {

bool AviSource::open(const char* path) {
    AVIFileInit();
    PAVIFILE file = nullptr;
    if (open_avi(&file, path, 0) != 0) {
        show_failure("Can't open AVI file");
        return false;
    }
    movie_.CloseVideo();
    movie_.opening_failed_ = true;
    movie_.avi_file = file;
    if (AVIFileGetStream(file, &movie_.avi_stream, streamtypeVIDEO, 0) != 0) {
        show_failure("Can't get video stream");
        return false;
    }
    AVIFileInfoA(file, &movie_.avi_info, sizeof movie_.avi_info);
    const int rows = movie_.nrows = static_cast<int>(movie_.avi_info.dwHeight);
    const int cols = movie_.ncols = static_cast<int>(movie_.avi_info.dwWidth);
    movie_.drop_dib();
    movie_.dib = new (std::nothrow) CDib(cols, rows, 24);
    const BITMAPINFOHEADER wanted = avi_frame_format(rows, cols);
    movie_.frame_reader = open_avi_frames(movie_.avi_stream, &wanted);
    if (!movie_.frame_reader) {
        AVIStreamRelease(std::exchange(movie_.avi_stream, nullptr));
        show_failure("The decompressor is not open");
        return false;
    }
    AVISTREAMINFOA info = {};
    AVIStreamInfoA(movie_.avi_stream, &info, sizeof info);
    movie_.nframes = static_cast<int>(info.dwLength);
    void* const frame = AVIStreamGetFrame(movie_.frame_reader, 0);
    const bool is_empty = rows == 0 || cols == 0;
    std::unique_ptr<CImage> first(new (std::nothrow) CImage);
    if (!frame || !first || !movie_.dib || (!is_empty && !movie_.dib->header))
        return false;
    lend_bits(frame);
    first->nrows = rows;
    first->ncols = cols;
    first->pixels =
        is_empty ? make_plane(rows, cols)
                 : movie_.dib->MakeFloatImage(&first->nrows, &first->ncols, &first->image_type);
    if (!first->pixels)
        return false;
    movie_.opening_failed_ = false;
    movie_.pixel_format = PixelFormat::byte;
    movie_.file_format = FileFormat::avi;
    movie_.image_type = first->image_type;
    delete std::exchange(movie_.image, first.release());
    return true;
}

bool AviSource::is_open() const {
    return movie_.frame_reader != nullptr;
}

bool AviSource::takes_number(int frame) const {
    return frame >= 0 && frame < movie_.nframes;
}

bool AviSource::fetch(int frame, Approach, const int*) {
    void* const pixels = AVIStreamGetFrame(movie_.frame_reader, frame);
    if (!pixels)
        return false;
    lend_bits(pixels);
    const CDib* const dib = movie_.dib;
    CImage* const image = movie_.image;
    const std::int64_t samples = std::int64_t{channel_count(movie_.image_type)} * movie_.ncols;
    if (dib && dib->width == movie_.ncols && dib->height == movie_.nrows && image &&
        plane_holds(image->pixels, movie_.nrows, samples))
        dib->MakeKnownFloatImage(image->pixels, movie_.image_type);
    return true;
}

// Aims the bitmap at the pixels behind the header of a frame.
void AviSource::lend_bits(void* frame) {
    CDib* const dib = movie_.dib;
    if (!dib || !dib->header)
        return;
    if (dib->bits != movie_.lent_bits_)
        std::free(dib->bits);
    auto* const bytes = static_cast<unsigned char*>(frame);
    std::uint32_t header_size;
    std::memcpy(&header_size, bytes, sizeof header_size);
    dib->bits = movie_.lent_bits_ = bytes + header_size;
}

} // namespace vorlane
