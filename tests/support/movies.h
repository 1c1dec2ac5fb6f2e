// Movies for tests.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <support/pictures.h>
#include <vorlane/movie/video.h>

using MoviePtr = std::unique_ptr<CVideo>;

// `count` random images of whole numbers.
std::vector<ImagePtr> make_frames(int count, int rows, int cols, int image_type);

// Creates a movie of these images.
void write_movie(const std::string& path, int file_format, int pixel_format, int image_type,
                 const std::vector<ImagePtr>& frames);

// The samples of the frames of a closed movie, each fetched by its number.
std::vector<Samples> frames_of(const std::string& path);

// An AVI file of 24 bits and 2 x 1 pixels; each frame has blue, green, red twice.
std::string small_avi(std::initializer_list<std::string> frames);
