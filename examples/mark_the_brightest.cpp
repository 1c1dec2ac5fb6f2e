// Copies a movie to an AVI file, frame by frame, with a circle around the brightest pixel of each.
//
//     mark_the_brightest MOVIE OUT.avi

#include <cstdio>

#include <vorlane/vorlane.h>

int main(int argc, char** argv) {
    CVideo movie;
    if (argc != 3 || !movie.OpenVideo(argv[1]))
        return 1;
    CVideo out(argv[2], movie.nrows, movie.ncols, movie.nframes, vorlane::FileFormat::avi,
               vorlane::PixelFormat::byte, movie.image_type);
    const int samples = movie.image_type == vorlane::ImageType::colour ? 3 : 1;
    for (int n = 0; n < movie.nframes; ++n) {
        CImage frame(movie.image); // the movie's own stays as it is
        int row = 0, col = 0;
        for (int i = 0; i < frame.nrows; ++i) {
            for (int j = 0; j < frame.ncols; ++j) {
                if (frame.pixels[i][samples * j] > frame.pixels[row][samples * col]) {
                    row = i;
                    col = j;
                }
            }
        }
        frame.DrawCircle(row, col, 6.0f, 255.0f);
        out.WriteCurrentFrame(&frame);
        std::printf("frame %d: row %d, column %d\n", n, row, col);
        movie.GetNextFrame(nullptr);
    }
    movie.CloseVideo();
    out.CloseVideo();
    return 0;
}
