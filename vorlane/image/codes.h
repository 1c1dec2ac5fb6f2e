// The codes that images, movies and volumes carry in public fields, as names. The fields are ints,
// so a name is assigned to one and compared with one as it stands:
//
//     image.file_format = vorlane::FileFormat::pgm;
#pragma once

namespace vorlane {

// CImage::image_type, CVideo::image_type. An image of any other type has no pixels.
struct ImageType {
    enum : int { gray = 0, colour = 1 };
};

// CImage::pixel_format: what a gray sample is on file.
struct PixelFormat {
    enum : int {
        none = 0, // none stated
        byte = 4, // unsigned
        int32 = 5,
        float32 = 6,
        int16 = 7 // signed
    };
};

// CImage::file_format, CVideo::file_format, CVolume::file_format.
struct FileFormat {
    enum : int {
        none = 0, // none stated
        pgm = 1,
        ppm = 2,
        bmp = 3,
        tq = 4,
        avi = 5,    // movies only
        senvoc = 6, // a scanner's, read only
        velk = 7,
        raw = 8,
        halvort = 9,
        v1 = 20, // volumes only
        v2 = 21  // volumes only
    };
};

} // namespace vorlane
