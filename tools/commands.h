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
void add_volume_command(CLI::App& program); // info, smooth, ridges, slice
