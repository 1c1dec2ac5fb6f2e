#include <support/volumes.h>

#include <random>

VolumePtr make_volume(int slices, int rows, int cols,
                      const std::function<float(int, int, int)>& value) {
    auto volume = std::make_unique<CVolume>(slices, rows, cols, 0, 21, 7);
    for (int k = 0; k < slices; ++k)
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j)
                volume->slices[k].pixels[i][j] = value(k, i, j);
    return volume;
}

VolumePtr make_random_volume(int slices, int rows, int cols, unsigned seed) {
    std::mt19937 random(seed);
    return make_volume(slices, rows, cols, [&](int, int, int) {
        return static_cast<float>(random() % 65536) / 256.0f;
    });
}
