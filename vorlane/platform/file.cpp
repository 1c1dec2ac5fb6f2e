#include <vorlane/platform/file.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <vorlane/platform/system_files.h>

namespace {

[[noreturn]] void fail(const char* action, const std::string& path, int cause) {
    throw CFileException(std::string(action) + " " + path + ": " +
                         std::generic_category().message(cause));
}

const char* stream_mode(unsigned flags) {
    if (flags & CFile::modeCreate)
        return "wb";
    return flags & CFile::modeWrite ? "r+b" : "rb";
}

} // namespace

CFileException::~CFileException() = default;

CFile::CFile(const char* path, unsigned flags) : path_(path ? path : "") {
    errno = 0;
    stream_ = vorlane::open_file(path_.c_str(), stream_mode(flags));
    if (!stream_)
        fail("Can't open", path_, errno);
}

CFile::CFile(std::FILE* stream, std::string path) : stream_(stream), path_(std::move(path)) {}

CFile vorlane::file_on(std::FILE* stream, const char* path) {
    return CFile(stream, std::string(path ? path : ""));
}

CFile::~CFile() {
    if (stream_)
        std::fclose(stream_);
}

unsigned CFile::Read(void* buffer, unsigned count) {
    if (!stream_)
        fail("Can't read", path_, EBADF);
    const std::size_t read = std::fread(buffer, 1, count, stream_);
    if (read < count && std::ferror(stream_))
        fail("Can't read", path_, errno);
    return static_cast<unsigned>(read);
}

void CFile::Write(const void* buffer, unsigned count) {
    if (!stream_)
        fail("Can't write", path_, EBADF);
    if (std::fwrite(buffer, 1, count, stream_) < count)
        fail("Can't write", path_, errno);
}

long long CFile::GetLength() const {
    return stream_ ? GetPosition() + vorlane::bytes_left(stream_) : 0;
}

long long CFile::GetPosition() const {
    return stream_ ? std::max<std::int64_t>(vorlane::position_of(stream_), 0) : 0;
}

void CFile::Close() {
    if (!stream_)
        return;
    std::FILE* const closing = stream_;
    stream_ = nullptr;
    const bool is_whole = std::fflush(closing) == 0;
    if (std::fclose(closing) != 0 || !is_whole)
        fail("Can't write", path_, errno);
}
