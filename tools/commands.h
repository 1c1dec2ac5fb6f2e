// The sub-commands of the program, one file a subject. Each adds itself with its options, an
// example for its help, and a callback that does the work or throws CommandError.
#pragma once

namespace CLI {
class App;
}

void add_info_command(CLI::App& program);
void add_convert_command(CLI::App& program);
void add_smoothing_commands(CLI::App& program); // smooth, derivative, luv
void add_edges_command(CLI::App& program);
void add_raw_command(CLI::App& program);
void add_histogram_command(CLI::App& program);
void add_ridges_command(CLI::App& program);
void add_volume_command(CLI::App& program);    // info, smooth, ridges, slice
void add_filter_commands(CLI::App& program);   // filter median, distance, threshold ...
void add_math_commands(CLI::App& program);     // math add, multiply, max ...
void add_geometry_commands(CLI::App& program); // geometry crop, reduce, rotate ...
void add_draw_commands(CLI::App& program);     // draw line, circle, fill ...
void add_movie_commands(CLI::App& program);
