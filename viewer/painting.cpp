#include "painting.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace vorlane::viewer {

namespace {

constexpr Colour backdrop = {24, 24, 28};

int samples_of_row(const CImage& image) {
    return image.image_type == ImageType::gray ? image.ncols : 3 * image.ncols;
}

// Bytes of a row. A not-a-number is black.
void to_bytes(const float* from, unsigned char* to, int count, const Window& window) {
    const double low = window.low;
    const double span = window.high - window.low;
    if (!(span > 0.0)) {
        for (int k = 0; k < count; ++k)
            to[k] = static_cast<double>(from[k]) > low ? 255 : 0;
        return;
    }
    for (int k = 0; k < count; ++k) {
        const double level = (static_cast<double>(from[k]) - low) * 255.0 / span;
        const double above = level > 0.0 ? level : 0.0;
        to[k] = static_cast<unsigned char>(static_cast<int>(above < 255.0 ? above : 255.0));
    }
}

void set_table(CDib& bitmap, const ColourTable& table) {
    auto* const entries = reinterpret_cast<RGBQUAD*>(bitmap.header + sizeof(BITMAPINFOHEADER));
    for (int level = 0; level < 256; ++level) {
        const Colour& colour = table.colours[level];
        entries[level] = {colour.blue, colour.green, colour.red, 0};
    }
}

} // namespace

Window range_of(const CImage& image) {
    Window range{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    const int count = samples_of_row(image);
    for (int i = 0; i < image.nrows; ++i) {
        for (int k = 0; k < count; ++k) {
            const double sample = image.pixels[i][k];
            if (std::isfinite(sample)) {
                range.low = std::min(range.low, sample);
                range.high = std::max(range.high, sample);
            }
        }
    }
    return range.low <= range.high ? range : Window{};
}

Window automatic_window(const CImage& image) {
    const Window range = range_of(image);
    if (!(range.low < range.high))
        return {range.low, range.low + 1.0};
    constexpr int bins = 4096;
    constexpr double left_out = 0.005;
    std::vector<std::int64_t> counts(bins, 0);
    const double scale = (bins - 1) / (range.high - range.low);
    std::int64_t total = 0;
    const int count = samples_of_row(image);
    const int step = std::max(1, image.nrows / 1024); // enough rows to tell
    for (int i = 0; i < image.nrows; i += step) {
        for (int k = 0; k < count; ++k) {
            const double sample = image.pixels[i][k];
            if (std::isfinite(sample)) {
                ++counts[static_cast<std::size_t>((sample - range.low) * scale)];
                ++total;
            }
        }
    }
    const auto limit = static_cast<std::int64_t>(left_out * static_cast<double>(total));
    int low = 0;
    int high = bins - 1;
    for (std::int64_t sum = counts[low]; sum <= limit && low < bins - 1; sum += counts[++low]) {
    }
    for (std::int64_t sum = counts[high]; sum <= limit && high > 0; sum += counts[--high]) {
    }
    if (low >= high)
        return range;
    return {range.low + low / scale, range.low + (high + 1) / scale};
}

std::unique_ptr<CDib> make_bitmap(const CImage& image, const Window& window,
                                  const ColourTable& table) {
    const bool is_gray = image.image_type == ImageType::gray;
    auto bitmap = std::make_unique<CDib>(image.ncols, image.nrows, is_gray ? 8 : 24);
    if (!bitmap->bits)
        return nullptr;
    if (is_gray)
        set_table(*bitmap, table);
    const int count = samples_of_row(image);
    for (int i = 0; i < image.nrows; ++i) {
        unsigned char* const row =
            bitmap->bits + static_cast<std::size_t>(image.nrows - 1 - i) * bitmap->row_bytes;
        to_bytes(image.pixels[i], row, count, window);
        for (int k = 0; !is_gray && k < count; k += 3)
            std::swap(row[k], row[k + 2]);
    }
    bitmap->MakePalette();
    return bitmap;
}

Placement::Box Placement::box(int rows, int cols, int pane_width, int pane_height) const {
    const auto whole = [](double size) { return std::max(1, static_cast<int>(std::lround(size))); };
    return {static_cast<int>(std::lround(middle(pane_width) - col * zoom)),
            static_cast<int>(std::lround(middle(pane_height) - row * zoom * stretch)),
            whole(cols * zoom), whole(rows * zoom * stretch)};
}

void Placement::zoom_by(double factor, double x, double y, int pane_width, int pane_height) {
    const double fixed_row = row_at(y, pane_height);
    const double fixed_col = col_at(x, pane_width);
    zoom = std::clamp(zoom * factor, 1.0 / 256.0, 256.0);
    row = fixed_row - (y - middle(pane_height)) / (zoom * stretch);
    col = fixed_col - (x - middle(pane_width)) / zoom;
}

Placement fitted(int rows, int cols, double stretch, int pane_width, int pane_height,
                 double largest) {
    const double fit = std::min(pane_width / static_cast<double>(std::max(1, cols)),
                                pane_height / (std::max(1, rows) * stretch));
    return {std::clamp(fit, 1.0 / 256.0, largest), rows / 2.0, cols / 2.0, stretch};
}

void Canvas::resize(int width, int height) {
    if (width == width_ && height == height_)
        return;
    width_ = width;
    height_ = height;
    pixels_.assign(std::size_t{3} * width * height, 0);
}

void Canvas::clear(Colour colour) {
    const std::size_t row_bytes = std::size_t{3} * width_;
    for (std::size_t k = 0; k < std::min(row_bytes, pixels_.size()); k += 3) {
        pixels_[k] = colour.red;
        pixels_[k + 1] = colour.green;
        pixels_[k + 2] = colour.blue;
    }
    for (int y = 1; y < height_; ++y)
        std::memcpy(&pixels_[row_bytes * y], pixels_.data(), row_bytes);
}

bool Canvas::paint(CDib& bitmap, const Placement& placement, const Area& area) {
    if (area.width < 1 || area.height < 1)
        return false;
    if (!device_ || device_->GetWidth() != area.width || device_->GetHeight() != area.height)
        device_ = std::make_unique<CMemoryDC>(area.width, area.height, CMemoryDC::true_colour);
    if (!device_->m_hDC)
        return false;
    // A pixel of the backdrop, stretched over what the picture leaves free.
    CDib free_space(1, 1, 24);
    if (!free_space.bits)
        return false;
    free_space.bits[0] = backdrop.blue;
    free_space.bits[1] = backdrop.green;
    free_space.bits[2] = backdrop.red;
    const Placement::Box box = placement.box(bitmap.height, bitmap.width, area.width, area.height);
    if (box.x > 0 || box.y > 0 || box.x + box.width < area.width ||
        box.y + box.height < area.height)
        free_space.Draw(device_.get(), 0, 0, area.width, area.height);
    bitmap.Draw(device_.get(), box.x, box.y, box.width, box.height);
    row_.resize(std::size_t{3} * area.width);
    return true;
}

void Canvas::draw(CDib& bitmap, const Placement& placement, const Area& area, int from) {
    if (!paint(bitmap, placement, area))
        return;
    const int first = std::clamp(from, 0, area.width);
    for (int y = 0; y < area.height; ++y) {
        device_->GetRow(y, row_.data());
        std::memcpy(&pixels_[3 * (std::size_t(area.y + y) * width_ + area.x + first)],
                    &row_[std::size_t{3} * first], std::size_t{3} * (area.width - first));
    }
}

void Canvas::shine(CDib& levels, const Placement& placement, const Area& area, Colour colour) {
    if (!paint(levels, placement, area))
        return;
    const Placement::Box box = placement.box(levels.height, levels.width, area.width, area.height);
    const auto mixed = [](unsigned char below, unsigned char above, int share) {
        return static_cast<unsigned char>(below + (above - below) * share / 255);
    };
    for (int y = std::max(0, box.y); y < std::min(area.height, box.y + box.height); ++y) {
        device_->GetRow(y, row_.data());
        for (int x = std::max(0, box.x); x < std::min(area.width, box.x + box.width); ++x) {
            const int share = row_[std::size_t{3} * x];
            unsigned char* const pixel =
                &pixels_[3 * (std::size_t(area.y + y) * width_ + area.x + x)];
            pixel[0] = mixed(pixel[0], colour.red, share);
            pixel[1] = mixed(pixel[1], colour.green, share);
            pixel[2] = mixed(pixel[2], colour.blue, share);
        }
    }
}

} // namespace vorlane::viewer
