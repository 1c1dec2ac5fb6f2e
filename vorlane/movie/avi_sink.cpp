#include <vorlane/movie/avi_sink.h>

#include <vorlane/movie/whole_plane.h>

namespace vorlane {

BITMAPINFOHEADER avi_frame_format(int rows, int cols) {
    BITMAPINFOHEADER format = {};
    format.biSize = sizeof format;
    format.biWidth = cols;
    format.biHeight = rows;
    format.biPlanes = 1;
    format.biBitCount = 24;
    return format;
}

bool AviSink::create(const char* path) {
    constexpr unsigned create_read_and_write = 0x1002;
    constexpr std::uint32_t frames_a_second = 5;
    AVIFileInit();
    if (open_avi(&movie_.avi_file, path, create_read_and_write) != 0)
        return false;
    AVISTREAMINFOA info = {};
    info.fccType = streamtypeVIDEO;
    info.dwScale = 1;
    info.dwRate = frames_a_second;
    BITMAPINFOHEADER format = avi_frame_format(movie_.nrows, movie_.ncols);
    movie_.write_failed_ = AVIFileCreateStreamA(movie_.avi_file, &movie_.avi_stream, &info) != 0 ||
                           AVIStreamSetFormat(movie_.avi_stream, 0, &format, sizeof format) != 0;
    return true;
}

bool AviSink::write(const float* const* plane) {
    const int rows = movie_.nrows;
    const int cols = movie_.ncols;
    const WholePlane whole(plane, rows, std::int64_t{3} * cols);
    const CDib bitmap(rows, cols, ImageType::colour, whole.get(), 0);
    const bool is_made = bitmap.bits || rows == 0 || cols == 0;
    constexpr int one_frame = 1;
    const bool is_written =
        is_made && AVIStreamWrite(movie_.avi_stream, movie_.current_frame, one_frame, bitmap.bits,
                                  bitmap.image_size, AVIIF_KEYFRAME, nullptr, nullptr) == 0;
    movie_.current_frame += is_written ? 1 : 0;
    return is_written;
}

} // namespace vorlane
