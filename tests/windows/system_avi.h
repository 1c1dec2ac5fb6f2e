// AVI files by the system's own calls, which have the names of ours.
#pragma once

#include <string>
#include <vector>

// Frames of 24 bits, each a block of rows, the bottom one first. Fails the test if the system can't.
void write_avi_by_system(const std::string& path, int width, int height,
                         const std::vector<std::string>& frames);
std::vector<std::string> read_avi_by_system(const std::string& path);
