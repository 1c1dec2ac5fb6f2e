#include <vorlane/platform/avifile.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include <vorlane/avi/avi_handle.h>

// An open file. It lives until it and all its streams have been given back.
struct IAVIFile {
    int references = 1;
    vorlane::AviHandle handle;
};

struct IGetFrame {
    IAVIStream* stream;
    std::unique_ptr<vorlane::AviFrames> frames;
};

struct IAVIStream {
    IAVIFile* file;
    const vorlane::AviTrack* track; // of a file that is read
    AVISTREAMINFOA info;
    std::vector<std::unique_ptr<IGetFrame>> frame_readers;
};

namespace {

using namespace vorlane;

int release(IAVIFile* file) {
    if (--file->references > 0)
        return AVIERR_OK;
    const std::unique_ptr<IAVIFile> last(file);
    return file->handle.finish();
}

template<class Record>
void fill(Record* out, const Record& record, int size) {
    std::memcpy(out, &record, std::clamp<std::size_t>(size > 0 ? size : 0, 0, sizeof record));
}

} // namespace

int open_avi(PAVIFILE* file, const char* path, unsigned mode) {
    if (!file)
        return AVIERR_BADPARAM;
    return or_no_memory([&] {
        auto opened = std::make_unique<IAVIFile>();
        const int result = opened->handle.open(path, mode);
        if (result == AVIERR_OK)
            *file = opened.release();
        return result;
    });
}

int close_avi(PAVIFILE file, PAVISTREAM stream) {
    const int stream_result = stream ? AVIStreamRelease(stream) : AVIERR_OK;
    const int file_result = file ? AVIFileRelease(file) : AVIERR_OK;
    return stream_result != AVIERR_OK ? stream_result : file_result;
}

void AVIFileInit() {}

int AVIFileOpenA(PAVIFILE* file, const char* path, unsigned mode, const void*) {
    return open_avi(file, path, mode);
}

int AVIFileRelease(PAVIFILE file) {
    return file ? release(file) : AVIERR_BADHANDLE;
}

int AVIFileInfoA(PAVIFILE file, AVIFILEINFOA* info, int size) {
    if (!file || !info)
        return AVIERR_BADHANDLE;
    AVIFILEINFOA record = {};
    file->handle.describe(record);
    fill(info, record, size);
    return AVIERR_OK;
}

int AVIFileGetStream(PAVIFILE file, PAVISTREAM* stream, std::uint32_t type, int number) {
    if (!file || !stream || !file->handle.reader())
        return AVIERR_BADHANDLE;
    const AviTrack* const track = file->handle.track(type, number);
    if (!track)
        return AVIERR_NODATA;
    return or_no_memory([&] {
        auto made = std::make_unique<IAVIStream>(IAVIStream{file, track, {}, {}});
        AviHandle::describe(*track, made->info);
        ++file->references;
        *stream = made.release();
        return AVIERR_OK;
    });
}

int AVIFileCreateStreamA(PAVIFILE file, PAVISTREAM* stream, const AVISTREAMINFOA* info) {
    if (!file || !stream || !info)
        return AVIERR_BADHANDLE;
    return or_no_memory([&] {
        auto made = std::make_unique<IAVIStream>(IAVIStream{file, nullptr, *info, {}});
        if (const int refusal =
                file->handle.create_stream(info->fccType, info->dwRate, info->dwScale))
            return refusal;
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
    if (const AviWriter* const writer = stream->file->handle.writer())
        record.dwLength = static_cast<std::uint32_t>(writer->frame_count());
    fill(info, record, size);
    return AVIERR_OK;
}

int AVIStreamSetFormat(PAVISTREAM stream, int, const void* format, int size) {
    if (!stream || !format)
        return AVIERR_BADHANDLE;
    AviWriter* const writer = stream->file->handle.writer();
    if (!writer)
        return AVIERR_READONLY;
    return or_no_memory([&] {
        return writer->set_format(static_cast<const unsigned char*>(format),
                                  static_cast<std::size_t>(std::max(size, 0)));
    });
}

int AVIStreamWrite(PAVISTREAM stream, int start, int samples, const void* buffer,
                   std::int64_t bytes, unsigned flags, int* samples_written, int* bytes_written) {
    if (!stream)
        return AVIERR_BADHANDLE;
    const int result = stream->file->handle.write(start, samples, buffer, bytes, flags);
    if (result == AVIERR_READONLY || result == AVIERR_BADPARAM)
        return result;
    if (samples_written)
        *samples_written = result == AVIERR_OK ? 1 : 0;
    if (bytes_written)
        *bytes_written = result == AVIERR_OK ? static_cast<int>(bytes) : 0;
    return result;
}

PGETFRAME open_avi_frames(PAVISTREAM stream, const void* wanted) {
    if (!stream || !stream->track)
        return nullptr;
    PGETFRAME reader = nullptr;
    const int result = or_no_memory([&] {
        if (auto frames = stream->file->handle.frames(*stream->track, wanted)) {
            stream->frame_readers.push_back(
                std::make_unique<IGetFrame>(IGetFrame{stream, std::move(frames)}));
            reader = stream->frame_readers.back().get();
        }
        return AVIERR_OK;
    });
    if (result != AVIERR_OK)
        errno = ENOMEM;
    return reader;
}

PGETFRAME AVIStreamGetFrameOpen(PAVISTREAM stream, const void* wanted) {
    return open_avi_frames(stream, wanted);
}

void* AVIStreamGetFrame(PGETFRAME reader, int position) {
    unsigned char* frame = nullptr;
    if (reader) {
        or_no_memory([&] {
            frame = reader->frames->frame(position);
            return AVIERR_OK;
        });
    }
    return frame;
}

int AVIStreamGetFrameClose(PGETFRAME reader) {
    if (!reader)
        return AVIERR_BADHANDLE;
    std::erase_if(reader->stream->frame_readers,
                  [&](const auto& entry) { return entry.get() == reader; });
    return AVIERR_OK;
}
