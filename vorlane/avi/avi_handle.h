// Private: an open AVI file, read or written, as the AVIFile and AVIStream calls see it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include <vorlane/avi/avi_frames.h>
#include <vorlane/avi/avi_reader.h>
#include <vorlane/avi/avi_writer.h>
#include <vorlane/avi/bitmap_format.h>
#include <vorlane/platform/avifile.h>

namespace vorlane {

// What a call gives when a container that grows with the file can't.
template<class Call>
int or_no_memory(Call call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return AVIERR_MEMORY;
    } catch (const std::length_error&) {
        return AVIERR_MEMORY;
    }
}

class AviHandle {
public:
    // As open_avi. Throws std::bad_alloc.
    int open(const char* path, unsigned mode);

    // One of the two is there.
    const AviFile* reader() const { return reader_.get(); }
    AviWriter* writer() const { return writer_.get(); }

    // The track that is the number-th one of its type, or of all for type 0; null if there is none.
    const AviTrack* track(std::uint32_t type, int number) const;

    // Whether the file is long enough for pictures of the size that the track's format has.
    bool is_believable(const AviTrack& track) const;

    // A reader of the track's frames; null if they aren't read here, or not as `wanted`, which may be
    // null. Throws std::bad_alloc.
    std::unique_ptr<AviFrames> frames(const AviTrack& track, const void* wanted) const;

    // Whether `wanted`, a BITMAPINFOHEADER or null, asks for the frames that `frames` gives.
    static bool gives(const AviTrack& track, const void* wanted);

    // The one stream that is written; AVIERR_UNSUPPORTED if there is one, or it isn't video.
    int create_stream(std::uint32_t type, std::uint32_t rate, std::uint32_t scale);

    int write(std::int64_t start, int samples, const void* buffer, std::int64_t bytes,
              unsigned flags);

    // Ends a written file, once.
    int finish();

    // Fill an AVIFILEINFO or AVISTREAMINFO, for narrow or for wide names.
    template<class Info>
    void describe(Info& record) const;
    template<class Info>
    static void describe(const AviTrack& track, Info& record);

private:
    std::unique_ptr<AviFile> reader_;
    std::unique_ptr<AviWriter> writer_;
    bool has_written_stream_ = false;
    bool is_finished_ = false;
};

inline std::uint32_t frame_count(const AviTrack& track) {
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(track.frames.size(), std::numeric_limits<std::int32_t>::max()));
}

// Video, with a format that is known.
inline bool has_format(const AviTrack& track) {
    return track.type == streamtypeVIDEO && track.format.size() >= BitmapFormat::header_bytes;
}

template<class Info>
void AviHandle::describe(Info& record) const {
    if (reader_) {
        record.dwMaxBytesPerSec = reader_->header_word(1);
        record.dwFlags = reader_->header_word(3);
        record.dwStreams = static_cast<std::uint32_t>(reader_->tracks().size());
        record.dwSuggestedBufferSize = reader_->header_word(7);
        record.dwWidth = reader_->header_word(8);
        record.dwHeight = reader_->header_word(9);
        if (const AviTrack* const video = reader_->first_video()) {
            const BitmapFormat format(video->format.data());
            record.dwWidth = static_cast<std::uint32_t>(format.width);
            record.dwHeight = static_cast<std::uint32_t>(format.height);
            record.dwScale = video->scale;
            record.dwRate = video->rate;
            record.dwLength = frame_count(*video);
        }
        return;
    }
    record.dwStreams = has_written_stream_ ? 1 : 0;
    record.dwLength = static_cast<std::uint32_t>(writer_->frame_count());
    if (const std::vector<unsigned char>& format = writer_->format(); !format.empty()) {
        const BitmapFormat picture(format.data());
        record.dwWidth = static_cast<std::uint32_t>(picture.width);
        record.dwHeight = static_cast<std::uint32_t>(picture.height);
    }
}

template<class Info>
void AviHandle::describe(const AviTrack& track, Info& record) {
    record.fccType = track.type;
    record.fccHandler = track.handler;
    record.dwFlags = track.flags;
    record.dwScale = track.scale;
    record.dwRate = track.rate;
    record.dwStart = track.start;
    record.dwLength = frame_count(track);
    if (has_format(track)) {
        const BitmapFormat format(track.format.data());
        record.rcFrame.right = static_cast<std::int32_t>(format.width);
        record.rcFrame.bottom = static_cast<std::int32_t>(format.height);
    }
}

} // namespace vorlane
