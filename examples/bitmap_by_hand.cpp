// Paints a picture through a window of its gray levels, with colours of our own, onto a device in memory twice
// as large, and writes what is seen there.
//
//     bitmap_by_hand PICTURE LOW HIGH OUT.ppm

#include <cstdlib>
#include <memory>

#include <vorlane/vorlane.h>

int main(int argc, char** argv) {
    CImage image;
    if (argc != 5 || !image.ReadImage(argv[1]))
        return 1;
    if (image.image_type == vorlane::ImageType::colour) {
        const std::unique_ptr<CImage> gray(image.MakeGray());
        image = *gray;
    }
    // A window isn't a clamp: levels outside would wrap.
    const auto low = static_cast<float>(std::atof(argv[2]));
    const auto high = static_cast<float>(std::atof(argv[3]));
    for (int i = 0; i < image.nrows; ++i) {
        for (int j = 0; j < image.ncols; ++j) {
            float& level = image.pixels[i][j];
            level = level < low ? low : level > high ? high : level;
        }
    }
    CDib bitmap(&image, 1, low, high);
    if (!bitmap.bits)
        return 1;
    // Behind the 40 bytes of the header: blue, green, red, 0 for each of the 256 levels.
    for (int k = 0; k < bitmap.ncolors; ++k) {
        unsigned char* const colour = bitmap.header + 40 + 4 * k;
        colour[0] = static_cast<unsigned char>(k < 128 ? 64 + k : 319 - k - (k > 254));
        colour[1] = static_cast<unsigned char>(k);
        colour[2] = static_cast<unsigned char>(k < 128 ? 0 : 2 * (k - 128));
    }
    CMemoryDC screen(2 * bitmap.width, 2 * bitmap.height, CMemoryDC::true_colour);
    bitmap.Draw(&screen, 0, 0, screen.GetWidth(), screen.GetHeight());

    CImage seen(screen.GetHeight(), screen.GetWidth(), vorlane::ImageType::colour,
                vorlane::FileFormat::ppm, vorlane::PixelFormat::byte);
    for (int i = 0; i < seen.nrows; ++i) {
        for (int j = 0; j < seen.ncols; ++j) {
            const unsigned long colour = screen.GetPixel(j, i);
            seen.pixels[i][3 * j] = static_cast<float>(colour & 255);
            seen.pixels[i][3 * j + 1] = static_cast<float>(colour >> 8 & 255);
            seen.pixels[i][3 * j + 2] = static_cast<float>(colour >> 16 & 255);
        }
    }
    return seen.WriteImage(argv[4]) ? 0 : 1;
}
