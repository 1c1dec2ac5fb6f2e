#include <vorlane/movie/tq_source.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <utility>

#include <vorlane/bitmap/windowed_bytes.h>
#include <vorlane/bytes/blocks.h>
#include <vorlane/bytes/colour_order.h>
#include <vorlane/bytes/sample_rows.h>
#include <vorlane/bytes/samples.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/guard.h>
#include <vorlane/image/soundness.h>
#include <vorlane/movie/tq_movie.h>

namespace vorlane {

namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

// Whether the system couldn't read; the stream forgets it.
bool has_failed(std::FILE* file) {
    const bool failed = std::ferror(file) != 0;
    if (failed)
        std::clearerr(file);
    return failed;
}

// Reads a frame into a plane that holds one. `last` is the last sample that was read, and becomes
// that of this frame. False if the system can't read.
bool read_frame(std::FILE* file, float* const* plane, const TqHeader& header, float& last) {
    const auto pixel =
        static_cast<std::int64_t>(tq_pixel_size(header.image_type, header.pixel_format));
    const std::int64_t rows = std::max(header.nrows, 0);
    const std::int64_t cols = std::max(header.ncols, 0);
    const std::int64_t samples = channel_count(header.image_type) * cols;
    if (pixel == 0 || rows == 0 || cols == 0)
        return true;
    const std::int64_t begin = position_of(file);
    const bool is_short = bytes_left(file) < rows * cols * pixel;
    for (std::int64_t i = 0; is_short && i < rows; ++i) // missing samples of 0 aren't written
        std::fill_n(plane[i], samples, 0.0f);
    read_tq_frame(file, plane, header, last);
    if (has_failed(file))
        return false;
    last = plane[rows - 1][samples - 1];
    if (is_short && begin >= 0)
        seek_to(file, begin + rows * cols * pixel);
    return true;
}

// The range of some bytes.
struct ByteRange {
    unsigned char min = 255;
    unsigned char max = 0;

    void add(const unsigned char* bytes, std::size_t count) {
        for (std::size_t k = 0; k < count; ++k) {
            min = std::min(min, bytes[k]);
            max = std::max(max, bytes[k]);
        }
    }

    // What each byte becomes in the window of the range.
    std::array<unsigned char, 256> windowed() const {
        std::array<float, 256> levels;
        std::iota(levels.begin(), levels.end(), 0.0f);
        std::array<unsigned char, 256> bytes;
        to_windowed_bytes(levels.data(), bytes.data(), levels.size(), min, max);
        return bytes;
    }
};

} // namespace

bool TqSource::open(FileHandle file) {
    TqHeader header = tq_header_of(movie_);
    constexpr int numbers = 4;
    if (scan_tq_header(file.get(), header) < numbers || header.nrows < 0 || header.ncols < 0)
        return false;
    TqHeader not_empty = header; // a movie without rows or columns may be opened as well
    not_empty.nrows = std::max(header.nrows, 1);
    not_empty.ncols = std::max(header.ncols, 1);
    if (!tq_header_is_believable(not_empty, bytes_left(file.get())))
        return false;
    std::unique_ptr<CImage> first(new (std::nothrow) CImage(
        header.nrows, header.ncols, header.image_type, FileFormat::none, PixelFormat::none));
    if (!first || (!first->pixels && channel_count(header.image_type) != 0))
        return false;
    float last = 0.0f;
    if (!read_frame(file.get(), first->pixels, header, last))
        return false;

    movie_.CloseVideo();
    movie_.drop_dib();
    delete std::exchange(movie_.image, first.release());
    movie_.tqf_file = file.release();
    movie_.nrows = header.nrows;
    movie_.ncols = header.ncols;
    movie_.nframes = header.nframes;
    movie_.pixel_format = header.pixel_format;
    movie_.image_type = header.image_type;
    movie_.file_format = FileFormat::tq;
    movie_.frame_bytes = tq_frame_bytes(movie_);
    movie_.last_sample_ = last;
    const bool as_they_are = header.pixel_format == PixelFormat::byte;
    movie_.dib = new (std::nothrow) CDib(movie_.image, as_they_are ? 0 : 1, 0.0f, 0.0f);
    return true;
}

bool TqSource::is_open() const {
    return movie_.tqf_file && can_read(movie_.tqf_file);
}

bool TqSource::fetch(int frame, Approach approach, const int* table) {
    const std::int64_t distance = tq_frame_distance(movie_);
    if (approach == Approach::anywhere)
        seek_frames_from_end(std::int64_t{movie_.nframes} - frame);
    else if (approach == Approach::before && distance <= largest / 2)
        seek_by(movie_.tqf_file, -2 * distance); // over the one that was read as well
    const std::int64_t begin = position_of(movie_.tqf_file);
    const bool is_read = guarded([&] {
        if (!table && has_fitting_bytes())
            return fetch_bytes();
        if (!read(movie_.image))
            return false;
        show(table);
        return true;
    });
    // The next step counts on standing right behind the frame, whatever became of it.
    if (!is_read && begin >= 0 && begin <= largest - distance)
        seek_to(movie_.tqf_file, begin + distance);
    return is_read;
}

// Whether a whole frame of bytes comes, for an image of its size and kind.
bool TqSource::has_fitting_bytes() const {
    const CImage* const image = movie_.image;
    return movie_.pixel_format == PixelFormat::byte && image && has_pixels(*image) &&
           image->nrows == movie_.nrows && image->ncols == movie_.ncols &&
           image->image_type == movie_.image_type &&
           plane_holds(image->pixels, image->nrows, samples_per_row(*image)) &&
           bytes_left(movie_.tqf_file) >= image->nrows * samples_per_row(*image);
}

// Brings a frame of bytes into the bitmap without the way through the samples.
bool TqSource::fetch_bytes() {
    CImage& image = *movie_.image;
    const bool is_gray = image.image_type == ImageType::gray;
    const auto cols = static_cast<std::size_t>(image.ncols);
    const std::size_t pixel = is_gray ? 1 : 3;
    BlockReader reader(movie_.tqf_file, image.nrows * cols * pixel);
    make_room();
    CDib* const dib = movie_.dib;
    const bool has_bits = dib && dib->allocate(image.ncols, image.nrows, is_gray ? 8 : 24);
    const auto bits_of_row = [&](int i) {
        return dib->bits + static_cast<std::size_t>(image.nrows - 1 - i) * dib->row_bytes;
    };

    ByteRange range;
    const auto take = [&](int i, std::size_t j, std::size_t count, const unsigned char* bytes) {
        from_bytes(bytes, image.pixels[i] + pixel * j, pixel * count);
        if (has_bits && is_gray) {
            std::copy_n(bytes, count, bits_of_row(i) + j);
            range.add(bytes, count);
        } else if (has_bits) {
            swap_ends(bytes, bits_of_row(i) + 3 * j, count);
        }
        return true;
    };
    if (read_unit_rows(reader, image.nrows, cols, pixel, take).row < image.nrows) {
        has_failed(movie_.tqf_file);
        return false;
    }
    movie_.last_sample_ = image.pixels[image.nrows - 1][samples_per_row(image) - 1];
    if (has_bits && is_gray && image.pixel_format != PixelFormat::byte) {
        const std::array<unsigned char, 256> windowed = range.windowed();
        for (int i = 0; i < image.nrows; ++i) {
            unsigned char* const bits = bits_of_row(i);
            std::transform(bits, bits + cols, bits,
                           [&](unsigned char byte) { return windowed[byte]; });
        }
    }
    if (has_bits)
        dib->finish_colours();
    movie_.shown_bits_ = has_bits ? dib->bits : nullptr;
    return true;
}

bool TqSource::read(CImage* target) {
    const TqHeader header = tq_header_of(movie_);
    const std::int64_t rows = std::max(header.nrows, 0);
    const std::int64_t cols = std::max(header.ncols, 0);
    if (target && plane_holds(target->pixels, rows, channel_count(header.image_type) * cols))
        return read_frame(movie_.tqf_file, target->pixels, header, movie_.last_sample_);
    const auto pixel =
        static_cast<std::int64_t>(tq_pixel_size(header.image_type, header.pixel_format));
    if (pixel > 0 && rows * cols <= largest / pixel)
        seek_by(movie_.tqf_file, rows * cols * pixel);
    return true;
}

// The file stays where it is if that lies before its begin.
bool TqSource::seek_frames_from_end(std::int64_t frames) {
    const std::int64_t distance = tq_frame_distance(movie_);
    const bool fits =
        distance == 0 || (frames <= largest / distance && frames >= -(largest / distance));
    return fits && seek_from_end(movie_.tqf_file, -frames * distance);
}

// Leaves a bitmap for the current frame: that of the frame before, to be filled again, unless a
// host has put another in its place; else an empty one.
void TqSource::make_room() {
    const bool stays = movie_.dib && movie_.shown_bits_ && movie_.dib->bits == movie_.shown_bits_;
    if (!stays)
        movie_.drop_dib();
    if (!movie_.dib)
        movie_.dib = new (std::nothrow) CDib;
}

void TqSource::show(const int* table) {
    const CImage* const image = movie_.image;
    const bool as_they_are = image && image->pixel_format == PixelFormat::byte;
    if (!image || !has_pixels(*image))
        movie_.drop_dib();
    make_room();
    if (movie_.dib && table)
        movie_.dib->set_to_image(image, table);
    else if (movie_.dib)
        movie_.dib->set_to_image(image, as_they_are ? 0 : 1, 0.0f, 0.0f);
    movie_.shown_bits_ = movie_.dib ? movie_.dib->bits : nullptr;
}

} // namespace vorlane
