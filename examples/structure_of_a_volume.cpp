// Says how a volume curves at a scale: where it is most like a line, a sheet and a blob.
//
//     structure_of_a_volume DESCRIPTION SIGMA

#include <cstdio>
#include <cstdlib>

#include <vorlane/vorlane.h>

namespace {

struct Place {
    float value = -1.0f;
    int slice = 0, row = 0, col = 0;

    void take(float other, int k, int i, int j) {
        if (other > value) {
            value = other;
            slice = k;
            row = i;
            col = j;
        }
    }

    void print(const char* name) const {
        std::printf("%-6s slice %d, row %d, column %d: %g\n", name, slice, row, col, value);
    }
};

} // namespace

int main(int argc, char** argv) {
    CVolume volume;
    if (argc != 3 || !volume.ReadVolume(argv[1]))
        return 1;
    // Absolute eigenvalues, the smallest first: mag_plane, dir_plane, scale_plane.
    volume.ridges(static_cast<float>(std::atof(argv[2])), 0.0f, 1, 1, 1);
    Place line, sheet, blob;
    for (int k = 0; k < volume.nslices; ++k) {
        const CImage& slice = volume.slices[k];
        for (int i = 0; i < volume.nrows && slice.scale_plane; ++i) {
            for (int j = 0; j < volume.ncols; ++j) {
                const float small = slice.mag_plane[i][j], middle = slice.dir_plane[i][j],
                            large = slice.scale_plane[i][j];
                line.take(middle - small, k, i, j);
                sheet.take(large - middle, k, i, j);
                blob.take(small, k, i, j);
            }
        }
    }
    line.print("line");
    sheet.print("sheet");
    blob.print("blob");
    return 0;
}
