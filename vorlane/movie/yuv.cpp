// Movies of raw YUV frames.

#include <vorlane/bytes/sample_rows.h>
#include <vorlane/movie/video.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include <vorlane/bytes/samples.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/failure.h>
#include <vorlane/image/guard.h>
#include <vorlane/image/results.h>
#include <vorlane/movie/movie_files.h>
#include <vorlane/platform/system_files.h>

using namespace vorlane;

namespace {

constexpr const char* cant_open = "VideoFromYUV: Can't open file";

// Factors that bring a plane to the size of the frame; 1 and 1 mean a copy.
struct Factors {
    float row, col;
};

std::unique_ptr<CImage> brought_to_size(const CImage& plane, Factors by) {
    if (by.row == 1.0f && by.col == 1.0f)
        return std::make_unique<CImage>(plane);
    return std::unique_ptr<CImage>(plane.Scale(by.row, by.col));
}

// Bytes as samples; what the file lacks repeats its last byte.
class PlaneReader {
public:
    explicit PlaneReader(std::FILE* file) : reader_(file) {}

    void read(CImage& image) {
        const auto cols = static_cast<std::size_t>(image.ncols);
        auto [row, at] = read_unit_rows(
            reader_, image.nrows, cols, 1,
            [&](int i, std::size_t j, std::size_t count, const unsigned char* bytes) {
                from_bytes(bytes, image.pixels[i] + j, count);
                last_ = bytes[count - 1];
                return true;
            });
        for (; row < image.nrows; ++row, at = 0)
            std::fill(image.pixels[row] + at, image.pixels[row] + cols, static_cast<float>(last_));
    }

private:
    BlockReader reader_;
    unsigned char last_ = 0;
};

float within_a_byte(double value) {
    return value < 0.0 ? 0.0f : value > 255.0 ? 255.0f : static_cast<float>(value);
}

// Luma from 16 to 235 and chroma around 128 as red, green, blue; factors in 256ths.
void convert_row(const float* y, const float* u, const float* v, float* out, int cols) {
    constexpr double part = 0.00390625;
    for (std::int64_t j = 0; j < cols; ++j) {
        const double c = (double{y[j]} - 16.0) * double{298.082f};
        const double d = double{u[j]} - 128.0;
        const double e = double{v[j]} - 128.0;
        out[3 * j] = within_a_byte((c + double{408.583f} * e) * part);
        out[3 * j + 1] = within_a_byte((c - double{100.291f} * d - double{208.12f} * e) * part);
        out[3 * j + 2] = within_a_byte((c + double{516.411f} * d) * part);
    }
}

} // namespace

CVideo* VideoFromYUV(const char* path, int rows, int cols, int frames, int chroma_mode, int half) {
    const bool halves = half != 0;
    const bool is_odd = rows % 2 != 0 || cols % 2 != 0;
    const int frame_rows = halves ? rows / 2 : rows;
    const int frame_cols = halves ? cols / 2 : cols;
    if (frame_rows < 1 || frame_cols < 1 || cols < 2 || frames < 0 ||
        (chroma_mode != 0 && chroma_mode != 1) || (is_odd && !halves))
        return nullptr;
    return guarded([&]() -> CVideo* {
        const int chroma_rows = chroma_mode == 0 ? rows / 2 : rows;
        const int chroma_cols = cols / 2;
        const auto frame = make_zero_image(frame_rows, frame_cols, ImageType::colour,
                                           FileFormat::none, PixelFormat::none);
        MovieHandle movie = make_temporary_movie(frame_rows, frame_cols, frames, FileFormat::avi,
                                                 PixelFormat::none, ImageType::colour);
        const auto y_plane =
            make_zero_image(rows, cols, ImageType::gray, FileFormat::none, PixelFormat::none);
        const auto u_plane = make_zero_image(chroma_rows, chroma_cols, ImageType::gray,
                                             FileFormat::none, PixelFormat::none);
        const auto v_plane = make_zero_image(chroma_rows, chroma_cols, ImageType::gray,
                                             FileFormat::none, PixelFormat::none);
        if (!frame || !movie || !y_plane || !u_plane || !v_plane)
            return nullptr;
        const FileHandle file(open_file(path, "rb"));
        if (!file) {
            movie.reset();
            show_failure(cant_open);
            return nullptr;
        }

        const Factors luma = halves ? Factors{0.5f, 0.5f} : Factors{1.0f, 1.0f};
        const Factors chroma = chroma_mode == 0
                                   ? (halves ? Factors{1.0f, 1.0f} : Factors{2.0f, 2.0f})
                                   : (halves ? Factors{0.5f, 1.0f} : Factors{1.0f, 2.0f});
        PlaneReader reader(file.get());
        const bool is_created = movie->file_format != 0;
        for (int n = 0; is_created && n < frames; ++n) {
            reader.read(*y_plane);
            reader.read(*u_plane);
            reader.read(*v_plane);
            if (std::ferror(file.get())) {
                movie.reset();
                show_failure(cant_open);
                return nullptr;
            }
            const auto y = brought_to_size(*y_plane, luma);
            const auto u = brought_to_size(*u_plane, chroma);
            const auto v = brought_to_size(*v_plane, chroma);
            for (const auto* plane : {y.get(), u.get(), v.get()}) {
                if (!plane || !plane_holds(plane->pixels, frame_rows, frame_cols))
                    return nullptr;
            }
            for (int i = 0; i < frame_rows; ++i)
                convert_row(y->pixels[i], u->pixels[i], v->pixels[i], frame->pixels[i], frame_cols);
            movie->WriteCurrentFrame(frame.get());
        }
        movie->CloseVideo();
        return movie.release();
    });
}
