#include "host/operations/histogram_plot.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/operations/statistics.h"

namespace vorlane::host {

namespace {

constexpr double width = 960.0;
constexpr double height = 540.0;
constexpr double left = 90.0;
constexpr double right = 30.0;
constexpr double top = 50.0;
constexpr double bottom = 65.0;
constexpr int most_bars = 512;
constexpr int curve_points = 600;
constexpr std::array<const char*, 6> component_colours = {"#d1495b", "#2e8b57", "#8a4fbf",
                                                          "#c98a00", "#0097a7", "#6d4c41"};

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else if (static_cast<unsigned char>(c) >= ' ')
            result += c;
    }
    return result;
}

// The distance of ticks: 1, 2 or 5 times a power of ten, for about `count` of them.
double tick_step(double range, int count) {
    const double raw = std::max(range / count, 1e-9);
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= raw)
            return factor * power;
    }
    return 10.0 * power;
}

struct Axes {
    double levels; // along x, from 0
    double counts; // along y, from 0

    double x(double level) const { return left + level / levels * (width - left - right); }
    double y(double count) const {
        return height - bottom - count / counts * (height - top - bottom);
    }
};

// A bar stands for `per_bar` bins and shows their mean.
double mean_count(const CHistogram& h, int first, int per_bar) {
    const int last = std::min(first + per_bar, h.nbins);
    double sum = 0.0;
    for (int i = first; i < last; ++i)
        sum += h.bins[i];
    return sum / (last - first);
}

std::string bars_of(const CHistogram& h, int per_bar, const Axes& axes) {
    std::string path = text_of("M%.2f %.2f", axes.x(0), axes.y(0));
    for (int i = 0; i < h.nbins; i += per_bar) {
        const double level = axes.y(mean_count(h, i, per_bar));
        path += text_of("V%.2fH%.2f", level, axes.x(std::min(i + per_bar, h.nbins)));
    }
    return "<path d=\"" + path + text_of("V%.2fZ\" fill=\"#b8c4d6\"/>\n", axes.y(0));
}

// Bar i stands from i to i + 1, and the fit's level i is its middle.
std::string curve_of(const CHistogram& h, int component, const char* style, const Axes& axes) {
    std::string points;
    for (int k = 0; k <= curve_points; ++k) {
        const double level = axes.levels * k / curve_points;
        const double value = fit_at(h, level - 0.5, component);
        points += text_of("%.2f,%.2f ", axes.x(level), axes.y(std::min(value, axes.counts)));
    }
    return "<polyline points=\"" + points + "\" fill=\"none\" " + style + "/>\n";
}

std::string axes_of(const Axes& axes) {
    std::string svg;
    const double x_step = std::max(1.0, tick_step(axes.levels, 10));
    const double y_step = tick_step(axes.counts, 6);
    for (double count = 0.0; count <= axes.counts; count += y_step)
        svg += text_of("<line x1=\"%.1f\" x2=\"%.1f\" y1=\"%.1f\" y2=\"%.1f\" stroke=\"#e3e6ea\"/>"
                       "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">%.10g</text>\n",
                       left, width - right, axes.y(count), axes.y(count), left - 8,
                       axes.y(count) + 4.5, count);
    for (double level = 0.0; level <= axes.levels; level += x_step)
        svg += text_of("<line x1=\"%.1f\" x2=\"%.1f\" y1=\"%.1f\" y2=\"%.1f\" stroke=\"#333\"/>"
                       "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%.10g</text>\n",
                       axes.x(level), axes.x(level), axes.y(0), axes.y(0) + 5, axes.x(level),
                       axes.y(0) + 20, level);
    return svg;
}

std::string frame_of(const Axes& axes, const std::string& title) {
    return text_of("<path d=\"M%.1f %.1fV%.1fH%.1f\" fill=\"none\" stroke=\"#333\"/>\n", left, top,
                   axes.y(0), width - right) +
           text_of("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">gray level</text>\n",
                   (left + width - right) / 2, height - 18) +
           text_of("<text transform=\"translate(22 %.1f) rotate(-90)\" "
                   "text-anchor=\"middle\">pixels</text>\n",
                   (top + height - bottom) / 2) +
           text_of("<text x=\"%.1f\" y=\"28\" font-size=\"17\" font-weight=\"bold\">", left) +
           escaped(title) + "</text>\n";
}

std::string component_style(int k) {
    const char* const colour =
        component_colours[static_cast<std::size_t>(k) % component_colours.size()];
    return text_of("stroke=\"%s\" stroke-width=\"1.8\" stroke-dasharray=\"6 3\"", colour);
}

constexpr const char* sum_style = "stroke=\"#1b2a41\" stroke-width=\"2.2\"";

// The entries stand on the side that has more room.
std::string legend_of(const CHistogram& h) {
    const int components = h.nparams / 3;
    double low_half = 0.0;
    double high_half = 0.0;
    for (int i = 0; i < h.nbins; ++i)
        (i < h.nbins / 2 ? low_half : high_half) += h.bins[i];
    const double x = low_half < high_half ? left + 15 : width - right - 275;
    double y = top + 12;
    std::string svg =
        text_of("<rect x=\"%.1f\" y=\"%.1f\" width=\"270\" height=\"%.1f\" fill=\"#ffffff\" "
                "fill-opacity=\"0.85\" stroke=\"#cfd4da\"/>\n",
                x - 8, y - 12, 22.0 * (components > 0 ? components + 2 : 1) + 8);
    const auto add = [&](const std::string& mark, const std::string& text) {
        svg += mark + text_of("<text x=\"%.1f\" y=\"%.1f\">", x + 36, y + 4.5) + text + "</text>\n";
        y += 22;
    };
    const auto line = [&](const std::string& style) {
        return text_of("<line x1=\"%.1f\" x2=\"%.1f\" y1=\"%.1f\" y2=\"%.1f\" ", x, x + 28, y, y) +
               style + "/>";
    };
    add(text_of("<rect x=\"%.1f\" y=\"%.1f\" width=\"28\" height=\"11\" fill=\"#b8c4d6\"/>", x,
                y - 6),
        "pixels");
    if (components > 0)
        add(line(sum_style), "fitted sum");
    for (int k = 0; k < components; ++k)
        add(line(component_style(k)),
            text_of("centre %.1f, deviation %.1f", static_cast<double>(h.params[3 * k + 1]),
                    std::abs(h.params[3 * k + 2]) / std::sqrt(2.0)));
    return svg;
}

} // namespace

double fit_at(const CHistogram& h, double level, int component) {
    double sum = 0.0;
    for (int k = 0; k < h.nparams / 3; ++k) {
        if (component >= 0 && component != k)
            continue;
        const double a = h.params[3 * k];
        const double t = (level - h.params[3 * k + 1]) / h.params[3 * k + 2];
        sum += a * a * std::exp(-t * t);
    }
    return sum;
}

std::string plot_of(const CHistogram& h, const std::string& title) {
    const int per_bar = std::max(1, (h.nbins + most_bars - 1) / most_bars);
    Axes axes{std::max(1.0, static_cast<double>(h.nbins)), 1.0};
    for (int i = 0; i < h.nbins; i += per_bar)
        axes.counts = std::max(axes.counts, mean_count(h, i, per_bar));
    axes.counts *= 1.06;
    std::string svg =
        text_of("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" "
                "width=\"%.0f\" height=\"%.0f\" font-family=\"sans-serif\" font-size=\"13\" "
                "fill=\"#222\">\n<rect width=\"100%%\" height=\"100%%\" fill=\"#ffffff\"/>\n",
                width, height, width, height);
    svg += axes_of(axes) + bars_of(h, per_bar, axes);
    for (int k = 0; k < h.nparams / 3; ++k)
        svg += curve_of(h, k, component_style(k).c_str(), axes);
    if (h.nparams > 0)
        svg += curve_of(h, -1, sum_style, axes);
    return svg + frame_of(axes, title) + legend_of(h) + "</svg>\n";
}

} // namespace vorlane::host
