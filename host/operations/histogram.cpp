#include <cmath>
#include <cstdio>
#include <memory>

#include "host/operations/histogram_plot.h"
#include "host/operations/parts.h"
#include "host/operations/statistics.h"

namespace vorlane::host {

namespace {

constexpr float failed_fit = 1000000.0f;
constexpr int most_components = 100;

constexpr Option options[] = {
    {.name = "mask",
     .kind = Kind::picture,
     .purpose = "Count only pixels where this picture is not 0"},
    {.name = "drop-zero", .purpose = "Leave out level 0"},
    {.name = "smooth",
     .kind = Kind::integer,
     .purpose = "Smooth the counts over this many bins, six standard deviations",
     .low = 1,
     .high = 1000000},
    {.name = "fit",
     .kind = Kind::text,
     .purpose = "Fit this many Gaussians, or take the best of a range, both included, and print "
                "them",
     .values = "N|FIRST:LAST"},
    {.name = "threshold",
     .kind = Kind::number,
     .purpose = "Of a range, take the fewest whose misfit lies below this part of the way from the "
                "best to the worst",
     .initial = "0.1",
     .low = 0.0,
     .high = 1.0},
    {.name = "csv", .purpose = "Print level, count and fit of each bin for a table"},
    {.name = "json", .purpose = "Print an object of JSON", .excludes = "csv"},
    {.name = "plot",
     .kind = Kind::output,
     .purpose = "Also draw counts and fit into this SVG file"},
};

struct Components {
    int first = 0, last = 0; // both included
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

void check(const Arguments& arguments) {
    Components range;
    if (arguments.is_given("fit") && !parse_components(arguments.text("fit"), range))
        throw UsageError("--fit must be a number of Gaussians, or a range such as 1:4, from 1 to "
                         "100; got '" +
                         arguments.text("fit") + "'");
}

std::unique_ptr<CHistogram> count(const CImage& image, const Arguments& arguments) {
    std::unique_ptr<CHistogram> h;
    if (const CImage* const mask = arguments.picture("mask")) {
        if (is_colour(*mask))
            throw UsageError("the mask must be gray");
        check_same_size(image, *mask, "the mask");
        h = std::make_unique<CHistogram>(&image, mask);
        if (arguments.flag("drop-zero") && h->nbins > 0)
            h->bins[0] = 0;
    } else {
        h = std::make_unique<CHistogram>(&image, arguments.flag("drop-zero") ? 1 : 0);
    }
    if (h->nbins < 1)
        throw Error("no pixel has a gray level from 0 on");
    return h;
}

struct FreeFloats {
    void operator()(float* array) const { free_1D_float_array(array); }
};
using Floats = std::unique_ptr<float, FreeFloats>;

Floats fit(CHistogram& h, const Components& range, float threshold) {
    Floats misfits(h.FitGaussians(range.first, range.last + 1, threshold));
    if (!misfits)
        throw Error("there is nothing to fit: every bin is empty");
    if (!(misfits.get()[h.nparams / 3] < failed_fit))
        throw Error("no fit succeeded: try fewer Gaussians, or smooth the counts");
    return misfits;
}

struct Component {
    double height, centre, deviation, pixels;
};

Component component_of(const CHistogram& h, int k) {
    const double height = double{h.params[k]} * h.params[k];
    const double w = std::abs(h.params[k + 2]);
    return {height, h.params[k + 1], w / std::sqrt(2.0), height * w * std::sqrt(3.141592653589793)};
}

std::string components_of(const CHistogram& h, const Components& range, const float* misfits) {
    std::string text;
    for (int n = range.first; n <= range.last; ++n) {
        text += text_of("%d Gaussian%s: ", n, n == 1 ? "" : "s");
        text += misfits[n] < failed_fit
                    ? text_of("misfit %.5f%s\n", static_cast<double>(misfits[n]),
                              3 * n == h.nparams ? " (taken)" : "")
                    : "no fit\n";
    }
    text += text_of("%12s %12s %12s %12s\n", "height", "centre", "deviation", "pixels");
    for (int k = 0; k < h.nparams; k += 3) {
        const Component c = component_of(h, k);
        text += text_of("%12.2f %12.3f %12.3f %12.0f\n", c.height, c.centre, c.deviation, c.pixels);
    }
    return text;
}

std::string counts_of(const CHistogram& h, bool csv) {
    std::string text = csv ? (h.nparams > 0 ? "level,count,fit\n" : "level,count\n")
                           : text_of("%8s %12s\n", "level", "count");
    for (int i = 0; i < h.nbins; ++i) {
        if (!csv && h.bins[i] != 0)
            text += text_of("%8d %12d\n", i, h.bins[i]);
        else if (csv && h.nparams > 0)
            text += text_of("%d,%d,%.3f\n", i, h.bins[i], fit_at(h, i));
        else if (csv)
            text += text_of("%d,%d\n", i, h.bins[i]);
    }
    return text;
}

// Counts are listed from level 0 on.
std::string as_json(const CHistogram& h, const std::string& name) {
    std::string json = "{\"name\": " + json_text(name) + ", \"counts\": [";
    for (int i = 0; i < h.nbins; ++i)
        json += (i > 0 ? ", " : "") + std::to_string(h.bins[i]);
    json += "]";
    if (h.nparams > 0) {
        json += ", \"gaussians\": [";
        for (int k = 0; k < h.nparams; k += 3) {
            const Component c = component_of(h, k);
            json += std::string(k > 0 ? ", " : "") + "{\"height\": " + json_number(c.height) +
                    ", \"centre\": " + json_number(c.centre) +
                    ", \"deviation\": " + json_number(c.deviation) +
                    ", \"pixels\": " + json_number(c.pixels) + "}";
        }
        json += "]";
    }
    return json + "}\n";
}

Result run(Subject& subject, const Call& call) {
    const Arguments& arguments = call.arguments;
    const auto h = count(*subject, arguments);
    if (arguments.is_given("smooth"))
        h->Smooth(arguments.integer("smooth"));
    Components range;
    Floats misfits;
    if (arguments.is_given("fit") && parse_components(arguments.text("fit"), range))
        misfits = fit(*h, range, static_cast<float>(arguments.number("threshold")));
    Result result;
    if (arguments.is_given("plot"))
        result.further.push_back({.option = "plot",
                                  .name = {},
                                  .image = nullptr,
                                  .text = plot_of(*h, call.name),
                                  .path = {}});
    if (arguments.flag("json"))
        result.text = as_json(*h, call.name);
    else if (misfits && !arguments.flag("csv"))
        result.text = components_of(*h, range, misfits.get());
    else
        result.text = counts_of(*h, arguments.flag("csv"));
    return result;
}

constexpr Operation table[] = {
    {.description = {.name = "histogram",
                     .purpose = "Count the gray levels of a picture, and fit Gaussians to the "
                                "counts",
                     .example = "scan.pgm --smooth 5 --fit 1:2 --plot scan.svg",
                     .options = options},
     .output = Output::text,
     .run = run,
     .check = check},
};

} // namespace

std::span<const Operation> histogram_operations() {
    return table;
}

} // namespace vorlane::host
