// Menus, the panel at the side, and what lies below and above the picture.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <imgui.h>
#include <imgui_stdlib.h>

#include "viewer.h"

namespace vorlane::viewer {

namespace {

constexpr float panel_width = 330.0f;
constexpr float message_height = 58.0f;
constexpr float movie_height = 34.0f;
constexpr float plot_height = 140.0f;
constexpr ImGuiWindowFlags fixed = ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoResize |
                                   ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoCollapse |
                                   ImGuiWindowFlags_NoSavedSettings;

// Values as columns or a line, from 0 or their least to their largest.
struct Plot {
    ImVec2 corner, size;
    double low, high;

    ImVec2 at(double part, double value) const {
        const double y = high > low ? (value - low) / (high - low) : 0.0;
        return {corner.x + static_cast<float>(part) * size.x,
                corner.y + size.y * static_cast<float>(1.0 - std::clamp(y, 0.0, 1.0))};
    }
};

Plot begin_plot(double low, double high) {
    const Plot plot{
        ImGui::GetCursorScreenPos(), {ImGui::GetContentRegionAvail().x, plot_height}, low, high};
    ImGui::GetWindowDrawList()->AddRectFilled(
        plot.corner, {plot.corner.x + plot.size.x, plot.corner.y + plot.size.y},
        IM_COL32(10, 10, 14, 255));
    ImGui::Dummy(plot.size);
    return plot;
}

void draw_curve(const Plot& plot, const std::vector<double>& values, ImU32 colour) {
    for (std::size_t k = 1; k < values.size(); ++k) {
        const auto last = static_cast<double>(values.size() - 1);
        ImGui::GetWindowDrawList()->AddLine(
            plot.at(static_cast<double>(k - 1) / last, values[k - 1]),
            plot.at(static_cast<double>(k) / last, values[k]), colour, 1.5f);
    }
}

} // namespace

void Viewer::draw_menu() {
    if (!ImGui::BeginMainMenuBar())
        return;
    const char* open_menu = nullptr;
    bool is_open = false;
    for (const Action& action : actions()) {
        if (!open_menu || std::strcmp(open_menu, action.menu) != 0) {
            if (is_open)
                ImGui::EndMenu();
            is_open = ImGui::BeginMenu(action.menu);
            open_menu = action.menu;
        }
        if (is_open && ImGui::MenuItem(action.name, key_text(action).c_str(),
                                       action.is_on && (this->*action.is_on)()))
            (this->*action.run)();
    }
    if (is_open)
        ImGui::EndMenu();
    if (ImGui::BeginMenu("Recent", !settings_.recent.empty())) {
        const std::vector<std::string> recent = settings_.recent;
        for (const std::string& path : recent) {
            if (ImGui::MenuItem(path.c_str()))
                open(path);
        }
        ImGui::EndMenu();
    }
    // What is below the cursor.
    if (const Tab* const current = tab();
        current && cursor_pane_ >= 0 && cursor_pane_ < static_cast<int>(panes_.size())) {
        const Pane& pane = panes_[static_cast<std::size_t>(cursor_pane_)];
        const int row = static_cast<int>(std::floor(cursor_row_));
        const int col = static_cast<int>(std::floor(cursor_col_));
        std::string text;
        if (pane.shown->image)
            text = sample_text(*pane.shown->image, row, col);
        if (!text.empty()) {
            text = "row " + std::to_string(row) + ", column " + std::to_string(col) + ": " + text;
            const Shown& other = pane.shown == &current->input ? current->result : current->input;
            if (!pane.is_cut && !current->document.volume() && other.image) {
                const std::string there = sample_text(*other.image, row, col);
                if (!there.empty())
                    text +=
                        std::string(pane.shown == &current->input ? "   result: " : "   input: ") +
                        there;
            }
            ImGui::SameLine(0.0f, 40.0f);
            ImGui::TextUnformatted(text.c_str());
        }
    }
    ImGui::EndMainMenuBar();
}

void Viewer::draw_panel() {
    const ImGuiIO& io = ImGui::GetIO();
    const float menu = ImGui::GetFrameHeight();
    const float width = shows_panel_ ? std::min(panel_width, io.DisplaySize.x / 2.0f) : 0.0f;
    const bool is_movie = tab() && tab()->document.is_movie();
    const float bottom = message_height + (is_movie ? movie_height : 0.0f);
    canvas_area_ = {0, static_cast<int>(menu),
                    std::max(1, static_cast<int>(io.DisplaySize.x - width)),
                    std::max(1, static_cast<int>(io.DisplaySize.y - menu - bottom))};
    panel_has_focus_ = false;
    if (!shows_panel_)
        return;
    ImGui::SetNextWindowPos({io.DisplaySize.x - width, menu});
    ImGui::SetNextWindowSize({width, io.DisplaySize.y - menu});
    ImGui::Begin("Panel", nullptr, fixed);
    if (wants_focus_ == 1)
        ImGui::SetWindowFocus();
    panel_has_focus_ = ImGui::IsWindowFocused(ImGuiFocusedFlags_ChildWindows);
    if (tabs_.size() > 1) {
        ImGui::SetNextItemWidth(-1.0f);
        if (ImGui::BeginCombo("##files", tab()->document.name().c_str())) {
            for (std::size_t k = 0; k < tabs_.size(); ++k) {
                ImGui::PushID(static_cast<int>(k));
                if (ImGui::Selectable(tabs_[k]->document.name().c_str(), k == current_)) {
                    current_ = k;
                    activate();
                }
                ImGui::PopID();
            }
            ImGui::EndCombo();
        }
    }
    if (ImGui::CollapsingHeader("Levels", ImGuiTreeNodeFlags_DefaultOpen))
        draw_display();
    if (tab() && tab()->document.volume()) {
        if (ImGui::CollapsingHeader("Volume", ImGuiTreeNodeFlags_DefaultOpen))
            draw_volume_tools();
    } else if (ImGui::CollapsingHeader("Operations", ImGuiTreeNodeFlags_DefaultOpen)) {
        draw_operators();
    }
    const bool had_histogram = shows_histogram_;
    shows_histogram_ = ImGui::CollapsingHeader("Histogram");
    if (shows_histogram_) {
        if (!had_histogram)
            run_histogram();
        draw_histogram();
    }
    if (shows_profile_)
        draw_profile();
    if (tab() && ImGui::CollapsingHeader("File")) {
        for (const std::string& fact : tab()->document.facts())
            ImGui::TextWrapped("%s", fact.c_str());
        if (tab()->document.has_changed()) {
            ImGui::TextWrapped("It has changed on the disk.");
            if (ImGui::Button("Read again"))
                reload();
        }
    }
    ImGui::End();
}

void Viewer::draw_display() {
    const Shown* const shown = active();
    if (!shown || !shown->image)
        return;
    auto low = static_cast<float>(shown->window.low);
    auto high = static_cast<float>(shown->window.high);
    const float step = std::max(1e-6f, (high - low) / 200.0f);
    ImGui::SetNextItemWidth(150.0f);
    bool is_changed = ImGui::DragFloat("black", &low, step, 0.0f, 0.0f, "%.5g");
    ImGui::SetNextItemWidth(150.0f);
    is_changed |= ImGui::DragFloat("white", &high, step, 0.0f, 0.0f, "%.5g");
    if (is_changed)
        set_window({low, high});
    if (ImGui::Button("Automatic"))
        window_automatic();
    ImGui::SameLine();
    if (ImGui::Button("All"))
        window_range();
    ImGui::SameLine();
    if (ImGui::Button("0 to 255"))
        window_bytes();
    if (tab()->document.has_window()) {
        ImGui::SameLine();
        if (ImGui::Button("File"))
            window_of_file();
    }
    ImGui::SetNextItemWidth(150.0f);
    const auto tables = colour_tables();
    if (ImGui::BeginCombo("colours", tables[static_cast<std::size_t>(settings_.colours)].name)) {
        for (std::size_t k = 0; k < tables.size(); ++k) {
            if (ImGui::Selectable(tables[k].name, static_cast<int>(k) == settings_.colours)) {
                settings_.colours = static_cast<int>(k) - 1;
                next_colours();
            }
        }
        ImGui::EndCombo();
    }
    if (!panes_.empty())
        ImGui::Text("zoom %.4g", panes_[0].placement->zoom);
}

void Viewer::draw_operators() {
    if (operators_.draw())
        run_chain();
    Tab* const shown = tab();
    if (!shown || operators_.is_empty())
        return;
    const ChainResult& made = shown->outcome;
    if (!made.stages.empty()) {
        const auto name_of = [&](int stage) {
            return stage == 0 ? std::string("the result")
                              : made.stages[static_cast<std::size_t>(stage - 1)].first;
        };
        if (ImGui::BeginCombo("shown", name_of(shown->stage).c_str())) {
            for (int k = 0; k <= static_cast<int>(made.stages.size()); ++k) {
                if (ImGui::Selectable(name_of(k).c_str(), k == shown->stage)) {
                    shown->stage = k;
                    shown->result.image = nullptr; // its own window
                    show_stage(*shown);
                }
            }
            ImGui::EndCombo();
        }
    }
    constexpr const char* layouts[] = {"input", "result", "side by side", "split"};
    int layout = static_cast<int>(shown->layout);
    if (ImGui::Combo("layout", &layout, layouts, 4)) {
        shown->layout = static_cast<Layout>(layout);
        is_stale_ = true;
    }
    if (chain_worker_.is_busy())
        ImGui::TextUnformatted("working ...");
    else
        ImGui::Text("%.1f ms", made.milliseconds);
    if (ImGui::Button("Copy as command"))
        copy_as_command();
    ImGui::SameLine();
    if (ImGui::Button("Save result"))
        save_result();
}

void Viewer::draw_volume_tools() {
    Tab& shown = *tab();
    const CVolume& volume = *shown.document.volume();
    int cross[3] = {shown.slice, shown.row, shown.col};
    bool is_moved = ImGui::SliderInt("slice", &cross[0], 0, volume.nslices - 1);
    is_moved |= ImGui::SliderInt("row", &cross[1], 0, volume.nrows - 1);
    is_moved |= ImGui::SliderInt("column", &cross[2], 0, volume.ncols - 1);
    if (is_moved)
        set_cross(shown, cross[0], cross[1], cross[2]);
    ImGui::Text("level %.6g", volume.slices[shown.slice].pixels[shown.row][shown.col]);
    ImGui::Separator();
    constexpr const char* tools[] = {"no overlay",         "smoothed",
                                     "smallest curvature", "middle curvature",
                                     "largest curvature",  "vessels, sheets, blobs"};
    bool is_changed = ImGui::Combo("overlay", &volume_tool_, tools, 6);
    if (volume_tool_ >= 1 && volume_tool_ <= 4)
        is_changed |= ImGui::SliderFloat("sigma", &volume_sigmas_[0], 0.5f, 10.0f, "%.2f");
    if (volume_tool_ == 5) {
        is_changed |= ImGui::SliderFloat("from", &volume_sigmas_[1], 0.5f, 10.0f, "%.2f");
        is_changed |= ImGui::SliderFloat("to", &volume_sigmas_[2], 0.5f, 10.0f, "%.2f");
        is_changed |= ImGui::Combo("structure", &volume_structure_, "line\0sheet\0blob\0");
        is_changed |= ImGui::Checkbox("dark", &volume_dark_);
    }
    if (is_changed)
        run_volume();
    if (volume_worker_.is_busy())
        ImGui::TextUnformatted("working ...");
}

void Viewer::draw_histogram() {
    if (ImGui::SliderInt("Gaussians", &components_, 0, 8))
        run_histogram();
    if (histogram_.counts.empty()) {
        ImGui::TextUnformatted(histogram_worker_.is_busy() ? "working ..." : "no counts");
        return;
    }
    // Bins of the plot; each shows the largest of its counts.
    const std::size_t count = histogram_.counts.size();
    const std::size_t columns = std::min<std::size_t>(count, 256);
    std::vector<double> tops(columns, 0.0);
    for (std::size_t k = 0; k < count; ++k) {
        double& top = tops[k * columns / count];
        top = std::max(top, static_cast<double>(histogram_.counts[k]));
    }
    const Plot plot = begin_plot(0.0, *std::max_element(tops.begin(), tops.end()));
    const auto part = [&](std::size_t k) {
        return static_cast<double>(k) / static_cast<double>(columns);
    };
    for (std::size_t k = 0; k < columns; ++k) {
        const ImVec2 from = plot.at(part(k), 0.0);
        ImVec2 to = plot.at(part(k + 1), tops[k]);
        ImGui::GetWindowDrawList()->AddRectFilled({from.x, to.y}, {to.x, from.y},
                                                  IM_COL32(120, 140, 170, 255));
    }
    if (histogram_.params.empty())
        return;
    constexpr int points = 257;
    const int gaussians = static_cast<int>(histogram_.params.size() / 3);
    std::vector<double> sum(points, 0.0);
    for (int g = 0; g < gaussians; ++g) {
        const float* const p = &histogram_.params[3 * static_cast<std::size_t>(g)];
        std::vector<double> curve(points);
        for (int k = 0; k < points; ++k) {
            const double bin = static_cast<double>(k) * static_cast<double>(count) / (points - 1);
            const double z = (bin - p[1]) / p[2];
            curve[static_cast<std::size_t>(k)] = double{p[0]} * p[0] * std::exp(-z * z);
            sum[static_cast<std::size_t>(k)] += curve[static_cast<std::size_t>(k)];
        }
        draw_curve(plot, curve, IM_COL32(90, 200, 120, 255));
        ImGui::Text("%d: mean %.4g, deviation %.4g", g + 1, p[1], std::abs(p[2]) / std::sqrt(2.0));
    }
    draw_curve(plot, sum, IM_COL32(255, 120, 60, 255));
    ImGui::Text("misfit %.4g", histogram_.misfit);
}

void Viewer::draw_profile() {
    const Shown* const shown = active();
    if (!shown || !shown->image || tab()->document.volume())
        return;
    const CImage& image = *shown->image;
    const int channels = image.image_type == ImageType::gray ? 1 : 3;
    const double rows = profile_[2] - profile_[0];
    const double cols = profile_[3] - profile_[1];
    const int points = std::clamp(static_cast<int>(std::hypot(rows, cols)), 2, 4096);
    std::vector<std::vector<double>> lines(static_cast<std::size_t>(channels));
    double low = 1e300;
    double high = -1e300;
    for (int k = 0; k < points; ++k) {
        const int row = static_cast<int>(std::floor(profile_[0] + rows * k / (points - 1)));
        const int col = static_cast<int>(std::floor(profile_[1] + cols * k / (points - 1)));
        if (row < 0 || col < 0 || row >= image.nrows || col >= image.ncols)
            continue;
        for (int c = 0; c < channels; ++c) {
            const double level = image.pixels[row][channels * col + c];
            if (!std::isfinite(level))
                continue;
            lines[static_cast<std::size_t>(c)].push_back(level);
            low = std::min(low, level);
            high = std::max(high, level);
        }
    }
    if (low > high)
        return;
    ImGui::Text("profile: %.5g to %.5g", low, high);
    const Plot plot = begin_plot(low, high);
    constexpr ImU32 colours[3] = {IM_COL32(255, 90, 90, 255), IM_COL32(90, 230, 90, 255),
                                  IM_COL32(90, 140, 255, 255)};
    for (int c = 0; c < channels; ++c)
        draw_curve(plot, lines[static_cast<std::size_t>(c)],
                   channels == 1 ? IM_COL32(230, 230, 230, 255) : colours[c]);
}

void Viewer::draw_movie_bar() {
    Tab* const shown = tab();
    if (!shown || !shown->document.is_movie())
        return;
    const ImGuiIO& io = ImGui::GetIO();
    ImGui::SetNextWindowPos({0.0f, io.DisplaySize.y - message_height - movie_height});
    ImGui::SetNextWindowSize({static_cast<float>(canvas_area_.width), movie_height});
    ImGui::Begin("Movie", nullptr, fixed | ImGuiWindowFlags_NoScrollbar);
    if (ImGui::Button(plays_ ? "Pause" : "Play"))
        toggle_play();
    ImGui::SameLine();
    if (ImGui::Button("<"))
        previous_frame();
    ImGui::SameLine();
    if (ImGui::Button(">"))
        next_frame();
    ImGui::SameLine();
    auto frame = static_cast<int>(shown->document.frame());
    ImGui::SetNextItemWidth(std::max(80.0f, ImGui::GetContentRegionAvail().x - 330.0f));
    if (ImGui::SliderInt("##time", &frame, 0,
                         static_cast<int>(shown->document.frame_count()) - 1)) {
        plays_ = false;
        show_frame(frame);
    }
    ImGui::SameLine();
    auto speed = static_cast<float>(speed_);
    ImGui::SetNextItemWidth(100.0f);
    if (ImGui::SliderFloat("speed", &speed, 0.1f, 10.0f, "%.2f", ImGuiSliderFlags_Logarithmic))
        speed_ = speed;
    ImGui::SameLine();
    if (plays_)
        ImGui::Text("%.1f frames/s", rate_);
    else
        ImGui::Text("frame %d of %lld", frame + 1,
                    static_cast<long long>(shown->document.frame_count()));
    ImGui::End();
}

void Viewer::draw_messages() {
    const ImGuiIO& io = ImGui::GetIO();
    ImGui::SetNextWindowPos({0.0f, io.DisplaySize.y - message_height});
    ImGui::SetNextWindowSize({static_cast<float>(canvas_area_.width), message_height});
    ImGui::Begin("Messages", nullptr, fixed | ImGuiWindowFlags_NoNav);
    for (const std::string& message : messages_)
        ImGui::TextWrapped("%s", message.c_str());
    if (message_is_new_)
        ImGui::SetScrollHereY(1.0f);
    message_is_new_ = false;
    ImGui::End();
}

void Viewer::draw_help() {
    if (!shows_help_)
        return;
    const ImGuiIO& io = ImGui::GetIO();
    ImGui::SetNextWindowPos({io.DisplaySize.x * 0.1f, io.DisplaySize.y * 0.06f});
    ImGui::SetNextWindowSize({io.DisplaySize.x * 0.8f, io.DisplaySize.y * 0.88f});
    ImGui::Begin("Keys", &shows_help_,
                 ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoCollapse);
    if (ImGui::BeginTable("keys", 4)) {
        for (const Action& action : actions()) {
            ImGui::TableNextColumn();
            ImGui::TextUnformatted(key_text(action).c_str());
            ImGui::TableNextColumn();
            ImGui::TextUnformatted(action.name);
        }
        ImGui::EndTable();
    }
    ImGui::Separator();
    ImGui::TextWrapped("Mouse: the wheel zooms at the cursor, on a cut of a volume it goes through "
                       "the slices (Ctrl: zoom); "
                       "the left button drags, on a cut it sets the cross; the right button "
                       "changes the window, across "
                       "its width and down its middle. Files dropped on the window open. In the "
                       "panel arrows, Space and "
                       "Enter work on what F6 has given the keyboard to; Ctrl and a click on a "
                       "slider takes a number.");
    ImGui::End();
}

void Viewer::draw_file_question() {
    if (!asks_for_file_)
        return;
    const ImGuiIO& io = ImGui::GetIO();
    ImGui::SetNextWindowPos({io.DisplaySize.x * 0.15f, io.DisplaySize.y * 0.3f},
                            ImGuiCond_Appearing);
    ImGui::SetNextWindowSize({io.DisplaySize.x * 0.6f, 0.0f});
    ImGui::Begin("Open a file or a folder", &asks_for_file_,
                 ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoCollapse);
    if (ImGui::IsWindowAppearing())
        ImGui::SetKeyboardFocusHere();
    ImGui::SetNextItemWidth(-1.0f);
    if (ImGui::InputText("##path", &asked_file_, ImGuiInputTextFlags_EnterReturnsTrue)) {
        asks_for_file_ = false;
        if (!asked_file_.empty())
            open(asked_file_);
    }
    ImGui::End();
}

} // namespace vorlane::viewer
