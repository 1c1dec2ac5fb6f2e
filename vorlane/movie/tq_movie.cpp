#include <vorlane/movie/tq_movie.h>

#include <algorithm>
#include <limits>

#include <vorlane/bytes/samples.h>
#include <vorlane/image/codes.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

namespace {

constexpr std::int64_t largest_int = std::numeric_limits<int>::max();

// By the sizes; 0 if there is no telling.
std::int64_t computed_length(const CVideo& movie) {
    const std::int64_t pixels = std::int64_t{std::max(movie.nrows, 0)} * std::max(movie.ncols, 0);
    const auto size = movie.image_type == ImageType::colour
                          ? 3
                          : static_cast<std::int64_t>(sample_size(movie.pixel_format));
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    return size == 0 || pixels <= largest / size ? pixels * size : largest;
}

} // namespace

TqHeader tq_header_of(const CVideo& movie) {
    return {movie.nrows, movie.ncols, movie.nframes, movie.pixel_format, movie.image_type};
}

int tq_frame_bytes(const CVideo& movie) {
    const bool is_known =
        movie.image_type == ImageType::colour || sample_size(movie.pixel_format) > 0;
    return is_known ? static_cast<int>(std::min(computed_length(movie), largest_int))
                    : movie.frame_bytes;
}

std::int64_t tq_frame_distance(const CVideo& movie) {
    const bool is_stated = movie.frame_bytes > 0 && movie.frame_bytes < largest_int;
    return is_stated ? movie.frame_bytes : computed_length(movie);
}

bool can_read(std::FILE* stream) {
    return !is_for_writing_only(stream);
}

bool can_write(std::FILE* stream) {
    return !is_for_reading_only(stream);
}

} // namespace vorlane
