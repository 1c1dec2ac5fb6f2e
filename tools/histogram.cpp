#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "histogram_plot.h"
#include "host.h"

namespace {

constexpr float failed_fit = 1000000.0f;
constexpr int most_components = 100;

struct HistogramOptions {
    std::string in, mask, fit, plot;
    bool drop_zero = false;
    bool csv = false;
    int smooth = 0;
    float threshold = 0.1f;
};

struct Components {
    int first, last; // both included
};

bool parse_components(const std::string& text, Components& range) {
    char rest = 0;
    if (std::sscanf(text.c_str(), "%d:%d%c", &range.first, &range.last, &rest) != 2) {
        if (std::sscanf(text.c_str(), "%d%c", &range.first, &rest) != 1)
            return false;
        range.last = range.first;
    }
    return range.first >= 1 && range.last >= range.first && range.last <= most_components;
}

std::string check_components(const std::string& text) {
    Components range{};
    return parse_components(text, range) ? ""
                                         : "'" + text +
                                               "' is not a number of Gaussians, or a range "
                                               "such as 1:4, from 1 to 100";
}

std::unique_ptr<CHistogram> count(const HistogramOptions& options) {
    const ImagePtr image = load(options.in);
    std::unique_ptr<CHistogram> h;
    if (options.mask.empty()) {
        h = std::make_unique<CHistogram>(image.get(), options.drop_zero);
    } else {
        const ImagePtr mask = load(options.mask);
        if (mask->image_type != 0 || mask->nrows != image->nrows || mask->ncols != image->ncols)
            throw CommandError(options.mask + ": the mask must be gray and have the image's size");
        h = std::make_unique<CHistogram>(image.get(), mask.get());
        if (options.drop_zero && h->nbins > 0)
            h->bins[0] = 0;
    }
    if (h->nbins < 1)
        throw CommandError(options.in + ": no pixel has a gray level from 0 to 16777216");
    return h;
}

struct FreeFloats {
    void operator()(float* array) const { free_1D_float_array(array); }
};
using Floats = std::unique_ptr<float, FreeFloats>;

Floats fit(CHistogram& h, const Components& range, float threshold) {
    Floats misfits(h.FitGaussians(range.first, range.last + 1, threshold));
    if (!misfits)
        throw CommandError("there is nothing to fit: every bin is empty");
    if (!(misfits.get()[h.nparams / 3] < failed_fit))
        throw CommandError("no fit succeeded: try fewer Gaussians, or smooth the counts");
    return misfits;
}

void print_components(const CHistogram& h, const Components& range, const float* misfits) {
    for (int n = range.first; n <= range.last; ++n) {
        if (misfits[n] < failed_fit)
            std::printf("%d Gaussian%s: misfit %.5f%s\n", n, n == 1 ? "" : "s",
                        static_cast<double>(misfits[n]), 3 * n == h.nparams ? " (taken)" : "");
        else
            std::printf("%d Gaussian%s: no fit\n", n, n == 1 ? "" : "s");
    }
    std::printf("%12s %12s %12s %12s\n", "height", "centre", "deviation", "pixels");
    for (int k = 0; k < h.nparams; k += 3) {
        const double pi = 3.141592653589793;
        const double peak = double{h.params[k]} * h.params[k];
        const double w = std::abs(h.params[k + 2]);
        std::printf("%12.2f %12.3f %12.3f %12.0f\n", peak, static_cast<double>(h.params[k + 1]),
                    w / std::sqrt(2.0), peak * w * std::sqrt(pi));
    }
}

void print_counts(const CHistogram& h, bool csv) {
    if (csv)
        std::printf(h.nparams > 0 ? "level,count,fit\n" : "level,count\n");
    else
        std::printf("%8s %12s\n", "level", "count");
    for (int i = 0; i < h.nbins; ++i) {
        if (!csv && h.bins[i] != 0)
            std::printf("%8d %12d\n", i, h.bins[i]);
        else if (csv && h.nparams > 0)
            std::printf("%d,%d,%.3f\n", i, h.bins[i], fit_at(h, i));
        else if (csv)
            std::printf("%d,%d\n", i, h.bins[i]);
    }
}

void write_plot(const CHistogram& h, const HistogramOptions& options) {
    save_whole(options.plot, [&](const char* path) {
        std::ofstream file(path, std::ios::binary);
        file << plot_of(h, options.in);
        file.close();
        return file.good();
    });
}

void show_histogram(const HistogramOptions& options) {
    const auto h = count(options);
    if (options.smooth > 0)
        h->Smooth(options.smooth);
    Components range{};
    Floats misfits;
    if (!options.fit.empty() && parse_components(options.fit, range))
        misfits = fit(*h, range, options.threshold);
    if (!options.plot.empty())
        write_plot(*h, options);
    if (misfits && !options.csv)
        print_components(*h, range, misfits.get());
    else
        print_counts(*h, options.csv);
}

} // namespace

void add_histogram_command(CLI::App& program) {
    CLI::App* const command = program.add_subcommand(
        "histogram", "Count the gray levels of an image, and fit Gaussians to the counts");
    const auto options = std::make_shared<HistogramOptions>();
    command->add_option("IN", options->in, "An image, gray or colour")->required();
    command->add_option("--mask", options->mask, "Count only pixels where this image is not 0");
    command->add_flag("--drop-zero", options->drop_zero, "Leave out level 0");
    command
        ->add_option("--smooth", options->smooth,
                     "Smooth the counts over this many bins, six standard deviations")
        ->check(CLI::Range(1, 1000000));
    command
        ->add_option("--fit", options->fit,
                     "Fit this many Gaussians, or take the best of a range FIRST:LAST, both "
                     "included, and print them")
        ->check(check_components, "N|FIRST:LAST");
    command
        ->add_option("--threshold", options->threshold,
                     "Of a range, take the fewest whose misfit lies below this part of the way "
                     "from the best to the worst")
        ->capture_default_str();
    command->add_flag("--csv", options->csv, "Print level, count and fit of each bin for a table");
    command->add_option("--plot", options->plot, "Also draw counts and fit into this SVG file");
    command->footer("Example: vorlane histogram scan.pgm --smooth 5 --fit 1:4 --plot scan.svg");
    command->callback([options] { show_histogram(*options); });
}
