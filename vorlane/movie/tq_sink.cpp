#include <vorlane/movie/tq_sink.h>

#include <vorlane/image/soundness.h>
#include <vorlane/movie/tq_movie.h>
#include <vorlane/movie/whole_plane.h>
#include <vorlane/platform/system_files.h>

namespace vorlane {

bool TqSink::create(const char* path) {
    movie_.tqf_file = open_file(path, "wb");
    if (!movie_.tqf_file)
        return false;
    print_tq_movie_header(movie_.tqf_file, tq_header_of(movie_));
    movie_.frame_bytes = tq_frame_bytes(movie_);
    return true;
}

bool TqSink::is_open() const {
    return movie_.tqf_file && can_write(movie_.tqf_file);
}

bool TqSink::write(const float* const* plane) {
    const TqHeader header = tq_header_of(movie_);
    const WholePlane whole(plane, header.nrows,
                           std::int64_t{channel_count(header.image_type)} * header.ncols);
    return write_tq_frame(movie_.tqf_file, whole.get(), header);
}

} // namespace vorlane
