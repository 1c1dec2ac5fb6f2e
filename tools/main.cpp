#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>

#include "commands.h"
#include "host.h"

namespace {

constexpr int failed = 1;
constexpr int wrong_usage = 2;

} // namespace

int main(int argc, char** argv) {
    CLI::App program(
        "Vorlane: image, movie and volume processing. Formats of files are told by their first "
        "bytes when read, and by the ending of their name when written.",
        "vorlane");
    program.require_subcommand(1);
    add_info_command(program);
    add_convert_command(program);
    add_smoothing_commands(program);
    add_edges_command(program);
    add_raw_command(program);
    add_ridges_command(program);
    add_histogram_command(program);
    add_volume_command(program);
    add_filter_commands(program);
    add_math_commands(program);
    add_geometry_commands(program);
    add_draw_commands(program);
    add_movie_commands(program);

    collect_messages();
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? 0 : wrong_usage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vorlane: %s\n", error.what());
        return failed;
    }
    return 0;
}
