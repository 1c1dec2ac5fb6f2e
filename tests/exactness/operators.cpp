#include <exactness/operators.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

#include <exactness/host_mode.h>
#include <support/image_operations.h>
#include <support/movies.h>
#include <support/scratch_folder.h>
#include <support/volumes.h>
#include <vorlane/bitmap/dib.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/filters/ridges.h>
#include <vorlane/histogram/histogram.h>
#include <vorlane/image/colour.h>
#include <vorlane/movie/video.h>

namespace {

// Around the numbers of lanes of every instruction set and the blocks of the kernels.
constexpr std::pair<int, int> sizes[] = {
    {1, 1},   {1, 9},   {7, 1},   {2, 3},   {5, 4},   {8, 8},   {9, 17},   {16, 15},
    {17, 33}, {31, 32}, {33, 31}, {24, 64}, {65, 19}, {34, 65}, {20, 131}, {70, 35}};

// Noise; bands and blobs that have edges, ridges and even parts; points on black, whose smoothing
// falls off to subnormal numbers; numbers of every magnitude.
constexpr const char* kinds[] = {"noise", "scene", "points", "extremes"};

float scene(int i, int j, int channel) {
    const int wave = (3 * i + 2 * j + 5 * channel) % 40;
    const int row = i % 32 - 16;
    const int col = j % 32 - 15;
    const int away = row * row + col * col;
    return static_cast<float>(wave < 20 ? 4 * wave : 160 - 4 * wave) + (away < 90 ? 100.25f : 0.0f);
}

float point(int i, int j, int channel) {
    return (i * 7 + j * 5 + channel) % 211 == 3 ? 255.0f : 0.0f;
}

float extreme(int i, int j, int channel) {
    constexpr std::array numbers = {-1.0f,   1e-42f, 70000.0f, -0.0f,    -1e9f,  0.1f, 3e12f,
                                    254.99f, 1e30f,  1e-30f,   -255.75f, 128.5f, 7.0f};
    const int k = i * i + 3 * j + i * j % 7 + 11 * channel;
    return numbers[static_cast<std::size_t>(k) % numbers.size()];
}

ImagePtr make_input(std::size_t kind, int rows, int cols, int type) {
    if (kind == 0)
        return make_random(rows, cols, type, static_cast<unsigned>(rows * 1000 + cols));
    constexpr float (*values[])(int, int, int) = {nullptr, scene, point, extreme};
    const auto value = values[kind];
    return type == 1 ? make_colour(rows, cols, value)
                     : make_gray(rows, cols, [=](int i, int j) { return value(i, j, 0); });
}

using Use = std::function<void(const CImage&, Record&)>;

constexpr int gray = 1;
constexpr int colour = 2;

// Runs `use` on all images of the types.
std::function<void(Record&)> on_images(Extent extent, int types, const Use& use) {
    return [=](Record& record) {
        for (const auto& [rows, cols] : sizes) {
            if (extent == Extent::brief && cols != 65)
                continue;
            for (std::size_t kind = 0; kind < std::size(kinds); ++kind) {
                for (const int type : {0, 1}) {
                    if ((types & (type == 0 ? gray : colour)) == 0)
                        continue;
                    record.begin(std::to_string(rows) + " x " + std::to_string(cols) +
                                 (type == 0 ? " gray " : " colour ") + kinds[kind]);
                    const ImagePtr input = make_input(kind, rows, cols, type);
                    const HostMode mode(record.has_odd_host());
                    use(*input, record);
                }
            }
        }
    };
}

// True if 256 levels cover all samples, rounded.
bool has_levels(const CImage& image) {
    const std::vector<float> samples = samples_of(image);
    return std::all_of(samples.begin(), samples.end(),
                       [](float sample) { return sample >= 0.0f && sample < 255.5f; });
}

void add_planes(const CImage& image, Record& record) {
    record.add(image);
    for (const auto plane : {image.mag_plane, image.dir_plane, image.scale_plane})
        record.add(plane, image.nrows, image.ncols);
}

// The operations of the tests' tables, with the planes of edges where they are wanted.
void add_tables(std::vector<Operator>& all, Extent extent) {
    for (const ImageOperation& operation : image_operations()) {
        if (operation.name == "GNoise") // the clock seeds it
            continue;
        const int types = (operation.takes_gray ? gray : 0) | (operation.takes_colour ? colour : 0);
        all.push_back({operation.name,
                       on_images(extent, types, [&operation](const CImage& in, Record& record) {
                           CImage image(in);
                           image.edges_mag_dir(1.0f);
                           record.add(ImagePtr(operation.run(image)));
                       })});
    }
    for (const ImageChange& change : image_changes()) {
        if (change.name == "WindowCenter") // its table must cover all samples
            continue;
        all.push_back({change.name, on_images(extent, gray | colour,
                                              [&change](const CImage& in, Record& record) {
                                                  CImage image(in);
                                                  change.run(image);
                                                  add_planes(image, record);
                                              })});
    }
}

void add_images(std::vector<Operator>& all, Extent extent) {
    const auto add = [&](const char* name, int types, const Use& use) {
        all.push_back({name, on_images(extent, types, use)});
    };
    add("smooth, every sigma", gray | colour, [](const CImage& in, Record& record) {
        for (const float sigma : {0.4f, 0.7f, 2.0f, 4.3f, 20.0f})
            record.add(ImagePtr(in.smooth_image(sigma)));
    });
    add("derivatives, every sigma", gray | colour, [](const CImage& in, Record& record) {
        for (const float sigma : {0.6f, 2.0f, 7.5f}) {
            record.add(ImagePtr(in.first_derivative_x(sigma)));
            record.add(ImagePtr(in.first_derivative_y(sigma)));
        }
    });
    add("edge map", gray | colour, [](const CImage& in, Record& record) {
        for (const float sigma : {0.7f, 1.5f, 3.0f}) {
            CImage image(in);
            image.edges_mag_dir(sigma);
            add_planes(image, record);
            const ImagePtr thin(image.non_maximum_suppression());
            record.add(thin);
            if (thin)
                record.add(ImagePtr(thin->hysteresis_thresholding(0.2f, 0.08f)));
        }
    });
    add("ridges of 4 scales", gray, [](const CImage& in, Record& record) {
        for (const auto& [bright, dark] : {std::pair(1, 0), {0, 1}, {1, 1}}) {
            CImage image(in);
            image.ridges(0.8f, 3.3f, 4, bright, dark, nullptr);
            add_planes(image, record);
        }
    });
    add("ridges under a mask", gray | colour, [](const CImage& in, Record& record) {
        const int rows = in.nrows, cols = in.ncols;
        const ImagePtr mask = make_gray(rows, cols, [](int i, int j) {
            return (i / 9 + j / 9) % 4 == 0 || (i + j) % 5 == 0 ? -0.0f : 1e-3f;
        });
        CImage image(in);
        image.pixels[rows / 3][cols / 2] = INFINITY;
        image.ridges(0.7f, 4.0f, 4, 1, 1, mask.get());
        add_planes(image, record);
        for (int k = 0; k < 9 && rows > 4 && cols > 4; ++k)
            record.add(bilinear_int(image.mag_plane, image.dir_plane, 2, 2,
                                    static_cast<float>(k - 4) / 2.5f, static_cast<float>(k)));
    });
    add("Sobel and suppression", gray | colour, [](const CImage& in, Record& record) {
        CImage image(in);
        image.edges_mag_dir(2.0f);
        image.SobelFilter();
        record.add(ImagePtr(image.non_maximum_suppression()));
    });
    add("medians of each size", gray | colour, [](const CImage& in, Record& record) {
        for (const int size : {2, 5, 9, 15})
            record.add(ImagePtr(in.Median(size)));
    });
    add("Threshold and Chamfer", gray | colour, [](const CImage& in, Record& record) {
        const ImagePtr bright(in.Threshold(100.0f));
        record.add(bright);
        if (bright)
            record.add(ImagePtr(bright->Chamfer()));
    });
    add("Rotate by each angle", gray | colour, [](const CImage& in, Record& record) {
        for (const int degrees : {1, 90, 203, -77})
            record.add(ImagePtr(in.Rotate(degrees)));
    });
    add("Scale by each factor", gray | colour, [](const CImage& in, Record& record) {
        record.add(ImagePtr(in.Scale(0.5f, 1.7f)));
        record.add(ImagePtr(in.Scale(1.3f, 0.3f)));
        record.add(ImagePtr(in.Scale(13, 29)));
    });
    add("Enlarge and Reduce", gray | colour, [](const CImage& in, Record& record) {
        for (const int factor : {1, 3}) {
            record.add(ImagePtr(in.Enlarge(factor, 1)));
            record.add(ImagePtr(in.Reduce(factor, 1)));
        }
    });
    add("Reduce and Enlarge by each factor", gray | colour, [](const CImage& in, Record& record) {
        CImage image(in);
        image.edges_mag_dir(1.0f);
        for (const int factor : {2, 3, 4, 5, 6, 7, 8}) {
            const ImagePtr reduced(image.Reduce(factor, 0));
            add_planes(*reduced, record);
            record.add(ImagePtr(reduced->Enlarge(factor, 1)));
        }
        add_planes(*ImagePtr(image.Reduce(2, 1)), record);
    });
    add("DistanceFilter of each size", gray | colour, [](const CImage& in, Record& record) {
        for (const int size : {2, 4, 5, 12})
            record.add(ImagePtr(in.DistanceFilter(size)));
    });
    for (const bool alike : {true, false}) {
        add(alike ? "arithmetic of two images" : "arithmetic of gray and colour", gray | colour,
            [alike](const CImage& in, Record& record) {
                const ImagePtr other =
                    make_input(1, in.nrows, in.ncols, alike ? in.image_type : 1 - in.image_type);
                for (const auto operation :
                     {&CImage::Multseq, &CImage::Addseq, &CImage::Orseq, &CImage::Andseq,
                      &CImage::Maxseq, &CImage::Minseq, &CImage::Superpose})
                    record.add(ImagePtr((in.*operation)(other.get())));
            });
    }
    add("Normalize to each range", gray | colour, [](const CImage& in, Record& record) {
        for (const auto& [low, high] : {std::pair(0.0f, 255.0f), {-3.0f, 0.7f}, {9.0f, 1.0f}}) {
            CImage image(in);
            image.Normalize(low, high);
            record.add(image);
        }
    });
    add("histogram", gray | colour, [](const CImage& in, Record& record) {
        for (const int drop_zero : {0, 1}) {
            CHistogram histogram(&in, drop_zero);
            histogram.Smooth(5);
            record.add(histogram.nbins);
            record.add(histogram.peak);
            for (int k = 0; k < std::min(histogram.nbins, 2000); ++k)
                record.add(std::int32_t{histogram.bins[k]});
        }
    });
    add("histogram smoothed by each width", gray | colour, [](const CImage& in, Record& record) {
        for (const int width : {1, 2, 3, 4, 9, 40, 300, 1001}) {
            CHistogram histogram(&in, 0);
            histogram.Smooth(width);
            for (int k = 0; k < std::min(histogram.nbins, 2000); ++k)
                record.add(std::int32_t{histogram.bins[k]});
        }
    });
    add("bitmap", gray | colour, [](const CImage& in, Record& record) {
        const CDib plain(&in, 0, 0.0f, 0.0f);
        const CDib windowed(&in, 1, 20.5f, 180.25f);
        for (const CDib* bitmap : {&plain, &windowed}) {
            record.add_bytes(
                std::basic_string_view<unsigned char>(bitmap->bits, bitmap->image_size));
            int rows = 0;
            int cols = 0;
            int type = 0;
            const Plane plane(bitmap->MakeFloatImage(&rows, &cols, &type));
            record.add(plane.get(), rows, type == 1 ? 3 * cols : cols);
        }
    });
    add("tables of levels", gray | colour, [](const CImage& in, Record& record) {
        int table[256];
        for (int k = 0; k < 256; ++k)
            table[k] = 255 - k / 2;
        if (!has_levels(in))
            return;
        const CDib bitmap(&in, table);
        record.add_bytes(std::basic_string_view<unsigned char>(bitmap.bits, bitmap.image_size));
        CImage image(in);
        image.WindowCenter(table);
        record.add(image);
    });
    add("drawn bitmap", gray | colour, [](const CImage& in, Record& record) {
        CDib bitmap(&in, 1, 0.0f, 255.0f);
        CMemoryDC device(24, 18, CMemoryDC::true_colour);
        bitmap.Draw(&device, 1, 2, 20, 15);
        bitmap.Draw(&device, 22, 3, -9, 8);
        for (int y = 0; y < 18; ++y)
            for (int x = 0; x < 24; ++x)
                record.add(static_cast<std::int32_t>(device.GetPixel(x, y)));
    });
    add("samples in files", gray, [](const CImage& in, Record& record) {
        const ScratchFolder folder;
        for (const int pixel_format : {4, 5, 6, 7}) {
            CImage image(in);
            image.file_format = 4;
            image.pixel_format = pixel_format;
            record.add(std::int32_t{image.WriteImage(folder.path("image").c_str())});
            record.add_bytes(folder.read("image"));
        }
    });
}

void fit_mixtures(Extent extent, Record& record) {
    for (int seed = 0; seed < (extent == Extent::brief ? 1 : 16); ++seed) {
        record.begin("seed " + std::to_string(seed));
        // Sums of uniform numbers around three levels stand for classes of tissue.
        const ImagePtr noise = make_random(64, 256, 0, static_cast<unsigned>(seed));
        const ImagePtr image = make_gray(64, 64, [&](int i, int j) {
            const float* const from = noise->pixels[i] + 4 * j;
            const float spread = (from[0] + from[1] + from[2] + from[3]) / 255.99f - 2.0f;
            return 40.0f + static_cast<float>((i + j) % 3 * 70) + 18.0f * spread;
        });
        const HostMode mode(record.has_odd_host());
        CHistogram histogram(image.get(), 0);
        for (const int n : {1, 2, 3}) {
            record.add(histogram.FitNGaussians(n));
            for (int k = 0; k < histogram.nparams; ++k)
                record.add(histogram.params[k]);
        }
    }
}

void write_and_step_movies(Record& record) {
    for (const int format : {4, 5}) {
        for (const int type : {0, 1}) {
            const ScratchFolder folder;
            record.begin(std::string(format == 4 ? "TQ" : "AVI") +
                         (type == 0 ? " gray" : " colour"));
            write_movie(folder.path("movie"), format, 4, type, make_frames(3, 17, 22, type));
            for (const Samples& frame : frames_of(folder.path("movie")))
                for (const float sample : frame)
                    record.add(sample);
            CVideo movie;
            movie.OpenVideo(folder.path("movie").c_str());
            movie.GetFrame(1, nullptr);
            if (movie.dib)
                record.add_bytes(
                    std::basic_string_view<unsigned char>(movie.dib->bits, movie.dib->image_size));
            movie.CloseVideo();
        }
    }
}

void work_on_volumes(Record& record) {
    constexpr std::array<int, 3> shapes[] = {{1, 1, 1}, {3, 5, 4}, {9, 8, 17}, {14, 33, 21}};
    for (const auto& [slices, rows, cols] : shapes) {
        record.begin(std::to_string(slices) + " x " + std::to_string(rows) + " x " +
                     std::to_string(cols));
        const VolumePtr volume = make_random_volume(slices, rows, cols, 3);
        const HostMode mode(record.has_odd_host());
        const VolumePtr smooth(volume->smooth_volume(1.2f));
        for (int k = 0; smooth && k < smooth->nslices; ++k)
            record.add(smooth->slices[k]);
        volume->ridges(0.8f, 2.0f, 2, 1, 1);
        for (int k = 0; k < volume->nslices; ++k)
            add_planes(volume->slices[k], record);
    }
}

void convert_colours(Record& record) {
    record.begin("colours");
    const HostMode mode(record.has_odd_host());
    for (int k = 0; k < 4096; ++k) {
        const auto level = [&](int shift) { return static_cast<float>(k >> shift & 15) * 17.0f; };
        float luv[3];
        float rgb[3];
        RGB_to_LUV(level(0), level(4), level(8), luv, luv + 1, luv + 2);
        LUV_to_RGB(luv[0], luv[1], luv[2], rgb, rgb + 1, rgb + 2);
        for (int c = 0; c < 3; ++c) {
            record.add(luv[c]);
            record.add(rgb[c]);
        }
    }
}

void make_coefficients(Record& record) {
    const Plane coef(5, 5);
    for (int k = 1; k <= 400; ++k) {
        const float sigma = static_cast<float>(k * k) * 0.01f;
        record.begin("sigma " + std::to_string(sigma));
        const HostMode mode(record.has_odd_host());
        for (const auto make : {ga, fdga}) {
            make(sigma, coef.get());
            record.add(coef.get(), 4, 5);
        }
    }
}

} // namespace

std::vector<Operator> exact_operators(Extent extent) {
    std::vector<Operator> all = {{"coefficients", make_coefficients},
                                 {"single colours", convert_colours},
                                 {"mixture fit", [extent](Record& r) { fit_mixtures(extent, r); }},
                                 {"movie frames", write_and_step_movies},
                                 {"volume", work_on_volumes}};
    add_tables(all, extent);
    add_images(all, extent);
    return all;
}
