// The library's AVI files as a file handler of the system: its AVIFile and AVIStream calls work on these objects as they
// do on its own. The system's handler ends at 2 GB and can't tell that a disk is full, so files that the library knows,
// and all that it writes, come from here, with the bits that they have on other systems.

#include <vorlane/platform/avifile.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <vorlane/avi/avi_handle.h>

// The system's interfaces have no virtual destructors; these objects delete themselves.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace {

using namespace vorlane;

// By which objects of this file know each other.
constexpr GUID own_stream_id = {
    0x0d4f7a52, 0x6be1, 0x4c38, {0xa3, 0x55, 0x91, 0xe0, 0x7c, 0x26, 0xf8, 0x14}};
constexpr GUID own_file_id = {
    0x5b1f6c0e, 0x93a4, 0x4d52, {0x8e, 0x17, 0x2c, 0x6a, 0xd0, 0x4b, 0x71, 0x39}};

// Counts its users, and is gone with the last one.
template<class Interface>
class Counted : public Interface {
public:
    virtual ~Counted() = default;

    STDMETHODIMP_(ULONG) AddRef() override { return ++users_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --users_;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    HRESULT give(void** to) {
        AddRef();
        *to = this;
        return S_OK;
    }

private:
    std::atomic<ULONG> users_{1};
};

// A user of an object.
template<class Object>
class User {
public:
    explicit User(Object* object) : object_(object) { object_->AddRef(); }
    ~User() { object_->Release(); }
    User(const User&) = delete;
    User& operator=(const User&) = delete;
    Object* operator->() const { return object_; }

private:
    Object* object_;
};

template<class Record>
HRESULT fill(Record* out, const Record& record, LONG size) {
    if (!out)
        return AVIERR_BADPARAM;
    std::memcpy(
        out, &record,
        std::clamp<std::size_t>(size > 0 ? static_cast<std::size_t>(size) : 0, 0, sizeof record));
    return AVIERR_OK;
}

class OwnFile final : public Counted<IAVIFile> {
public:
    AviHandle handle;

    ~OwnFile() override { handle.finish(); }

    STDMETHODIMP QueryInterface(REFIID id, void** to) override {
        if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IAVIFile) ||
            IsEqualIID(id, own_file_id))
            return give(to);
        *to = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP Info(AVIFILEINFOW* info, LONG size) override {
        AVIFILEINFOW record = {};
        handle.describe(record);
        return fill(info, record, size);
    }
    STDMETHODIMP GetStream(PAVISTREAM* stream, DWORD type, LONG number) override;
    STDMETHODIMP CreateStream(PAVISTREAM* stream, AVISTREAMINFOW* info) override;
    STDMETHODIMP WriteData(DWORD, void*, LONG) override { return AVIERR_UNSUPPORTED; }
    STDMETHODIMP ReadData(DWORD, void*, LONG*) override { return AVIERR_UNSUPPORTED; }
    STDMETHODIMP EndRecord() override { return AVIERR_OK; }
    STDMETHODIMP DeleteStream(DWORD, LONG) override { return AVIERR_UNSUPPORTED; }
};

class OwnStream final : public Counted<IAVIStream> {
public:
    // Of a track that is read, or, null, of the stream that is written.
    OwnStream(OwnFile* file, const AviTrack* track, const AVISTREAMINFOW& info)
        : file_(file), track_(track), info_(info) {}

    std::unique_ptr<AviFrames> frames(const void* wanted) const {
        return track_ ? file_->handle.frames(*track_, wanted) : nullptr;
    }
    const AviTrack& track() const { return *track_; }
    // Whether the frames are for a decompressor: believable in size, and in no format of ours.
    bool is_foreign() const {
        if (!track_ || !file_->handle.is_believable(*track_))
            return false;
        const std::uint32_t compression = BitmapFormat(track_->format.data()).compression;
        return compression != BitmapFormat::uncompressed && compression != BitmapFormat::rle8 &&
               compression != BitmapFormat::gray_levels;
    }

    STDMETHODIMP QueryInterface(REFIID id, void** to) override;
    STDMETHODIMP Create(LPARAM, LPARAM) override { return AVIERR_UNSUPPORTED; }
    STDMETHODIMP Info(AVISTREAMINFOW* info, LONG size) override {
        AVISTREAMINFOW record = info_;
        if (const AviWriter* const writer = file_->handle.writer())
            record.dwLength = static_cast<DWORD>(writer->frame_count());
        return fill(info, record, size);
    }
    // Frames stand for themselves: every one has a format, samples and, uncompressed, is a key.
    STDMETHODIMP_(LONG) FindSample(LONG position, LONG) override {
        return track_ && position >= 0 && static_cast<DWORD>(position) < frame_count(*track_)
                   ? position
                   : -1;
    }
    STDMETHODIMP ReadFormat(LONG, void* format, LONG* size) override {
        if (!size)
            return AVIERR_BADPARAM;
        const std::vector<unsigned char>& bytes =
            track_ ? track_->format : file_->handle.writer()->format();
        const LONG room = std::exchange(*size, static_cast<LONG>(bytes.size()));
        if (!format)
            return AVIERR_OK;
        std::memcpy(format, bytes.data(),
                    static_cast<std::size_t>(std::clamp(room, LONG{0}, *size)));
        return room < *size ? AVIERR_BUFFERTOOSMALL : AVIERR_OK;
    }
    STDMETHODIMP SetFormat(LONG, void* format, LONG size) override {
        AviWriter* const writer = file_->handle.writer();
        if (!writer || !format)
            return writer ? AVIERR_BADPARAM : AVIERR_READONLY;
        return or_no_memory([&] {
            return writer->set_format(static_cast<const unsigned char*>(format),
                                      static_cast<std::size_t>(std::max(size, LONG{0})));
        });
    }
    STDMETHODIMP Read(LONG start, LONG samples, void* buffer, LONG room, LONG* bytes,
                      LONG* samples_read) override;
    STDMETHODIMP Write(LONG start, LONG samples, void* buffer, LONG bytes, DWORD flags,
                       LONG* samples_written, LONG* bytes_written) override {
        const int result = file_->handle.write(start, samples, buffer, bytes, flags);
        if (samples_written)
            *samples_written = result == AVIERR_OK ? 1 : 0;
        if (bytes_written)
            *bytes_written = result == AVIERR_OK ? bytes : 0;
        return result;
    }
    STDMETHODIMP Delete(LONG, LONG) override { return AVIERR_UNSUPPORTED; }
    STDMETHODIMP ReadData(DWORD, void*, LONG*) override { return AVIERR_UNSUPPORTED; }
    STDMETHODIMP WriteData(DWORD, void*, LONG) override { return AVIERR_UNSUPPORTED; }
    STDMETHODIMP SetInfo(AVISTREAMINFOW*, LONG) override { return AVIERR_UNSUPPORTED; }

private:
    User<OwnFile> file_;
    const AviTrack* track_;
    AVISTREAMINFOW info_;
};

class OwnFrames final : public Counted<IGetFrame> {
public:
    OwnFrames(OwnStream* stream, std::unique_ptr<AviFrames> frames)
        : stream_(stream), frames_(std::move(frames)) {}

    STDMETHODIMP QueryInterface(REFIID id, void** to) override {
        if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IGetFrame))
            return give(to);
        *to = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(void*) GetFrame(LONG position) override {
        unsigned char* frame = nullptr;
        or_no_memory([&] {
            frame = frames_->frame(position);
            return AVIERR_OK;
        });
        return frame;
    }
    STDMETHODIMP Begin(LONG, LONG, LONG) override { return AVIERR_OK; }
    STDMETHODIMP End() override { return AVIERR_OK; }
    STDMETHODIMP SetFormat(BITMAPINFOHEADER* wanted, void* bits, int, int, int, int) override {
        // 1 asks for what suits the display.
        const bool is_free = !wanted || reinterpret_cast<std::uintptr_t>(wanted) == 1;
        return !bits && (is_free || AviHandle::gives(stream_->track(), wanted)) ? AVIERR_OK
                                                                                : AVIERR_BADFORMAT;
    }

private:
    User<OwnStream> stream_;
    std::unique_ptr<AviFrames> frames_;
};

HRESULT OwnFile::GetStream(PAVISTREAM* stream, DWORD type, LONG number) {
    const AviTrack* const track = handle.reader() ? handle.track(type, number) : nullptr;
    if (!track || !stream)
        return AVIERR_NODATA;
    return or_no_memory([&] {
        AVISTREAMINFOW info = {};
        AviHandle::describe(*track, info);
        *stream = new OwnStream(this, track, info);
        return AVIERR_OK;
    });
}

HRESULT OwnFile::CreateStream(PAVISTREAM* stream, AVISTREAMINFOW* info) {
    if (!stream || !info)
        return AVIERR_BADPARAM;
    return or_no_memory([&] {
        auto made = std::make_unique<OwnStream>(this, nullptr, *info);
        const int result = handle.create_stream(info->fccType, info->dwRate, info->dwScale);
        if (result == AVIERR_OK)
            *stream = made.release();
        return result;
    });
}

HRESULT OwnStream::QueryInterface(REFIID id, void** to) {
    if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IAVIStream) ||
        IsEqualIID(id, own_stream_id))
        return give(to);
    *to = nullptr;
    if (!IsEqualIID(id, IID_IGetFrame))
        return E_NOINTERFACE;
    const int result = or_no_memory([&] {
        if (auto read = frames(nullptr))
            *to = static_cast<IGetFrame*>(new OwnFrames(this, std::move(read)));
        return AVIERR_OK;
    });
    if (result != AVIERR_OK)
        errno = ENOMEM;
    return *to ? S_OK : E_NOINTERFACE;
}

// A frame as it is in the file.
HRESULT OwnStream::Read(LONG start, LONG samples, void* buffer, LONG room, LONG* bytes,
                        LONG* samples_read) {
    if (!track_ || FindSample(start, 0) < 0 || samples == 0)
        return AVIERR_BADPARAM;
    const AviChunk& chunk = track_->frames[static_cast<std::size_t>(start)];
    const auto size = static_cast<LONG>(std::min<std::uint32_t>(chunk.size, 0x7FFFFFFF));
    const bool has_room = !buffer || room >= size;
    if (bytes)
        *bytes = size;
    if (samples_read)
        *samples_read = has_room ? 1 : 0;
    if (!has_room)
        return AVIERR_BUFFERTOOSMALL;
    const bool is_read =
        !buffer || file_->handle.reader()->read(chunk.offset, static_cast<unsigned char*>(buffer),
                                                static_cast<std::size_t>(size));
    return is_read ? AVIERR_OK : AVIERR_FILEREAD;
}

} // namespace

int open_avi(PAVIFILE* file, const char* path, unsigned mode) {
    if (!file)
        return AVIERR_BADPARAM;
    return or_no_memory([&]() -> int {
        std::unique_ptr<OwnFile> own = std::make_unique<OwnFile>();
        if (const int result = own->handle.open(path, mode))
            return result;
        *file = own.release();
        return AVIERR_OK;
    });
}

// The system makes readers of its own for streams of any kind, so ours are asked for first.
PGETFRAME open_avi_frames(PAVISTREAM stream, const void* wanted) {
    if (!stream)
        return nullptr;
    AVISTREAMINFOW info = {};
    BITMAPINFOHEADER format = {};
    if (wanted) {
        std::memcpy(&format, wanted, sizeof format);
    } else if (stream->Info(&info, sizeof info) == AVIERR_OK) {
        format.biSize = sizeof format;
        format.biWidth = info.rcFrame.right - info.rcFrame.left;
        format.biHeight = info.rcFrame.bottom - info.rcFrame.top;
        format.biPlanes = 1;
        format.biBitCount = 24;
    }
    void* own = nullptr;
    errno = 0;
    if (stream->QueryInterface(IID_IGetFrame, &own) != S_OK) {
        bool is_for_system = errno != ENOMEM;
        if (is_for_system && stream->QueryInterface(own_stream_id, &own) == S_OK) {
            is_for_system = static_cast<OwnStream*>(own)->is_foreign();
            stream->Release();
        }
        return is_for_system ? AVIStreamGetFrameOpen(stream, &format) : nullptr;
    }
    auto* const frames = static_cast<PGETFRAME>(own);
    if (frames->SetFormat(&format, nullptr, 0, 0, -1, -1) == AVIERR_OK)
        return frames;
    frames->Release();
    return nullptr;
}

int close_avi(PAVIFILE file, PAVISTREAM stream) {
    if (stream)
        AVIStreamRelease(stream);
    if (!file)
        return AVIERR_OK;
    int result = AVIERR_OK;
    void* own = nullptr;
    if (file->QueryInterface(own_file_id, &own) == S_OK) {
        result = static_cast<OwnFile*>(own)->handle.finish();
        file->Release();
    }
    AVIFileRelease(file);
    return result;
}
