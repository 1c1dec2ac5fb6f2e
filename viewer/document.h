// What the viewer has open: a picture, a movie at one of its frames, or a volume.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/movies.h"
#include "host/pictures.h"
#include "host/volumes.h"

namespace vorlane::viewer {

class Document {
public:
    // Throws host::Error.
    explicit Document(const std::string& path);

    const std::string& path() const { return path_; }
    std::string name() const { return std::filesystem::path(path_).filename().string(); }
    // Format, size, spacing and whatever else the file tells, a line each.
    const std::vector<std::string>& facts() const { return facts_; }

    bool is_movie() const { return movie_ != nullptr; }
    // Null for others; shared with work that goes on.
    const std::shared_ptr<const CVolume>& volume() const { return voxels_; }
    // Height of a voxel by its width, on cuts across the slices and across the rows.
    double slice_stretch() const;
    double row_stretch() const;

    // The picture, or the frame or the axial slice that is shown. Shared with work that goes on.
    std::shared_ptr<const CImage> image() const { return image_; }

    // Frames of a movie; a picture has one.
    std::int64_t frame_count() const { return frame_count_; }
    std::int64_t frame() const { return frame_; }
    double rate() const { return rate_; }
    void go_to_frame(std::int64_t frame);

    // The file's own window, if it states one.
    bool has_window() const { return volume_.width > 0.0; }
    double window_centre() const { return volume_.centre; }
    double window_width() const { return volume_.width; }

    // True if the file isn't the one that was read.
    bool has_changed() const;

    // Cuts of a volume: of slice k, row i, column j.
    enum class Cut { slice, row, column };
    host::ImagePtr cut(Cut cut, int at) const { return cut_of(*voxels_, cut, at); }
    static host::ImagePtr cut_of(const CVolume& volume, Cut cut, int at);
    // The largest sample along the slices.
    host::ImagePtr projection() const;

private:
    using Facts = std::vector<std::pair<std::string, std::string>>;
    void open_picture();
    void open_movie();
    void open_volume();
    void add_facts(const Facts& facts);

    std::string path_;
    std::vector<std::string> facts_;
    std::shared_ptr<const CImage> image_;
    std::unique_ptr<host::MovieReader> movie_;
    host::Volume volume_; // but for its voxels
    std::shared_ptr<const CVolume> voxels_;
    double row_stretch_ = 1.0;
    std::int64_t frame_ = 0;
    std::int64_t frame_count_ = 1;
    double rate_ = 0.0;
    std::filesystem::file_time_type changed_;
};

} // namespace vorlane::viewer
