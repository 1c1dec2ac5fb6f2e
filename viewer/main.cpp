// vorlane-view FILE...: the desktop viewer.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "host/messages.h"
#include "viewer.h"

namespace {

constexpr int failed = 1;
constexpr int wrong_usage = 2;

constexpr const char* help =
    "Usage: vorlane-view [--run CHAIN] [--size WIDTHxHEIGHT] FILE...\n"
    "\n"
    "Shows pictures, movies and volumes (also folders of DICOM files), and turns the\n"
    "operators' knobs live. F1 in the window shows all keys.\n"
    "\n"
    "  --run CHAIN          operations to begin with: 'smooth --sigma 2 | edges'\n"
    "  --size WIDTHxHEIGHT  size of the window (1280x800)\n"
    "  --help               this text\n"
    "  --version            the version\n";

struct Request {
    int width = 1280, height = 800;
    std::string chain;
    std::vector<std::string> files;
};

// The exit status, or -1 to go on.
int understand(int argc, char** argv, Request& request) {
    bool are_files = false;
    for (int k = 1; k < argc; ++k) {
        const std::string word = argv[k];
        if (!are_files && word == "--") {
            are_files = true;
        } else if (!are_files && (word == "--help" || word == "-h")) {
            std::fputs(help, stdout);
            return 0;
        } else if (!are_files && word == "--version") {
            std::puts("vorlane-view " VORLANE_VERSION);
            return 0;
        } else if (!are_files && word == "--run") {
            if (k + 1 == argc) {
                std::fputs("vorlane-view: --run needs a chain of operations\n", stderr);
                return wrong_usage;
            }
            request.chain = argv[++k];
        } else if (!are_files && word == "--size") {
            char rest = 0;
            const char* const size = k + 1 < argc ? argv[++k] : "";
            if (std::sscanf(size, "%dx%d%c", &request.width, &request.height, &rest) != 2 ||
                request.width < 320 || request.height < 240 || request.width > 16384 ||
                request.height > 16384) {
                std::fputs(
                    "vorlane-view: --size must be WIDTHxHEIGHT, from 320x240 to 16384x16384\n",
                    stderr);
                return wrong_usage;
            }
        } else if (!are_files && word.size() > 1 && word[0] == '-') {
            std::fprintf(stderr, "vorlane-view: there is no option '%s'; see vorlane-view --help\n",
                         word.c_str());
            return wrong_usage;
        } else {
            request.files.push_back(word);
        }
    }
    return -1;
}

} // namespace

int main(int argc, char** argv) {
    Request request;
    if (const int status = understand(argc, argv, request); status >= 0)
        return status;
    vorlane::host::collect_messages();
    try {
        using namespace vorlane::viewer;
        if (!request.chain.empty())
            vorlane::host::Chain::parse(request.chain); // before a window opens
        Screen screen(request.width, request.height);
        Viewer viewer(screen, Settings::read());
        if (!request.chain.empty())
            viewer.set_operations(request.chain);
        for (const std::string& file : request.files)
            viewer.open(file);
        while (viewer.frame())
            screen.hear(viewer.patience(), [&](const SDL_Event& event) { viewer.hear(event); });
    } catch (const vorlane::host::UsageError& error) {
        std::fprintf(stderr, "vorlane-view: %s\n", error.what());
        return wrong_usage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vorlane-view: %s\n", error.what());
        return failed;
    }
    return 0;
}
