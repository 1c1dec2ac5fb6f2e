#include "progress.h"

#include <cstdio>
#include <utility>

#include "host/platform/program.h"

namespace {

constexpr std::int64_t width = 40;
bool is_silent = false;

} // namespace

ProgressBar::ProgressBar(std::string what, std::int64_t steps)
    : what_(std::move(what)), steps_(steps > 0 ? steps : 1),
      is_shown_(!is_silent && vorlane::host::is_error_watched()) {
    draw();
}

void ProgressBar::silence() {
    is_silent = true;
}

ProgressBar::~ProgressBar() {
    if (is_shown_)
        std::fputs("\r\033[K", stderr);
}

void ProgressBar::advance() {
    show(done_ + 1);
}

void ProgressBar::show(std::int64_t done) {
    const std::int64_t before = done_ * width / steps_;
    done_ = done;
    if (done_ * width / steps_ != before)
        draw();
}

void ProgressBar::draw() const {
    if (!is_shown_)
        return;
    const auto filled = static_cast<std::size_t>(done_ * width / steps_);
    const std::string bar = std::string(filled, '#') + std::string(width - filled, ' ');
    std::fprintf(stderr, "\r%s [%s]", what_.c_str(), bar.c_str());
    std::fflush(stderr);
}
