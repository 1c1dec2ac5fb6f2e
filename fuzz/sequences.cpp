// Sequences of operators, histogram fits, bitmaps, volumes and movie edits on a few objects that
// work on each other's results.

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include <vorlane/bitmap/dib.h>
#include <vorlane/histogram/histogram.h>
#include <vorlane/image/arrays.h>
#include <vorlane/movie/movie_files.h>
#include <vorlane/volume/volume.h>

#include "any_operation.h"
#include "input_path.h"

namespace {

using vorlane::MovieHandle;

// What the commands of one input work on.
class Bench {
public:
    explicit Bench(ByteInput& input) : input_(input) {
        for (ImagePtr& image : images_)
            image = make_any_image(input_);
    }

    void step() {
        switch (input_.below(10)) {
        case 0:
        case 1:
        case 2:
            if (ImagePtr made = apply_any_operation(any_image(), any_image(), input_))
                images_[static_cast<std::size_t>(input_.below(3))] = std::move(made);
            break;
        case 3:
        case 4:
            apply_any_change(any_image(), any_image(), input_);
            break;
        case 5:
            images_[static_cast<std::size_t>(input_.below(3))] = make_any_image(input_);
            break;
        case 6:
            use_histogram();
            break;
        case 7:
            use_bitmap();
            break;
        case 8:
            use_volume();
            break;
        default:
            use_movie();
        }
        for (const ImagePtr& image : images_)
            touch(*image);
    }

private:
    CImage& any_image() { return *images_[static_cast<std::size_t>(input_.below(3))]; }

    void use_histogram() {
        // A bin a level: larger ones take as many bins.
        ImagePtr levels(any_image().Extract(0, 0, any_image().nrows, any_image().ncols));
        if (!levels)
            return;
        for (int i = 0, length = row_length(*levels); length > 0 && i < levels->nrows; ++i)
            for (int j = 0; j < length; ++j)
                if (levels->pixels[i][j] > 300.0f)
                    levels->pixels[i][j] = 300.0f;
        CHistogram histogram(levels.get(), input_.below(2));
        if (input_.below(2) == 0)
            histogram.Smooth(input_.whole() % 100);
        histogram.FitNGaussians(input_.below(4) - 1);
        const int first = input_.below(3), last = input_.below(4);
        free_1D_float_array(histogram.FitGaussians(first, last, input_.sample()));
        CHistogram masked(levels.get(), &any_image());
        masked = histogram;
    }

    void use_bitmap() {
        CImage& image = any_image();
        const int normalize = input_.below(2);
        const float lo = input_.sample();
        CDib bitmap(&image, normalize, lo, input_.sample());
        const CMemoryDC::Colours colours =
            input_.below(2) == 0 ? CMemoryDC::true_colour : CMemoryDC::palette_256;
        CMemoryDC device(1 + input_.below(40), 1 + input_.below(40), colours);
        const int x = input_.whole(), y = input_.whole(), w = input_.whole();
        bitmap.Draw(&device, x, y, w, input_.whole());
        int rows = 0, cols = 0, type = 0;
        free_2D_float_array(bitmap.MakeFloatImage(&rows, &cols, &type));
    }

    void use_volume() {
        const CImage& slice = any_image();
        CVolume volume(input_.below(5), slice.nrows, slice.ncols, 0, 21, 6);
        for (int k = 0; volume.slices && k < volume.nslices; ++k)
            volume.slices[k] = any_image();
        delete volume.smooth_volume(input_.sigma());
        volume.ridges(input_.sigma(), 0.0f, 0, 0, 0);
    }

    // Makes a movie of the images, edits it, and steps through what comes of it.
    void use_movie() {
        const CImage& frame = any_image();
        const std::string path = std::string(input_path(nullptr, 0)) + ".movie";
        const int format = 4 + input_.below(2);
        const int pixel_format = 4 + input_.below(4);
        MovieHandle movie(new CVideo(path.c_str(), frame.nrows, frame.ncols, 3, format,
                                     pixel_format, input_.below(2)));
        for (const ImagePtr& image : images_)
            movie->WriteCurrentFrame(image.get());
        movie->CloseVideo();
        if (!movie->OpenVideo(path.c_str()))
            return;
        const int first = input_.below(5) - 1, last = input_.below(5) - 1;
        const int row = input_.below(9), col = input_.below(9);
        const int rows = input_.below(40);
        MovieHandle made;
        switch (input_.below(5)) {
        case 0:
            made.reset(movie->Extract(first, last, row, col, rows, input_.below(40)));
            break;
        case 1:
            made.reset(movie->Reduce(input_.whole(), input_.below(2)));
            break;
        case 2:
            made.reset(movie->Superpose(path.c_str()));
            break;
        case 3: {
            const int to = 3 + input_.below(3), type = input_.below(2), normalize = input_.below(2);
            movie->WriteVideo((path + (input_.below(2) == 0 ? "" : "2")).c_str(), to, type,
                              normalize, 4 + input_.below(4));
            movie->OpenVideo(path.c_str());
            break;
        }
        default:
            movie->image->Normalize(0.0f, 255.0f);
        }
        for (CVideo* const stepped : {movie.get(), made.get()}) {
            if (!stepped || !stepped->OpenVideo(std::string(stepped->file_name).c_str()))
                continue;
            stepped->GetNextFrame(nullptr);
            stepped->GetPreviousFrame(nullptr);
            stepped->GetFrame(input_.whole(), nullptr);
            stepped->GetNextFrame(nullptr);
            if (stepped->image)
                touch(*stepped->image);
        }
        if (made)
            std::remove(made->file_name);
    }

    ByteInput& input_;
    std::array<ImagePtr, 3> images_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_path(nullptr, 0); // answers message boxes
    ByteInput input(data, size);
    Bench bench(input);
    for (int k = 0; k < 12 && !input.is_empty(); ++k)
        bench.step();
    return 0;
}
