#include <algorithm>
#include <cmath>

#include "host/natural.h"
#include "host/operations/parts.h"
#include "host/operations/statistics.h"

namespace vorlane::host {

namespace {

constexpr Option second_picture[] = {
    {.name = "B",
     .kind = Kind::picture,
     .purpose = "The picture to compare with",
     .is_required = true},
};
constexpr Option options[] = {
    {.name = "tolerance",
     .kind = Kind::number,
     .purpose = "Differences up to this count as equal",
     .initial = "0",
     .low = 0.0},
    {.name = "peak",
     .kind = Kind::number,
     .purpose = "The value of white, to which PSNR and SSIM refer; by default 255, or the largest "
                "value where there is a larger one",
     .low = 0.0,
     .excludes_low = true},
    {.name = "out",
     .kind = Kind::output,
     .purpose = "Also write the absolute difference as a picture"},
    {.name = "json", .purpose = "Print an object of JSON"},
};

struct Differences {
    double largest = 0.0, sum = 0.0, squares = 0.0;
    std::int64_t count = 0, beyond = 0; // of samples
    int row = 0, col = 0, channel = 0;  // of the largest
};

// Not-a-numbers equal each other and nothing else.
double difference_of(float a, float b) {
    if (a == b || (std::isnan(a) && std::isnan(b)))
        return 0.0;
    const double difference = std::abs(double{a} - b);
    return std::isnan(difference) ? largest_number : difference;
}

Differences differences_of(const CImage& a, const CImage& b, double tolerance, CImage* picture) {
    Differences d;
    const int count = samples_per_row(a);
    const int channels = is_colour(a) ? 3 : 1;
    for (int i = 0; i < a.nrows; ++i) {
        for (int j = 0; j < count; ++j) {
            const double difference = difference_of(a.pixels[i][j], b.pixels[i][j]);
            if (difference > d.largest) {
                d.largest = difference;
                d.row = i;
                d.col = j / channels;
                d.channel = j % channels;
            }
            d.sum += difference;
            d.squares += difference * difference;
            d.beyond += difference > tolerance;
            if (picture)
                picture->pixels[i][j] = static_cast<float>(difference);
        }
    }
    d.count = std::int64_t{a.nrows} * count;
    return d;
}

ImagePtr combined(const CImage& a, const CImage& b) {
    return checked(a.Multseq(&b), "there is no memory to compare the pictures");
}

// The mean structural similarity with Gaussian windows of sigma 1.5: Z. Wang et al., "Image quality
// assessment: from error visibility to structural similarity", 2004.
double similarity_of(const CImage& a, const CImage& b, double peak) {
    constexpr double sigma = 1.5;
    const double c1 = 0.01 * peak * 0.01 * peak;
    const double c2 = 0.03 * peak * 0.03 * peak;
    const ImagePtr mean_a = smooth(a, sigma);
    const ImagePtr mean_b = smooth(b, sigma);
    const ImagePtr mean_aa = smooth(*combined(a, a), sigma);
    const ImagePtr mean_bb = smooth(*combined(b, b), sigma);
    const ImagePtr mean_ab = smooth(*combined(a, b), sigma);
    double sum = 0.0;
    const int count = samples_per_row(a);
    for (int i = 0; i < a.nrows; ++i) {
        for (int j = 0; j < count; ++j) {
            const double ma = mean_a->pixels[i][j];
            const double mb = mean_b->pixels[i][j];
            const double variance_a = std::max(mean_aa->pixels[i][j] - ma * ma, 0.0);
            const double variance_b = std::max(mean_bb->pixels[i][j] - mb * mb, 0.0);
            const double covariance = mean_ab->pixels[i][j] - ma * mb;
            sum += (2.0 * ma * mb + c1) * (2.0 * covariance + c2) /
                   ((ma * ma + mb * mb + c1) * (variance_a + variance_b + c2));
        }
    }
    return sum / (static_cast<double>(a.nrows) * count);
}

const char* shape_of(const CImage& image) {
    return is_colour(image) ? "colour" : "gray";
}

Result run(Subject& subject, const Call& call) {
    const Arguments& arguments = call.arguments;
    const CImage& a = *subject;
    const CImage& b = *arguments.picture("B");
    if (a.nrows != b.nrows || a.ncols != b.ncols || a.image_type != b.image_type)
        throw UsageError(text_of("the pictures can't be compared: one is %d x %d pixels, %s, the "
                                 "other %d x %d, %s",
                                 a.nrows, a.ncols, shape_of(a), b.nrows, b.ncols, shape_of(b)));
    Result result;
    ImagePtr picture;
    if (arguments.is_given("out")) {
        picture = std::make_unique<CImage>(a.nrows, a.ncols, a.image_type, FileFormat::none,
                                           PixelFormat::float32);
        if (!picture->pixels)
            throw Error("there is no memory for the picture of the difference");
    }
    const Differences d = differences_of(a, b, arguments.number("tolerance"), picture.get());
    const SampleRange range_a = range_of(a);
    const SampleRange range_b = range_of(b);
    const double largest = std::max(range_a.high, range_b.high);
    const double peak = arguments.is_given("peak") ? arguments.number("peak")
                        : largest > 255.0          ? largest
                                                   : 255.0;
    const auto count = static_cast<double>(d.count);
    const double mean_square = d.squares / count;
    const double psnr =
        mean_square > 0.0 ? 10.0 * std::log10(peak * peak / mean_square) : largest_number;
    const double ssim = d.largest > 0.0 ? similarity_of(a, b, peak) : 1.0;
    result.status = d.beyond > 0 ? 1 : 0;
    if (arguments.flag("json")) {
        result.text =
            "{\"equal\": " + std::string(d.beyond > 0 ? "false" : "true") +
            ", \"largest_difference\": " + json_number(d.largest) +
            ", \"mean_difference\": " + json_number(d.sum / count) +
            ", \"samples_beyond_tolerance\": " + std::to_string(d.beyond) +
            ", \"row\": " + std::to_string(d.row) + ", \"column\": " + std::to_string(d.col) +
            ", \"channel\": " + std::to_string(d.channel) + ", \"psnr\": " + json_number(psnr) +
            ", \"ssim\": " + json_number(ssim) + "}\n";
    } else if (d.largest > 0.0) {
        result.text = text_of(
            "%s: largest difference %g at row %d, column %d%s; mean %g; %.4g %% beyond "
            "%g; PSNR %.2f dB, SSIM %.5f\n",
            d.beyond > 0 ? "different" : "equal within the tolerance", d.largest, d.row, d.col,
            !is_colour(a)    ? ""
            : d.channel == 0 ? " in red"
            : d.channel == 1 ? " in green"
                             : " in blue",
            d.sum / count, 100.0 * static_cast<double>(d.beyond) / count,
            arguments.number("tolerance"), psnr, ssim);
    } else {
        result.text = "equal\n";
    }
    if (picture)
        result.further.push_back(
            {.option = "out", .name = {}, .image = std::move(picture), .text = {}, .path = {}});
    return result;
}

constexpr Operation table[] = {
    {.description = {.name = "compare",
                     .purpose = "Compare two pictures, sample by sample",
                     .notes = "Exit status: 0 equal, 1 different, 2 not comparable.",
                     .example = "a.pgm b.pgm --tolerance 255 --out difference.pgm",
                     .places = second_picture,
                     .options = options},
     .output = Output::text,
     .run = run},
};

} // namespace

std::span<const Operation> comparison_operations() {
    return table;
}

} // namespace vorlane::host
