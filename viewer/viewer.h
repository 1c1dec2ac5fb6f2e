// The viewer: its documents, what is shown of them, and what a person does to them.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <SDL.h>

#include "document.h"
#include "operators.h"
#include "painting.h"
#include "screen.h"
#include "settings.h"
#include "worker.h"

namespace vorlane::viewer {

// What became of a chain of operations.
struct ChainResult {
    std::shared_ptr<const CImage> image; // null: `error` says why
    std::vector<std::pair<std::string, std::shared_ptr<const CImage>>> stages = {};
    std::string text = {};
    std::string error = {};
    double milliseconds = 0.0;
};

struct VolumeResult {
    std::shared_ptr<const CVolume> volume;
    std::string error = {};
    double milliseconds = 0.0;
};

// Counts of gray levels, and the Gaussians that were fitted to them.
struct HistogramResult {
    std::vector<float> counts = {};
    std::vector<float> params = {}; // as CHistogram::params
    float misfit = 0.0f;
    std::string error = {};
};

class Viewer {
public:
    Viewer(Screen& screen, Settings settings);
    ~Viewer();

    // What can't be opened is told in the message area.
    void open(const std::string& path);
    // Operations for what is open, as `vorlane run` takes them. Throws host::UsageError.
    void set_operations(const std::string& chain);
    void hear(const SDL_Event& event);

    // Draws once; false when the viewer is to close.
    bool frame();

    // How long to wait for an event before the next frame: -1 for ever.
    int patience() const;

private:
    // An image, and its bitmap in the levels of a window.
    struct Shown {
        std::shared_ptr<const CImage> image;
        Window window = {};
        std::unique_ptr<CDib> bitmap = nullptr;
    };
    enum class Layout { input, result, side_by_side, split };
    // What lies where on the canvas, made anew at each frame.
    struct Pane {
        Canvas::Area area;
        Placement* placement;
        Shown* shown;
        Document::Cut cut = Document::Cut::slice;
        bool is_cut = false; // of a volume
    };
    // Everything about one file.
    struct Tab {
        explicit Tab(const std::string& path) : document(path) {}
        Document document;
        Shown input, result;
        Placement placement = {};
        bool is_fitted = true; // as long as nobody has moved the picture
        Layout layout = Layout::input;
        double split = 0.5;
        ChainResult outcome = {};
        int stage = 0; // 0: the result itself
        // Volumes: the cross, and cuts through it.
        int slice = 0, row = 0, col = 0;
        std::array<Shown, 3> cuts = {};
        std::array<Placement, 4> cut_placements = {};
        Shown projection;
        std::shared_ptr<const CVolume> overlay = nullptr;
        double overlay_top = 1.0;
    };
    struct Action {
        const char* menu;
        const char* name;
        SDL_Keycode key;
        int modifiers; // KMOD_CTRL, KMOD_SHIFT or both
        void (Viewer::*run)();
        bool (Viewer::*is_on)() const = nullptr;
    };
    static std::span<const Action> actions();
    static std::string key_text(const Action& action);

    Tab* tab() { return tabs_.empty() ? nullptr : tabs_[current_].get(); }
    const Tab* tab() const { return tabs_.empty() ? nullptr : tabs_[current_].get(); }
    void say(const std::string& message);
    void attempt(const std::function<void()>& work); // says what is thrown

    // Files and frames.
    void show_frame(std::int64_t frame);
    void set_input(Tab& tab, bool keeps_window);
    void set_cross(Tab& tab, int slice, int row, int col);
    void step_movie();
    void activate();
    void close_tab();
    void reload();
    void next_tab();
    void previous_tab();
    void ask_for_file() { asks_for_file_ = true; }

    // Work in the background.
    void run_chain();
    void run_volume();
    void run_histogram();
    void take_results();
    void show_stage(Tab& tab);

    // The picture (viewer_canvas.cpp).
    void lay_out(const Canvas::Area& area);
    void compose();
    void hear_mouse(const SDL_Event& event);
    void point_at(double x, double y);
    void turn_wheel(const Pane& pane, int steps);
    void begin_drag(int button);
    void go_on_dragging(double right, double down);
    void draw_overlays(float x, float y);
    void draw_grid(const Pane& pane, float x, float y);
    void draw_profile_line(const Pane& pane, float x, float y);
    std::string sample_text(const CImage& image, int row, int col) const;
    void refresh(Shown& shown);
    void set_window(const Window& window);
    Shown* active();
    int pane_at(double x, double y) const; // -1: none
    void zoom_at_middle(double factor);
    void pan(double right, double down);

    // Panels (viewer_panels.cpp).
    void draw_menu();
    void draw_panel();
    void draw_display();
    void draw_operators();
    void draw_volume_tools();
    void draw_histogram();
    void draw_profile();
    void draw_movie_bar();
    void draw_messages();
    void draw_help();
    void draw_file_question();

    // What keys do (viewer_keys.cpp).
    void fit();
    void zoom_in() { zoom_at_middle(1.25); }
    void zoom_out() { zoom_at_middle(0.8); }
    void zoom_to_pixels();
    void pan_left() { pan(-0.1, 0.0); }
    void pan_right() { pan(0.1, 0.0); }
    void pan_up() { pan(0.0, -0.1); }
    void pan_down() { pan(0.0, 0.1); }
    void window_automatic();
    void window_range();
    void window_bytes();
    void window_of_file();
    void window_by(double brighter, double wider);
    void level_up() { window_by(-0.05, 0.0); }
    void level_down() { window_by(0.05, 0.0); }
    void window_wider() { window_by(0.0, 0.1); }
    void window_narrower() { window_by(0.0, -0.1); }
    void next_colours();
    void toggle_grid();
    void toggle_profile();
    void next_layout();
    void split_left();
    void split_right();
    void toggle_play();
    void next_frame() { step_by(1); }
    void previous_frame() { step_by(-1); }
    void first_frame() { step_by(-(std::int64_t{1} << 40)); }
    void last_frame() { step_by(std::int64_t{1} << 40); }
    void step_by(std::int64_t frames);
    void cross_left() { move_cross(0, -1); }
    void cross_right() { move_cross(0, 1); }
    void cross_up() { move_cross(-1, 0); }
    void cross_down() { move_cross(1, 0); }
    void move_cross(int rows, int cols);
    void faster() { speed_ *= 1.25; }
    void slower() { speed_ *= 0.8; }
    void add_smoothing() { add_operation("", "smooth"); }
    void add_edges() { add_operation("", "edges"); }
    void add_ridges() { add_operation("", "ridges"); }
    void add_median() { add_operation("filter", "median"); }
    void add_threshold() { add_operation("filter", "threshold"); }
    void add_operation(const char* group, const char* name);
    void remove_operations();
    void save_seen();
    void save_result();
    void copy_as_command();
    void toggle_help() { shows_help_ = !shows_help_; }
    void toggle_panel() { shows_panel_ = !shows_panel_; }
    void switch_focus() { wants_focus_ = panel_has_focus_ ? 2 : 1; }
    void full_screen() { screen_.toggle_full_screen(); }
    void quit() { closes_ = true; }
    bool grid_is_on() const { return settings_.shows_grid; }
    bool profile_is_on() const { return shows_profile_; }
    bool plays() const { return plays_; }
    bool panel_is_on() const { return shows_panel_; }

    Screen& screen_;
    Settings settings_;
    std::vector<std::unique_ptr<Tab>> tabs_;
    std::size_t current_ = 0;
    std::vector<std::string> messages_;
    bool message_is_new_ = false;

    Canvas canvas_;
    Canvas::Area canvas_area_ = {}; // in the window
    std::vector<Pane> panes_;
    bool is_stale_ = true;
    int frames_left_ = 3;                          // Dear ImGui settles after an event
    double cursor_row_ = -1.0, cursor_col_ = -1.0; // of the sample that is told
    int cursor_pane_ = -1;
    std::size_t dragged_pane_ = 0;
    enum class Drag { none, picture, window, split, profile, cross };
    Drag drag_ = Drag::none;
    double mouse_x_ = 0.0, mouse_y_ = 0.0;                 // in the picture area
    bool is_covered_ = false;                              // by a menu or a question
    std::array<double, 4> profile_ = {0.0, 0.0, 0.0, 0.0}; // row, column of both ends

    OperatorsPanel operators_;
    int volume_tool_ = 0;
    std::array<float, 3> volume_sigmas_ = {1.5f, 1.0f, 3.0f}; // one, from, to
    int volume_structure_ = 0;
    bool volume_dark_ = false;
    int components_ = 2;
    bool shows_histogram_ = false;
    HistogramResult histogram_;
    bool shows_profile_ = false;
    bool shows_help_ = false;
    bool shows_panel_ = true;
    bool asks_for_file_ = false;
    std::string asked_file_;
    bool panel_has_focus_ = false;
    int wants_focus_ = 0; // 1: the panel, 2: the picture
    bool closes_ = false;

    bool plays_ = false;
    double speed_ = 1.0;
    double next_time_ = 0.0; // of the next frame, in seconds
    double rate_ = 0.0;      // that is achieved
    double last_time_ = 0.0;

    Worker<ChainResult> chain_worker_;
    Worker<VolumeResult> volume_worker_;
    Worker<HistogramResult> histogram_worker_;
};

} // namespace vorlane::viewer
