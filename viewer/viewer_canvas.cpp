// The picture area: what is drawn there, and what the mouse does.

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <imgui.h>

#include "viewer.h"

namespace vorlane::viewer {

namespace {

constexpr Colour backdrop = {24, 24, 28};
constexpr Colour overlay_colour = {255, 64, 32};
constexpr int gap = 4;           // between panes, in screen pixels
constexpr double grid_from = 32; // screen pixels a sample
constexpr double split_reach = 6.0;
constexpr ImU32 line_colour = IM_COL32(255, 220, 0, 255);

std::string level_text(double level) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", level);
    return text;
}

} // namespace

void Viewer::refresh(Shown& shown) {
    if (shown.image && !shown.bitmap)
        shown.bitmap = make_bitmap(*shown.image, shown.window,
                                   colour_tables()[static_cast<std::size_t>(settings_.colours)]);
}

// The panes that the canvas is parted into.
void Viewer::lay_out(const Canvas::Area& area) {
    Tab& shown = *tab();
    panes_.clear();
    const int width = area.width;
    const int height = area.height;
    const auto fit = [](Placement& placement, const Shown& what, double stretch,
                        const Canvas::Area& pane) {
        placement =
            fitted(what.image->nrows, what.image->ncols, stretch, pane.width, pane.height, 16.0);
    };
    if (shown.document.volume()) {
        const int left = (width - gap) / 2;
        const int top = (height - gap) / 2;
        const Canvas::Area areas[4] = {
            {0, 0, left, top},
            {left + gap, 0, width - left - gap, top},
            {0, top + gap, left, height - top - gap},
            {left + gap, top + gap, width - left - gap, height - top - gap}};
        const double across = shown.document.slice_stretch();
        const double along = shown.document.row_stretch();
        const double stretches[4] = {along, across, across / along, along};
        using Cut = Document::Cut;
        for (std::size_t k = 0; k < 4; ++k) {
            Shown& what = k < 3 ? shown.cuts[k] : shown.projection;
            if (shown.is_fitted)
                fit(shown.cut_placements[k], what, stretches[k], areas[k]);
            panes_.push_back({areas[k], &shown.cut_placements[k], &what,
                              k == 1   ? Cut::row
                              : k == 2 ? Cut::column
                                       : Cut::slice,
                              k < 3});
        }
        return;
    }
    const bool has_result = shown.result.image != nullptr;
    const Layout layout = has_result ? shown.layout : Layout::input;
    Canvas::Area whole{0, 0, width, height};
    if (layout == Layout::side_by_side)
        whole.width = (width - gap) / 2;
    const Shown& first = layout == Layout::result ? shown.result : shown.input;
    if (shown.is_fitted)
        fit(shown.placement, first, shown.document.row_stretch(), whole);
    if (layout != Layout::result)
        panes_.push_back({whole, &shown.placement, &shown.input});
    if (layout == Layout::side_by_side)
        whole.x = width - whole.width;
    if (layout != Layout::input)
        panes_.push_back({whole, &shown.placement, &shown.result});
}

void Viewer::compose() {
    const Canvas::Area& area = canvas_area_;
    if (area.width < 1 || area.height < 1)
        return;
    if (!is_stale_ && canvas_.width() == area.width && canvas_.height() == area.height)
        return;
    is_stale_ = false;
    canvas_.resize(area.width, area.height);
    canvas_.clear(backdrop);
    Tab& shown = *tab();
    const bool is_split = panes_.size() == 2 && shown.layout == Layout::split;
    for (std::size_t k = 0; k < panes_.size(); ++k) {
        Pane& pane = panes_[k];
        refresh(*pane.shown);
        if (!pane.shown->bitmap) {
            say("There is not enough memory to show this picture.");
            continue;
        }
        const int from = is_split && k == 1 ? static_cast<int>(shown.split * area.width) : 0;
        canvas_.draw(*pane.shown->bitmap, *pane.placement, pane.area, from);
        if (pane.is_cut && shown.overlay) {
            const int at[3] = {shown.slice, shown.row, shown.col};
            const host::ImagePtr cut = Document::cut_of(*shown.overlay, pane.cut, at[k]);
            const auto levels = make_bitmap(*cut, {0.0, shown.overlay_top}, colour_tables()[0]);
            if (levels)
                canvas_.shine(*levels, *pane.placement, pane.area, overlay_colour);
        }
    }
    screen_.upload(canvas_.pixels(), canvas_.width(), canvas_.height());
}

int Viewer::pane_at(double x, double y) const {
    for (std::size_t k = panes_.size(); k-- > 0;) {
        if (!panes_[k].area.contains(x, y))
            continue;
        const bool is_split = tab() && tab()->layout == Layout::split && panes_.size() == 2;
        if (is_split)
            return x < tab()->split * canvas_area_.width ? 0 : 1;
        return static_cast<int>(k);
    }
    return -1;
}

Viewer::Shown* Viewer::active() {
    if (!tab())
        return nullptr;
    if (tab()->document.volume())
        return &tab()->cuts[0];
    return tab()->layout != Layout::input && tab()->result.image ? &tab()->result : &tab()->input;
}

void Viewer::set_window(const Window& window) {
    Tab* const shown = tab();
    if (!shown || !(window.high > window.low))
        return;
    const auto set = [&](Shown& each) {
        each.window = window;
        each.bitmap = nullptr;
    };
    if (shown->document.volume()) {
        for (Shown& cut : shown->cuts)
            set(cut);
        set(shown->projection);
    } else {
        set(*active());
    }
    is_stale_ = true;
}

void Viewer::zoom_at_middle(double factor) {
    for (const Pane& pane : panes_) {
        pane.placement->zoom_by(factor, Placement::middle(pane.area.width),
                                Placement::middle(pane.area.height), pane.area.width,
                                pane.area.height);
        if (!tab()->document.volume())
            break; // the other one shares the placement
    }
    if (tab())
        tab()->is_fitted = false;
    is_stale_ = true;
}

// By parts of the picture area.
void Viewer::pan(double right, double down) {
    Tab* const shown = tab();
    if (!shown || shown->document.volume())
        return;
    shown->is_fitted = false;
    shown->placement.col += right * canvas_area_.width / shown->placement.zoom;
    shown->placement.row +=
        down * canvas_area_.height / shown->placement.zoom / shown->placement.stretch;
    is_stale_ = true;
}

// The sample below a point of the picture area.
void Viewer::point_at(double x, double y) {
    const bool is_inside =
        x >= 0 && y >= 0 && x < canvas_area_.width && y < canvas_area_.height && !is_covered_;
    cursor_pane_ = is_inside ? pane_at(x, y) : -1;
    if (cursor_pane_ < 0)
        return;
    const Pane& pane = panes_[static_cast<std::size_t>(cursor_pane_)];
    cursor_row_ = pane.placement->row_at(y - pane.area.y, pane.area.height);
    cursor_col_ = pane.placement->col_at(x - pane.area.x, pane.area.width);
}

void Viewer::hear_mouse(const SDL_Event& event) {
    if (!tab() || panes_.empty())
        return;
    const double before_x = mouse_x_;
    const double before_y = mouse_y_;
    if (event.type == SDL_MOUSEMOTION) {
        mouse_x_ = event.motion.x - canvas_area_.x;
        mouse_y_ = event.motion.y - canvas_area_.y;
    } else if (event.type == SDL_MOUSEBUTTONDOWN || event.type == SDL_MOUSEBUTTONUP) {
        mouse_x_ = event.button.x - canvas_area_.x;
        mouse_y_ = event.button.y - canvas_area_.y;
    }
    point_at(mouse_x_, mouse_y_);
    switch (event.type) {
    case SDL_MOUSEWHEEL:
        if (cursor_pane_ >= 0 && event.wheel.y != 0)
            turn_wheel(panes_[static_cast<std::size_t>(cursor_pane_)], event.wheel.y);
        break;
    case SDL_MOUSEBUTTONDOWN:
        if (cursor_pane_ >= 0 && drag_ == Drag::none)
            begin_drag(event.button.button);
        break;
    case SDL_MOUSEBUTTONUP:
        drag_ = Drag::none;
        break;
    default:
        go_on_dragging(mouse_x_ - before_x, mouse_y_ - before_y);
    }
}

void Viewer::turn_wheel(const Pane& pane, int steps) {
    Tab& shown = *tab();
    is_stale_ = true;
    if (pane.is_cut && (SDL_GetModState() & KMOD_CTRL) == 0) {
        set_cross(shown, shown.slice + (pane.cut == Document::Cut::slice ? steps : 0),
                  shown.row + (pane.cut == Document::Cut::row ? steps : 0),
                  shown.col + (pane.cut == Document::Cut::column ? steps : 0));
        return;
    }
    pane.placement->zoom_by(std::pow(1.25, steps), mouse_x_ - pane.area.x, mouse_y_ - pane.area.y,
                            pane.area.width, pane.area.height);
    shown.is_fitted = false;
}

void Viewer::begin_drag(int button) {
    const Tab& shown = *tab();
    dragged_pane_ = static_cast<std::size_t>(cursor_pane_);
    const bool is_split = shown.layout == Layout::split && panes_.size() == 2;
    const bool is_on_slider =
        is_split && std::abs(mouse_x_ - shown.split * canvas_area_.width) < split_reach;
    if (button == SDL_BUTTON_RIGHT) {
        drag_ = Drag::window;
    } else if (button == SDL_BUTTON_LEFT && is_on_slider) {
        drag_ = Drag::split;
    } else if (button == SDL_BUTTON_LEFT && shows_profile_ && (SDL_GetModState() & KMOD_SHIFT)) {
        drag_ = Drag::profile;
        profile_ = {cursor_row_, cursor_col_, cursor_row_, cursor_col_};
    } else if (button == SDL_BUTTON_LEFT && panes_[dragged_pane_].is_cut) {
        drag_ = Drag::cross;
        go_on_dragging(0.0, 0.0);
    } else {
        drag_ = Drag::picture;
    }
}

void Viewer::go_on_dragging(double right, double down) {
    if (drag_ == Drag::none || dragged_pane_ >= panes_.size())
        return;
    Tab& shown = *tab();
    const Pane& pane = panes_[dragged_pane_];
    const double row = pane.placement->row_at(mouse_y_ - pane.area.y, pane.area.height);
    const double col = pane.placement->col_at(mouse_x_ - pane.area.x, pane.area.width);
    is_stale_ = true;
    switch (drag_) {
    case Drag::none:
        break;
    case Drag::picture:
        pane.placement->col -= right / pane.placement->zoom;
        pane.placement->row -= down / (pane.placement->zoom * pane.placement->stretch);
        shown.is_fitted = false;
        break;
    case Drag::split:
        shown.split = std::clamp(mouse_x_ / canvas_area_.width, 0.0, 1.0);
        break;
    case Drag::profile:
        profile_[2] = row;
        profile_[3] = col;
        break;
    case Drag::cross: {
        const int a = static_cast<int>(std::floor(row));
        const int b = static_cast<int>(std::floor(col));
        if (pane.cut == Document::Cut::slice)
            set_cross(shown, shown.slice, a, b);
        else if (pane.cut == Document::Cut::row)
            set_cross(shown, a, shown.row, b);
        else
            set_cross(shown, a, b, shown.col);
        break;
    }
    case Drag::window: {
        const double width = pane.shown->window.high - pane.shown->window.low;
        const double centre =
            (pane.shown->window.high + pane.shown->window.low) / 2.0 + down * width / 300.0;
        const double half = width * std::exp(right / 200.0) / 2.0;
        if (shown.document.volume()) {
            set_window({centre - half, centre + half});
        } else {
            pane.shown->window = {centre - half, centre + half};
            pane.shown->bitmap = nullptr;
        }
        break;
    }
    }
}

std::string Viewer::sample_text(const CImage& image, int row, int col) const {
    if (row < 0 || col < 0 || row >= image.nrows || col >= image.ncols)
        return {};
    const int channels = image.image_type == ImageType::gray ? 1 : 3;
    std::string text = level_text(image.pixels[row][channels * col]);
    for (int k = 1; k < channels; ++k)
        text.append(" ").append(level_text(image.pixels[row][channels * col + k]));
    return text;
}

// Lines between samples, and their values where there is room.
void Viewer::draw_grid(const Pane& pane, float x, float y) {
    const Placement& placement = *pane.placement;
    if (!settings_.shows_grid || placement.zoom < grid_from)
        return;
    const CImage& image = *pane.shown->image;
    ImDrawList& list = *ImGui::GetWindowDrawList();
    const Placement::Box box =
        placement.box(image.nrows, image.ncols, pane.area.width, pane.area.height);
    const ImVec2 corner{x + static_cast<float>(pane.area.x), y + static_cast<float>(pane.area.y)};
    list.PushClipRect(corner,
                      {corner.x + static_cast<float>(pane.area.width),
                       corner.y + static_cast<float>(pane.area.height)},
                      true);
    const auto place = [&](int row, int col) {
        return ImVec2{corner.x + static_cast<float>(box.x + static_cast<double>(col) * box.width /
                                                                image.ncols),
                      corner.y + static_cast<float>(box.y + static_cast<double>(row) * box.height /
                                                                image.nrows)};
    };
    const int first_row = std::max(0, static_cast<int>(placement.row_at(0, pane.area.height)));
    const int first_col = std::max(0, static_cast<int>(placement.col_at(0, pane.area.width)));
    const int last_row = std::min(
        image.nrows, static_cast<int>(placement.row_at(pane.area.height, pane.area.height)) + 1);
    const int last_col = std::min(
        image.ncols, static_cast<int>(placement.col_at(pane.area.width, pane.area.width)) + 1);
    constexpr ImU32 faint = IM_COL32(128, 128, 128, 110);
    for (int row = first_row; row <= last_row; ++row)
        list.AddLine(place(row, first_col), place(row, last_col), faint);
    for (int col = first_col; col <= last_col; ++col)
        list.AddLine(place(first_row, col), place(last_row, col), faint);
    for (int row = first_row; row < last_row; ++row) {
        for (int col = first_col; col < last_col; ++col) {
            const std::string text = sample_text(image, row, col);
            const ImVec2 size = ImGui::CalcTextSize(text.c_str());
            const ImVec2 from = place(row, col);
            const ImVec2 to = place(row + 1, col + 1);
            if (size.x + 2.0f > to.x - from.x)
                continue;
            const ImVec2 at{(from.x + to.x - size.x) / 2.0f, (from.y + to.y - size.y) / 2.0f};
            list.AddText({at.x + 1.0f, at.y + 1.0f}, IM_COL32(0, 0, 0, 255), text.c_str());
            list.AddText(at, line_colour, text.c_str());
        }
    }
    list.PopClipRect();
}

void Viewer::draw_profile_line(const Pane& pane, float x, float y) {
    const Placement& placement = *pane.placement;
    const auto at = [&](double row, double col) {
        return ImVec2{
            x + static_cast<float>(pane.area.x + Placement::middle(pane.area.width) +
                                   (col - placement.col) * placement.zoom),
            y + static_cast<float>(pane.area.y + Placement::middle(pane.area.height) +
                                   (row - placement.row) * placement.zoom * placement.stretch)};
    };
    ImDrawList& list = *ImGui::GetWindowDrawList();
    list.AddLine(at(profile_[0], profile_[1]), at(profile_[2], profile_[3]), line_colour, 1.5f);
}

void Viewer::draw_overlays(float x, float y) {
    Tab& shown = *tab();
    ImDrawList& list = *ImGui::GetWindowDrawList();
    for (const Pane& pane : panes_) {
        draw_grid(pane, x, y);
        if (shows_profile_ && !shown.document.volume())
            draw_profile_line(pane, x, y);
        if (!pane.is_cut)
            continue;
        // The cross: where the other two cuts go through this one.
        const int row = pane.cut == Document::Cut::slice ? shown.row : shown.slice;
        const int col = pane.cut == Document::Cut::column ? shown.row : shown.col;
        const Placement& placement = *pane.placement;
        const float px = x + static_cast<float>(pane.area.x + Placement::middle(pane.area.width) +
                                                (col + 0.5 - placement.col) * placement.zoom);
        const float py = y + static_cast<float>(pane.area.y + Placement::middle(pane.area.height) +
                                                (row + 0.5 - placement.row) * placement.zoom *
                                                    placement.stretch);
        const ImVec2 from{x + static_cast<float>(pane.area.x), y + static_cast<float>(pane.area.y)};
        const ImVec2 to{from.x + static_cast<float>(pane.area.width),
                        from.y + static_cast<float>(pane.area.height)};
        list.PushClipRect(from, to, true);
        constexpr ImU32 cross = IM_COL32(0, 200, 255, 140);
        list.AddLine({px, from.y}, {px, to.y}, cross);
        list.AddLine({from.x, py}, {to.x, py}, cross);
        list.PopClipRect();
    }
    if (shown.layout == Layout::split && panes_.size() == 2) {
        const float at = x + static_cast<float>(shown.split * canvas_area_.width);
        list.AddLine({at, y}, {at, y + static_cast<float>(canvas_area_.height)}, line_colour, 2.0f);
    }
}

} // namespace vorlane::viewer
