#include <vorlane/platform/avifile.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include <vorlane/avi/avi_frames.h>
#include <vorlane/avi/avi_reader.h>
#include <vorlane/avi/avi_writer.h>
#include <vorlane/avi/bitmap_format.h>
#include <vorlane/bytes/gate.h>
#include <vorlane/platform/system_files.h>
#include <vorlane/platform/system_paths.h>

// An open file. It lives until it and all its streams have been given back.
struct IAVIFile {
    int references = 1;
    bool has_written_stream = false;
    std::unique_ptr<vorlane::AviFile> reader; // one of the two
    std::unique_ptr<vorlane::AviWriter> writer;
};

struct IAVIStream {
    IAVIFile* file;
    std::size_t track;
    AVISTREAMINFOA info;
    std::vector<std::unique_ptr<IGetFrame>> frame_readers;
};

struct IGetFrame {
    vorlane::AviFrames frames;
};

namespace {

using namespace vorlane;

constexpr unsigned mode_create = 0x1000;
constexpr unsigned mode_any_write = 3;

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

bool has_format(const AviTrack& track) {
    return track.type == streamtypeVIDEO && track.format.size() >= BitmapFormat::header_bytes;
}

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

int release(IAVIFile* file) {
    if (--file->references > 0)
        return AVIERR_OK;
    const std::unique_ptr<IAVIFile> last(file);
    return file->writer ? or_no_memory([&] { return file->writer->finish(); }) : AVIERR_OK;
}

std::uint32_t frame_count(const AviTrack& track) {
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(track.frames.size(), std::numeric_limits<std::int32_t>::max()));
}

template<class Record>
void fill(Record* out, const Record& record, int size) {
    std::memcpy(out, &record, std::clamp<std::size_t>(size > 0 ? size : 0, 0, sizeof record));
}

} // namespace

void AVIFileInit() {}

int AVIFileOpenA(PAVIFILE* file, const char* path, unsigned mode, const void*) {
    if (!file)
        return AVIERR_BADPARAM;
    const bool creates = (mode & mode_create) != 0;
    if (!creates && (mode & mode_any_write) != 0)
        return AVIERR_UNSUPPORTED;
    return or_no_memory([&] {
        std::error_code error;
        if (!creates && (!path || !std::filesystem::is_regular_file(path_of(path), error)))
            return AVIERR_FILEOPEN; // what has no end, such as a pipe
        FileHandle stream(open_file(path, creates ? "wb" : "rb"));
        if (!stream)
            return AVIERR_FILEOPEN;
        auto opened = std::make_unique<IAVIFile>();
        if (creates) {
            opened->writer = std::make_unique<AviWriter>(std::move(stream));
        } else {
            opened->reader = std::make_unique<AviFile>(std::move(stream));
            if (const int failure = parse(*opened->reader))
                return failure;
        }
        *file = opened.release();
        return AVIERR_OK;
    });
}

int AVIFileRelease(PAVIFILE file) {
    return file ? release(file) : AVIERR_BADHANDLE;
}

int AVIFileInfoA(PAVIFILE file, AVIFILEINFOA* info, int size) {
    if (!file || !info)
        return AVIERR_BADHANDLE;
    AVIFILEINFOA record = {};
    if (file->reader) {
        const AviFile& reader = *file->reader;
        record.dwMaxBytesPerSec = reader.header_word(1);
        record.dwFlags = reader.header_word(3);
        record.dwStreams = static_cast<std::uint32_t>(reader.tracks().size());
        record.dwSuggestedBufferSize = reader.header_word(7);
        record.dwWidth = reader.header_word(8);
        record.dwHeight = reader.header_word(9);
        if (const AviTrack* const video = reader.first_video()) {
            const BitmapFormat format(video->format.data());
            record.dwWidth = static_cast<std::uint32_t>(format.width);
            record.dwHeight = static_cast<std::uint32_t>(format.height);
            record.dwScale = video->scale;
            record.dwRate = video->rate;
            record.dwLength = frame_count(*video);
        }
    } else {
        record.dwStreams = file->has_written_stream ? 1 : 0;
        record.dwLength = static_cast<std::uint32_t>(file->writer->frame_count());
        const std::vector<unsigned char>& format = file->writer->format();
        if (!format.empty()) {
            const BitmapFormat picture(format.data());
            record.dwWidth = static_cast<std::uint32_t>(picture.width);
            record.dwHeight = static_cast<std::uint32_t>(picture.height);
        }
    }
    fill(info, record, size);
    return AVIERR_OK;
}

int AVIFileGetStream(PAVIFILE file, PAVISTREAM* stream, std::uint32_t type, int number) {
    if (!file || !stream || !file->reader)
        return AVIERR_BADHANDLE;
    const std::vector<AviTrack>& tracks = file->reader->tracks();
    int skipped = 0;
    for (std::size_t k = 0; k < tracks.size(); ++k) {
        const AviTrack& track = tracks[k];
        if ((type != 0 && track.type != type) || skipped++ != number)
            continue;
        return or_no_memory([&] {
            auto made = std::make_unique<IAVIStream>(IAVIStream{file, k, {}, {}});
            AVISTREAMINFOA& info = made->info;
            info.fccType = track.type;
            info.fccHandler = track.handler;
            info.dwFlags = track.flags;
            info.dwScale = track.scale;
            info.dwRate = track.rate;
            info.dwStart = track.start;
            info.dwLength = frame_count(track);
            if (has_format(track)) {
                const BitmapFormat format(track.format.data());
                info.rcFrame.right = static_cast<std::int32_t>(format.width);
                info.rcFrame.bottom = static_cast<std::int32_t>(format.height);
            }
            ++file->references;
            *stream = made.release();
            return AVIERR_OK;
        });
    }
    return AVIERR_NODATA;
}

int AVIFileCreateStreamA(PAVIFILE file, PAVISTREAM* stream, const AVISTREAMINFOA* info) {
    if (!file || !stream || !info)
        return AVIERR_BADHANDLE;
    if (!file->writer)
        return AVIERR_READONLY;
    if (file->has_written_stream || info->fccType != streamtypeVIDEO)
        return AVIERR_UNSUPPORTED;
    return or_no_memory([&] {
        auto made = std::make_unique<IAVIStream>(IAVIStream{file, 0, *info, {}});
        file->writer->set_rate(info->dwRate, info->dwScale);
        file->has_written_stream = true;
        ++file->references;
        *stream = made.release();
        return AVIERR_OK;
    });
}

int AVIStreamRelease(PAVISTREAM stream) {
    if (!stream)
        return AVIERR_BADHANDLE;
    IAVIFile* const file = stream->file;
    delete stream;
    return release(file);
}

int AVIStreamInfoA(PAVISTREAM stream, AVISTREAMINFOA* info, int size) {
    if (!stream || !info)
        return AVIERR_BADHANDLE;
    AVISTREAMINFOA record = stream->info;
    if (stream->file->writer)
        record.dwLength = static_cast<std::uint32_t>(stream->file->writer->frame_count());
    fill(info, record, size);
    return AVIERR_OK;
}

int AVIStreamSetFormat(PAVISTREAM stream, int, const void* format, int size) {
    if (!stream || !format)
        return AVIERR_BADHANDLE;
    if (!stream->file->writer)
        return AVIERR_READONLY;
    return or_no_memory([&] {
        return stream->file->writer->set_format(static_cast<const unsigned char*>(format),
                                                static_cast<std::size_t>(std::max(size, 0)));
    });
}

int AVIStreamWrite(PAVISTREAM stream, int start, int samples, const void* buffer,
                   std::int64_t bytes, unsigned flags, int* samples_written, int* bytes_written) {
    if (!stream)
        return AVIERR_BADHANDLE;
    AviWriter* const writer = stream->file->writer.get();
    if (!writer)
        return AVIERR_READONLY;
    if ((!buffer && bytes != 0) || samples != 1 || (start != -1 && start != writer->frame_count()))
        return AVIERR_BADPARAM;
    const int result = or_no_memory(
        [&] { return writer->write_frame(buffer, bytes, (flags & AVIIF_KEYFRAME) != 0); });
    if (samples_written)
        *samples_written = result == AVIERR_OK ? 1 : 0;
    if (bytes_written)
        *bytes_written = result == AVIERR_OK ? static_cast<int>(bytes) : 0;
    return result;
}

PGETFRAME AVIStreamGetFrameOpen(PAVISTREAM stream, const void* wanted) {
    if (!stream || !stream->file->reader)
        return nullptr;
    const AviFile& file = *stream->file->reader;
    const AviTrack& track = file.tracks()[stream->track];
    if (!picture_is_believable(file, track))
        return nullptr;
    if (wanted) {
        const BitmapFormat format(track.format.data());
        const BitmapFormat asked(static_cast<const unsigned char*>(wanted));
        if (asked.width != format.width || asked.height != format.height || asked.is_top_down ||
            asked.bit_count != 24 || asked.compression != BitmapFormat::uncompressed)
            return nullptr;
    }
    PGETFRAME reader = nullptr;
    const int result = or_no_memory([&] {
        std::unique_ptr<IGetFrame> made(new IGetFrame{AviFrames(file, track)});
        if (made->frames.can_decode()) {
            stream->frame_readers.push_back(std::move(made));
            reader = stream->frame_readers.back().get();
        }
        return AVIERR_OK;
    });
    if (result != AVIERR_OK)
        errno = ENOMEM;
    return reader;
}

void* AVIStreamGetFrame(PGETFRAME reader, int position) {
    unsigned char* frame = nullptr;
    if (reader) {
        or_no_memory([&] {
            frame = reader->frames.frame(position);
            return AVIERR_OK;
        });
    }
    return frame;
}
