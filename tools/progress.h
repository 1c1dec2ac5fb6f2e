// A progress bar on standard error, where that is a terminal; nothing otherwise.
#pragma once

#include <cstdint>
#include <string>

class ProgressBar {
public:
    ProgressBar(std::string what, std::int64_t steps);
    ~ProgressBar(); // wipes the line
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // From now on none is shown.
    static void silence();

    void advance();
    void show(std::int64_t done);

private:
    void draw() const;

    std::string what_;
    std::int64_t steps_;
    std::int64_t done_ = 0;
    bool is_shown_;
};
