#include <vorlane/avi/avi_handle.h>

#include <filesystem>
#include <utility>

#include <vorlane/bytes/gate.h>
#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

namespace vorlane {

namespace {

constexpr unsigned mode_create = 0x1000;
constexpr unsigned mode_any_write = 3;

// A frame takes three bytes a pixel in memory, whatever it takes in the file.
bool picture_is_believable(const AviFile& file, const AviTrack& track) {
    if (!has_format(track))
        return false;
    const BitmapFormat format(track.format.data());
    return format.has_sound_sizes() &&
           header_is_believable(std::max<std::int64_t>(format.height, 1),
                                std::max<std::int64_t>(format.width, 1), 1, 3, 1, file.size());
}

int parse(AviFile& file) {
    switch (file.parse()) {
    case AviFile::Parsed::unreadable:
        return AVIERR_FILEREAD;
    case AviFile::Parsed::not_riff:
        return AVIERR_BADFORMAT;
    case AviFile::Parsed::whole:
        break;
    }
    const AviTrack* const video = file.first_video();
    return !video || picture_is_believable(file, *video) ? AVIERR_OK : AVIERR_BADFORMAT;
}

} // namespace

int AviHandle::open(const char* path, unsigned mode) {
    const bool creates = (mode & mode_create) != 0;
    if (!creates && (mode & mode_any_write) != 0)
        return AVIERR_UNSUPPORTED;
    std::error_code error;
    if (!creates && (!path || !std::filesystem::is_regular_file(path_of(path), error)))
        return AVIERR_FILEOPEN; // what has no end, such as a pipe
    FileHandle stream(open_file(path, creates ? "wb" : "rb"));
    if (!stream)
        return AVIERR_FILEOPEN;
    if (creates) {
        writer_ = std::make_unique<AviWriter>(std::move(stream));
        return AVIERR_OK;
    }
    reader_ = std::make_unique<AviFile>(std::move(stream));
    return parse(*reader_);
}

const AviTrack* AviHandle::track(std::uint32_t type, int number) const {
    int skipped = 0;
    for (const AviTrack& track : reader_->tracks())
        if ((type == 0 || track.type == type) && skipped++ == number)
            return &track;
    return nullptr;
}

bool AviHandle::is_believable(const AviTrack& track) const {
    return picture_is_believable(*reader_, track);
}

std::unique_ptr<AviFrames> AviHandle::frames(const AviTrack& track, const void* wanted) const {
    if (!is_believable(track) || !gives(track, wanted))
        return nullptr;
    auto frames = std::make_unique<AviFrames>(*reader_, track);
    return frames->can_decode() ? std::move(frames) : nullptr;
}

bool AviHandle::gives(const AviTrack& track, const void* wanted) {
    if (!wanted)
        return true;
    const BitmapFormat format(track.format.data());
    const BitmapFormat asked(static_cast<const unsigned char*>(wanted));
    return asked.width == format.width && asked.height == format.height && !asked.is_top_down &&
           asked.bit_count == 24 && asked.compression == BitmapFormat::uncompressed;
}

int AviHandle::create_stream(std::uint32_t type, std::uint32_t rate, std::uint32_t scale) {
    if (!writer_)
        return AVIERR_READONLY;
    if (has_written_stream_ || type != streamtypeVIDEO)
        return AVIERR_UNSUPPORTED;
    writer_->set_rate(rate, scale);
    has_written_stream_ = true;
    return AVIERR_OK;
}

int AviHandle::write(std::int64_t start, int samples, const void* buffer, std::int64_t bytes,
                     unsigned flags) {
    if (!writer_)
        return AVIERR_READONLY;
    if ((!buffer && bytes != 0) || samples != 1 || (start != -1 && start != writer_->frame_count()))
        return AVIERR_BADPARAM;
    return or_no_memory(
        [&] { return writer_->write_frame(buffer, bytes, (flags & AVIIF_KEYFRAME) != 0); });
}

int AviHandle::finish() {
    if (!writer_ || std::exchange(is_finished_, true))
        return AVIERR_OK;
    return or_no_memory([&] { return writer_->finish(); });
}

} // namespace vorlane
