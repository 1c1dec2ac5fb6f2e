#include <support/movies.h>

#include <support/avi_files.h>

std::vector<ImagePtr> make_frames(int count, int rows, int cols, int image_type) {
    std::vector<ImagePtr> frames;
    for (int k = 0; k < count; ++k)
        frames.push_back(make_random(rows, cols, image_type, static_cast<unsigned>(k), true));
    return frames;
}

void write_movie(const std::string& path, int file_format, int pixel_format, int image_type,
                 const std::vector<ImagePtr>& frames) {
    CVideo movie(path.c_str(), frames[0]->nrows, frames[0]->ncols, static_cast<int>(frames.size()),
                 file_format, pixel_format, image_type);
    for (const ImagePtr& frame : frames)
        EXPECT_EQ(movie.WriteCurrentFrame(frame.get()), 1);
    EXPECT_EQ(movie.CloseVideo(), 1);
}

std::vector<Samples> frames_of(const std::string& path) {
    CVideo movie;
    EXPECT_EQ(movie.OpenVideo(path.c_str()), 1) << path;
    std::vector<Samples> frames;
    for (int n = 0; n < movie.nframes; ++n) {
        EXPECT_EQ(movie.GetFrame(n, nullptr), 1);
        frames.push_back(samples_of(*movie.image));
    }
    movie.CloseVideo();
    return frames;
}

std::string small_avi(std::initializer_list<std::string> frames) {
    std::string chunks;
    for (const std::string& frame : frames)
        chunks += avi::chunk("00db", frame.size() == 6 ? frame + std::string(2, '\0') : frame);
    return avi::video(avi::format(2, 1, 24), chunks);
}
