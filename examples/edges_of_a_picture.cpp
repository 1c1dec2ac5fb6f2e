#include <cstdio>
#include <memory>

#include <vorlane/vorlane.h>

int main(int argc, char** argv) {
    CImage image;
    if (argc != 3 || !image.ReadImage(argv[1]))
        return 1;
    image.edges_mag_dir(2.0f); // fills mag_plane and dir_plane
    const std::unique_ptr<CImage> thin(image.non_maximum_suppression());
    const std::unique_ptr<CImage> edges(thin->hysteresis_thresholding(0.2f, 0.08f));
    edges->file_format = vorlane::FileFormat::pgm;
    std::printf("%d x %d pixels\n", edges->nrows, edges->ncols);
    return edges->WriteImage(argv[2]) ? 0 : 1;
}
