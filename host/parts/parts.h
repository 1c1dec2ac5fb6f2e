// Private to the host: what a part that is loaded when it is needed hands out.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/formats/format.h"
#include "host/movies.h"
#include "host/source.h"
#include "host/volumes.h"

namespace vorlane::host {

struct DicomPart {
    Picture (*read)(const ReadRequest& request);
    Volume (*open_volume)(const std::vector<std::string>& files, const std::string& name,
                          const OpenVolumeOptions& options);
};

struct MoviePart {
    std::unique_ptr<MovieReader> (*open)(std::unique_ptr<Source> source,
                                         const OpenMovieOptions& options);
    std::unique_ptr<MovieWriter> (*create)(const std::string& path, const MovieSettings& settings);
};

// The one name that a module shows.
constexpr const char* part_symbol = "vorlane_part";

} // namespace vorlane::host
