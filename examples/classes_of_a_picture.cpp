// Counts the gray levels of a picture and fits Gaussians to them, one for each class of pixels: tissue and
// air, ink and paper.
//
//     classes_of_a_picture PICTURE

#include <cmath>
#include <cstdio>
#include <memory>

#include <vorlane/vorlane.h>

int main(int argc, char** argv) {
    CImage image;
    if (argc != 2 || !image.ReadImage(argv[1]))
        return 1;
    CHistogram histogram(&image, 0);
    histogram.Smooth(5);
    // One to four classes; the fewest that fit within a tenth of what the best and the worst lie apart.
    float* const misfits = histogram.FitGaussians(1, 5, 0.1f);
    if (!misfits)
        return 1;
    std::printf("misfit %.4f\n", misfits[histogram.nparams / 3]);
    free_1D_float_array(misfits);
    std::printf("%12s %12s %12s\n", "height", "centre", "deviation");
    for (int k = 0; k < histogram.nparams; k += 3) {
        const float* const p = histogram.params + k;
        std::printf("%12.2f %12.3f %12.3f\n", p[0] * p[0], p[1], std::fabs(p[2]) / std::sqrt(2.0f));
    }
    return 0;
}
