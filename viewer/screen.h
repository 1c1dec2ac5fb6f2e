// The window: SDL makes it and hears of keys and the mouse, Dear ImGui draws on it.
#pragma once

#include <string>

#include <SDL.h>

namespace vorlane::viewer {

class Screen {
public:
    // Throws std::runtime_error if there is no display.
    Screen(int width, int height);
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    // Waits for an event as long as `milliseconds` say (below 0: for ever), and hands it and those behind it to
    // Dear ImGui and to `hear`. Buttons and keys come alone: widgets look once a frame.
    template<class Hear>
    void hear(int milliseconds, const Hear& hear) {
        SDL_Event event;
        const int has_event =
            milliseconds < 0 ? SDL_WaitEvent(&event) : SDL_WaitEventTimeout(&event, milliseconds);
        for (bool more = has_event != 0; more; more = SDL_PollEvent(&event) != 0) {
            give_to_imgui(event);
            hear(event);
            if (is_press(event) || next_is_press())
                return;
        }
    }

    // Ends a wait, from any thread.
    static void wake();

    void begin_frame();
    void end_frame();

    void set_title(const std::string& title);
    void toggle_full_screen();

    // The texture of the canvas, as large as it: three bytes a pixel.
    void upload(const unsigned char* pixels, int width, int height);
    void* texture() const;

private:
    static bool is_press(const SDL_Event& event) {
        return event.type == SDL_MOUSEBUTTONDOWN || event.type == SDL_MOUSEBUTTONUP ||
               event.type == SDL_KEYDOWN || event.type == SDL_KEYUP;
    }
    static bool next_is_press();
    static void give_to_imgui(const SDL_Event& event);

    SDL_Window* window_ = nullptr;
    SDL_GLContext context_ = nullptr;
    unsigned texture_ = 0;
    int texture_width_ = 0, texture_height_ = 0;
    std::string title_;
};

} // namespace vorlane::viewer
