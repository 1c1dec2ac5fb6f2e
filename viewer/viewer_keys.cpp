// What can be done, with its key: menus and the help page are made from one table.

#include <algorithm>
#include <cmath>

#include <imgui.h>

#include "viewer.h"

namespace vorlane::viewer {

std::span<const Viewer::Action> Viewer::actions() {
    constexpr int plain = 0;
    constexpr int ctrl = KMOD_CTRL;
    constexpr int shift = KMOD_SHIFT;
    static constexpr Action all[] = {
        {"File", "Open ...", SDLK_o, ctrl, &Viewer::ask_for_file},
        {"File", "Read again", SDLK_F5, plain, &Viewer::reload},
        {"File", "Next file", SDLK_n, plain, &Viewer::next_tab},
        {"File", "Previous file", SDLK_n, shift, &Viewer::previous_tab},
        {"File", "Close file", SDLK_w, ctrl, &Viewer::close_tab},
        {"File", "Save what is seen (PNG)", SDLK_s, ctrl, &Viewer::save_seen},
        {"File", "Save the result at full depth (TIFF)", SDLK_s, ctrl | shift,
         &Viewer::save_result},
        {"File", "Copy as command", SDLK_c, ctrl, &Viewer::copy_as_command},
        {"File", "Quit", SDLK_q, ctrl, &Viewer::quit},
        {"View", "Fit the window", SDLK_f, plain, &Viewer::fit},
        {"View", "One screen pixel a sample", SDLK_1, plain, &Viewer::zoom_to_pixels},
        {"View", "Zoom in", SDLK_PLUS, plain, &Viewer::zoom_in},
        {"View", "Zoom out", SDLK_MINUS, plain, &Viewer::zoom_out},
        {"View", "Move left", SDLK_LEFT, plain, &Viewer::pan_left},
        {"View", "Move right", SDLK_RIGHT, plain, &Viewer::pan_right},
        {"View", "Move up", SDLK_UP, plain, &Viewer::pan_up},
        {"View", "Move down", SDLK_DOWN, plain, &Viewer::pan_down},
        {"View", "Pixel grid and values (from 32-fold on)", SDLK_g, plain, &Viewer::toggle_grid,
         &Viewer::grid_is_on},
        {"View", "Line profile (draw it with Shift)", SDLK_p, plain, &Viewer::toggle_profile,
         &Viewer::profile_is_on},
        {"View", "Input, result, side by side, split", SDLK_x, plain, &Viewer::next_layout},
        {"View", "Slider of the split to the left", SDLK_COMMA, plain, &Viewer::split_left},
        {"View", "Slider of the split to the right", SDLK_PERIOD, plain, &Viewer::split_right},
        {"View", "Sample or cross left", SDLK_LEFT, ctrl, &Viewer::cross_left},
        {"View", "Sample or cross right", SDLK_RIGHT, ctrl, &Viewer::cross_right},
        {"View", "Sample or cross up", SDLK_UP, ctrl, &Viewer::cross_up},
        {"View", "Sample or cross down", SDLK_DOWN, ctrl, &Viewer::cross_down},
        {"View", "Panel", SDLK_F9, plain, &Viewer::toggle_panel, &Viewer::panel_is_on},
        {"View", "Keyboard to the panel and back", SDLK_F6, plain, &Viewer::switch_focus},
        {"View", "Full screen", SDLK_F11, plain, &Viewer::full_screen},
        {"Levels", "Automatic window", SDLK_a, plain, &Viewer::window_automatic},
        {"Levels", "All levels", SDLK_r, plain, &Viewer::window_range},
        {"Levels", "0 to 255", SDLK_b, plain, &Viewer::window_bytes},
        {"Levels", "Window of the file", SDLK_d, plain, &Viewer::window_of_file},
        {"Levels", "Brighter", SDLK_UP, shift, &Viewer::level_up},
        {"Levels", "Darker", SDLK_DOWN, shift, &Viewer::level_down},
        {"Levels", "Wider", SDLK_RIGHT, shift, &Viewer::window_wider},
        {"Levels", "Narrower", SDLK_LEFT, shift, &Viewer::window_narrower},
        {"Levels", "Next colours", SDLK_c, plain, &Viewer::next_colours},
        {"Operations", "Smooth", SDLK_s, plain, &Viewer::add_smoothing},
        {"Operations", "Edges", SDLK_e, plain, &Viewer::add_edges},
        {"Operations", "Ridges", SDLK_i, plain, &Viewer::add_ridges},
        {"Operations", "Median", SDLK_m, plain, &Viewer::add_median},
        {"Operations", "Threshold", SDLK_t, plain, &Viewer::add_threshold},
        {"Operations", "None", SDLK_BACKSPACE, plain, &Viewer::remove_operations},
        {"Movie", "Play or pause", SDLK_SPACE, plain, &Viewer::toggle_play, &Viewer::plays},
        {"Movie", "Next frame or slice", SDLK_PAGEDOWN, plain, &Viewer::next_frame},
        {"Movie", "Previous frame or slice", SDLK_PAGEUP, plain, &Viewer::previous_frame},
        {"Movie", "First frame or slice", SDLK_HOME, plain, &Viewer::first_frame},
        {"Movie", "Last frame or slice", SDLK_END, plain, &Viewer::last_frame},
        {"Movie", "Faster", SDLK_RIGHTBRACKET, plain, &Viewer::faster},
        {"Movie", "Slower", SDLK_LEFTBRACKET, plain, &Viewer::slower},
        {"Help", "All keys", SDLK_F1, plain, &Viewer::toggle_help},
    };
    return all;
}

std::string Viewer::key_text(const Action& action) {
    std::string text;
    if (action.modifiers & KMOD_CTRL)
        text += "Ctrl+";
    if (action.modifiers & KMOD_SHIFT)
        text += "Shift+";
    return text + SDL_GetKeyName(action.key);
}

void Viewer::hear(const SDL_Event& event) {
    frames_left_ = 3;
    switch (event.type) {
    case SDL_QUIT:
        closes_ = true;
        return;
    case SDL_DROPFILE:
        open(event.drop.file);
        SDL_free(event.drop.file);
        return;
    case SDL_KEYDOWN:
        break;
    case SDL_MOUSEMOTION:
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
    case SDL_MOUSEWHEEL:
        hear_mouse(event);
        return;
    default:
        return;
    }
    SDL_Keycode key = event.key.keysym.sym;
    if (key == SDLK_KP_PLUS || key == SDLK_EQUALS)
        key = SDLK_PLUS;
    if (key == SDLK_KP_MINUS)
        key = SDLK_MINUS;
    const int held = ((event.key.keysym.mod & KMOD_CTRL) ? KMOD_CTRL : 0) |
                     ((event.key.keysym.mod & KMOD_SHIFT) && key != SDLK_PLUS ? KMOD_SHIFT : 0);
    if (key == SDLK_ESCAPE) {
        shows_help_ = asks_for_file_ = false;
        return;
    }
    // Texts take letters, and a panel takes what moves about in it.
    const bool is_function_key = key >= SDLK_F1 && key <= SDLK_F12;
    const bool is_command = (held & KMOD_CTRL) != 0 || is_function_key;
    constexpr SDL_Keycode moves[] = {SDLK_LEFT, SDLK_RIGHT, SDLK_UP, SDLK_DOWN, SDLK_SPACE};
    const bool moves_about = std::find(std::begin(moves), std::end(moves), key) != std::end(moves);
    if (((ImGui::GetIO().WantTextInput || asks_for_file_) && !is_function_key) ||
        (panel_has_focus_ && moves_about && !is_command))
        return;
    for (const Action& action : actions()) {
        if (action.key == key && action.modifiers == held) {
            (this->*action.run)();
            return;
        }
    }
}

void Viewer::fit() {
    if (tab())
        tab()->is_fitted = true;
    is_stale_ = true;
}

void Viewer::zoom_to_pixels() {
    if (tab() && !panes_.empty())
        zoom_at_middle(1.0 / panes_[0].placement->zoom);
}

void Viewer::window_automatic() {
    if (const Shown* const shown = active(); shown && shown->image)
        set_window(automatic_window(*shown->image));
}

void Viewer::window_range() {
    if (const Shown* const shown = active(); shown && shown->image)
        set_window(range_of(*shown->image));
}

void Viewer::window_bytes() {
    set_window({0.0, 255.0});
}

void Viewer::window_of_file() {
    if (!tab())
        return;
    const Document& document = tab()->document;
    if (!document.has_window()) {
        say(document.name() + ": states no window");
        return;
    }
    set_window({document.window_centre() - document.window_width() / 2.0,
                document.window_centre() + document.window_width() / 2.0});
}

// By parts of its width: moved, and changed about its middle.
void Viewer::window_by(double moved, double wider) {
    const Shown* const shown = active();
    if (!shown)
        return;
    const double width = shown->window.high - shown->window.low;
    const double centre = (shown->window.high + shown->window.low) / 2.0 + moved * width;
    const double half = width * (1.0 + wider) / 2.0;
    set_window({centre - half, centre + half});
}

void Viewer::next_colours() {
    settings_.colours = (settings_.colours + 1) % static_cast<int>(colour_tables().size());
    for (const auto& each : tabs_) {
        for (Shown* const shown : {&each->input, &each->result, &each->projection, &each->cuts[0],
                                   &each->cuts[1], &each->cuts[2]})
            shown->bitmap = nullptr;
    }
    is_stale_ = true;
}

void Viewer::toggle_grid() {
    settings_.shows_grid = !settings_.shows_grid;
}

// At first through the middle of what is seen.
void Viewer::toggle_profile() {
    shows_profile_ = !shows_profile_;
    if (const Tab* const shown = tab(); shown && shows_profile_ && !shown->document.volume())
        profile_ = {shown->placement.row, 0.0, shown->placement.row,
                    static_cast<double>(shown->input.image->ncols)};
}

void Viewer::next_layout() {
    Tab* const shown = tab();
    if (!shown || !shown->result.image)
        return;
    shown->layout = static_cast<Layout>((static_cast<int>(shown->layout) + 1) % 4);
    is_stale_ = true;
}

void Viewer::split_left() {
    if (tab())
        tab()->split = std::max(0.0, tab()->split - 0.05);
    is_stale_ = true;
}

void Viewer::split_right() {
    if (tab())
        tab()->split = std::min(1.0, tab()->split + 0.05);
    is_stale_ = true;
}

void Viewer::toggle_play() {
    if (!tab() || !tab()->document.is_movie())
        return;
    plays_ = !plays_;
    next_time_ = last_time_ = 0.0;
}

void Viewer::step_by(std::int64_t frames) {
    Tab* const shown = tab();
    if (!shown)
        return;
    if (shown->document.volume()) {
        const auto last = static_cast<std::int64_t>(shown->document.volume()->nslices) - 1;
        set_cross(*shown,
                  static_cast<int>(std::clamp<std::int64_t>(shown->slice + frames, 0, last)),
                  shown->row, shown->col);
    } else if (shown->document.is_movie()) {
        plays_ = false;
        show_frame(std::clamp<std::int64_t>(shown->document.frame() + frames, 0,
                                            shown->document.frame_count() - 1));
    }
}

void Viewer::move_cross(int rows, int cols) {
    Tab* const shown = tab();
    if (!shown)
        return;
    if (shown->document.volume()) {
        set_cross(*shown, shown->slice, shown->row + rows, shown->col + cols);
        return;
    }
    const CImage& image = *shown->input.image;
    if (cursor_pane_ < 0) { // begins in the middle of what is seen
        cursor_pane_ = 0;
        cursor_row_ = shown->placement.row;
        cursor_col_ = shown->placement.col;
    }
    cursor_row_ = std::clamp(std::floor(cursor_row_) + rows, 0.0, image.nrows - 1.0) + 0.5;
    cursor_col_ = std::clamp(std::floor(cursor_col_) + cols, 0.0, image.ncols - 1.0) + 0.5;
}

void Viewer::add_operation(const char* group, const char* name) {
    if (const host::Operation* const operation = host::find_operation(group, name))
        operators_.add(*operation);
    run_chain();
}

void Viewer::remove_operations() {
    operators_.clear();
    run_chain();
}

namespace {

// A name that is free: "picture-seen.png", "picture-seen-2.png".
std::string free_name(const std::string& path, const std::string& what, const std::string& ending) {
    const std::filesystem::path stem =
        std::filesystem::path(host::split_page(path).first).replace_extension();
    for (int k = 1;; ++k) {
        std::string name = stem.string() + "-" + what;
        if (k > 1)
            name.append("-").append(std::to_string(k));
        name += ending;
        std::error_code error;
        if (!std::filesystem::exists(name, error))
            return name;
    }
}

} // namespace

void Viewer::save_seen() {
    if (!tab())
        return;
    attempt([&] {
        CImage seen(canvas_.height(), canvas_.width(), ImageType::colour, FileFormat::none,
                    PixelFormat::byte);
        if (!seen.pixels)
            throw host::Error("there is not enough memory");
        const unsigned char* from = canvas_.pixels();
        for (int i = 0; i < seen.nrows; ++i)
            for (int k = 0; k < 3 * seen.ncols; ++k)
                seen.pixels[i][k] = *from++;
        const std::string path = free_name(tab()->document.path(), "seen", ".png");
        host::save_picture(seen, path);
        say("Saved " + path);
    });
}

void Viewer::save_result() {
    const Shown* const shown = active();
    if (!shown || !shown->image)
        return;
    attempt([&] {
        const std::string path = free_name(tab()->document.path(), "result", ".tif");
        host::SaveOptions options;
        options.depth = host::Depth::float32;
        host::save_picture(*shown->image, path, options);
        say("Saved " + path);
    });
}

void Viewer::copy_as_command() {
    if (!tab())
        return;
    if (operators_.is_empty()) {
        say("There is no operation to copy.");
        return;
    }
    attempt([&] {
        const std::string in = host::quoted(tab()->document.path());
        const std::string out = host::quoted(
            std::filesystem::path(tab()->document.path()).stem().string() + "-result.tif");
        const std::string command =
            (tab()->document.is_movie() ? "vorlane movie run " : "vorlane run ") +
            host::quoted(operators_.as_typed()) + " " + in + " " + out;
        SDL_SetClipboardText(command.c_str());
        say("Copied: " + command);
    });
}

} // namespace vorlane::viewer
