// How a picture comes to the screen: as a bitmap of the levels in a window, drawn on a memory device.
#pragma once

#include <memory>
#include <vector>

#include <vorlane/vorlane.h>

#include "colours.h"

namespace vorlane::viewer {

// The levels that are shown from black to white.
struct Window {
    double low = 0.0, high = 255.0;
    bool operator==(const Window&) const = default;
};

// From the smallest to the largest finite sample.
Window range_of(const CImage& image);

// Leaves out half a per cent of the samples at each end, so that single bright ones don't darken the rest.
Window automatic_window(const CImage& image);

// A bitmap of an image, with the levels of the window spread over its bytes as those of CDib are, but for what lies
// outside: it is clamped. A gray picture has the colours of the table. Null if there is no memory.
std::unique_ptr<CDib> make_bitmap(const CImage& image, const Window& window,
                                  const ColourTable& table);

// Which part of a picture is seen, and how large. `stretch` is the height of a pixel by its width.
struct Placement {
    double zoom = 1.0;           // screen pixels a column
    double row = 0.0, col = 0.0; // of the point in the middle of the pane
    double stretch = 1.0;

    // Of the whole picture on a pane of that size.
    struct Box {
        int x, y, width, height;
    };
    Box box(int rows, int cols, int pane_width, int pane_height) const;

    // The pixel in the middle of a pane, on which row and col stand.
    static int middle(int pane_size) { return pane_size / 2; }

    // The picture's point below a point of the pane.
    double row_at(double y, int pane_height) const {
        return row + (y - middle(pane_height)) / (zoom * stretch);
    }
    double col_at(double x, int pane_width) const { return col + (x - middle(pane_width)) / zoom; }

    // Scales about a point of the pane, which stays where it is.
    void zoom_by(double factor, double x, double y, int pane_width, int pane_height);
};

// The placement that shows all of a picture, not larger than `largest` times.
Placement fitted(int rows, int cols, double stretch, int pane_width, int pane_height,
                 double largest = 64.0);

// Pixels of a part of the window, three bytes each.
class Canvas {
public:
    void resize(int width, int height);
    int width() const { return width_; }
    int height() const { return height_; }
    const unsigned char* pixels() const { return pixels_.data(); }

    struct Area {
        int x = 0, y = 0, width = 0, height = 0;
        bool contains(double px, double py) const {
            return px >= x && py >= y && px < x + width && py < y + height;
        }
    };

    void clear(Colour colour);
    // Draws the bitmap's part of the area; columns from `from` on only.
    void draw(CDib& bitmap, const Placement& placement, const Area& area, int from = 0);
    // Lets an overlay's levels, 0 to 255, shine through in a colour.
    void shine(CDib& levels, const Placement& placement, const Area& area, Colour colour);

private:
    bool paint(CDib& bitmap, const Placement& placement, const Area& area);

    int width_ = 0, height_ = 0;
    std::vector<unsigned char> pixels_;
    std::unique_ptr<CMemoryDC> device_;
    std::vector<unsigned char> row_;
};

} // namespace vorlane::viewer
