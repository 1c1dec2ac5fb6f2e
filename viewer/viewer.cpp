#include "viewer.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include <imgui.h>

#include "host/natural.h"
#include "host/vessels.h"

namespace vorlane::viewer {

namespace {

constexpr std::size_t most_messages = 200;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Where bytes are shown as they are, and all else from its smallest to its largest value.
Window first_window(const CImage& image) {
    if (image.pixel_format == PixelFormat::byte)
        return {};
    const Window range = range_of(image);
    return range.low < range.high ? range : Window{range.low, range.low + 1.0};
}

template<class Result, class Work>
Result timed(const Work& work) {
    Result result{};
    const double begin = now();
    try {
        work(result);
    } catch (const std::bad_alloc&) {
        result.error = "there is not enough memory";
    } catch (const std::exception& error) {
        result.error = error.what();
    }
    if constexpr (requires { result.milliseconds; })
        result.milliseconds = 1000.0 * (now() - begin);
    return result;
}

} // namespace

Viewer::Viewer(Screen& screen, Settings settings)
    : screen_(screen), settings_(std::move(settings)), chain_worker_(Screen::wake),
      volume_worker_(Screen::wake), histogram_worker_(Screen::wake) {}

Viewer::~Viewer() {
    settings_.write();
}

void Viewer::say(const std::string& message) {
    if (messages_.size() >= most_messages)
        messages_.erase(messages_.begin());
    messages_.push_back(message);
    message_is_new_ = true;
    frames_left_ = 3;
}

void Viewer::attempt(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::bad_alloc&) {
        say("There is not enough memory.");
    } catch (const std::exception& error) {
        say(error.what());
    }
}

void Viewer::open(const std::string& path) {
    attempt([&] {
        auto opened = std::make_unique<Tab>(path);
        settings_.opened(path);
        Document& document = opened->document;
        set_input(*opened, false);
        opened->placement.stretch = document.row_stretch();
        if (const auto& volume = document.volume()) {
            opened->projection.image = document.projection();
            Window window = range_of(*opened->projection.image);
            window.low = std::min(window.low, range_of(*opened->input.image).low);
            if (document.has_window())
                window = {document.window_centre() - document.window_width() / 2.0,
                          document.window_centre() + document.window_width() / 2.0};
            opened->projection.window = window;
            for (Shown& cut : opened->cuts)
                cut.window = window;
            set_cross(*opened, volume->nslices / 2, volume->nrows / 2, volume->ncols / 2);
        }
        tabs_.push_back(std::move(opened));
        current_ = tabs_.size() - 1;
        activate();
    });
}

void Viewer::set_operations(const std::string& chain) {
    operators_.set(host::Chain::parse(chain));
    run_chain();
}

// Another document is shown: work for the one before is dropped.
void Viewer::activate() {
    is_stale_ = true;
    plays_ = false;
    panes_.clear(); // they point into the one before
    cursor_pane_ = -1;
    drag_ = Drag::none;
    chain_worker_.cancel();
    volume_worker_.cancel();
    histogram_worker_.cancel();
    run_chain();
    run_histogram();
}

void Viewer::set_input(Tab& tab, bool keeps_window) {
    Window window = tab.input.window;
    tab.input = {tab.document.image()};
    tab.input.window = keeps_window ? window : first_window(*tab.input.image);
    is_stale_ = true;
}

void Viewer::set_cross(Tab& tab, int slice, int row, int col) {
    const CVolume& volume = *tab.document.volume();
    tab.slice = std::clamp(slice, 0, volume.nslices - 1);
    tab.row = std::clamp(row, 0, volume.nrows - 1);
    tab.col = std::clamp(col, 0, volume.ncols - 1);
    using Cut = Document::Cut;
    const std::pair<Cut, int> cuts[] = {
        {Cut::slice, tab.slice}, {Cut::row, tab.row}, {Cut::column, tab.col}};
    for (std::size_t k = 0; k < tab.cuts.size(); ++k) {
        tab.cuts[k].image = tab.document.cut(cuts[k].first, cuts[k].second);
        tab.cuts[k].bitmap = nullptr;
    }
    is_stale_ = true;
}

void Viewer::show_frame(std::int64_t frame) {
    Tab& shown = *tab();
    attempt([&] {
        const std::int64_t before = shown.document.frame();
        shown.document.go_to_frame(frame);
        if (shown.document.frame() != before) {
            set_input(shown, true);
            run_chain();
            if (shows_histogram_)
                run_histogram();
        }
    });
}

// The next frame when its time has come.
void Viewer::step_movie() {
    Tab* const shown = tab();
    if (!plays_ || !shown || !shown->document.is_movie())
        return;
    const double time = now();
    if (time < next_time_)
        return;
    const double interval = 1.0 / (shown->document.rate() * speed_);
    const std::int64_t next = (shown->document.frame() + 1) % shown->document.frame_count();
    const std::size_t messages = messages_.size();
    show_frame(next);
    if (messages_.size() > messages)
        plays_ = false;
    if (last_time_ > 0.0)
        rate_ = 0.9 * rate_ + 0.1 / std::max(1e-4, time - last_time_);
    last_time_ = time;
    next_time_ = std::max(next_time_ + interval, time);
}

void Viewer::close_tab() {
    if (tabs_.empty())
        return;
    tabs_.erase(tabs_.begin() + static_cast<std::ptrdiff_t>(current_));
    current_ = tabs_.empty() ? 0 : std::min(current_, tabs_.size() - 1);
    activate();
}

void Viewer::reload() {
    if (!tab())
        return;
    attempt([&] {
        auto again = std::make_unique<Tab>(tab()->document.path());
        Tab& old = *tab();
        if (again->document.is_movie())
            again->document.go_to_frame(old.document.frame());
        again->placement = old.placement;
        again->is_fitted = old.is_fitted;
        again->layout = old.layout;
        again->cut_placements = old.cut_placements;
        again->input.window = old.input.window;
        set_input(*again, true);
        if (const auto& volume = again->document.volume()) {
            again->projection = {again->document.projection(), old.projection.window};
            for (std::size_t k = 0; k < old.cuts.size(); ++k)
                again->cuts[k].window = old.cuts[k].window;
            set_cross(*again, std::min(old.slice, volume->nslices - 1), old.row, old.col);
        }
        tabs_[current_] = std::move(again);
        say(tab()->document.name() + ": read again");
        activate();
    });
}

void Viewer::next_tab() {
    if (tabs_.empty())
        return;
    current_ = (current_ + 1) % tabs_.size();
    activate();
}

void Viewer::previous_tab() {
    if (!tabs_.empty())
        current_ = (current_ + tabs_.size() - 2) % tabs_.size();
    next_tab();
}

void Viewer::run_chain() {
    Tab* const shown = tab();
    if (!shown || shown->document.volume())
        return;
    if (operators_.is_empty()) {
        chain_worker_.cancel();
        shown->result = {};
        shown->outcome = {};
        shown->layout = Layout::input;
        is_stale_ = true;
        return;
    }
    std::optional<host::Chain> chain;
    attempt([&] { chain = operators_.chain(); });
    if (!chain)
        return;
    chain_worker_.post([chain = *chain, image = shown->input.image,
                        name = shown->document.name()](const std::function<void()>& check) {
        return timed<ChainResult>([&](ChainResult& made) {
            host::Chain own = chain;
            own.open_pictures({});
            host::Result result = own.run(
                std::make_unique<CImage>(*image), name, nullptr, [&](int, int) { check(); },
                [&](int, const CImage&) { check(); });
            made.image = std::move(result.image);
            made.text = result.text;
            for (host::Further& further : result.further) {
                if (further.image)
                    made.stages.emplace_back(further.name.empty() ? further.option : further.name,
                                             std::move(further.image));
            }
        });
    });
}

void Viewer::run_volume() {
    Tab* const shown = tab();
    if (!shown || !shown->document.volume())
        return;
    if (volume_tool_ == 0) {
        volume_worker_.cancel();
        shown->overlay = nullptr;
        is_stale_ = true;
        return;
    }
    volume_worker_.post([volume = shown->document.volume(), tool = volume_tool_,
                         sigmas = volume_sigmas_, structure = volume_structure_,
                         dark = volume_dark_](const std::function<void()>& check) {
        return timed<VolumeResult>([&](VolumeResult& made) {
            check();
            if (tool == 1) {
                made.volume = host::smooth(*volume, sigmas[0]);
            } else if (tool <= 4) {
                host::HessianEigenvalues values = host::hessian_eigenvalues(*volume, sigmas[0]);
                made.volume = std::move(tool == 2   ? values.smallest
                                        : tool == 3 ? values.middle
                                                    : values.largest);
            } else {
                host::VesselOptions options;
                options.from = sigmas[1];
                options.to = std::max(sigmas[1], sigmas[2]);
                options.structure = static_cast<host::Structure>(structure);
                options.dark = dark;
                made.volume =
                    host::find_vessels(*volume, options, [&](int, int) { check(); }).strength;
            }
        });
    });
}

void Viewer::run_histogram() {
    Tab* const shown = tab();
    if (!shows_histogram_ || !shown)
        return;
    const Shown& source =
        shown->layout != Layout::input && shown->result.image ? shown->result : shown->input;
    histogram_worker_.post(
        [image = source.image, n = components_](const std::function<void()>& check) {
            return timed<HistogramResult>([&](HistogramResult& made) {
                CHistogram histogram(image.get(), 0);
                check();
                if (n > 0 && histogram.nbins > 0) {
                    made.misfit = histogram.FitNGaussians(n);
                    if (histogram.nparams > 0)
                        made.params.assign(histogram.params, histogram.params + histogram.nparams);
                }
                constexpr int most_bins = 65536;
                const int count = std::min(histogram.nbins, most_bins);
                made.counts.assign(histogram.bins, histogram.bins + count);
            });
        });
}

void Viewer::show_stage(Tab& shown) {
    const ChainResult& made = shown.outcome;
    const int count = static_cast<int>(made.stages.size());
    shown.stage = std::clamp(shown.stage, 0, count);
    const bool had_one = shown.result.image != nullptr;
    const Window before = shown.result.window;
    shown.result = {shown.stage == 0 ? made.image : made.stages[shown.stage - 1].second};
    if (!shown.result.image)
        return;
    const Window range = range_of(*shown.result.image);
    const bool fits_bytes = range.low >= 0.0 && range.high <= 255.0 && range.high > 1.0;
    shown.result.window = had_one && range.low >= before.low && range.high <= before.high &&
                                  range.high - range.low > 0.2 * (before.high - before.low)
                              ? before // so that a slider doesn't make it flicker
                          : fits_bytes             ? Window{}
                          : range.low < range.high ? range
                                                   : Window{range.low, range.low + 1.0};
    is_stale_ = true;
}

void Viewer::take_results() {
    if (auto made = chain_worker_.take(); made && tab()) {
        Tab& shown = *tab();
        if (made->error.empty() && made->image) {
            const bool is_first = !shown.result.image;
            shown.outcome = std::move(*made);
            show_stage(shown);
            if (is_first && shown.layout == Layout::input)
                shown.layout = Layout::result;
            if (!shown.outcome.text.empty())
                say(shown.outcome.text);
        } else {
            say(made->error.empty() ? "There is no result." : made->error);
        }
    }
    if (auto made = volume_worker_.take(); made && tab()) {
        if (made->error.empty()) {
            Tab& shown = *tab();
            shown.overlay = made->volume;
            double top = 0.0;
            for (int k = 0; k < shown.overlay->nslices; ++k) {
                const Window range = range_of(shown.overlay->slices[k]);
                top = std::max({top, range.high, -range.low});
            }
            shown.overlay_top = top > 0.0 ? top : 1.0;
            is_stale_ = true;
        } else {
            say(made->error);
        }
    }
    if (auto made = histogram_worker_.take()) {
        if (!made->error.empty())
            say(made->error);
        histogram_ = std::move(*made);
    }
}

int Viewer::patience() const {
    // Drawing and working share the processors: frames that only let widgets settle give way to a
    // result that may come at once.
    if (frames_left_ > 0)
        return chain_worker_.is_busy() || volume_worker_.is_busy() ? 50 : 0;
    if (!plays_)
        return -1;
    return std::max(0, static_cast<int>(1000.0 * (next_time_ - now())));
}

bool Viewer::frame() {
    frames_left_ = std::max(0, frames_left_ - 1);
    step_movie();
    take_results();
    screen_.begin_frame();
    draw_menu();
    draw_panel();
    draw_movie_bar();
    draw_messages();
    is_covered_ =
        shows_help_ || asks_for_file_ ||
        ImGui::IsPopupOpen("", ImGuiPopupFlags_AnyPopupId | ImGuiPopupFlags_AnyPopupLevel);
    if (tab()) {
        lay_out(canvas_area_);
        compose();
    }
    const auto x = static_cast<float>(canvas_area_.x);
    const auto y = static_cast<float>(canvas_area_.y);
    ImGui::SetNextWindowPos({x, y});
    ImGui::SetNextWindowSize(
        {static_cast<float>(canvas_area_.width), static_cast<float>(canvas_area_.height)});
    ImGui::PushStyleVar(ImGuiStyleVar_WindowPadding, {0.0f, 0.0f});
    ImGui::PushStyleVar(ImGuiStyleVar_WindowBorderSize, 0.0f);
    ImGui::Begin("Picture", nullptr,
                 ImGuiWindowFlags_NoDecoration | ImGuiWindowFlags_NoMove |
                     ImGuiWindowFlags_NoSavedSettings | ImGuiWindowFlags_NoBringToFrontOnFocus |
                     ImGuiWindowFlags_NoNav);
    if (wants_focus_ == 2)
        ImGui::SetWindowFocus();
    if (tab()) {
        ImGui::Image(screen_.texture(), {static_cast<float>(canvas_area_.width),
                                         static_cast<float>(canvas_area_.height)});
        draw_overlays(x, y);
    } else {
        ImGui::SetCursorPos({20.0f, 20.0f});
        ImGui::TextUnformatted("Drop files here, or open one with Ctrl+O. F1 shows all keys.");
    }
    ImGui::End();
    ImGui::PopStyleVar(2);
    wants_focus_ = 0;
    draw_help();
    draw_file_question();
    screen_.end_frame();
    screen_.set_title(tab() ? tab()->document.name() + " - Vorlane" : "Vorlane");
    return !closes_;
}

} // namespace vorlane::viewer
