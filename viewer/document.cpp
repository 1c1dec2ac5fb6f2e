#include "document.h"

#include <algorithm>
#include <fstream>

#include "host/file_kinds.h"

namespace vorlane::viewer {

namespace {

using host::ImagePtr;

std::filesystem::file_time_type time_of(const std::string& path) {
    std::error_code error;
    return std::filesystem::last_write_time(host::split_page(path).first, error);
}

enum class Contents { picture, movie, volume };

Contents contents_of(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return Contents::volume;
    std::ifstream file(host::split_page(path).first, std::ios::binary);
    char head[4096] = {};
    file.read(head, sizeof head);
    const auto count = static_cast<std::size_t>(file.gcount());
    const host::FileKind* const kind =
        host::kind_of({reinterpret_cast<const unsigned char*>(head), count});
    if (!kind)
        return Contents::picture; // its reader says what is wrong
    if (kind->name == "TQ")
        return host::open_movie(path)->count_frames() > 1 ? Contents::movie : Contents::picture;
    if (kind->family == host::Family::movie)
        return Contents::movie;
    return kind->family == host::Family::volume ? Contents::volume : Contents::picture;
}

ImagePtr new_image(int rows, int cols) {
    auto image = std::make_unique<CImage>(rows, cols, ImageType::gray, FileFormat::none,
                                          PixelFormat::float32);
    if (!image->pixels)
        throw host::Error("there is not enough memory");
    return image;
}

std::string size_text(const CImage& image) {
    return std::to_string(image.nrows) + " rows x " + std::to_string(image.ncols) + " columns, " +
           (image.image_type == ImageType::gray ? "gray" : "colour");
}

std::string number_text(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", number);
    return text;
}

} // namespace

Document::Document(const std::string& path) : path_(path), changed_(time_of(path)) {
    switch (contents_of(path)) {
    case Contents::volume:
        open_volume();
        break;
    case Contents::movie:
        open_movie();
        break;
    case Contents::picture:
        open_picture();
        break;
    }
}

void Document::add_facts(const Facts& facts) {
    for (const auto& [name, value] : facts)
        facts_.push_back(name + ": " + value);
}

void Document::open_picture() {
    host::Picture picture = host::open_picture(path_);
    const bool has_page = host::split_page(path_).second > 0;
    if (picture.page_count > 1 && !has_page) {
        try {
            open_volume();
            return;
        } catch (const host::Error&) {
            facts_.clear(); // pages of different sizes
        }
    }
    facts_.push_back(picture.format + ", " + size_text(*picture.image) + ", " +
                     std::to_string(picture.bits) + (picture.is_float ? "-bit floats" : " bits"));
    if (picture.page_count > 1)
        facts_.push_back("page " + std::to_string(picture.page) + " of " +
                         std::to_string(picture.page_count));
    if (picture.row_spacing > 0.0 && picture.col_spacing > 0.0) {
        facts_.push_back(number_text(picture.row_spacing) + " x " +
                         number_text(picture.col_spacing) + " mm a pixel");
        row_stretch_ = picture.row_spacing / picture.col_spacing;
    }
    add_facts(picture.facts);
    image_ = std::move(picture.image);
}

void Document::open_movie() {
    movie_ = host::open_movie(path_);
    const host::MovieInfo& info = movie_->info();
    frame_count_ = movie_->count_frames();
    rate_ = info.rate > 0.0 ? info.rate : host::default_rate;
    frame_ = -1;
    go_to_frame(0);
    if (!image_)
        throw host::Error(path_ + ": has no frames");
    facts_.push_back(info.format + ", " + info.codec + ", " + size_text(*image_));
    facts_.push_back(std::to_string(frame_count_) + " frames, " + number_text(rate_) + " a second");
    add_facts(info.facts);
}

void Document::open_volume() {
    volume_ = host::open_volume(path_);
    voxels_ = std::move(volume_.volume);
    const CVolume& volume = *voxels_;
    facts_.push_back(volume_.format + ", " + std::to_string(volume.nslices) + " slices of " +
                     std::to_string(volume.nrows) + " rows x " + std::to_string(volume.ncols) +
                     " columns");
    if (volume_.slice_spacing > 0.0)
        facts_.push_back(number_text(volume_.slice_spacing) + " x " +
                         number_text(volume_.row_spacing) + " x " +
                         number_text(volume_.col_spacing) + " mm a voxel");
    add_facts(volume_.facts);
    for (const std::string& note : volume_.notes)
        facts_.push_back(note);
    image_ = cut(Cut::slice, volume.nslices / 2);
}

double Document::slice_stretch() const {
    return volume_.slice_spacing > 0.0 && volume_.col_spacing > 0.0
               ? volume_.slice_spacing / volume_.col_spacing
               : 1.0;
}

double Document::row_stretch() const {
    return volume_.row_spacing > 0.0 && volume_.col_spacing > 0.0
               ? volume_.row_spacing / volume_.col_spacing
               : row_stretch_;
}

void Document::go_to_frame(std::int64_t frame) {
    if (!movie_ || frame_count_ < 1)
        return;
    frame = std::clamp<std::int64_t>(frame, 0, frame_count_ - 1);
    if (frame == frame_)
        return;
    if (frame != frame_ + 1)
        movie_->seek(frame);
    const CImage* const next = movie_->next();
    if (!next)
        throw host::Error(path_ + ": there is no frame " + std::to_string(frame));
    image_ = std::make_shared<const CImage>(*next);
    frame_ = frame;
}

bool Document::has_changed() const {
    return time_of(path_) != changed_;
}

ImagePtr Document::cut_of(const CVolume& volume, Cut cut, int at) {
    const int rows = cut == Cut::slice ? volume.nrows : volume.nslices;
    const int cols = cut == Cut::column ? volume.nrows : volume.ncols;
    ImagePtr image = new_image(rows, cols);
    for (int a = 0; a < rows; ++a) {
        for (int b = 0; b < cols; ++b) {
            image->pixels[a][b] = cut == Cut::slice ? volume.slices[at].pixels[a][b]
                                  : cut == Cut::row ? volume.slices[a].pixels[at][b]
                                                    : volume.slices[a].pixels[b][at];
        }
    }
    return image;
}

ImagePtr Document::projection() const {
    const CVolume& volume = *voxels_;
    ImagePtr image = cut(Cut::slice, 0);
    for (int k = 1; k < volume.nslices; ++k)
        for (int i = 0; i < volume.nrows; ++i)
            for (int j = 0; j < volume.ncols; ++j)
                image->pixels[i][j] = std::max(image->pixels[i][j], volume.slices[k].pixels[i][j]);
    return image;
}

} // namespace vorlane::viewer
