#include "screen.h"

#include <cstdint>
#include <stdexcept>

#include <SDL_opengl.h>
#include <backends/imgui_impl_opengl3.h>
#include <backends/imgui_impl_sdl.h>
#include <imgui.h>

namespace vorlane::viewer {

namespace {

// The few functions of OpenGL that are called here.
struct Graphics {
    void(APIENTRY* viewport)(GLint, GLint, GLsizei, GLsizei);
    void(APIENTRY* clear_colour)(GLfloat, GLfloat, GLfloat, GLfloat);
    void(APIENTRY* clear)(GLbitfield);
    void(APIENTRY* make_textures)(GLsizei, GLuint*);
    void(APIENTRY* bind_texture)(GLenum, GLuint);
    void(APIENTRY* texture_option)(GLenum, GLenum, GLint);
    void(APIENTRY* pixel_option)(GLenum, GLint);
    void(APIENTRY* fill_texture)(GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum,
                                 const void*);
    void(APIENTRY* change_texture)(GLenum, GLint, GLint, GLint, GLsizei, GLsizei, GLenum, GLenum,
                                   const void*);
};
Graphics graphics;

template<class Function>
void find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(SDL_GL_GetProcAddress(name));
    if (!function)
        throw std::runtime_error(std::string("OpenGL lacks ") + name);
}

void find_graphics() {
    find(graphics.viewport, "glViewport");
    find(graphics.clear_colour, "glClearColor");
    find(graphics.clear, "glClear");
    find(graphics.make_textures, "glGenTextures");
    find(graphics.bind_texture, "glBindTexture");
    find(graphics.texture_option, "glTexParameteri");
    find(graphics.pixel_option, "glPixelStorei");
    find(graphics.fill_texture, "glTexImage2D");
    find(graphics.change_texture, "glTexSubImage2D");
}

} // namespace

Screen::Screen(int width, int height) {
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    if (SDL_Init(SDL_INIT_VIDEO) != 0)
        throw std::runtime_error(std::string("there is no display: ") + SDL_GetError());
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 0);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 0);
    window_ =
        SDL_CreateWindow("Vorlane", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width, height,
                         SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
    context_ = window_ ? SDL_GL_CreateContext(window_) : nullptr;
    if (!context_) {
        const std::string reason = SDL_GetError();
        if (window_)
            SDL_DestroyWindow(window_);
        SDL_Quit();
        throw std::runtime_error("there is no window: " + reason);
    }
    SDL_GL_MakeCurrent(window_, context_);
    SDL_GL_SetSwapInterval(0); // frames are drawn when something has changed
    find_graphics();
    IMGUI_CHECKVERSION();
    ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = nullptr; // nothing is written that nobody asked for
    io.LogFilename = nullptr;
    io.ConfigFlags |= ImGuiConfigFlags_NavEnableKeyboard;
    ImGui::StyleColorsDark();
    ImGui::GetStyle().WindowRounding = 0.0f;
    ImGui_ImplSDL2_InitForOpenGL(window_, context_);
    ImGui_ImplOpenGL3_Init("#version 130");
    graphics.make_textures(1, &texture_);
}

Screen::~Screen() {
    ImGui_ImplOpenGL3_Shutdown();
    ImGui_ImplSDL2_Shutdown();
    ImGui::DestroyContext();
    SDL_GL_DeleteContext(context_);
    SDL_DestroyWindow(window_);
    SDL_Quit();
}

void Screen::give_to_imgui(const SDL_Event& event) {
    ImGui_ImplSDL2_ProcessEvent(&event);
}

bool Screen::next_is_press() {
    SDL_Event event;
    return SDL_PeepEvents(&event, 1, SDL_PEEKEVENT, SDL_FIRSTEVENT, SDL_LASTEVENT) == 1 &&
           is_press(event);
}

void Screen::wake() {
    SDL_Event event{};
    event.type = SDL_USEREVENT;
    SDL_PushEvent(&event);
}

void Screen::begin_frame() {
    ImGui_ImplOpenGL3_NewFrame();
    ImGui_ImplSDL2_NewFrame();
    ImGui::NewFrame();
}

void Screen::end_frame() {
    ImGui::Render();
    int width = 0;
    int height = 0;
    SDL_GL_GetDrawableSize(window_, &width, &height);
    graphics.viewport(0, 0, width, height);
    graphics.clear_colour(0.09f, 0.09f, 0.11f, 1.0f);
    graphics.clear(GL_COLOR_BUFFER_BIT);
    ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
    SDL_GL_SwapWindow(window_);
}

void Screen::set_title(const std::string& title) {
    if (title != title_)
        SDL_SetWindowTitle(window_, title.c_str());
    title_ = title;
}

void Screen::toggle_full_screen() {
    const bool is_full = (SDL_GetWindowFlags(window_) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
    SDL_SetWindowFullscreen(window_, is_full ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
}

void Screen::upload(const unsigned char* pixels, int width, int height) {
    graphics.bind_texture(GL_TEXTURE_2D, texture_);
    graphics.pixel_option(GL_UNPACK_ALIGNMENT, 1);
    if (width != texture_width_ || height != texture_height_) {
        graphics.texture_option(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        graphics.texture_option(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        graphics.fill_texture(GL_TEXTURE_2D, 0, GL_RGB, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE,
                              pixels);
        texture_width_ = width;
        texture_height_ = height;
    } else {
        graphics.change_texture(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE,
                                pixels);
    }
}

void* Screen::texture() const {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(texture_));
}

} // namespace vorlane::viewer
